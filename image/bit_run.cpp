// Copying of bits: whole bytes as a block where both runs lie on bytes, the rest one destination byte after another.
#include "image/bit_run.h"

#include <algorithm>
#include <cstring>

namespace torvi
{

namespace
{

/// Up to eight bits from anywhere, as a number. The second byte is read only if the bits go on in it.
UInt32 ReadBits(const Byte* bytes, BITS position, BITS count) noexcept
{
	const Byte* byte = bytes + (position >> 3);
	const BITS start = position & 7;
	const UInt32 second = start + count > 8 ? byte[1] : 0;
	const UInt32 both = static_cast<UInt32>(byte[0]) << 8 | second;
	return both >> (16 - start - count) & ((1u << count) - 1);
}

/// Up to eight bits that lie in one byte.
void WriteBits(Byte* bytes, BITS position, BITS count, UInt32 value) noexcept
{
	Byte& byte = bytes[position >> 3];
	const BITS shift = 8 - (position & 7) - count;
	const UInt32 mask = ((1u << count) - 1) << shift;
	byte = static_cast<Byte>((byte & ~mask) | value << shift);
}

} // namespace

void CopyBits(Byte* destination, BITS destinationBit, const Byte* source, BITS sourceBit, BITS count) noexcept
{
	if (IsOnByte(destinationBit) && IsOnByte(sourceBit) && count >= 8)
	{
		const BITS whole = count & ~BITS(7);
		std::memcpy(destination + (destinationBit >> 3), source + (sourceBit >> 3), static_cast<std::size_t>(whole >> 3));
		destinationBit += whole;
		sourceBit += whole;
		count -= whole;
	}
	while (count > 0)
	{
		const BITS piece = std::min<BITS>(count, 8 - (destinationBit & 7));
		WriteBits(destination, destinationBit, piece, ReadBits(source, sourceBit, piece));
		destinationBit += piece;
		sourceBit += piece;
		count -= piece;
	}
}

} // namespace torvi
