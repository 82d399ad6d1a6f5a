// The yardstick by itself: memcpy in cache and in memory, to see what machine the other numbers come from.
#include "bench/measure.h"

#include <cstring>

namespace torvi::bench
{

Result<void> MeasureMemoryCopy(benchmark::State& state, Int bytes)
{
	const Array<Byte> source(static_cast<std::size_t>(bytes), Byte(1));
	Array<Byte> destination(source.size());
	for (auto _ : state)
	{
		std::memcpy(destination.data(), source.data(), source.size());
		benchmark::ClobberMemory();
	}
	state.SetBytesProcessed(state.iterations() * bytes * 2); // read plus written
	return OK;
}

void AddMemoryCopies(const Options& options)
{
	for (const Int bytes : {CACHED_COPY_BYTES, Int(64) << 20})
		Add("copy/" + std::to_string(bytes >> 10) + "KiB", options, 0.2,
			[bytes](benchmark::State& state) { return MeasureMemoryCopy(state, bytes); });
}

} // namespace torvi::bench
