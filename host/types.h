// The basic numbers, blocks and bit counts that every other file uses. No logic but the rounding of bit counts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#if defined(__GNUC__)
#define TORVI_EXPORT __attribute__((visibility("default")))
#else
#define TORVI_EXPORT
#endif

namespace torvi
{

using Bool = bool;
using Char = std::int8_t;
using UChar = std::uint8_t;
using Byte = std::uint8_t;
using Int16 = std::int16_t;
using UInt16 = std::uint16_t;
using Int32 = std::int32_t;
using UInt32 = std::uint32_t;
using Int64 = std::int64_t;
using UInt64 = std::uint64_t;
using Int = std::int64_t;
using UInt = std::uint64_t;
using Float32 = float;
using Float64 = double;
using Float = double;

/// A view of consecutive values; it owns nothing.
template <class T>
using Block = std::span<T>;

/// A count of bits. Sizes and offsets of pixels and channels are in bits and rounded to bytes where memory is touched.
using BITS = std::int64_t;

/// The bytes that hold `bits`, rounded away from zero: (v + 7) >> 3 for v >= 0, the arithmetic v >> 3 for v < 0.
constexpr Int BytesOf(BITS bits)
{
	return bits >= 0 ? (bits + 7) >> 3 : bits >> 3;
}

/// The length of a block as a signed count.
template <class T>
constexpr Int CountOf(const T& block)
{
	return static_cast<Int>(block.size());
}

} // namespace torvi
