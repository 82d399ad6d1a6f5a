// A run goes in chunks through planes of float32, one for each colour: one function for each kind of memory brings a chunk in, one of four
// computes, one for each kind of memory takes it out. Packed pixels of 8 and 16 bits are taken apart and put together in words of four
// values; where they are not four, they are widened before and narrowed after. All loops but those two vectorise.
#include "pixelformat/kernel_cmyk_rgb.h"

#include "pixelformat/kernel_layout.h"

#include <bit>

namespace torvi
{

/// Those of the roles of a side. That of alpha takes what is read and not wanted, and gives full scale.
struct CmykRgbConversion::Planes
{
	alignas(64) Float32 _values[CMYK_MAXIMUM_CHANNELS][CMYK_CHUNK_PIXELS];
};

namespace
{

using Planes = CmykRgbConversion::Planes;

constexpr std::size_t LANES = 4; // the values of a pixel that is read or written as a whole

// ---- Arithmetic ----

// `value` where `keep` is 1, 0 where it is 0.
TORVI_KERNEL_INLINE Float32 KeepIf(UInt32 keep, Float32 value)
{
	return std::bit_cast<Float32>(std::bit_cast<UInt32>(value) & (0u - keep));
}

template <bool INVERTED>
void SeparateInks(Planes& planes, Int count)
{
	Float32* __restrict const first = planes._values[0];
	Float32* __restrict const second = planes._values[1];
	Float32* __restrict const third = planes._values[2];
	Float32* __restrict const black = planes._values[3];
	for (Int i = 0; i < count; ++i)
	{
		const Float32 r = first[i], g = second[i], b = third[i];
		const Float32 redOrGreen = r > g ? r : g;
		const Float32 k = 1.0f - (redOrGreen > b ? redOrGreen : b);
		const Float32 w = 1.0f - k;
		// Where w is 0, colours say nothing and are 0. In bits, since a choice between quotients would become a branch.
		const UInt32 isColoured = w != 0.0f;
		const Float32 divisor = w + static_cast<Float32>(static_cast<Int32>(1u - isColoured));
		const Float32 c = KeepIf(isColoured, (1.0f - r - k) / divisor);
		const Float32 m = KeepIf(isColoured, (1.0f - g - k) / divisor);
		const Float32 y = KeepIf(isColoured, (1.0f - b - k) / divisor);
		first[i] = INVERTED ? 1.0f - c : c;
		second[i] = INVERTED ? 1.0f - m : m;
		third[i] = INVERTED ? 1.0f - y : y;
		black[i] = INVERTED ? w : k;
	}
}

template <bool INVERTED>
void MixInks(Planes& planes, Int count)
{
	Float32* __restrict const first = planes._values[0];
	Float32* __restrict const second = planes._values[1];
	Float32* __restrict const third = planes._values[2];
	const Float32* __restrict const black = planes._values[3];
	for (Int i = 0; i < count; ++i)
	{
		const Float32 light = INVERTED ? black[i] : 1.0f - black[i];
		first[i] = (INVERTED ? first[i] : 1.0f - first[i]) * light;
		second[i] = (INVERTED ? second[i] : 1.0f - second[i]) * light;
		third[i] = (INVERTED ? third[i] : 1.0f - third[i]) * light;
	}
}

// ---- Packed pixels ----

// The planes of the four values of a pixel that is read or written as a whole. Of five, the first is alpha and left out; of three, what
// comes behind them goes to the plane of alpha.
template <class Value, class PlanesOfRun>
std::array<Value*, LANES> PlanesOfLanes(PlanesOfRun& planes, const CmykSide& side)
{
	const std::size_t first = side._channelCount > LANES ? 1 : 0;
	return {planes._values[side._roles[first]], planes._values[side._roles[first + 1]], planes._values[side._roles[first + 2]],
			planes._values[side._roles[first + 3]]};
}

template <class T>
Int FirstLaneByte(const CmykSide& side)
{
	return side._channelCount > LANES ? sizeof(T) : 0;
}

// Where a value lies in a word of 32 bits, by its index in memory.
template <class T, int INDEX>
constexpr int SHIFT = static_cast<int>(8 * sizeof(T)) * (std::endian::native == std::endian::little ? INDEX : 4 / sizeof(T) - 1 - INDEX);

template <class T, int INDEX>
TORVI_KERNEL_INLINE Float32 TakeValue(UInt32 word)
{
	return ConvertValue<Float32>(static_cast<T>(word >> SHIFT<T, INDEX>));
}

template <class T, int INDEX>
TORVI_KERNEL_INLINE UInt32 PutValue(Float32 value)
{
	return static_cast<UInt32>(ConvertValue<T>(value)) << SHIFT<T, INDEX>;
}

template <class T>
void SplitPixels(Planes& planes, const CmykSide& side, const Byte* __restrict pixels, Int count)
{
	const auto lanes = PlanesOfLanes<Float32>(planes, side);
	Float32* __restrict const a = lanes[0], * __restrict const b = lanes[1], * __restrict const c = lanes[2], * __restrict const d = lanes[3];
	for (Int i = 0; i < count; ++i)
	{
		const Byte* const pixel = pixels + i * static_cast<Int>(LANES * sizeof(T));
		if constexpr (sizeof(T) == 1)
		{
			const UInt32 word = LoadValue<UInt32>(pixel);
			a[i] = TakeValue<T, 0>(word);
			b[i] = TakeValue<T, 1>(word);
			c[i] = TakeValue<T, 2>(word);
			d[i] = TakeValue<T, 3>(word);
		}
		else if constexpr (sizeof(T) == 2)
		{
			const UInt32 first = LoadValue<UInt32>(pixel), second = LoadValue<UInt32>(pixel + 4);
			a[i] = TakeValue<T, 0>(first);
			b[i] = TakeValue<T, 1>(first);
			c[i] = TakeValue<T, 0>(second);
			d[i] = TakeValue<T, 1>(second);
		}
		else
		{
			a[i] = LoadValue<T>(pixel);
			b[i] = LoadValue<T>(pixel + 4);
			c[i] = LoadValue<T>(pixel + 8);
			d[i] = LoadValue<T>(pixel + 12);
		}
	}
}

template <class T>
void JoinPixels(const Planes& planes, const CmykSide& side, Byte* __restrict pixels, Int count)
{
	const auto lanes = PlanesOfLanes<const Float32>(planes, side);
	const Float32 *const a = lanes[0], *const b = lanes[1], *const c = lanes[2], *const d = lanes[3];
	for (Int i = 0; i < count; ++i)
	{
		Byte* const pixel = pixels + i * static_cast<Int>(LANES * sizeof(T));
		if constexpr (sizeof(T) == 1)
			StoreValue(pixel, PutValue<T, 0>(a[i]) | PutValue<T, 1>(b[i]) | PutValue<T, 2>(c[i]) | PutValue<T, 3>(d[i]));
		else if constexpr (sizeof(T) == 2)
		{
			StoreValue(pixel, PutValue<T, 0>(a[i]) | PutValue<T, 1>(b[i]));
			StoreValue(pixel + 4, PutValue<T, 0>(c[i]) | PutValue<T, 1>(d[i]));
		}
		else
		{
			StoreValue(pixel, a[i]);
			StoreValue(pixel + 4, b[i]);
			StoreValue(pixel + 8, c[i]);
			StoreValue(pixel + 12, d[i]);
		}
	}
}

// Pixels of three or four values, `stride` bytes apart, as pixels of four. Three that lie side by side are read with what is behind them,
// the next pixel's first value.
template <class T, std::size_t COUNT>
void WidenPixels(Byte* __restrict wide, const Byte* __restrict pixels, Int stride, Int count)
{
	constexpr Int WIDE = LANES * sizeof(T), SIZE = COUNT * sizeof(T);
	Int i = 0;
	for (const Int end = COUNT < LANES && stride == SIZE ? count - 1 : 0; i < end; ++i)
		std::memcpy(wide + i * WIDE, pixels + i * SIZE, WIDE);
	for (; i < count; ++i)
	{
		std::memcpy(wide + i * WIDE, pixels + i * stride, SIZE);
		if constexpr (COUNT < LANES)
			StoreValue(wide + i * WIDE + SIZE, T());
	}
}

// Back again. Where three lie side by side, the next pixel overwrites what is written behind each.
template <class T, std::size_t COUNT>
void NarrowPixels(Byte* __restrict pixels, Int stride, const Byte* __restrict wide, Int count)
{
	constexpr Int WIDE = LANES * sizeof(T), SIZE = COUNT * sizeof(T);
	Int i = 0;
	for (const Int end = COUNT < LANES && stride == SIZE ? count - 1 : 0; i < end; ++i)
		std::memcpy(pixels + i * SIZE, wide + i * WIDE, WIDE);
	for (; i < count; ++i)
		std::memcpy(pixels + i * stride, wide + i * WIDE, SIZE);
}

template <class T, std::size_t COUNT>
void EnterPixels(Planes& planes, const CmykSide& side, const KernelRun& chunk)
{
	constexpr Int WIDE = LANES * sizeof(T);
	const Byte* const pixels = chunk._source + FirstLaneByte<T>(side);
	if (COUNT == LANES && chunk._sourceStride == WIDE)
		return SplitPixels<T>(planes, side, pixels, chunk._count);
	alignas(64) Byte wide[CMYK_CHUNK_PIXELS * LANES * sizeof(T)];
	WidenPixels<T, COUNT>(wide, pixels, chunk._sourceStride, chunk._count);
	SplitPixels<T>(planes, side, wide, chunk._count);
}

template <class T, std::size_t COUNT>
void LeavePixels(const Planes& planes, const CmykSide& side, const KernelRun& chunk)
{
	constexpr Int WIDE = LANES * sizeof(T);
	Byte* const pixels = chunk._destination + FirstLaneByte<T>(side);
	if (COUNT == LANES && chunk._destinationStride == WIDE)
		return JoinPixels<T>(planes, side, pixels, chunk._count);
	alignas(64) Byte wide[CMYK_CHUNK_PIXELS * LANES * sizeof(T)];
	JoinPixels<T>(planes, side, wide, chunk._count);
	NarrowPixels<T, COUNT>(pixels, chunk._destinationStride, wide, chunk._count);
}

// ---- Other layouts, and float64 ----

template <class T>
void EnterChannels(Planes& planes, const CmykSide& side, const KernelRun& chunk)
{
	for (std::size_t i = 0; i < side._colourCount; ++i)
	{
		auto* const plane = reinterpret_cast<Byte*>(planes._values[i]);
		ForEachPixel<sizeof(Float32), sizeof(T)>(
			{plane, sizeof(Float32), chunk._source + side._offsets[i], chunk._sourceStride, chunk._count},
			[](Byte* to, const Byte* from) { StoreValue(to, ConvertValue<Float32>(LoadValue<T>(from))); });
	}
}

template <class T>
void LeaveChannels(const Planes& planes, const CmykSide& side, const KernelRun& chunk)
{
	for (std::size_t i = 0; i < side._colourCount; ++i)
	{
		const auto* const plane = reinterpret_cast<const Byte*>(planes._values[i]);
		ForEachPixel<sizeof(T), sizeof(Float32)>(
			{chunk._destination + side._offsets[i], chunk._destinationStride, plane, sizeof(Float32), chunk._count},
			[](Byte* to, const Byte* from) { StoreValue(to, ConvertValue<T>(LoadValue<Float32>(from))); });
	}
}

// ---- Choice ----

bool IsTakenWhole(const CmykSide& side)
{
	return side._isPacked && side._type != ValueType::F64;
}

template <class T>
CmykRgbConversion::Enter EnterOf(const CmykSide& side)
{
	if (!IsTakenWhole(side))
		return &EnterChannels<T>;
	return side._channelCount < LANES ? &EnterPixels<T, LANES - 1> : &EnterPixels<T, LANES>;
}

template <class T>
CmykRgbConversion::Leave LeaveOf(const CmykSide& side)
{
	if (!IsTakenWhole(side))
		return &LeaveChannels<T>;
	return side._channelCount < LANES ? &LeavePixels<T, LANES - 1> : &LeavePixels<T, LANES>;
}

CmykRgbConversion::Enter ChooseEnter(const CmykSide& side)
{
	switch (side._type)
	{
	case ValueType::U8:
		return EnterOf<UChar>(side);
	case ValueType::U16:
		return EnterOf<UInt16>(side);
	case ValueType::F32:
		return EnterOf<Float32>(side);
	default:
		return &EnterChannels<Float64>;
	}
}

CmykRgbConversion::Leave ChooseLeave(const CmykSide& side)
{
	switch (side._type)
	{
	case ValueType::U8:
		return LeaveOf<UChar>(side);
	case ValueType::U16:
		return LeaveOf<UInt16>(side);
	case ValueType::F32:
		return LeaveOf<Float32>(side);
	default:
		return &LeaveChannels<Float64>;
	}
}

std::optional<ChannelStep> ChooseAlphaStep(const CmykSide& destination, const CmykSide& source)
{
	if (destination._alpha == CmykSide::Alpha::None)
		return std::nullopt;
	const ChannelPlace to = {destination._offsets[CmykSide::ALPHA_ROLE], destination._type};
	if (source._alpha == CmykSide::Alpha::Present)
		return MoverStep(to, {source._offsets[CmykSide::ALPHA_ROLE], source._type});
	if (IsTakenWhole(destination) && destination._channelCount == LANES)
		return std::nullopt; // full scale came out with the colours
	return FillStep(to, 255);
}

} // namespace

CmykRgbConversion::CmykRgbConversion(const CmykSide& destination, const CmykSide& source, Compute compute)
	: _destination(destination), _source(source), _enter(ChooseEnter(source)), _compute(compute), _leave(ChooseLeave(destination)),
	  _alphaStep(ChooseAlphaStep(destination, source))
{
}

CmykRgbConversion CmykRgbConversion::FromRgb(const CmykSide& cmyk, bool isInverted, const CmykSide& rgb)
{
	return CmykRgbConversion(cmyk, rgb, isInverted ? &SeparateInks<true> : &SeparateInks<false>);
}

CmykRgbConversion CmykRgbConversion::ToRgb(const CmykSide& rgb, const CmykSide& cmyk, bool isInverted)
{
	return CmykRgbConversion(rgb, cmyk, isInverted ? &MixInks<true> : &MixInks<false>);
}

void CmykRgbConversion::Run(const KernelRun& run) const
{
	Planes planes;
	for (Int start = 0; start < run._count; start += CMYK_CHUNK_PIXELS)
	{
		const KernelRun chunk = ChunkOf(run, start);
		_enter(planes, _source, chunk);
		_compute(planes, chunk._count);
		std::fill_n(planes._values[CmykSide::ALPHA_ROLE], chunk._count, 1.0f);
		_leave(planes, _destination, chunk);
		if (_alphaStep)
			RunSteps({&*_alphaStep, 1}, chunk);
	}
}

} // namespace torvi
