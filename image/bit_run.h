// Runs of pixels that do not start or end on a byte. Bits count from the most significant one of the first byte.
#pragma once

#include "host/types.h"

namespace torvi
{

/// Copies `count` bits and leaves the bits around them alone. Touches no byte outside the two runs, which must not overlap.
void CopyBits(Byte* destination, BITS destinationBit, const Byte* source, BITS sourceBit, BITS count) noexcept;

constexpr Bool IsOnByte(BITS position)
{
	return (position & 7) == 0;
}

} // namespace torvi
