// Indices into a colour table: reading and writing one at any bit of a run, copying runs of them, and turning a run into colours. Indices
// of 1 to 8 bits lie most significant bit first and may cross a byte; indices of 16 bits are in the machine's byte order.
#pragma once

#include "pixelformat/fixed_plan.h"

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

/// A colour table: red, green, blue, alpha of each row, as four floats and the same as four bytes.
struct IndexTable
{
	const Byte* _floats = nullptr;
	const Byte* _bytes = nullptr;
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

/// The conversion of indices to one layout of a fixed format: rgb, rgba, rgbx, argb, xrgb, bgr, bgra, bgrx in U8, rgb and rgba in U16, F32,
/// F64. An index beyond the table is white with alpha 0. An unused channel gets alpha.
class IndexConversion
{
public:
	/// Empty for any other format. `bits` is 1 to 8, or 16.
	static std::optional<IndexConversion> Make(const FixedPlaces& destination, Int bits);

	void Run(const IndexRun& run, const IndexTable& table) const;

private:
	IndexConversion(Int bits, const ChannelProgram& program, bool usesBytes) : _bits(bits), _program(program), _usesBytes(usesBytes) {}

	Int _bits;
	ChannelProgram _program; // from the rows of the table
	bool _usesBytes;         // of the two forms of the table
};

} // namespace torvi
