// The arithmetic of one channel value: how a number of one data type becomes a number of another, what "full" is, and the mean of three.
// Each rule is written here once and without branches, so that every loop built on it vectorises. Floating-point arithmetic stays in the
// width of the source; no input, NaN and infinities included, is undefined behaviour.
#pragma once

#include "host/halffloat.h"
#include "pixelformat/fixed_formats.h"

#include <concepts>
#include <cstring>
#include <limits>
#include <tuple>
#include <type_traits>

// Whole kernel families lie in one file; without this the compiler's growth limits leave calls in the inner loops.
#define TORVI_KERNEL_INLINE [[gnu::always_inline]] inline

namespace torvi
{

/// The C++ type that holds one value of the data type.
template <ValueType T>
using ValueOf =
	std::tuple_element_t<static_cast<std::size_t>(T), std::tuple<UChar, Char, UInt16, Int16, UInt32, Int32, HalfFloat, Float32, Float64>>;

/// Calls `function` with a value of a type that stands for all of its size: 1, 2, 4 or 8 bytes.
template <class Function>
constexpr auto WithValueOfSize(Int size, Function function)
{
	switch (size)
	{
	case 1:
		return function(UChar());
	case 2:
		return function(UInt16());
	case 4:
		return function(UInt32());
	default:
		return function(UInt64());
	}
}

/// Calls `function` with a value of the data type.
template <class Function>
constexpr auto WithValueOfType(ValueType type, Function function)
{
	switch (type)
	{
	case ValueType::U8:
		return function(UChar());
	case ValueType::S8:
		return function(Char());
	case ValueType::U16:
		return function(UInt16());
	case ValueType::S16:
		return function(Int16());
	case ValueType::U32:
		return function(UInt32());
	case ValueType::S32:
		return function(Int32());
	case ValueType::F16:
		return function(HalfFloat());
	case ValueType::F32:
		return function(Float32());
	default:
		return function(Float64());
	}
}

/// Reads a value from any address.
template <class T>
TORVI_KERNEL_INLINE T LoadValue(const Byte* address)
{
	if constexpr (std::same_as<T, HalfFloat>)
		return HalfFloat::FromBits(LoadValue<UInt16>(address));
	else
	{
		T value;
		std::memcpy(&value, address, sizeof(T));
		return value;
	}
}

/// Writes a value to any address.
template <class T>
TORVI_KERNEL_INLINE void StoreValue(Byte* address, T value)
{
	if constexpr (std::same_as<T, HalfFloat>)
		StoreValue<UInt16>(address, value.GetBits());
	else
		std::memcpy(address, &value, sizeof(T));
}

/// A signed channel is the unsigned channel of its width with the top bit flipped.
template <std::signed_integral T>
TORVI_KERNEL_INLINE constexpr std::make_unsigned_t<T> FlipSign(T value)
{
	using Unsigned = std::make_unsigned_t<T>;
	return static_cast<Unsigned>(static_cast<Unsigned>(value) ^ static_cast<Unsigned>(std::numeric_limits<T>::min()));
}

template <std::signed_integral To>
TORVI_KERNEL_INLINE constexpr To FlipToSigned(std::make_unsigned_t<To> value)
{
	using Unsigned = std::make_unsigned_t<To>;
	return static_cast<To>(static_cast<Unsigned>(value ^ static_cast<Unsigned>(std::numeric_limits<To>::min())));
}

/// Narrowing cuts, widening repeats the bits.
template <std::unsigned_integral To, std::unsigned_integral From>
TORVI_KERNEL_INLINE constexpr To IntegerToInteger(From value)
{
	if constexpr (sizeof(To) <= sizeof(From))
		return static_cast<To>(value >> (8 * (sizeof(From) - sizeof(To))));
	else
		return static_cast<To>(static_cast<UInt32>(value) * (std::numeric_limits<To>::max() / std::numeric_limits<From>::max()));
}

/// Integer to float is a multiplication by the rounded reciprocal of full scale; for 32 bits to float32 that is 2^-32.
template <std::floating_point To, std::unsigned_integral From>
TORVI_KERNEL_INLINE constexpr To IntegerToFloat(From value)
{
	constexpr To FACTOR = static_cast<To>(1.0 / static_cast<Float64>(std::numeric_limits<From>::max()));
	return static_cast<To>(value) * FACTOR;
}

static_assert(IntegerToFloat<Float32>(UChar(1)) == 0.003921569f && IntegerToFloat<Float32>(UInt16(1)) == 1.5259022e-5f);
static_assert(IntegerToFloat<Float32>(UInt32(1)) == 2.3283064e-10f && IntegerToFloat<Float64>(UInt32(1)) == 2.3283064370807974e-10);

/// `scaled`, 0 or above and below 2^32, cut to an integer. Written over the signed conversion, which every processor has as a vector.
template <std::floating_point From>
TORVI_KERNEL_INLINE constexpr UInt32 TruncateToUInt32(From scaled)
{
	constexpr From HALF = From(2147483648.0);
	const bool high = scaled >= HALF;
	const From rest = scaled - (high ? HALF : From(0));
	return static_cast<UInt32>(static_cast<Int32>(rest)) ^ (high ? 0x80000000u : 0u);
}

/// Float to integer: the value times full scale plus a half, clamped and cut. NaN gives 0. From float32 to 32 bits the factor is 2^32,
/// as full scale has no float32 form; what reaches 2^32 is full.
template <std::unsigned_integral To, std::floating_point From>
TORVI_KERNEL_INLINE constexpr To FloatToInteger(From value)
{
	constexpr From SCALE = static_cast<From>(std::numeric_limits<To>::max());
	const From scaled = SCALE * value + From(0.5);
	const From positive = scaled > From(0) ? scaled : From(0);
	if constexpr (sizeof(To) < 4)
		return static_cast<To>(static_cast<Int32>(positive < SCALE ? positive : SCALE));
	else if constexpr (std::same_as<From, Float64>)
		return TruncateToUInt32(positive < SCALE ? positive : SCALE);
	else
	{
		constexpr Float32 LARGEST_BELOW = 4294967040.0f;
		const UInt32 full = positive >= SCALE ? 0xFFFFFFFFu : 0u;
		return TruncateToUInt32(positive < LARGEST_BELOW ? positive : LARGEST_BELOW) | full;
	}
}

/// One channel value in another data type. The same type is a copy of the bits.
template <class To, class From>
TORVI_KERNEL_INLINE constexpr To ConvertValue(From value)
{
	if constexpr (std::same_as<To, From>)
		return value;
	else if constexpr (std::signed_integral<From>)
		return ConvertValue<To>(FlipSign(value));
	else if constexpr (std::signed_integral<To>)
		return FlipToSigned<To>(ConvertValue<std::make_unsigned_t<To>>(value));
	else if constexpr (std::same_as<From, HalfFloat>)
		return ConvertValue<To>(static_cast<Float32>(value));
	else if constexpr (std::same_as<To, HalfFloat>)
		return HalfFloat(ConvertValue<Float32>(value));
	else if constexpr (std::unsigned_integral<From> && std::unsigned_integral<To>)
		return IntegerToInteger<To>(value);
	else if constexpr (std::unsigned_integral<From>)
		return IntegerToFloat<To>(value);
	else if constexpr (std::unsigned_integral<To>)
		return FloatToInteger<To>(value);
	else
		return static_cast<To>(value);
}

/// Full scale: full opacity in an alpha channel.
template <class T>
constexpr T FULL_SCALE = ConvertValue<T>(UChar(255));
static_assert(FULL_SCALE<Float32> == 1.0f && FULL_SCALE<Float64> == 1.0 && FULL_SCALE<HalfFloat>.GetBits() == 0x3C00);

/// The bits of an 8-bit value in another type, from the lowest byte.
inline UInt64 BitsOfConverted(ValueType type, UChar value)
{
	return WithValueOfType(type,
						   [value](auto zero)
						   {
							   const auto converted = ConvertValue<decltype(zero)>(value);
							   UInt64 bits = 0;
							   std::memcpy(&bits, &converted, sizeof(converted));
							   return bits;
						   });
}

/// The plain mean of three colours, in their own type.
template <class T>
TORVI_KERNEL_INLINE constexpr T MeanOfThree(T a, T b, T c)
{
	if constexpr (std::same_as<T, UChar>)
		return static_cast<UChar>((static_cast<UInt32>(a) + b + c) * 21846u >> 16);
	else if constexpr (std::same_as<T, UInt16>)
		return static_cast<UInt16>((static_cast<UInt32>(a) + b + c) * UInt64(0x55555556) >> 32);
	else if constexpr (std::same_as<T, UInt32>)
		return a / 3 + b / 3 + c / 3 + ((a % 3 + b % 3 + c % 3) * 11 >> 5); // the sum of the rests by 3, without a division
	else if constexpr (std::same_as<T, Int32>)
	{
		// In 32 bits: the mean rounded down, and one more where it is negative and not whole, as it is cut towards zero.
		const Int32 rests = a % 3 + b % 3 + c % 3 + 6; // 0 to 12
		const Int32 thirds = rests * 11 >> 5;
		const Int32 down = a / 3 + b / 3 + c / 3 + (thirds - 2); // the sum alone may be the largest number
		return down + static_cast<Int32>(down < 0 && rests != thirds * 3);
	}
	else if constexpr (std::same_as<T, HalfFloat>)
		return HalfFloat((static_cast<Float32>(a) + static_cast<Float32>(b) + static_cast<Float32>(c)) / 3.0f);
	else
	{
		static_assert(std::floating_point<T>);
		return (T(0) + a + b + c) / T(3);
	}
}

} // namespace torvi
