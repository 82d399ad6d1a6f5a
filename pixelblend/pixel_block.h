// As many RGBA pixels as a vector has lanes, as one vector per channel, and the way between them and packed pixels in memory. Which lane
// holds which pixel is left to what the machine shuffles fastest; going there and back keeps the order.
#pragma once

#include "pixelblend/lanes.h"

#include <array>
#include <cstring>

namespace torvi
{

/// Red, green, blue.
template <class T>
using ColorLanes = std::array<Lanes<T>, 3>;

template <class T>
struct PixelBlock
{
	static constexpr Int COUNT = Lanes<T>::COUNT;
	static constexpr Int PIXEL_BYTES = 4 * sizeof(T);

	ColorLanes<T> _color;
	Lanes<T> _alpha;
};

namespace detail
{

/// The four vectors that `COUNT` packed pixels are.
template <class T>
struct FourVectors
{
	using Vector = typename Lanes<T>::Vector;
	Vector _a, _b, _c, _d;
};

/// Squares of 4 x 4 floats, one in each 128 bits of the vectors, turned over their diagonals.
TORVI_LANES_INLINE FourVectors<Float32> Transpose(const FourVectors<Float32>& v)
{
#if defined(__AVX__)
#define TORVI_ZIP_LOW(a, b) __builtin_shufflevector(a, b, 0, 8, 1, 9, 4, 12, 5, 13)
#define TORVI_ZIP_HIGH(a, b) __builtin_shufflevector(a, b, 2, 10, 3, 11, 6, 14, 7, 15)
#else
#define TORVI_ZIP_LOW(a, b) __builtin_shufflevector(a, b, 0, 4, 1, 5)
#define TORVI_ZIP_HIGH(a, b) __builtin_shufflevector(a, b, 2, 6, 3, 7)
#endif
	const auto acLow = TORVI_ZIP_LOW(v._a, v._c), acHigh = TORVI_ZIP_HIGH(v._a, v._c);
	const auto bdLow = TORVI_ZIP_LOW(v._b, v._d), bdHigh = TORVI_ZIP_HIGH(v._b, v._d);
	return {TORVI_ZIP_LOW(acLow, bdLow), TORVI_ZIP_HIGH(acLow, bdLow), TORVI_ZIP_LOW(acHigh, bdHigh), TORVI_ZIP_HIGH(acHigh, bdHigh)};
#undef TORVI_ZIP_LOW
#undef TORVI_ZIP_HIGH
}

TORVI_LANES_INLINE FourVectors<Float32> Split(const FourVectors<Float32>& pixels)
{
	return Transpose(pixels);
}

TORVI_LANES_INLINE FourVectors<Float32> Join(const FourVectors<Float32>& planes)
{
	return Transpose(planes);
}

#if defined(__AVX__)

/// One square of 4 x 4 doubles.
TORVI_LANES_INLINE FourVectors<Float64> Transpose(const FourVectors<Float64>& v)
{
	const auto abEven = __builtin_shufflevector(v._a, v._b, 0, 4, 2, 6), abOdd = __builtin_shufflevector(v._a, v._b, 1, 5, 3, 7);
	const auto cdEven = __builtin_shufflevector(v._c, v._d, 0, 4, 2, 6), cdOdd = __builtin_shufflevector(v._c, v._d, 1, 5, 3, 7);
	return {__builtin_shufflevector(abEven, cdEven, 0, 1, 4, 5), __builtin_shufflevector(abOdd, cdOdd, 0, 1, 4, 5),
			__builtin_shufflevector(abEven, cdEven, 2, 3, 6, 7), __builtin_shufflevector(abOdd, cdOdd, 2, 3, 6, 7)};
}

TORVI_LANES_INLINE FourVectors<Float64> Split(const FourVectors<Float64>& pixels)
{
	return Transpose(pixels);
}

TORVI_LANES_INLINE FourVectors<Float64> Join(const FourVectors<Float64>& planes)
{
	return Transpose(planes);
}

#else

/// Two pixels of two vectors each.
TORVI_LANES_INLINE FourVectors<Float64> Split(const FourVectors<Float64>& v)
{
	return {__builtin_shufflevector(v._a, v._c, 0, 2), __builtin_shufflevector(v._a, v._c, 1, 3), __builtin_shufflevector(v._b, v._d, 0, 2),
			__builtin_shufflevector(v._b, v._d, 1, 3)};
}

TORVI_LANES_INLINE FourVectors<Float64> Join(const FourVectors<Float64>& v)
{
	return {__builtin_shufflevector(v._a, v._b, 0, 2), __builtin_shufflevector(v._c, v._d, 0, 2), __builtin_shufflevector(v._a, v._b, 1, 3),
			__builtin_shufflevector(v._c, v._d, 1, 3)};
}

#endif

} // namespace detail

/// Reads packed pixels; `source` needs no alignment.
template <class T>
TORVI_LANES_INLINE PixelBlock<T> LoadBlock(const Byte* source)
{
	const auto load = [source](std::size_t index)
	{
		typename Lanes<T>::Vector vector;
		std::memcpy(&vector, source + index * LANE_BYTES, LANE_BYTES);
		return vector;
	};
	const auto planes = detail::Split(detail::FourVectors<T>{load(0), load(1), load(2), load(3)});
	return {{planes._a, planes._b, planes._c}, planes._d};
}

template <class T>
TORVI_LANES_INLINE void StoreBlock(const PixelBlock<T>& block, Byte* destination)
{
	const auto store = [destination](std::size_t index, typename Lanes<T>::Vector vector)
	{ std::memcpy(destination + index * LANE_BYTES, &vector, LANE_BYTES); };
	const auto& [red, green, blue] = block._color;
	const auto pixels = detail::Join(detail::FourVectors<T>{red._vector, green._vector, blue._vector, block._alpha._vector});
	store(0, pixels._a);
	store(1, pixels._b);
	store(2, pixels._c);
	store(3, pixels._d);
}

} // namespace torvi
