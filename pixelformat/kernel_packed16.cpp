// The kernels of the packed formats of 16 bits, one loop per direction, instantiated for ten formats by eight partners.
#include "pixelformat/kernel_packed16.h"

#include "pixelformat/kernel_copy.h"
#include "pixelformat/kernel_layout.h"

#include <utility>

namespace torvi
{

namespace
{

constexpr Int PIXEL_SIZE = 2;
constexpr std::array PARTNERS = {FixedFormat::RGB_U8,  FixedFormat::ARGB_U8,  FixedFormat::RGB_U16, FixedFormat::ARGB_U16,
								 FixedFormat::RGB_F32, FixedFormat::ARGB_F32, FixedFormat::RGB_F64, FixedFormat::ARGB_F64};
constexpr std::size_t PARTNER_COUNT = PARTNERS.size();

constexpr UInt32 Pack(UChar value, Packed16Field field)
{
	return static_cast<UInt32>(value >> (8 - field._bits)) << field._shift;
}

template <Packed16Format PACKED, FixedFormat SOURCE>
void PackRun(const KernelRun& run)
{
	using S = Layout<SOURCE>;
	using enum Channel;
	ForEachPixel<PIXEL_SIZE, S::PIXEL_SIZE>(run,
											[](Byte* destination, const Byte* source)
											{
												constexpr Packed16Info INFO = InfoOf(PACKED);
												UInt32 pixel = Pack(ConvertValue<UChar>(S::template Load<Red>(source)), INFO._red) |
															   Pack(ConvertValue<UChar>(S::template Load<Green>(source)), INFO._green) |
															   Pack(ConvertValue<UChar>(S::template Load<Blue>(source)), INFO._blue);
												if constexpr (INFO.HasAlpha() && S::Has(Alpha))
													pixel |= Pack(ConvertValue<UChar>(S::template Load<Alpha>(source)), INFO._alpha);
												else if constexpr (INFO.HasAlpha())
													pixel |= Pack(255, INFO._alpha);
												StoreValue(destination, static_cast<UInt16>(pixel));
											});
}

template <FixedFormat DESTINATION, Packed16Format PACKED>
void UnpackRun(const KernelRun& run)
{
	using D = Layout<DESTINATION>;
	using Value = typename D::Value;
	using enum Channel;
	ForEachPixel<D::PIXEL_SIZE, PIXEL_SIZE>(
		run,
		[](Byte* destination, const Byte* source)
		{
			constexpr Packed16Info INFO = InfoOf(PACKED);
			const UInt16 pixel = LoadValue<UInt16>(source);
			D::template Store<Red>(destination, ConvertValue<Value>(ExpandColour(pixel, INFO._red)));
			D::template Store<Green>(destination, ConvertValue<Value>(ExpandColour(pixel, INFO._green)));
			D::template Store<Blue>(destination, ConvertValue<Value>(ExpandColour(pixel, INFO._blue)));
			if constexpr (D::Has(Alpha))
				D::template Store<Alpha>(destination, ConvertValue<Value>(ExpandAlpha(pixel, INFO._alpha)));
		});
}

// Between twins only the alpha bits change: all set, or none.
template <UInt16 COLOUR_BITS, UInt16 ALPHA_BITS>
void TwinRun(const KernelRun& run)
{
	ForEachPixel<PIXEL_SIZE, PIXEL_SIZE>(
		run, [](Byte* destination, const Byte* source)
		{ StoreValue(destination, static_cast<UInt16>((LoadValue<UInt16>(source) & COLOUR_BITS) | ALPHA_BITS)); });
}

void CopyRun(const KernelRun& run)
{
	CopyPixels(run, PIXEL_SIZE);
}

struct PartnerKernels
{
	RunKernel _from, _to;
};
using PartnerTable = std::array<std::array<PartnerKernels, PARTNER_COUNT>, PACKED16_FORMAT_COUNT>;

template <std::size_t... PAIR>
constexpr PartnerTable MakePartnerTable(std::index_sequence<PAIR...>)
{
	PartnerTable table = {};
	((table[PAIR / PARTNER_COUNT][PAIR % PARTNER_COUNT] =
		  {&PackRun<static_cast<Packed16Format>(PAIR / PARTNER_COUNT), PARTNERS[PAIR % PARTNER_COUNT]>,
		   &UnpackRun<PARTNERS[PAIR % PARTNER_COUNT], static_cast<Packed16Format>(PAIR / PARTNER_COUNT)>}),
	 ...);
	return table;
}

constexpr PartnerTable TABLE = MakePartnerTable(std::make_index_sequence<PARTNER_COUNT * PACKED16_FORMAT_COUNT>());

const PartnerKernels* FindPartner(Packed16Format packed, FixedFormat partner)
{
	for (std::size_t i = 0; i < PARTNER_COUNT; ++i)
		if (PARTNERS[i] == partner)
			return &TABLE[static_cast<std::size_t>(packed)][i];
	return nullptr;
}

bool SameField(Packed16Field a, Packed16Field b)
{
	return a._shift == b._shift && a._bits == b._bits;
}

} // namespace

RunKernel Packed16KernelFrom(Packed16Format destination, FixedFormat source)
{
	const PartnerKernels* const kernels = FindPartner(destination, source);
	return kernels ? kernels->_from : nullptr;
}

RunKernel Packed16KernelTo(FixedFormat destination, Packed16Format source)
{
	const PartnerKernels* const kernels = FindPartner(source, destination);
	return kernels ? kernels->_to : nullptr;
}

RunKernel Packed16KernelBetween(Packed16Format destination, Packed16Format source)
{
	const Packed16Info& to = InfoOf(destination);
	const Packed16Info& from = InfoOf(source);
	if (destination == source)
		return &CopyRun;
	if (!SameField(to._red, from._red) || !SameField(to._green, from._green) || !SameField(to._blue, from._blue))
		return nullptr;
	if (to._green._bits == 5)
		return to.HasAlpha() ? &TwinRun<0x7FFF, 0x8000> : &TwinRun<0x7FFF, 0>;
	return to.HasAlpha() ? &TwinRun<0x0FFF, 0xF000> : &TwinRun<0x0FFF, 0>;
}

} // namespace torvi
