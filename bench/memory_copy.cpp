// The yardstick of all budgets: memcpy, once in cache and once in memory.
#include "host/types.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace
{

void MemoryCopy(benchmark::State& state)
{
	const std::vector<torvi::Byte> source(static_cast<std::size_t>(state.range(0)), torvi::Byte(1));
	std::vector<torvi::Byte> destination(source.size());
	for (auto _ : state)
	{
		std::memcpy(destination.data(), source.data(), source.size());
		benchmark::DoNotOptimize(destination.data());
		benchmark::ClobberMemory();
	}
	state.SetBytesProcessed(state.iterations() * state.range(0) * 2); // read plus written
}

} // namespace

BENCHMARK(MemoryCopy)->Arg(256 << 10)->Arg(64 << 20);
