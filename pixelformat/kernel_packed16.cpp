// The kernels of the packed formats of 16 bits: one loop per format and direction between the packed pixel and ARGB of 8 bits.
#include "pixelformat/kernel_packed16.h"

#include "pixelformat/kernel_copy.h"
#include "pixelformat/kernel_values.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace torvi
{

namespace
{

constexpr Int PIXEL_SIZE = 2;
constexpr FixedFormat MIDDLE = FixedFormat::ARGB_U8; // which packed pixels become on their way, as one UInt32
constexpr Int MIDDLE_SIZE = 4;

/// How far to the left the byte at `index` lies in a UInt32.
constexpr int ShiftOfByte(int index)
{
	return std::endian::native == std::endian::little ? 8 * index : 24 - 8 * index;
}

constexpr UInt32 Pack(UInt32 middle, int index, Packed16Field field)
{
	const UInt32 value = middle >> ShiftOfByte(index) & 0xFF;
	return value >> (8 - field._bits) << field._shift;
}

template <Packed16Format PACKED>
void PackPixels(Byte* __restrict destination, const Byte* __restrict source, Int count, const PlanStep&)
{
	constexpr Packed16Info INFO = InfoOf(PACKED);
	for (Int i = 0; i < count; ++i)
	{
		const UInt32 middle = LoadValue<UInt32>(source + i * MIDDLE_SIZE);
		const UInt32 pixel =
			Pack(middle, 0, INFO._alpha) | Pack(middle, 1, INFO._red) | Pack(middle, 2, INFO._green) | Pack(middle, 3, INFO._blue);
		StoreValue(destination + i * PIXEL_SIZE, static_cast<UInt16>(pixel));
	}
}

template <Packed16Format PACKED>
void UnpackPixels(Byte* __restrict destination, const Byte* __restrict source, Int count, const PlanStep&)
{
	constexpr Packed16Info INFO = InfoOf(PACKED);
	for (Int i = 0; i < count; ++i)
	{
		const UInt16 pixel = LoadValue<UInt16>(source + i * PIXEL_SIZE);
		const UInt32 middle = static_cast<UInt32>(ExpandAlpha(pixel, INFO._alpha)) << ShiftOfByte(0) |
							  static_cast<UInt32>(ExpandColour(pixel, INFO._red)) << ShiftOfByte(1) |
							  static_cast<UInt32>(ExpandColour(pixel, INFO._green)) << ShiftOfByte(2) |
							  static_cast<UInt32>(ExpandColour(pixel, INFO._blue)) << ShiftOfByte(3);
		StoreValue(destination + i * MIDDLE_SIZE, middle);
	}
}

template <std::size_t... FORMAT>
constexpr auto MakeSteps(std::index_sequence<FORMAT...>)
{
	struct Functions
	{
		PlanStep::Function _pack, _unpack;
	};
	return std::array{Functions{&PackPixels<static_cast<Packed16Format>(FORMAT)>, &UnpackPixels<static_cast<Packed16Format>(FORMAT)>}...};
}

constexpr auto FUNCTIONS = MakeSteps(std::make_index_sequence<PACKED16_FORMAT_COUNT>());

bool IsPartner(FixedFormat format)
{
	using enum FixedFormat;
	constexpr std::array PARTNERS = {RGB_U8, ARGB_U8, RGB_U16, ARGB_U16, RGB_F32, ARGB_F32, RGB_F64, ARGB_F64};
	return std::find(PARTNERS.begin(), PARTNERS.end(), format) != PARTNERS.end();
}

// Between twins only the alpha bits change: all set, or none.
template <UInt16 COLOUR_BITS, UInt16 ALPHA_BITS>
void TwinRun(const KernelRun& run)
{
	const auto convert = [local = run](Int destinationStride, Int sourceStride)
	{
		for (Int i = 0; i < local._count; ++i)
		{
			const auto pixel = LoadValue<UInt16>(local._source + i * sourceStride);
			StoreValue(local._destination + i * destinationStride, static_cast<UInt16>((pixel & COLOUR_BITS) | ALPHA_BITS));
		}
	};
	if (run._destinationStride == PIXEL_SIZE && run._sourceStride == PIXEL_SIZE)
		convert(PIXEL_SIZE, PIXEL_SIZE); // the compiler makes vectors of it
	else
		convert(run._destinationStride, run._sourceStride);
}

void CopyRun(const KernelRun& run)
{
	CopyPixels(run, PIXEL_SIZE);
}

bool SameField(Packed16Field a, Packed16Field b)
{
	return a._shift == b._shift && a._bits == b._bits;
}

} // namespace

std::optional<ConversionPlan> Packed16PlanFrom(Packed16Format destination, const FixedPlaces& source)
{
	if (!IsPartner(source.GetFormat()))
		return std::nullopt;
	const PlanStep step = {FUNCTIONS[static_cast<std::size_t>(destination)]._pack, PIXEL_SIZE, MIDDLE_SIZE};
	return PlanBetween(FixedPlaces(MIDDLE), source).Before(step);
}

std::optional<ConversionPlan> Packed16PlanTo(const FixedPlaces& destination, Packed16Format source)
{
	if (!IsPartner(destination.GetFormat()))
		return std::nullopt;
	const PlanStep step = {FUNCTIONS[static_cast<std::size_t>(source)]._unpack, MIDDLE_SIZE, PIXEL_SIZE};
	return PlanBetween(destination, FixedPlaces(MIDDLE)).After(step);
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
