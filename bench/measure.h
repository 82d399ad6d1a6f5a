// What all measurements share: how a body that can fail is run, how two things are timed by turns, and pixels to work on.
#pragma once

#include "torvi/gfx_image_pixelformat.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <ctime>
#include <limits>
#include <string>

namespace torvi::bench
{

struct Options
{
	Int _pictureSide = 4096; ///< pixels, of the square pictures that do not fit in any cache
	Bool _isQuick = false;   ///< each measurement runs once, to see that it works
};

// Each adds the measurements of one subject.
void AddConversions(const Options& options);
void AddBlending(const Options& options);
void AddLayouts(const Options& options);
void AddThreads(const Options& options);
void AddColours(const Options& options);
void AddHandlers(const Options& options);
void AddComposition(const Options& options);
void AddFiles(const Options& options);
void AddPng(const Options& options);
void AddJpeg(const Options& options);
void AddPsd(const Options& options);
void AddStart();

/// Starts the module and looks a conversion up, the first time in this process; the measurement "module/start" reports how long that took.
Result<void> StartModuleTimed();

/// Adds a measurement, whose body leaves its numbers in the state's counters. The body's error marks it as failed.
template <class Body>
void Add(const std::string& name, Body body)
{
	const auto run = [body](benchmark::State& state)
	{
		for (auto _ : state)
		{
			const Result<void> result = NoThrow([&]() -> Result<void> { return body(state); });
			if (!result.IsOk())
				state.SkipWithError(std::string(result.GetError().GetMessage()).c_str());
		}
	};
	benchmark::RegisterBenchmark(name.c_str(), run)->Iterations(1);
}

/// As Add, with a body that also gets the seconds that it may take: those given, or 0 where a single round is enough.
template <class Body>
void AddRounds(const std::string& name, const Options& options, double seconds, Body body)
{
	Add(name, [body, limit = options._isQuick ? 0.0 : seconds](benchmark::State& state) { return body(state, limit); });
}

/// Seconds of processor time that this process used, which other work on the machine does not add to.
inline double GetProcessorSeconds()
{
	timespec time = {};
	clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
	return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// A function without arguments and how many units of work, such as pixels, one call of it does.
template <class Function>
struct Task
{
	explicit Task(Function function, double units = 1.0) : _function(std::move(function)), _units(units) {}

	Function _function;
	double _units;
};

/// Times turns of many calls of a task, so many that the clock can tell, and keeps the fastest.
template <class Function>
class Turns
{
public:
	explicit Turns(const Task<Function>& task) : _task(task) {}

	Result<void> Take()
	{
		constexpr double LEAST_SECONDS = 50e-6;
		const double start = GetProcessorSeconds();
		for (Int i = 0; i < _calls; ++i)
			TORVI_TRY(_task._function());
		const double seconds = GetProcessorSeconds() - start;
		_fastest = std::min(_fastest, seconds / static_cast<double>(_calls));
		if (seconds < LEAST_SECONDS)
			_calls *= 2;
		return OK;
	}

	double GetNanosecondsPerUnit() const { return _fastest * 1e9 / _task._units; }

private:
	const Task<Function>& _task;
	Int _calls = 1;
	double _fastest = std::numeric_limits<double>::max();
};

/// Repeats `round` for `seconds` of processor time, twice at least unless a round takes very long.
template <class Round>
Result<void> RepeatRounds(double seconds, Round round)
{
	const double start = GetProcessorSeconds();
	double elapsed = 0.0;
	for (Int rounds = 0; rounds == 0 || elapsed < seconds || (rounds == 1 && elapsed < 10 * seconds); ++rounds)
	{
		TORVI_TRY(round());
		elapsed = GetProcessorSeconds() - start;
	}
	return OK;
}

/// Times `reference` and `measured` by turns for `seconds`, so that both see the same state of the machine, and reports the fastest turn of
/// each, which other work on the machine has disturbed least, in nanoseconds per unit. `prepare` runs before each turn and is not timed.
template <class Measured, class Reference, class Prepare>
Result<void> CompareByTurns(benchmark::State& state, double seconds, const Task<Measured>& measured, const Task<Reference>& reference,
							Prepare prepare)
{
	Turns measuredTurns(measured);
	Turns referenceTurns(reference);
	const auto round = [&]() -> Result<void>
	{
		prepare();
		TORVI_TRY(referenceTurns.Take());
		prepare();
		return measuredTurns.Take();
	};
	TORVI_TRY(RepeatRounds(seconds, round));
	state.counters["fastest_ns"] = measuredTurns.GetNanosecondsPerUnit();
	state.counters["reference_ns"] = referenceTurns.GetNanosecondsPerUnit();
	return OK;
}

template <class Measured, class Reference>
Result<void> CompareByTurns(benchmark::State& state, double seconds, const Task<Measured>& measured, const Task<Reference>& reference)
{
	return CompareByTurns(state, seconds, measured, reference, []() {});
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

/// The data type of a fixed format's channels, which is the same for all of them.
DataType GetChannelDataType(const PixelFormat& format);

/// Fills memory with numbers of a data type, without a pattern that a branch could learn: integers over their range, floats in 0 to 1 and
/// none of them denormal.
Result<void> FillWithNoise(Block<Byte> bytes, DataType dataType);

/// Memory for `count` pixels of a format, every page of it written, so that no measurement pays for fresh pages by accident.
Array<Byte> MakeMemory(const PixelFormat& format, Int count);

/// As MakeMemory, for a fixed format, with noise in every channel.
Result<Array<Byte>> MakePixels(const PixelFormat& format, Int count);

/// The conversion between two formats, without colour conversion; with no offsets those of the formats.
Result<ConvertPixelFunc> FindKernel(const PixelFormat& destination, const PixelFormat& source, ChannelOffsets destinationOffsets = {},
									ChannelOffsets sourceOffsets = {});

} // namespace torvi::bench
