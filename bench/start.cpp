// The start of the module.
#include "bench/measure.h"
#include "torvi/ids_formats.h"
#include "torvi/module.h"

#include <chrono>

namespace torvi::bench
{

namespace
{

double s_startMilliseconds = 0.0;

} // namespace

Result<void> StartModuleTimed()
{
	const auto start = std::chrono::steady_clock::now();
	TORVI_TRY(StartModule());
	TORVI_TRY(FindKernel(GetPixelFormat(ids::PIXELFORMAT_RGBA_U8), GetPixelFormat(ids::PIXELFORMAT_RGB_U8)));
	s_startMilliseconds = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
	return OK;
}

void AddStart()
{
	const auto report = [](benchmark::State& state) -> Result<void>
	{
		state.counters["start_ms"] = s_startMilliseconds;
		return OK;
	};
	Add("module/start", report);
}

} // namespace torvi::bench
