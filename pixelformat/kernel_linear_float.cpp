// Floats to integers and halves, and what becomes a half, in explicit vectors.
#include "pixelformat/kernel_linear_float.h"

#include "pixelformat/kernel_simd.h"
#include "pixelformat/kernel_values.h"

namespace torvi
{

#if TORVI_HAS_VECTORS

namespace
{

using namespace simd;

/// Bytes of the values that fill one vector of float32, or two of float64.
template <class T>
constexpr Int STEP = LANES* Int(sizeof(T));

/// The float32 that halves stand for. Where the bits of NaNs are of no interest they may change.
template <bool KEEPS_NANS>
TORVI_KERNEL_INLINE VFromD<Floats> WidenHalves(VFromD<Rebind<UInt16, Floats>> halves)
{
#if HWY_TARGET == HWY_AVX2
	const __m256 widened = _mm256_cvtph_ps(halves.raw); // makes NaNs quiet
	if (!KEEPS_NANS || HWY_LIKELY(_mm256_movemask_ps(_mm256_cmp_ps(widened, widened, _CMP_UNORD_Q)) == 0))
		return VFromD<Floats>{widened};
#endif
	// The bits at their places in a float32 are 2^-112 times the number, also where it is denormal. Infinities and NaNs, finite after the
	// multiplication, get their exponent back.
	const UInts tag;
	const auto bits = PromoteTo(tag, halves);
	const auto magnitude = ShiftLeft<13>(And(bits, Set(tag, 0x7FFF)));
	const auto scaled = BitCast(tag, Mul(BitCast(Floats(), magnitude), Set(Floats(), 0x1p112f)));
	const auto isInfinite = Gt(BitCast(Ints(), magnitude), Set(Ints(), 0x0F7FE000));
	const auto exponent = BitCast(tag, IfThenElseZero(isInfinite, Set(Ints(), 0x7F800000)));
	const auto sign = ShiftLeft<16>(And(bits, Set(tag, 0x8000)));
	return BitCast(Floats(), Or(Or(scaled, exponent), sign));
}

/// One vector of float32 from values of type S.
template <class S, bool KEEPS_NANS = false>
TORVI_KERNEL_INLINE VFromD<Floats> LoadFloats(const Byte* source)
{
	if constexpr (std::same_as<S, Float32>)
		return LoadAt(Floats(), source);
	else if constexpr (std::same_as<S, HalfFloat>)
		return WidenHalves<KEEPS_NANS>(LoadAt(Rebind<UInt16, Floats>(), source));
	else
	{
		constexpr Float32 FACTOR = static_cast<Float32>(1.0 / static_cast<Float64>(std::numeric_limits<S>::max()));
		return Mul(ConvertTo(Floats(), PromoteTo(Ints(), LoadAt(Rebind<S, Floats>(), source))), Set(Floats(), FACTOR));
	}
}

/// The values times full scale of `To` and a half, between 0 and `limit`. NaN becomes 0.
template <class To, class Tag>
TORVI_KERNEL_INLINE VFromD<Tag> Scale(Tag tag, VFromD<Tag> values, TFromD<Tag> limit)
{
	constexpr auto FULL = static_cast<TFromD<Tag>>(std::numeric_limits<To>::max());
	const auto scaled = Add(Mul(Set(tag, FULL), values), Set(tag, TFromD<Tag>(0.5)));
	return Min(Max(scaled, Zero(tag)), Set(tag, limit));
}

/// One vector of numbers that fit into `To`, which has 8 or 16 bits, from floats of any width.
template <class To, class From>
TORVI_KERNEL_INLINE VFromD<Ints> WholeNumbers(const Byte* source)
{
	constexpr auto FULL = std::numeric_limits<To>::max();
	if constexpr (std::same_as<From, Float64>)
		return Truncate(Scale<To>(Doubles(), LoadAt(Doubles(), source), FULL),
						Scale<To>(Doubles(), LoadAt(Doubles(), source + STEP<Float32>), FULL));
	else
		return Truncate(Scale<To>(Floats(), LoadFloats<From>(source), FULL));
}

constexpr UInt32 SIGN = 0x80000000;

/// Cuts numbers from 0 to below 2^32: what is 2^31 and more is cut without it and gets it back as a bit.
TORVI_KERNEL_INLINE VFromD<UInts> TruncateUnsigned(VFromD<Floats> floats)
{
	const Floats tag;
	const auto half = Set(tag, 2147483648.0f);
	const auto isHigh = Ge(floats, half);
	const auto rest = BitCast(UInts(), Truncate(Sub(floats, IfThenElseZero(isHigh, half))));
	return Xor(rest, And(BitCast(UInts(), VecFromMask(tag, isHigh)), Set(UInts(), SIGN)));
}

/// The same for doubles. Without their fraction they may be shifted to the range of signed numbers.
TORVI_KERNEL_INLINE VFromD<UInts> TruncateUnsigned(VFromD<Doubles> low, VFromD<Doubles> high)
{
	const auto half = Set(Doubles(), 2147483648.0);
	return Xor(BitCast(UInts(), Truncate(Sub(Floor(low), half), Sub(Floor(high), half))), Set(UInts(), SIGN));
}

template <class From>
TORVI_KERNEL_INLINE VFromD<UInts> WholeNumbers32(const Byte* source)
{
	if constexpr (std::same_as<From, Float64>)
	{
		constexpr Float64 FULL = 4294967295.0;
		return TruncateUnsigned(Scale<UInt32>(Doubles(), LoadAt(Doubles(), source), FULL),
								Scale<UInt32>(Doubles(), LoadAt(Doubles(), source + STEP<Float32>), FULL));
	}
	else
	{
		constexpr Float32 LARGEST_BELOW = 4294967040.0f;
		const Floats tag;
		const auto full = Set(tag, 4294967296.0f);
		const auto scaled = Add(Mul(full, LoadFloats<From>(source)), Set(tag, 0.5f));
		const auto isFull = BitCast(UInts(), VecFromMask(tag, Ge(scaled, full)));
		return Or(TruncateUnsigned(Min(Max(scaled, Zero(tag)), Set(tag, LARGEST_BELOW))), isFull);
	}
}

TORVI_KERNEL_INLINE VFromD<Floats> ClampToHalf(VFromD<Floats> floats)
{
	const Floats tag;
	const auto top = Set(tag, 65500.0f), bottom = Set(tag, -65500.0f);
	const auto belowTop = IfThenElse(Lt(top, floats), top, floats); // NaN passes both comparisons
	return IfThenElse(Lt(belowTop, bottom), bottom, belowTop);
}

TORVI_KERNEL_INLINE VFromD<Ints> HalfBits(VFromD<Floats> clamped)
{
	const UInts bitsTag;
	const Floats tag;
	const auto bits = BitCast(bitsTag, clamped);
	const auto magnitude = And(bits, Set(bitsTag, 0x7FFFFFFF));
	const auto positive = BitCast(tag, magnitude);
	const auto smallestNormal = Set(tag, 0x1p-14f);
	const auto isSmall = Lt(positive, smallestNormal);
	const auto tiny = IfThenElse(isSmall, positive, smallestNormal); // keeps the cast in range
	const auto denormal = BitCast(bitsTag, Truncate(Mul(tiny, Set(tag, 0x1p24f))));
	const auto isNumber = RebindMask(bitsTag, Eq(positive, positive));
	const auto notANumber = IfThenZeroElse(isNumber, Set(bitsTag, 0x4000));
	const auto normal = Or(ShiftRight<13>(Sub(magnitude, Set(bitsTag, 0x38000000))), notANumber);
	const auto sign = And(ShiftRight<16>(bits), Set(bitsTag, 0x8000));
	const auto unsignedBits = And(IfThenElse(RebindMask(bitsTag, isSmall), denormal, normal), Set(bitsTag, 0x7FFF));
	return BitCast(Ints(), Or(sign, unsignedBits));
}

TORVI_KERNEL_INLINE void StoreAsHalves(VFromD<Floats> a, VFromD<Floats> b, Byte* destination)
{
	const auto first = ClampToHalf(a), second = ClampToHalf(b);
#if HWY_TARGET == HWY_AVX2
	if (HWY_LIKELY(_mm256_movemask_ps(_mm256_cmp_ps(first.raw, second.raw, _CMP_UNORD_Q)) == 0)) // makes NaNs quiet too
	{
		constexpr int TOWARDS_ZERO = _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC;
		_mm_storeu_si128(reinterpret_cast<__m128i*>(destination), _mm256_cvtps_ph(first.raw, TOWARDS_ZERO));
		_mm_storeu_si128(reinterpret_cast<__m128i*>(destination) + 1, _mm256_cvtps_ph(second.raw, TOWARDS_ZERO));
		return;
	}
#endif
	StoreAsShorts(HalfBits(first), HalfBits(second), destination);
}

/// How many values a block converts.
template <class D>
constexpr Int BLOCK = LANES*(sizeof(D) == 4   ? 1
							 : sizeof(D) == 2 ? 2
											  : 4);

template <class D, class S>
TORVI_KERNEL_INLINE void ConvertBlock(Byte* to, const Byte* from)
{
	if constexpr (std::same_as<D, UChar>)
		StoreAsBytes(WholeNumbers<D, S>(from), WholeNumbers<D, S>(from + STEP<S>), WholeNumbers<D, S>(from + 2 * STEP<S>),
					 WholeNumbers<D, S>(from + 3 * STEP<S>), to);
	else if constexpr (std::same_as<D, UInt16>)
		StoreAsShorts(WholeNumbers<D, S>(from), WholeNumbers<D, S>(from + STEP<S>), to);
	else if constexpr (std::same_as<D, UInt32>)
		StoreAt(WholeNumbers32<S>(from), UInts(), to);
	else if constexpr (std::same_as<D, HalfFloat>)
		StoreAsHalves(LoadFloats<S>(from), LoadFloats<S>(from + STEP<S>), to);
	else
		StoreAt(LoadFloats<S, true>(from), Floats(), to);
}

} // namespace

#endif

// A last block that is not full starts earlier and converts some values once more; what is shorter than a block goes value by value.
template <class D, class S>
void ConvertFloats(Byte* __restrict destination, const Byte* __restrict source, Int count)
{
	constexpr Int TO = sizeof(D), FROM = sizeof(S);
#if TORVI_HAS_VECTORS
	if (count >= BLOCK<D>)
	{
		Int i = 0;
		for (; i + BLOCK<D> <= count; i += BLOCK<D>)
			ConvertBlock<D, S>(destination + i * TO, source + i * FROM);
		if (i < count)
			ConvertBlock<D, S>(destination + (count - BLOCK<D>)*TO, source + (count - BLOCK<D>)*FROM);
		return;
	}
#endif
	for (Int i = 0; i < count; ++i)
		StoreValue(destination + i * TO, ConvertValue<D>(LoadValue<S>(source + i * FROM)));
}

#define TORVI_CONVERT_FLOATS(D, S) template void ConvertFloats<D, S>(Byte * destination, const Byte* source, Int count);
#include "pixelformat/kernel_linear_float.inc"

} // namespace torvi
