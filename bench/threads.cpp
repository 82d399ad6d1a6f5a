// Lookups of conversions that a format remembers, and short runs through a function that is held, on one thread and on two at once.
#include "bench/threads.h"

#include <array>
#include <atomic>
#include <chrono>
#include <pthread.h>
#include <sched.h>
#include <thread>

namespace torvi::bench
{

namespace
{

constexpr Int SHORT_RUN = 64; // pixels

/// Keeps the calling thread on a processor of its own, as far as there are enough.
void MoveToProcessor(Int number)
{
	cpu_set_t allowed, chosen;
	sched_getaffinity(0, sizeof(allowed), &allowed);
	CPU_ZERO(&chosen);
	for (Int i = 0; i < CPU_SETSIZE; ++i)
	{
		if (CPU_ISSET(static_cast<std::size_t>(i), &allowed) && number-- == 0)
			CPU_SET(static_cast<std::size_t>(i), &chosen);
	}
	if (CPU_COUNT(&chosen) > 0)
		pthread_setaffinity_np(pthread_self(), sizeof(chosen), &chosen);
}

/// Nanoseconds from the start of all threads to the end of the last, divided by the calls of each.
Result<double> TimeThreads(Int threadCount, Int calls, const ThreadFunction& function)
{
	std::atomic<Int> waiting = threadCount;
	std::atomic<Bool> hasFailed = false;
	using Clock = std::chrono::steady_clock;
	Array<Clock::time_point> starts(static_cast<std::size_t>(threadCount)), ends(starts);
	const auto run = [&](Int thread)
	{
		MoveToProcessor(thread);
		for (--waiting; waiting.load() > 0;)
			;
		starts[static_cast<std::size_t>(thread)] = Clock::now();
		for (Int i = 0; i < calls; ++i)
		{
			if (!function(thread, i).IsOk())
				hasFailed = true;
		}
		ends[static_cast<std::size_t>(thread)] = Clock::now();
	};
	Array<std::thread> threads;
	for (Int i = 0; i < threadCount; ++i)
		threads.emplace_back(run, i);
	for (std::thread& thread : threads)
		thread.join();
	TORVI_CHECK(!hasFailed, IllegalStateError("The work of a thread failed."));
	const std::chrono::duration<double, std::nano> time =
		*std::max_element(ends.begin(), ends.end()) - *std::min_element(starts.begin(), starts.end());
	return time.count() / static_cast<double>(calls);
}

/// The calls of a turn.
Int CallsIn(double seconds)
{
	return seconds > 0.0 ? 10000 : 1;
}

/// Sources by turns, so that each lookup finds another entry than the one before.
Result<void> LookUp(benchmark::State& state, double seconds)
{
	const PixelFormat destination = TORVI_TRY(FindFormat("rgba.u8"));
	const std::array<PixelFormat, 4> sources = {TORVI_TRY(FindFormat("rgb.u8")), TORVI_TRY(FindFormat("bgra.u8")),
												TORVI_TRY(FindFormat("grey.u16")), TORVI_TRY(FindFormat("rgba.f32"))};
	const auto lookUp = [&](Int, Int call) -> Result<void>
	{
		const ConvertPixelFunc function = TORVI_TRY(FindKernel(destination, sources[static_cast<std::size_t>(call) % sources.size()]));
		benchmark::DoNotOptimize(function);
		return OK;
	};
	return CompareWithOneThread(state, seconds, CallsIn(seconds), lookUp);
}

/// The function was looked up once; each thread has pixels of its own.
Result<void> ConvertShortRuns(benchmark::State& state, double seconds)
{
	const PixelFormat destination = TORVI_TRY(FindFormat("bgra.u8"));
	const PixelFormat source = TORVI_TRY(FindFormat("rgba.u8"));
	const ConvertPixelFunc function = TORVI_TRY(FindKernel(destination, source));
	const Array<Byte> from = TORVI_TRY(MakePixels(source, SHORT_RUN));
	constexpr Int APART = 4096; // pixels, so that the threads do not write to one cache line
	Array<Byte> to = MakeMemory(destination, 2 * APART);
	const auto convert = [&](Int thread, Int) -> Result<void>
	{
		TORVI_TRY(function(PixelBuffer(to.data() + thread * APART * destination->GetBitsPerPixel() / 8, destination->GetBitsPerPixel()),
						   SHORT_RUN, PixelBuffer(from.data(), source->GetBitsPerPixel()), 0));
		benchmark::ClobberMemory();
		return OK;
	};
	return CompareWithOneThread(state, seconds, CallsIn(seconds), convert);
}

} // namespace

Result<void> CompareWithOneThread(benchmark::State& state, double seconds, Int calls, const ThreadFunction& function)
{
	double one = std::numeric_limits<double>::max();
	double two = one;
	const auto round = [&]() -> Result<void>
	{
		one = std::min(one, TORVI_TRY(TimeThreads(1, calls, function)));
		two = std::min(two, TORVI_TRY(TimeThreads(2, calls, function)));
		return OK;
	};
	TORVI_TRY(RepeatRounds(seconds, round));
	state.counters["fastest_ns"] = two;
	state.counters["reference_ns"] = one;
	return OK;
}

void AddThreads(const Options& options)
{
	AddRounds("threads/cached-lookup", options, 0.5, &LookUp);
	AddRounds("threads/held-function", options, 0.5, &ConvertShortRuns);
}

} // namespace torvi::bench
