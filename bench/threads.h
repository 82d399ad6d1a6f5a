// Two threads against one.
#pragma once

#include "bench/measure.h"

#include <functional>

namespace torvi::bench
{

/// The work of one call on one of the threads; each thread counts its own calls from 0.
using ThreadFunction = std::function<Result<void>(Int thread, Int call)>;

/// Times `calls` calls on each of two threads against as many on one, by the clock on the wall, and reports nanoseconds per call of each
/// thread. Turns should be short, so that some fall where nothing else runs on the machine.
Result<void> CompareWithOneThread(benchmark::State& state, double seconds, Int calls, const ThreadFunction& function);

} // namespace torvi::bench
