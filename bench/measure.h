// What all measurements share: how a body that can fail is run, how two things are timed by turns, and pixels to work on.
#pragma once

#include "torvi/gfx_image_pixelformat.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <limits>
#include <string>

namespace torvi::bench
{

struct Options
{
	Int _pictureSide = 4096; ///< pixels, of the square pictures that do not fit in any cache
	Bool _isQuick = false;   ///< each measurement runs once, to see that it works
};

// Each adds the measurements of one subject, in the order in which the table of budgets has them.
void AddMemoryCopies(const Options& options);
void AddConversions(const Options& options);
void AddLayouts(const Options& options);
void AddLookups(const Options& options);
void AddHandlers(const Options& options);
void AddFiles(const Options& options);

/// The size of a memcpy that conversions in the cache are compared with.
constexpr Int CACHED_COPY_BYTES = 256 << 10;

/// The body of a measurement of memcpy.
Result<void> MeasureMemoryCopy(benchmark::State& state, Int bytes);

/// Starts the module and looks a conversion up, the first time in this process; the measurement "module/start" reports how long that took.
Result<void> StartModuleTimed();

/// Adds a measurement that runs for about `seconds`. Its body is called once, loops over the state, and marks it as failed by its error.
template <class Body>
benchmark::internal::Benchmark* Add(const std::string& name, const Options& options, double seconds, Body body)
{
	const auto run = [body](benchmark::State& state)
	{
		const Result<void> result = NoThrow([&]() -> Result<void> { return body(state); });
		if (!result.IsOk())
			state.SkipWithError(std::string(result.GetError().GetMessage()).c_str());
	};
	benchmark::internal::Benchmark* added = benchmark::RegisterBenchmark(name.c_str(), run);
	return options._isQuick ? added->Iterations(1) : added->MinTime(seconds);
}

/// Times `reference` and `measured` by turns, so that both see the same state of the machine, and reports the fastest run of each, which
/// other work on the machine has disturbed least, in nanoseconds divided by `count`. `prepare` runs before each of them and is not timed.
/// The measurement needs UseManualTime.
template <class Measured, class Reference, class Prepare>
Result<void> CompareByTurns(benchmark::State& state, Int count, Measured measured, Reference reference, Prepare prepare)
{
	const auto time = [&prepare](auto& function, double& fastest) -> Result<double>
	{
		prepare();
		const auto start = std::chrono::steady_clock::now();
		TORVI_TRY(function());
		const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
		fastest = std::min(fastest, seconds.count());
		return seconds.count();
	};
	double fastestReference = std::numeric_limits<double>::max();
	double fastest = fastestReference;
	for (auto _ : state)
	{
		TORVI_TRY(time(reference, fastestReference));
		state.SetIterationTime(TORVI_TRY(time(measured, fastest)));
	}
	state.counters["fastest_ns"] = fastest * 1e9 / static_cast<double>(count);
	state.counters["reference_ns"] = fastestReference * 1e9 / static_cast<double>(count);
	return OK;
}

template <class Measured, class Reference>
Result<void> CompareByTurns(benchmark::State& state, Int count, Measured measured, Reference reference)
{
	return CompareByTurns(state, count, measured, reference, []() {});
}

/// The same function many times in a row, for what is too short for the clock.
template <class Function>
auto Repeat(Int count, Function function)
{
	return [count, function]() -> Result<void>
	{
		for (Int i = 0; i < count; ++i)
			TORVI_TRY(function());
		return OK;
	};
}

/// How the ids of all pixel formats begin.
constexpr std::string_view PIXELFORMAT_PREFIX = "net.torvi.image.pixelformat.";

/// A conversion, by the names that FindFormat takes.
struct FormatPair
{
	const char* _destination;
	const char* _source;
};

/// The format of an id's last part such as "rgb.u8"; an error if there is none.
Result<PixelFormat> FindFormat(const std::string& shortName);

/// Memory for `count` pixels of a format, every page of it written, so that no measurement pays for fresh pages by accident.
Array<Byte> MakeMemory(const PixelFormat& format, Int count);

/// As MakeMemory, with noise in every channel, within the range of the format.
Result<Array<Byte>> MakePixels(const PixelFormat& format, Int count);

/// The conversion between two formats, without colour conversion; with no offsets those of the formats.
Result<ConvertPixelFunc> FindKernel(const PixelFormat& destination, const PixelFormat& source, ChannelOffsets destinationOffsets = {},
									ChannelOffsets sourceOffsets = {});

} // namespace torvi::bench
