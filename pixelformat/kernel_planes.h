// Packed pixels taken apart into one run of values per channel, and put together again.
#pragma once

#include "pixelformat/kernel_run.h"

namespace torvi
{

using PlanePointers = std::array<Byte*, MAXIMUM_CHANNELS>;
using ConstPlanePointers = std::array<const Byte*, MAXIMUM_CHANNELS>;

/// Puts `pixels` values of each of the first planes side by side. Nothing needs alignment; the sides must not overlap.
using InterleaveKernel = void (*)(Byte* destination, const ConstPlanePointers& planes, Int pixels);

/// The other way round.
using DeinterleaveKernel = void (*)(const PlanePointers& planes, const Byte* source, Int pixels);

/// The kernels for values of 1, 2, 4 or 8 bytes and 1 to MAXIMUM_CHANNELS channels.
InterleaveKernel InterleaveKernelFor(Int valueSize, Int channels);
DeinterleaveKernel DeinterleaveKernelFor(Int valueSize, Int channels);

} // namespace torvi
