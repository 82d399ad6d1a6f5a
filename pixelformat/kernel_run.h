// What every pixel kernel is called with, and the kinds of kernels there are. A kernel is a plain function: it has no state, allocates
// nothing, cannot fail, and does nothing for counts of 0 and below. Any number of threads may run it on separate buffers.
#pragma once

#include "pixelformat/fixed_formats.h"

namespace torvi
{

/// One run of pixels on both sides. Strides are the bytes from one pixel to the next; they may be zero, negative or larger than the
/// pixel. Pointers need no alignment. Source and destination must not overlap, unless a kernel says otherwise.
struct KernelRun
{
	Byte* _destination = nullptr;
	Int _destinationStride = 0;
	const Byte* _source = nullptr;
	Int _sourceStride = 0;
	Int _count = 0;
};

/// A kernel that knows the layout of both sides.
using RunKernel = void (*)(const KernelRun& run);

/// Byte offsets of the channels inside a pixel of each side, by role: red, green, blue at 0 to 2, or grey at 0; alpha or unused at 3.
/// A source that is alpha only gives its alpha for both. Roles that a side lacks are not read.
struct KernelOffsets
{
	std::array<Int, MAXIMUM_CHANNELS> _destination = {};
	std::array<Int, MAXIMUM_CHANNELS> _source = {};
};

/// A kernel that is told where the channels lie: for planes and padded layouts.
using OffsetKernel = void (*)(const KernelRun& run, const KernelOffsets& offsets);

} // namespace torvi
