// Integer conversion between 8-bit RGB and YUV in video range, a pair of pixels at a time.
#include "pixelformat/kernel_yuv.h"

#include "pixelformat/kernel_copy.h"
#include "pixelformat/kernel_layout.h"

#include <algorithm>
#include <utility>

namespace torvi
{

namespace
{

constexpr std::array PARTNERS = {FixedFormat::RGB_U8,  FixedFormat::RGBA_U8, FixedFormat::RGBX_U8, FixedFormat::ARGB_U8,
								 FixedFormat::XRGB_U8, FixedFormat::BGR_U8,  FixedFormat::BGRA_U8, FixedFormat::BGRX_U8,
								 FixedFormat::RGB_U16, FixedFormat::RGB_F32, FixedFormat::RGB_F64};
constexpr std::size_t PARTNER_COUNT = PARTNERS.size();
constexpr std::size_t FORMAT_COUNT = 2;

struct Colour
{
	Int32 _red, _green, _blue;
};

// Where the two bytes of a pixel lie.
template <YuvFormat FORMAT>
constexpr Int LUMA = FORMAT == YuvFormat::I422A ? 0 : 1;
template <YuvFormat FORMAT>
constexpr Int CHROMA = 1 - LUMA<FORMAT>;

template <class S>
TORVI_KERNEL_INLINE Colour LoadColour(const Byte* pixel)
{
	using enum Channel;
	return {ConvertValue<UChar>(S::template Load<Red>(pixel)), ConvertValue<UChar>(S::template Load<Green>(pixel)),
			ConvertValue<UChar>(S::template Load<Blue>(pixel))};
}

TORVI_KERNEL_INLINE Byte LumaOf(const Colour& colour)
{
	return static_cast<Byte>(((66 * colour._red + 129 * colour._green + 25 * colour._blue + 128) >> 8) + 16);
}

template <YuvFormat FORMAT, FixedFormat SOURCE>
void EncodeRun(const KernelRun& run)
{
	using S = Layout<SOURCE>;
	const KernelRun local = run; // the stores below might alias `run`
	for (Int i = 0; i + 1 < local._count; i += 2)
	{
		const Byte* const source = local._source + i * local._sourceStride;
		Byte* const first = local._destination + i * local._destinationStride;
		Byte* const second = first + local._destinationStride;
		const Colour colour = LoadColour<S>(source);
		first[LUMA<FORMAT>] = LumaOf(colour);
		first[CHROMA<FORMAT>] = static_cast<Byte>(((-38 * colour._red - 74 * colour._green + 112 * colour._blue + 128) >> 8) + 128);
		second[LUMA<FORMAT>] = LumaOf(LoadColour<S>(source + local._sourceStride));
		second[CHROMA<FORMAT>] = static_cast<Byte>(((112 * colour._red - 94 * colour._green - 18 * colour._blue + 128) >> 8) + 128);
	}
}

template <class D>
TORVI_KERNEL_INLINE void StoreColour(Byte* pixel, Int32 y, Int32 u, Int32 v)
{
	using Value = typename D::Value;
	using enum Channel;
	const auto clamped = [](Int32 value) { return ConvertValue<Value>(static_cast<UInt16>(std::clamp(value, 0, 65535))); };
	D::template Store<Red>(pixel, clamped(298 * y + 409 * (v - 128) - 4640));
	D::template Store<Green>(pixel, clamped(298 * y - 208 * (v - 128) + 100 * (128 - u) - 4640));
	D::template Store<Blue>(pixel, clamped(298 * y + 516 * u - 70688));
	if constexpr (D::Has(Alpha))
		D::template Store<Alpha>(pixel, FULL_SCALE<Value>);
	if constexpr (D::Has(Unused))
		D::template Store<Unused>(pixel, Value());
}

template <FixedFormat DESTINATION, YuvFormat FORMAT>
void DecodeRun(const KernelRun& run)
{
	using D = Layout<DESTINATION>;
	const KernelRun local = run; // the stores below might alias `run`
	for (Int i = 0; i + 1 < local._count; i += 2)
	{
		const Byte* const first = local._source + i * local._sourceStride;
		const Byte* const second = first + local._sourceStride;
		Byte* const destination = local._destination + i * local._destinationStride;
		const Int32 u = first[CHROMA<FORMAT>], v = second[CHROMA<FORMAT>], secondLuma = second[LUMA<FORMAT>];
		StoreColour<D>(destination, first[LUMA<FORMAT>], u, v);
		StoreColour<D>(destination + local._destinationStride, secondLuma, u, v);
	}
}

void CopyRun(const KernelRun& run)
{
	CopyPixels(run, YUV_PIXEL_SIZE);
}

struct PartnerKernels
{
	RunKernel _from, _to;
};
using PartnerTable = std::array<std::array<PartnerKernels, PARTNER_COUNT>, FORMAT_COUNT>;

template <std::size_t... PAIR>
constexpr PartnerTable MakePartnerTable(std::index_sequence<PAIR...>)
{
	PartnerTable table = {};
	((table[PAIR / PARTNER_COUNT][PAIR % PARTNER_COUNT] =
		  {&EncodeRun<static_cast<YuvFormat>(PAIR / PARTNER_COUNT), PARTNERS[PAIR % PARTNER_COUNT]>,
		   &DecodeRun<PARTNERS[PAIR % PARTNER_COUNT], static_cast<YuvFormat>(PAIR / PARTNER_COUNT)>}),
	 ...);
	return table;
}

constexpr PartnerTable TABLE = MakePartnerTable(std::make_index_sequence<PARTNER_COUNT * FORMAT_COUNT>());

const PartnerKernels* FindPartner(YuvFormat format, FixedFormat partner)
{
	const auto found = std::find(PARTNERS.begin(), PARTNERS.end(), partner);
	if (found == PARTNERS.end())
		return nullptr;
	return &TABLE[static_cast<std::size_t>(format)][static_cast<std::size_t>(found - PARTNERS.begin())];
}

} // namespace

RunKernel YuvKernelFrom(YuvFormat destination, FixedFormat source)
{
	const PartnerKernels* const kernels = FindPartner(destination, source);
	return kernels ? kernels->_from : nullptr;
}

RunKernel YuvKernelTo(FixedFormat destination, YuvFormat source)
{
	const PartnerKernels* const kernels = FindPartner(source, destination);
	return kernels ? kernels->_to : nullptr;
}

RunKernel YuvCopyKernel()
{
	return &CopyRun;
}

} // namespace torvi
