// Vectors of floats that formulas calculate with as if they were one number. The compiler splits them into what the machine has, so there
// is one form of each formula for all instruction sets, and each lane gets exactly what the same operations give on a single number.
#pragma once

#include "host/types.h"

#include <cmath>
#include <limits>
#include <type_traits>

namespace torvi
{

#if defined(__AVX__)
inline constexpr std::size_t LANE_BYTES = 32;
#else
inline constexpr std::size_t LANE_BYTES = 16;
#endif

/// For functions that take or give lanes: they stay in registers only where the function is part of its caller.
#define TORVI_LANES_INLINE [[gnu::always_inline]] inline

/// One yes or no per lane, as the result of comparing Lanes<T>.
template <class T>
struct LaneMask
{
	using Bits = std::conditional_t<sizeof(T) == 4, Int32, Int64>;
	typedef Bits Vector __attribute__((vector_size(LANE_BYTES)));

	Vector _bits; ///< all bits of a lane are 0 or 1

	TORVI_LANES_INLINE friend LaneMask operator|(LaneMask a, LaneMask b) { return {a._bits | b._bits}; }
};

template <class T>
struct Lanes
{
	static constexpr Int COUNT = LANE_BYTES / sizeof(T);
	typedef T Vector __attribute__((vector_size(LANE_BYTES)));

	Lanes() = default;
	Lanes(Vector vector) : _vector(vector) {}
	/// The same number in all lanes.
	Lanes(Float64 number) : _vector(static_cast<T>(number) - Vector{}) {}

	TORVI_LANES_INLINE friend Lanes operator+(Lanes a, Lanes b) { return a._vector + b._vector; }
	TORVI_LANES_INLINE friend Lanes operator-(Lanes a, Lanes b) { return a._vector - b._vector; }
	TORVI_LANES_INLINE friend Lanes operator*(Lanes a, Lanes b) { return a._vector * b._vector; }
	TORVI_LANES_INLINE friend Lanes operator/(Lanes a, Lanes b) { return a._vector / b._vector; }
	TORVI_LANES_INLINE friend LaneMask<T> operator==(Lanes a, Lanes b) { return {a._vector == b._vector}; }
	TORVI_LANES_INLINE friend LaneMask<T> operator<(Lanes a, Lanes b) { return {a._vector < b._vector}; }
	TORVI_LANES_INLINE friend LaneMask<T> operator<=(Lanes a, Lanes b) { return {a._vector <= b._vector}; }
	TORVI_LANES_INLINE friend LaneMask<T> operator>(Lanes a, Lanes b) { return {a._vector > b._vector}; }
	TORVI_LANES_INLINE friend LaneMask<T> operator>=(Lanes a, Lanes b) { return {a._vector >= b._vector}; }

	/// `yes` where the mask is set. Both are calculated.
	TORVI_LANES_INLINE friend Lanes Select(LaneMask<T> mask, Lanes yes, Lanes no) { return mask._bits ? yes._vector : no._vector; }
	/// The first one where they are equal, or where one of them is no number.
	TORVI_LANES_INLINE friend Lanes Min(Lanes a, Lanes b) { return Select(b < a, b, a); }
	TORVI_LANES_INLINE friend Lanes Max(Lanes a, Lanes b) { return Select(b > a, b, a); }
	TORVI_LANES_INLINE friend Lanes Abs(Lanes a)
	{
		using Bits = typename LaneMask<T>::Vector;
		return reinterpret_cast<Vector>(reinterpret_cast<Bits>(a._vector) & std::numeric_limits<typename LaneMask<T>::Bits>::max());
	}
	TORVI_LANES_INLINE friend Lanes Sqrt(Lanes a)
	{
		for (Int i = 0; i < COUNT; ++i)
			a._vector[i] = std::sqrt(a._vector[i]);
		return a;
	}

	Vector _vector;
};

/// Whole numbers of 32 bits, as many as Lanes<T> has.
template <class T>
struct IntLanes
{
	typedef Int32 Vector __attribute__((vector_size(LANE_BYTES / sizeof(T) * sizeof(Int32))));

	/// Cuts towards zero. What is out of range becomes the nearest number that both 32-bit types have, what is no number the smallest.
	explicit IntLanes(Lanes<T> a)
	{
		constexpr Float64 SMALLEST = -2147483648.0, LARGEST = 2147483520.0;
		const Lanes<T> clamped = Select(a > SMALLEST, Select(a < LARGEST, a, LARGEST), SMALLEST);
		_vector = __builtin_convertvector(clamped._vector, Vector);
	}
	explicit IntLanes(Vector vector) : _vector(vector) {}

	Lanes<T> ToFloat() const { return __builtin_convertvector(_vector, typename Lanes<T>::Vector); }
	TORVI_LANES_INLINE friend IntLanes operator^(IntLanes a, IntLanes b) { return IntLanes(a._vector ^ b._vector); }

	Vector _vector;
};

} // namespace torvi
