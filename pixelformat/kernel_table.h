// The table of direct conversions between fixed formats: 50 destinations by 48 sources, each in two forms that compute the same values.
#pragma once

#include "pixelformat/kernel_run.h"

#include <optional>

namespace torvi
{

/// The kernels to `destination` in the default layout of both sides, by source: entry i is for the source `FixedFormat(i)`. Any strides.
/// The entry of a format for itself copies, the unused channel too, and takes overlapping runs (see kernel_copy.h).
Block<const RunKernel> KernelsTo(FixedFormat destination);

/// The kernel for captured offsets; `source` must be a direct source. The entry of a format for itself copies as above.
OffsetKernel OffsetKernelFor(FixedFormat destination, FixedFormat source);

/// Whether the channels lie where the format's packed layout has them, so that the default form serves whatever the stride is. `offsets`
/// are those of a format: a bit offset per channel, then the bits per pixel, which is not looked at.
bool IsDefaultLayout(FixedFormat format, Block<const BITS> offsets);

/// Byte offsets by role, as `KernelOffsets` has them; empty when `offsets` has not one entry per channel and one more.
std::optional<std::array<Int, MAXIMUM_CHANNELS>> OffsetsByRole(FixedFormat format, Block<const BITS> offsets);

/// The captured offsets for `OffsetKernelFor`; empty when a block has not one entry per channel and one more.
std::optional<KernelOffsets> MakeKernelOffsets(FixedFormat destination, Block<const BITS> destinationOffsets, FixedFormat source,
											   Block<const BITS> sourceOffsets);

} // namespace torvi
