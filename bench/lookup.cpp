// The start of the module, and lookups of conversions that a format remembers.
#include "bench/measure.h"
#include "torvi/ids_formats.h"
#include "torvi/module.h"

#include <array>

namespace torvi::bench
{

namespace
{

double s_startSeconds = 0.0;

/// Sources by turns, so that each lookup finds another entry than the one before.
Result<void> LookUp(benchmark::State& state)
{
	const PixelFormat destination = TORVI_TRY(FindFormat("rgba.u8"));
	const std::array<PixelFormat, 4> sources = {TORVI_TRY(FindFormat("rgb.u8")), TORVI_TRY(FindFormat("bgra.u8")),
												TORVI_TRY(FindFormat("grey.u16")), TORVI_TRY(FindFormat("rgba.f32"))};
	std::size_t next = 0;
	for (auto _ : state)
	{
		const ConvertPixelFunc function = TORVI_TRY(FindKernel(destination, sources[next++ % sources.size()]));
		benchmark::DoNotOptimize(function);
	}
	return OK;
}

} // namespace

Result<void> StartModuleTimed()
{
	const auto start = std::chrono::steady_clock::now();
	TORVI_TRY(StartModule());
	TORVI_TRY(FindKernel(GetPixelFormat(ids::PIXELFORMAT_RGBA_U8), GetPixelFormat(ids::PIXELFORMAT_RGB_U8)));
	s_startSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
	return OK;
}

void AddLookups(const Options& options)
{
	Add("lookup/cached", options, 0.2, &LookUp);
	Add("lookup/cached-on-two-threads", options, 0.2, &LookUp)->Threads(2);
	const auto reportStart = [](benchmark::State& state) -> Result<void>
	{
		for (auto _ : state)
			state.SetIterationTime(s_startSeconds);
		return OK;
	};
	benchmark::internal::Benchmark* const start = Add("module/start", Options{._isQuick = true}, 0.0, reportStart);
	start->UseManualTime()->Unit(benchmark::kMillisecond);
}

} // namespace torvi::bench
