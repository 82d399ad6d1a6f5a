// Copies of pixels and channels that change no value. Unlike all other kernels they take overlapping runs: the result is that of a copy
// through a buffer, if both strides are equal, or if one run lies ahead of the other, or both start together, in the whole overlap.
#pragma once

#include "pixelformat/kernel_run.h"

namespace torvi
{

/// Copies whole pixels of `bytesPerPixel` bytes. Contiguous runs are one block.
void CopyPixels(const KernelRun& run, Int bytesPerPixel);

/// The kernel that copies the channels of a format to another layout of the same format, the unused channel too.
OffsetKernel ChannelCopyKernel(FixedFormat format);

} // namespace torvi
