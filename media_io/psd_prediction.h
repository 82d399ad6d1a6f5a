// Samples as PSD files store them: differences to the sample on the left, and floats in planes of bytes. Pure functions on rows.
#pragma once

#include "host/types.h"

namespace torvi
{

/// Turns each byte into the sum of all bytes up to it, modulo 256.
void SumBytes(Block<Byte> row) noexcept;

/// The same for 16-bit samples in the machine's byte order, modulo 65536. An odd last byte stays.
void SumUInt16(Block<Byte> row) noexcept;

/// Puts samples of four bytes together from four planes of `samples.size() / 4` bytes each, the first of which holds the most significant
/// bytes. The samples are in the machine's byte order. Both blocks have one size, a multiple of 4, and do not overlap.
void JoinBytePlanes(Block<const Byte> planes, Block<Byte> samples) noexcept;

/// Turns the bytes of each sample of 2 or 4 bytes around; samples of one byte stay.
void SwapSamples(Block<Byte> row, Int bytesPerSample) noexcept;

} // namespace torvi
