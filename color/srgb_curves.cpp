// The sRGB curves. A vector calculates powers in double precision, far closer than `powf` itself is to the true value. Where no float lies
// between the ends of the interval that `powf` may miss the true value by, rounding gives what `powf` gives; the few other values go
// through `powf` one by one.
#include "color/srgb_curves.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <hwy/highway.h>

namespace torvi
{

namespace
{

constexpr Int CHUNK_PIXELS = 64;

template <SrgbCurve>
struct CurveConstants;

template <>
struct CurveConstants<SrgbCurve::TO_LINEAR>
{
	static constexpr Float32 LINEAR_END = 0.04045f, SLOPE = 0.07739938f, EXPONENT = 2.4f;
	static constexpr Float32 SHIFT_BEFORE = 0.055f, SCALE_BEFORE = 0.9478673f;
};

template <>
struct CurveConstants<SrgbCurve::FROM_LINEAR>
{
	static constexpr Float32 LINEAR_END = 0.0031308f, SLOPE = 12.92f, EXPONENT = 0.41666666f;
	static constexpr Float32 SCALE_AFTER = 1.055f, SHIFT_AFTER = 0.055f;
};

template <class T>
T LoadFrom(const Byte* source)
{
	T value;
	std::memcpy(&value, source, sizeof(value));
	return value;
}

template <SrgbCurve CURVE>
void ConvertOne(Byte* destination, const Byte* source)
{
	const Float32 value = ApplySrgbCurve<CURVE>(LoadFrom<Float32>(source));
	std::memcpy(destination, &value, sizeof(value));
}

#if HWY_TARGET != HWY_SCALAR

namespace simd
{

using namespace hwy::HWY_NAMESPACE; // NOLINT(google-build-using-namespace): the library's own namespace is named after the target

using Floats = ScalableTag<Float32>;
using HalfFloats = Half<Floats>;
using Doubles = Rebind<Float64, HalfFloats>;
using Ints = Rebind<Int32, Floats>;
using HalfInts = Rebind<Int32, HalfFloats>;
constexpr std::size_t LANES = HWY_LANES(Float32);

// How far from the true value `powf` may lie, as a part of it, where the result's logarithm to base 2 is t: |t| times the first and the
// second. Those of glibc and musl stay within two thirds of that, what is calculated here within a thirtieth, and libraries that round
// better are nearer to the true value.
constexpr Float64 MARGIN_OF_LOGARITHM = 1.8 * 0x1p-33, MARGIN_OF_POWER = 1.25 * 0x1p-33;
constexpr Float32 LARGEST_ARGUMENT = 8.0f;
constexpr Int32 SQUARE_ROOT_OF_HALF = 0x3F3504F3; // the bits of the float

/// c[0] + c[1] x + ...
template <std::size_t COUNT>
HWY_INLINE VFromD<Doubles> Polynomial(VFromD<Doubles> x, const Float64 (&coefficients)[COUNT])
{
	auto sum = Set(Doubles(), coefficients[COUNT - 1]);
	for (std::size_t i = COUNT - 1; i-- > 0;)
		sum = MulAdd(sum, x, Set(Doubles(), coefficients[i]));
	return sum;
}

/// The ends of the interval that a power may lie in, without their power of two.
struct Powers
{
	VFromD<HalfFloats> _low;
	VFromD<HalfFloats> _high;
	VFromD<HalfInts> _exponent;
};

/// Powers of mantissa times 2^exponent, the mantissa within the square root of 2 from 1. The coefficients are those of Chebyshev
/// interpolation, with relative errors below 2^-37.
template <SrgbCurve CURVE>
HWY_INLINE Powers PowersOf(VFromD<HalfFloats> mantissas, VFromD<HalfInts> exponents)
{
	constexpr Float64 LOGARITHM[] = {0x1.71547652bed21p+1, 0x1.ec709d13ae363p-1, 0x1.27777f54b0e3dp-1, 0x1.a58dc78dd320fp-2,
									 0x1.5ce42aa8d1c0cp-2}; // log2((1 + s) / (1 - s)) / s in s^2
	constexpr Float64 EXPONENTIAL[] = {1.0,
									   0x1.62e42fef84cf0p-1,
									   0x1.ebfbdff823cedp-3,
									   0x1.c6b08dd6fd234p-5,
									   0x1.3b2ab7181b755p-7,
									   0x1.5d8745a728441p-10,
									   0x1.4308ac85aa947p-13,
									   0x1.00dc4a532fb8ep-16,
									   0x1.63d136366db24p-20}; // 2^f, f within a half from 0
	const Doubles tag;
	const HalfFloats half;
	const auto mantissa = PromoteTo(tag, mantissas);
	const auto one = Set(tag, 1.0);
	const auto s = Div(Sub(mantissa, one), Add(mantissa, one));
	const auto logarithm = MulAdd(s, Polynomial(Mul(s, s), LOGARITHM), PromoteTo(tag, exponents));
	const auto t = Mul(logarithm, Set(tag, static_cast<Float64>(CurveConstants<CURVE>::EXPONENT)));
	const auto whole = Round(t);
	const auto power = Polynomial(Sub(t, whole), EXPONENTIAL);
	const auto margin = Mul(power, MulAdd(Abs(t), Set(tag, MARGIN_OF_LOGARITHM), Set(tag, MARGIN_OF_POWER)));
	return {DemoteTo(half, Sub(power, margin)), DemoteTo(half, Add(power, margin)), DemoteTo(HalfInts(), whole)};
}

template <SrgbCurve CURVE>
HWY_INLINE VFromD<Floats> BeforePower(VFromD<Floats> values)
{
	using Constants = CurveConstants<CURVE>;
	if constexpr (CURVE == SrgbCurve::TO_LINEAR)
		return Mul(Add(values, Set(Floats(), Constants::SHIFT_BEFORE)), Set(Floats(), Constants::SCALE_BEFORE));
	else
		return values;
}

template <SrgbCurve CURVE>
HWY_INLINE VFromD<Floats> AfterPower(VFromD<Floats> powers)
{
	using Constants = CurveConstants<CURVE>;
	if constexpr (CURVE == SrgbCurve::TO_LINEAR)
		return powers;
	else
		return Sub(Mul(powers, Set(Floats(), Constants::SCALE_AFTER)), Set(Floats(), Constants::SHIFT_AFTER));
}

/// The lanes of colours; the others hold alpha.
template <Int CHANNELS>
HWY_INLINE MFromD<Floats> ColourLanes()
{
	constexpr Float32 IS_COLOUR[] = {1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0};
	static_assert(CHANNELS == 3 || (LANES % 4 == 0 && LANES <= std::size(IS_COLOUR)));
	const Floats tag;
	return CHANNELS == 3 ? Eq(Zero(tag), Zero(tag)) : Eq(LoadU(tag, IS_COLOUR), Set(tag, 1.0f));
}

/// Converts one vector. With four channels the first lane holds red.
template <SrgbCurve CURVE, Int CHANNELS>
HWY_INLINE void ConvertVector(Byte* destination, const Byte* source)
{
	using Constants = CurveConstants<CURVE>;
	const Floats tag;
	const HalfFloats half;
	const auto values = LoadU(tag, reinterpret_cast<const Float32*>(source));
	const auto isLinear = Le(values, Set(tag, Constants::LINEAR_END));
	const auto isColour = ColourLanes<CHANNELS>();
	const auto isPower = AndNot(isLinear, isColour);
	const auto isKept = Or(Not(isColour), Lt(values, Zero(tag)));
	const auto straight = IfThenElse(isKept, values, Mul(values, Set(tag, Constants::SLOPE)));
	auto* const to = reinterpret_cast<Float32*>(destination);
	if (AllFalse(tag, isPower))
	{
		StoreU(straight, tag, to);
		return;
	}
	const auto arguments = BeforePower<CURVE>(values);
	const auto isSure = And(isPower, Le(arguments, Set(tag, LARGEST_ARGUMENT))); // NaN is not
	const auto bounded = IfThenElse(isSure, arguments, Set(tag, 1.0f));
	const auto bits = BitCast(Ints(), bounded);
	const auto exponents = ShiftRight<23>(Sub(bits, Set(Ints(), SQUARE_ROOT_OF_HALF)));
	const auto mantissas = BitCast(tag, Sub(bits, ShiftLeft<23>(exponents)));
	const Powers lower = PowersOf<CURVE>(LowerHalf(half, mantissas), LowerHalf(HalfInts(), exponents));
	const Powers upper = PowersOf<CURVE>(UpperHalf(half, mantissas), UpperHalf(HalfInts(), exponents));
	const auto low = Combine(tag, upper._low, lower._low);
	const auto high = Combine(tag, upper._high, lower._high);
	const auto scale = ShiftLeft<23>(Combine(Ints(), upper._exponent, lower._exponent));
	const auto powers = BitCast(tag, Add(BitCast(Ints(), low), scale));
	StoreU(IfThenElse(isPower, AfterPower<CURVE>(powers), straight), tag, to);

	const auto isDoubtful = AndNot(And(isSure, Eq(low, high)), isPower);
	if (HWY_LIKELY(AllFalse(tag, isDoubtful)))
		return;
	alignas(64) Float32 kept[LANES];
	Store(values, tag, kept); // the source may be overwritten by now
	Byte doubtful[8] = {};
	StoreMaskBits(tag, isDoubtful, doubtful);
	for (UInt32 left = doubtful[0] | UInt32(doubtful[1]) << 8; left != 0; left &= left - 1)
	{
		const int lane = __builtin_ctz(left);
		ConvertOne<CURVE>(destination + lane * Int(sizeof(Float32)), reinterpret_cast<const Byte*>(&kept[lane]));
	}
}

} // namespace simd

#endif

/// Packed pixels; both sides may be the same.
template <SrgbCurve CURVE, Int CHANNELS>
void ConvertPacked(Byte* destination, const Byte* source, Int pixelCount)
{
	constexpr Int SIZE = sizeof(Float32);
	const Int count = pixelCount * CHANNELS;
	Int i = 0;
#if HWY_TARGET != HWY_SCALAR
	constexpr Int STEP = Int(simd::LANES);
	for (; i + STEP <= count; i += STEP)
		simd::ConvertVector<CURVE, CHANNELS>(destination + i * SIZE, source + i * SIZE);
#endif
	for (; i < count; ++i)
	{
		if (CHANNELS == 4 && i % 4 == 3)
			std::memmove(destination + i * SIZE, source + i * SIZE, SIZE);
		else
			ConvertOne<CURVE>(destination + i * SIZE, source + i * SIZE);
	}
}

/// Through a buffer of packed pixels.
template <SrgbCurve CURVE, Int CHANNELS>
void ConvertSpread(const FloatRun& run)
{
	constexpr Int SIZE = CHANNELS * Int(sizeof(Float32));
	alignas(64) Byte buffer[static_cast<std::size_t>(CHUNK_PIXELS * SIZE)];
	for (Int start = 0; start < run._count; start += CHUNK_PIXELS)
	{
		const Int count = std::min(CHUNK_PIXELS, run._count - start);
		for (Int i = 0; i < count; ++i)
			std::memcpy(buffer + i * SIZE, run._source + (start + i) * run._sourceDistance, SIZE);
		ConvertPacked<CURVE, CHANNELS>(buffer, buffer, count);
		for (Int i = 0; i < count; ++i)
			std::memcpy(run._destination + (start + i) * run._destinationDistance, buffer + i * SIZE, SIZE);
	}
}

} // namespace

template <>
Float32 ApplySrgbCurve<SrgbCurve::TO_LINEAR>(Float32 value)
{
	using Constants = CurveConstants<SrgbCurve::TO_LINEAR>;
	if (value <= 0.0f)
		return value;
	if (value <= Constants::LINEAR_END)
		return value * Constants::SLOPE;
	return std::pow((value + Constants::SHIFT_BEFORE) * Constants::SCALE_BEFORE, Constants::EXPONENT);
}

template <>
Float32 ApplySrgbCurve<SrgbCurve::FROM_LINEAR>(Float32 value)
{
	using Constants = CurveConstants<SrgbCurve::FROM_LINEAR>;
	if (value < 0.0f)
		return value;
	if (value <= Constants::LINEAR_END)
		return value * Constants::SLOPE;
	return Constants::SCALE_AFTER * std::pow(value, Constants::EXPONENT) - Constants::SHIFT_AFTER;
}

template <SrgbCurve CURVE, Int CHANNELS>
void ApplySrgbCurve(const FloatRun& run)
{
	constexpr Int SIZE = CHANNELS * Int(sizeof(Float32));
	if (run._sourceDistance == SIZE && run._destinationDistance == SIZE)
		ConvertPacked<CURVE, CHANNELS>(run._destination, run._source, run._count);
	else
		ConvertSpread<CURVE, CHANNELS>(run);
}

template void ApplySrgbCurve<SrgbCurve::TO_LINEAR, 3>(const FloatRun& run);
template void ApplySrgbCurve<SrgbCurve::TO_LINEAR, 4>(const FloatRun& run);
template void ApplySrgbCurve<SrgbCurve::FROM_LINEAR, 3>(const FloatRun& run);
template void ApplySrgbCurve<SrgbCurve::FROM_LINEAR, 4>(const FloatRun& run);

} // namespace torvi
