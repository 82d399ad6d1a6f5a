// A run goes in chunks through planes of float32, one for each colour: one function for each kind of memory brings a chunk in, one of four
// computes, one for each kind of memory takes it out. Packed pixels are taken apart before their values are converted and put together
// after. Every loop over values that lie side by side vectorises.
#include "pixelformat/kernel_cmyk_rgb.h"

#include "pixelformat/kernel_cmyk_chunk.h"

#include <bit>

namespace torvi
{

/// One for each role of a side. That of alpha takes what comes in with the colours and is not wanted, and gives full scale on the way out.
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

// The planes of the values of a pixel that is read or written as a whole. Of five, the first is alpha and left out; of three, the last
// plane is not used.
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

template <class T>
using ValuePlanes = std::array<T*, LANES>;

// Pixels of `COUNT` values side by side, into a plane for each of them.
template <class T, std::size_t COUNT>
void SplitPixels(const ValuePlanes<T>& planes, const Byte* __restrict pixels, Int count)
{
	T* __restrict const a = planes[0];
	T* __restrict const b = planes[1];
	T* __restrict const c = planes[2];
	T* __restrict const d = planes[3];
	for (Int i = 0; i < count; ++i)
	{
		const Byte* const pixel = pixels + i * static_cast<Int>(COUNT * sizeof(T));
		a[i] = LoadValue<T>(pixel);
		b[i] = LoadValue<T>(pixel + sizeof(T));
		c[i] = LoadValue<T>(pixel + 2 * sizeof(T));
		if constexpr (COUNT > 3)
			d[i] = LoadValue<T>(pixel + 3 * sizeof(T));
	}
}

template <class T, std::size_t COUNT>
void JoinPixels(Byte* __restrict pixels, const ValuePlanes<const T>& planes, Int count)
{
	const T *const a = planes[0], *const b = planes[1], *const c = planes[2], *const d = planes[3];
	for (Int i = 0; i < count; ++i)
	{
		Byte* const pixel = pixels + i * static_cast<Int>(COUNT * sizeof(T));
		StoreValue(pixel, a[i]);
		StoreValue(pixel + sizeof(T), b[i]);
		StoreValue(pixel + 2 * sizeof(T), c[i]);
		if constexpr (COUNT > 3)
			StoreValue(pixel + 3 * sizeof(T), d[i]);
	}
}

template <class D, class S>
void ConvertPlane(D* to, const S* from, Int count)
{
	ConvertValues<D, S>({reinterpret_cast<Byte*>(to), sizeof(D), reinterpret_cast<const Byte*>(from), sizeof(S), count});
}

template <class T, std::size_t COUNT>
void EnterPixels(Planes& planes, const CmykSide& side, const KernelRun& chunk)
{
	constexpr std::size_t SIZE = COUNT * sizeof(T);
	alignas(64) Byte gathered[CMYK_CHUNK_PIXELS * SIZE];
	const Byte* pixels = chunk._source + FirstLaneByte<T>(side);
	if (chunk._sourceStride != static_cast<Int>(SIZE))
	{
		MoveBytes<SIZE>({gathered, SIZE, pixels, chunk._sourceStride, chunk._count});
		pixels = gathered;
	}
	const auto lanes = PlanesOfLanes<Float32>(planes, side);
	if constexpr (std::same_as<T, Float32>)
		SplitPixels<T, COUNT>(lanes, pixels, chunk._count);
	else
	{
		alignas(64) T values[LANES][CMYK_CHUNK_PIXELS];
		SplitPixels<T, COUNT>({values[0], values[1], values[2], values[3]}, pixels, chunk._count);
		for (std::size_t i = 0; i < COUNT; ++i)
			ConvertPlane(lanes[i], values[i], chunk._count);
	}
}

template <class T, std::size_t COUNT>
void LeavePixels(const Planes& planes, const CmykSide& side, const KernelRun& chunk)
{
	constexpr std::size_t SIZE = COUNT * sizeof(T);
	alignas(64) Byte joined[CMYK_CHUNK_PIXELS * SIZE];
	Byte* const destination = chunk._destination + FirstLaneByte<T>(side);
	const bool isSpread = chunk._destinationStride != static_cast<Int>(SIZE);
	Byte* const pixels = isSpread ? joined : destination;
	const auto lanes = PlanesOfLanes<const Float32>(planes, side);
	if constexpr (std::same_as<T, Float32>)
		JoinPixels<T, COUNT>(pixels, lanes, chunk._count);
	else
	{
		alignas(64) T values[LANES][CMYK_CHUNK_PIXELS];
		for (std::size_t i = 0; i < COUNT; ++i)
			ConvertPlane(values[i], lanes[i], chunk._count);
		JoinPixels<T, COUNT>(pixels, {values[0], values[1], values[2], values[3]}, chunk._count);
	}
	if (isSpread)
		MoveBytes<SIZE>({destination, chunk._destinationStride, joined, SIZE, chunk._count});
}

// ---- Other layouts, and float64 ----

template <class T>
void EnterChannels(Planes& planes, const CmykSide& side, const KernelRun& chunk)
{
	for (std::size_t i = 0; i < side._colourCount; ++i)
		ConvertValues<Float32, T>({reinterpret_cast<Byte*>(planes._values[i]), sizeof(Float32), chunk._source + side._offsets[i],
								   chunk._sourceStride, chunk._count});
}

template <class T>
void LeaveChannels(const Planes& planes, const CmykSide& side, const KernelRun& chunk)
{
	for (std::size_t i = 0; i < side._colourCount; ++i)
		ConvertValues<T, Float32>({chunk._destination + side._offsets[i], chunk._destinationStride,
								   reinterpret_cast<const Byte*>(planes._values[i]), sizeof(Float32), chunk._count});
}

// ---- Choice ----

bool IsTakenWhole(const CmykSide& side)
{
	return side._isPacked && side._type != ValueType::F64;
}

struct Doors
{
	CmykRgbConversion::Enter _enter;
	CmykRgbConversion::Leave _leave;
};

template <class T>
Doors DoorsOf(const CmykSide& side)
{
	if (!IsTakenWhole(side))
		return {&EnterChannels<T>, &LeaveChannels<T>};
	if (side._channelCount < LANES)
		return {&EnterPixels<T, LANES - 1>, &LeavePixels<T, LANES - 1>};
	return {&EnterPixels<T, LANES>, &LeavePixels<T, LANES>};
}

Doors ChooseDoors(const CmykSide& side)
{
	switch (side._type)
	{
	case ValueType::U8:
		return DoorsOf<UChar>(side);
	case ValueType::U16:
		return DoorsOf<UInt16>(side);
	case ValueType::F32:
		return DoorsOf<Float32>(side);
	default:
		return {&EnterChannels<Float64>, &LeaveChannels<Float64>};
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
	: _destination(destination), _source(source), _enter(ChooseDoors(source)._enter), _compute(compute),
	  _leave(ChooseDoors(destination)._leave), _alphaStep(ChooseAlphaStep(destination, source))
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
