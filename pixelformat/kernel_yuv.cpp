// Integer conversion between 8-bit RGB and YUV in video range, on planes of some pixels at a time.
#include "pixelformat/kernel_yuv.h"

#include "pixelformat/kernel_values.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr Int CHUNK = 128; // pixels
constexpr Int PAIRS = CHUNK / 2;

template <class T, Int COUNT = CHUNK>
struct alignas(64) Plane
{
	std::array<T, static_cast<std::size_t>(COUNT)> _values;

	Byte* GetBytes() { return reinterpret_cast<Byte*>(_values.data()); }
};

/// Two pixels share four bytes: where each of them lies.
struct PairBytes
{
	std::size_t _firstLuma, _u, _secondLuma, _v;
};

template <YuvFormat FORMAT>
constexpr PairBytes BYTES = FORMAT == YuvFormat::I422A ? PairBytes{0, 1, 2, 3} : PairBytes{1, 0, 3, 2};

struct ColourPlanes
{
	Plane<UChar> _red, _green, _blue;
};

void ComputeLuma(UChar* __restrict luma, const ColourPlanes& colours, Int count)
{
	for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
		luma[i] = static_cast<UChar>(
			((66 * colours._red._values[i] + 129 * colours._green._values[i] + 25 * colours._blue._values[i] + 128) >> 8) + 16);
}

void ComputeChroma(UChar* __restrict u, UChar* __restrict v, const ColourPlanes& colours, Int count)
{
	for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
	{
		const Int32 red = colours._red._values[i], green = colours._green._values[i], blue = colours._blue._values[i];
		u[i] = static_cast<UChar>(((-38 * red - 74 * green + 112 * blue + 128) >> 8) + 128);
		v[i] = static_cast<UChar>(((112 * red - 94 * green - 18 * blue + 128) >> 8) + 128);
	}
}

template <YuvFormat FORMAT>
void EncodePixels(Byte* destination, const Byte* source, Int count, const PlanStep&)
{
	const DeinterleaveKernel takeColours = DeinterleaveKernelFor(1, 3), takePairs = DeinterleaveKernelFor(1, 2);
	const InterleaveKernel putPairs = InterleaveKernelFor(1, 4);
	ColourPlanes colours;
	Plane<UChar> luma, u, v;
	Plane<UChar, PAIRS> firstLuma, secondLuma, firstU, firstV, unused;
	ConstPlanePointers pairs = {};
	pairs[BYTES<FORMAT>._firstLuma] = firstLuma.GetBytes();
	pairs[BYTES<FORMAT>._u] = firstU.GetBytes();
	pairs[BYTES<FORMAT>._secondLuma] = secondLuma.GetBytes();
	pairs[BYTES<FORMAT>._v] = firstV.GetBytes();
	for (Int done = 0; done < count; done += CHUNK)
	{
		const Int part = std::min(CHUNK, count - done);
		takeColours({colours._red.GetBytes(), colours._green.GetBytes(), colours._blue.GetBytes()}, source + done * 3, part);
		ComputeLuma(luma._values.data(), colours, part);
		ComputeChroma(u._values.data(), v._values.data(), colours, part);
		takePairs({firstLuma.GetBytes(), secondLuma.GetBytes()}, luma.GetBytes(), part / 2);
		takePairs({firstU.GetBytes(), unused.GetBytes()}, u.GetBytes(), part / 2);
		takePairs({firstV.GetBytes(), unused.GetBytes()}, v.GetBytes(), part / 2);
		putPairs(destination + done * YUV_PIXEL_SIZE, pairs, part / 2);
	}
}

UInt16 Clamp(Int32 value)
{
	return static_cast<UInt16>(std::clamp(value, 0, 65535));
}

template <YuvFormat FORMAT>
void DecodePixels(Byte* destination, const Byte* source, Int count, const PlanStep&)
{
	const DeinterleaveKernel takePairs = DeinterleaveKernelFor(1, 4);
	const InterleaveKernel putPairs = InterleaveKernelFor(1, 2), putColours = InterleaveKernelFor(2, 3);
	Plane<UChar, PAIRS> firstLuma, secondLuma, pairU, pairV;
	Plane<UChar> luma, u, v;
	Plane<UInt16> red, green, blue;
	PlanePointers pairs = {};
	pairs[BYTES<FORMAT>._firstLuma] = firstLuma.GetBytes();
	pairs[BYTES<FORMAT>._u] = pairU.GetBytes();
	pairs[BYTES<FORMAT>._secondLuma] = secondLuma.GetBytes();
	pairs[BYTES<FORMAT>._v] = pairV.GetBytes();
	for (Int done = 0; done < count; done += CHUNK)
	{
		const Int part = std::min(CHUNK, count - done);
		takePairs(pairs, source + done * YUV_PIXEL_SIZE, part / 2);
		putPairs(luma.GetBytes(), {firstLuma.GetBytes(), secondLuma.GetBytes()}, part / 2);
		putPairs(u.GetBytes(), {pairU.GetBytes(), pairU.GetBytes()}, part / 2);
		putPairs(v.GetBytes(), {pairV.GetBytes(), pairV.GetBytes()}, part / 2);
		for (std::size_t i = 0; i < static_cast<std::size_t>(part); ++i)
		{
			const Int32 scaled = 298 * luma._values[i], blueness = u._values[i], redness = v._values[i];
			red._values[i] = Clamp(scaled + 409 * (redness - 128) - 4640);
			green._values[i] = Clamp(scaled - 208 * (redness - 128) + 100 * (128 - blueness) - 4640);
			blue._values[i] = Clamp(scaled + 516 * blueness - 70688);
		}
		putColours(destination + done * 6, {red.GetBytes(), green.GetBytes(), blue.GetBytes()}, part);
	}
}

bool IsPartner(FixedFormat format)
{
	using enum FixedFormat;
	constexpr std::array PARTNERS = {RGB_U8, RGBA_U8, RGBX_U8, ARGB_U8, XRGB_U8, BGR_U8, BGRA_U8, BGRX_U8, RGB_U16, RGB_F32, RGB_F64};
	return std::find(PARTNERS.begin(), PARTNERS.end(), format) != PARTNERS.end();
}

} // namespace

std::optional<ConversionPlan> YuvPlanFrom(YuvFormat destination, const FixedPlaces& source)
{
	if (!IsPartner(source.GetFormat()))
		return std::nullopt;
	const auto encode = destination == YuvFormat::I422A ? &EncodePixels<YuvFormat::I422A> : &EncodePixels<YuvFormat::I422B>;
	return PlanBetween(FixedPlaces(FixedFormat::RGB_U8), source).Before({encode, YUV_PIXEL_SIZE, 3, 2});
}

std::optional<ConversionPlan> YuvPlanTo(const FixedPlaces& destination, YuvFormat source)
{
	if (!IsPartner(destination.GetFormat()))
		return std::nullopt;
	const auto decode = source == YuvFormat::I422A ? &DecodePixels<YuvFormat::I422A> : &DecodePixels<YuvFormat::I422B>;
	return PlanBetween(destination, FixedPlaces(FixedFormat::RGB_U16)).After({decode, 6, YUV_PIXEL_SIZE, 2});
}

} // namespace torvi
