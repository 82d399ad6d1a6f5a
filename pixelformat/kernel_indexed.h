// Indices into a colour table: reading and writing one at any bit of a run, copying runs of them, and turning a run into colours. Indices
// of 1 to 8 bits lie most significant bit first and may cross a byte; indices of 16 bits are in the machine's byte order.
#pragma once

#include "pixelformat/kernel_run.h"

namespace torvi
{

/// Reads the index of `bits` (1 to 8, or 16) that starts `position` bits behind `base`, which may be negative. No byte behind the last bit
/// of the index is touched.
UInt32 ExtractIndex(const Byte* base, BITS position, Int bits);

/// Writes an index and leaves the bits around it alone; only the low `bits` of `index` are used.
void InsertIndex(Byte* base, BITS position, Int bits, UInt32 index);

/// A run of indices on both sides, distances in bits. `_destinationBit` and `_sourceBit` say at which bit the runs start.
struct IndexCopyRun
{
	Byte* _destination = nullptr;
	BITS _destinationBit = 0;
	BITS _destinationStride = 0;
	const Byte* _source = nullptr;
	BITS _sourceBit = 0;
	BITS _sourceStride = 0;
	Int _count = 0;
};

/// Copies indices. Runs that start on a byte with no gaps between the indices on either side are one block of whole bytes, which may
/// overlap; others go index by index, must not overlap, and keep the bits in between.
void CopyIndices(const IndexCopyRun& run, Int bits);

/// The rows of a colour table: red, green, blue, alpha as four consecutive floats.
struct IndexTable
{
	const Byte* _rows = nullptr;
	Int _count = 0;
};

/// A run of indices and the pixels they become; the source's start and stride are in bits, the destination's stride in bytes.
struct IndexRun
{
	Byte* _destination = nullptr;
	Int _destinationStride = 0;
	const Byte* _source = nullptr;
	BITS _sourceBit = 0;
	BITS _sourceStride = 0;
	Int _count = 0;
};

/// `offsets` are the byte offsets of the destination's channels by role (see `KernelOffsets`). An index beyond the table is white with
/// alpha 0.
using IndexKernel = void (*)(const IndexRun& run, Int bits, const IndexTable& table, const std::array<Int, MAXIMUM_CHANNELS>& offsets);

/// The kernel to one of the fourteen targets: rgb, rgba, rgbx, argb, xrgb, bgr, bgra, bgrx in U8, rgb and rgba in U16, F32, F64; empty for
/// any other. An unused channel gets alpha.
IndexKernel IndexKernelTo(FixedFormat destination);

} // namespace torvi
