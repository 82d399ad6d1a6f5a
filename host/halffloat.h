// The 16-bit float (IEEE 754 binary16): its bits and its exact way to and from float32. Both ways are written without branches and
// without tables, so that loops over them vectorise; they give bit for bit what van der Zijp's table method gives.
#pragma once

#include "host/types.h"

#include <bit>

namespace torvi
{

/// A half precision number. It is stored and converted, never calculated with: arithmetic is done in float32.
/// From float32 the value is clamped to -65500 ... 65500 and the mantissa bits that do not fit are cut off, not rounded; values below
/// the denormal range become a signed zero. A NaN keeps the top ten bits of its mantissa. To float32 the way is exact.
class HalfFloat
{
public:
	constexpr HalfFloat() = default;
	explicit constexpr HalfFloat(Float32 value) : _bits(BitsOf(value)) {}

	static constexpr HalfFloat FromBits(UInt16 bits)
	{
		HalfFloat half;
		half._bits = bits;
		return half;
	}

	constexpr UInt16 GetBits() const { return _bits; }
	explicit constexpr operator Float32() const { return ValueOf(_bits); }
	explicit constexpr operator Float64() const { return static_cast<Float64>(ValueOf(_bits)); }

private:
	static constexpr UInt32 BIAS = 0x38000000;            // difference of the two exponent biases, at float32's exponent
	static constexpr UInt32 SMALLEST_NORMAL = 0x38800000; // 2^-14 as float32

	// All ones when a < b, else 0; both are below 2^31.
	static constexpr UInt32 MaskIfLess(UInt32 a, UInt32 b) { return static_cast<UInt32>(static_cast<Int32>(a - b) >> 31); }

	static constexpr UInt16 BitsOf(Float32 value)
	{
		const Float32 belowTop = 65500.0f < value ? 65500.0f : value; // NaN passes both comparisons
		const UInt32 bits = std::bit_cast<UInt32>(belowTop < -65500.0f ? -65500.0f : belowTop);
		const UInt32 magnitude = bits & 0x7FFFFFFF;
		const Float32 positive = std::bit_cast<Float32>(magnitude);
		const Float32 tiny = positive < 0x1p-14f ? positive : 0x1p-14f; // keeps the cast below in range
		const UInt32 denormal = static_cast<UInt32>(static_cast<Int32>(tiny * 0x1p24f));
		const UInt32 notANumber = MaskIfLess(0x7F800000, magnitude) & 0x4000;
		const UInt32 normal = ((magnitude - BIAS) >> 13) | notANumber;
		const UInt32 small = MaskIfLess(magnitude, SMALLEST_NORMAL);
		return static_cast<UInt16>(((bits >> 16) & 0x8000) | (small & denormal) | (~small & normal & 0x7FFF));
	}

	static constexpr Float32 ValueOf(UInt16 bits)
	{
		const UInt32 magnitude = bits & 0x7FFFu;
		const UInt32 infinite = MaskIfLess(0x7BFF, magnitude) & BIAS;
		const UInt32 normal = (magnitude << 13) + BIAS + infinite;
		const UInt32 denormal = std::bit_cast<UInt32>(static_cast<Float32>(static_cast<Int32>(magnitude)) * 0x1p-24f);
		const UInt32 small = MaskIfLess(magnitude, 0x400);
		return std::bit_cast<Float32>(((bits & 0x8000u) << 16) | (small & denormal) | (~small & normal));
	}

	UInt16 _bits = 0;
};

static_assert(sizeof(HalfFloat) == 2);

} // namespace torvi
