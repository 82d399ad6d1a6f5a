// The loops between data types. The compiler makes vectors of them.
#include "pixelformat/kernel_linear.h"

#include "pixelformat/kernel_linear_float.h"
#include "pixelformat/kernel_simd.h"
#include "pixelformat/kernel_values.h"

#include <algorithm>
#include <utility>

namespace torvi
{

namespace
{

constexpr Int CHUNK = 512; // values of a conversion in two loops

template <class T>
constexpr bool IS_HALF = std::same_as<T, HalfFloat>;

template <class D, class S>
void ConvertValues(Byte* __restrict destination, const Byte* __restrict source, Int count);

#if TORVI_HAS_VECTORS && HWY_TARGET <= HWY_AVX2
constexpr bool HAS_REPEAT_BYTES = true;

/// Bytes to 16 bits, which hold each byte twice. Fewer than 16 at the end are converted together with some before them.
void RepeatBytes(Byte* __restrict destination, const Byte* __restrict source, Int count)
{
	constexpr Int STEP = 16;
	constexpr simd::FixedTag<UChar, 2 * STEP> TAG;
	alignas(2 * STEP) static constexpr std::array<Byte, 2 * STEP> ORDER = {0, 0, 1, 1, 2,  2,  3,  3,  4,  4,  5,  5,  6,  6,  7,  7,
																		   8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13, 14, 14, 15, 15};
	const auto order = simd::Load(TAG, ORDER.data());
	const auto repeat = [&](Int at)
	{ simd::StoreU(simd::TableLookupBytes(simd::LoadDup128(TAG, source + at), order), TAG, destination + 2 * at); };
	if (count < STEP)
	{
		for (Int i = 0; i < count; ++i)
			destination[2 * i] = destination[2 * i + 1] = source[i];
		return;
	}
#pragma GCC unroll 4
	for (Int done = 0; done + STEP <= count; done += STEP)
		repeat(done);
	repeat(count - STEP);
}
#else
constexpr bool HAS_REPEAT_BYTES = false; // the compiler's vectors will do
void RepeatBytes(Byte*, const Byte*, Int) {}
#endif

/// Half floats meet other types as float32; signed integers as unsigned ones.
template <class D, class MIDDLE, class S>
void ConvertInTwoLoops(Byte* __restrict destination, const Byte* __restrict source, Int count)
{
	alignas(64) std::array<Byte, CHUNK * sizeof(MIDDLE)> buffer;
	Byte* const middle = buffer.data();
	for (Int done = 0; done < count; done += CHUNK)
	{
		const Int part = std::min(CHUNK, count - done);
		ConvertValues<MIDDLE, S>(middle, source + done * Int(sizeof(S)), part);
		ConvertValues<D, MIDDLE>(destination + done * Int(sizeof(D)), middle, part);
	}
}

template <class D, class S>
void ConvertValues(Byte* __restrict destination, const Byte* __restrict source, Int count)
{
	if constexpr (std::same_as<D, S>)
		std::memcpy(destination, source, static_cast<std::size_t>(count) * sizeof(D));
	else if constexpr (HAS_REPEAT_BYTES && std::same_as<D, UInt16> && std::same_as<S, UChar>)
		RepeatBytes(destination, source, count);
	else if constexpr (HAS_CONVERT_FLOATS<D, S>)
		ConvertFloats<D, S>(destination, source, count);
	else if constexpr (IS_HALF<D> || IS_HALF<S>)
		ConvertInTwoLoops<D, Float32, S>(destination, source, count);
	else if constexpr (std::signed_integral<D> && std::floating_point<S>)
		ConvertInTwoLoops<D, std::make_unsigned_t<D>, S>(destination, source, count);
	else // the compiler makes vectors of it
		for (Int i = 0; i < count; ++i)
			StoreValue(destination + i * Int(sizeof(D)), ConvertValue<D>(LoadValue<S>(source + i * Int(sizeof(S)))));
}

constexpr std::size_t TYPE_COUNT = VALUE_TYPE_COUNT;

template <std::size_t... PAIR>
constexpr auto MakeTable(std::index_sequence<PAIR...>)
{
	return std::array<LinearKernel, sizeof...(PAIR)>{
		&ConvertValues<ValueOf<static_cast<ValueType>(PAIR / TYPE_COUNT)>, ValueOf<static_cast<ValueType>(PAIR % TYPE_COUNT)>>...};
}

constexpr auto TABLE = MakeTable(std::make_index_sequence<TYPE_COUNT * TYPE_COUNT>()); // by destination, then source

} // namespace

LinearKernel LinearKernelFor(ValueType destination, ValueType source)
{
	return TABLE[static_cast<std::size_t>(destination) * TYPE_COUNT + static_cast<std::size_t>(source)];
}

} // namespace torvi
