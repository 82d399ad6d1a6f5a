// The loops between data types. The compiler makes vectors of them.
#include "pixelformat/kernel_linear.h"

#include "pixelformat/kernel_linear_float.h"
#include "pixelformat/kernel_shuffle.h"
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

/// Bytes to 16 bits, which hold each byte twice: a shuffle of bytes.
void RepeatBytes(Byte* destination, const Byte* source, Int count)
{
	static const ShuffleMap MAP = MakeShuffleMap(1, 1, std::array<ChannelPick, 2>{{{0, 0}, {0, 0}}});
	ShufflePixels(destination, source, count, MAP);
}

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
	else if constexpr (std::same_as<D, UInt16> && std::same_as<S, UChar>)
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
