// The arithmetic of inks, and the plans around it.
#include "pixelformat/kernel_cmyk.h"

#include "pixelformat/kernel_values.h"

#include <algorithm>
#include <bit>

namespace torvi
{

namespace
{

constexpr Int RGB_COUNT = 3;

/// Plane `index` of those that lie behind `planes`.
template <class T>
T* PlaneOf(Byte* planes, Int index, Int count)
{
	return reinterpret_cast<T*>(planes) + index * count;
}

template <class T>
const T* PlaneOf(const Byte* planes, Int index, Int count)
{
	return reinterpret_cast<const T*>(planes) + index * count;
}

/// What remains of a colour beside black. Where `white` is 0, colours say nothing and there is no ink: 0 is divided by 1, without a branch.
TORVI_KERNEL_INLINE Float32 InkOf(Float32 colour, Float32 black, Float32 white)
{
	const UInt32 isBlack = white == 0.0f ? 1 : 0;
	const UInt32 rest = std::bit_cast<UInt32>(1.0f - colour - black) & (isBlack - 1);
	return std::bit_cast<Float32>(rest) / (white + static_cast<Float32>(static_cast<Int32>(isBlack)));
}

template <bool INVERTED>
void SeparateInks(Byte* inks, const Byte* colours, Int count)
{
	const Float32 *const red = PlaneOf<Float32>(colours, 0, count), *const green = PlaneOf<Float32>(colours, 1, count),
						 *const blue = PlaneOf<Float32>(colours, 2, count);
	Float32* const __restrict black = PlaneOf<Float32>(inks, 3, count);
	for (Int i = 0; i < count; ++i)
	{
		const Float32 redOrGreen = red[i] > green[i] ? red[i] : green[i];
		black[i] = 1.0f - (redOrGreen > blue[i] ? redOrGreen : blue[i]);
	}
	for (Int colour = 0; colour < RGB_COUNT; ++colour)
	{
		const Float32* const light = PlaneOf<Float32>(colours, colour, count);
		Float32* const __restrict ink = PlaneOf<Float32>(inks, colour, count);
		for (Int i = 0; i < count; ++i)
		{
			const Float32 separated = InkOf(light[i], black[i], 1.0f - black[i]);
			ink[i] = INVERTED ? 1.0f - separated : separated;
		}
	}
	for (Int i = 0; i < count && INVERTED; ++i)
		black[i] = 1.0f - black[i];
}

template <bool INVERTED>
void MixInks(Byte* colours, const Byte* inks, Int count)
{
	const Float32* const black = PlaneOf<Float32>(inks, 3, count);
	for (Int colour = 0; colour < RGB_COUNT; ++colour)
	{
		const Float32* const ink = PlaneOf<Float32>(inks, colour, count);
		Float32* const __restrict mixed = PlaneOf<Float32>(colours, colour, count);
		for (Int i = 0; i < count; ++i)
			mixed[i] = INVERTED ? ink[i] * black[i] : (1.0f - ink[i]) * (1.0f - black[i]);
	}
}

/// The same in whole numbers from bytes to bytes. As 2 * x * y is never an odd multiple of 255, no product lies halfway between two bytes,
/// nor so near that float32 would round it to the other side.
template <bool INVERTED>
void MixBytes(Byte* colours, const Byte* inks, Int count)
{
	const Byte* const black = inks + 3 * count;
	for (Int colour = 0; colour < RGB_COUNT; ++colour)
	{
		const Byte* const ink = inks + colour * count;
		Byte* const __restrict mixed = colours + colour * count;
		for (Int i = 0; i < count; ++i)
		{
			const auto light = static_cast<UInt16>(INVERTED ? ink[i] : 255 - ink[i]);
			const auto white = static_cast<UInt16>(INVERTED ? black[i] : 255 - black[i]);
			const auto product = static_cast<UInt16>(light * white + 128);
			mixed[i] = static_cast<Byte>(static_cast<UInt16>(product + (product >> 8)) >> 8); // by 255, rounded
		}
	}
}

template <class T>
void ComplementInks(Byte* __restrict destination, const Byte* __restrict source, Int count)
{
	for (Int i = 0; i < count * CMYK_INK_COUNT; ++i)
	{
		const T value = LoadValue<T>(source + i * Int(sizeof(T)));
		if constexpr (std::floating_point<T>)
			StoreValue(destination + i * Int(sizeof(T)), T(1) - value);
		else
			StoreValue(destination + i * Int(sizeof(T)), static_cast<T>(~value));
	}
}

ColourKernel ComplementKernelFor(ValueType type)
{
	return type == ValueType::U8 ? &ComplementInks<UChar> : type == ValueType::U16 ? &ComplementInks<UInt16> : &ComplementInks<Float32>;
}

ColourSide SideOf(FixedFormat format)
{
	const FixedFormatInfo& info = InfoOf(format);
	ColourSide side = {info._type, info._channelCount, RGB_COUNT, {}};
	for (std::size_t i = 0; i < static_cast<std::size_t>(info._channelCount); ++i)
		side._roles[i] = std::min(static_cast<Int>(info._channels[i]), RGB_COUNT); // red, green and blue are the first
	return side;
}

ColourSide SideOf(CmykFormat format)
{
	const CmykInfo& info = InfoOf(format);
	ColourSide side = {info._type, info._channelCount, CMYK_INK_COUNT, {0, 1, 2, 3}};
	if (info.HasAlpha())
		side._roles = {CMYK_INK_COUNT, 0, 1, 2, 3};
	return side;
}

template <class To, class From>
ConversionPlan MakePlan(const To& destination, const From& source, bool readsAlpha, ValueType computedType, ColourKernel compute)
{
	const ColourMap map = {SideOf(destination.GetFormat()), SideOf(source.GetFormat()), readsAlpha, computedType, compute};
	return ConversionPlan::Make(destination.GetChannels(), source.GetChannels(), map);
}

bool IsPartner(FixedFormat format)
{
	using enum FixedFormat;
	constexpr std::array PARTNERS = {RGB_U8,  RGBA_U8, RGBX_U8,  ARGB_U8, XRGB_U8,  BGR_U8,  BGRA_U8,
									 BGRX_U8, RGB_U16, RGBA_U16, RGB_F32, RGBA_F32, RGB_F64, RGBA_F64};
	return std::find(PARTNERS.begin(), PARTNERS.end(), format) != PARTNERS.end();
}

} // namespace

std::optional<ConversionPlan> CmykPlanFrom(const CmykPlaces& destination, const FixedPlaces& source)
{
	if (!IsPartner(source.GetFormat()))
		return std::nullopt;
	const bool hasAlpha = InfoOf(source.GetFormat()).Has(Channel::Alpha);
	const bool isInverted = InfoOf(destination.GetFormat())._isInverted;
	return MakePlan(destination, source, hasAlpha, ValueType::F32, isInverted ? &SeparateInks<true> : &SeparateInks<false>);
}

std::optional<ConversionPlan> CmykPlanTo(const FixedPlaces& destination, const CmykPlaces& source)
{
	if (!IsPartner(destination.GetFormat()))
		return std::nullopt;
	const CmykInfo& info = InfoOf(source.GetFormat());
	if (info._type == ValueType::U8 && InfoOf(destination.GetFormat())._type == ValueType::U8)
		return MakePlan(destination, source, info.HasAlpha(), ValueType::U8, info._isInverted ? &MixBytes<true> : &MixBytes<false>);
	return MakePlan(destination, source, info.HasAlpha(), ValueType::F32, info._isInverted ? &MixInks<true> : &MixInks<false>);
}

ConversionPlan CmykComplementPlan(const CmykPlaces& destination, const CmykPlaces& source)
{
	const CmykInfo& info = InfoOf(source.GetFormat());
	return MakePlan(destination, source, info.HasAlpha(), info._type, ComplementKernelFor(info._type));
}

ChannelProgram CmykProgramBetween(const CmykPlaces& destination, const CmykPlaces& source)
{
	std::array<ChannelRule, MAXIMUM_CHANNELS> rules;
	for (std::size_t i = 0; i < rules.size(); ++i)
		rules[i] = ChannelRule::Move(static_cast<Int>(i));
	const Block<const ChannelPlace> channels = destination.GetChannels();
	return ChannelProgram(channels, source.GetChannels(), Block<const ChannelRule>(rules).first(channels.size()));
}

} // namespace torvi
