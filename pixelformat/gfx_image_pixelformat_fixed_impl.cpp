// One class for all fixed formats: everything that tells them apart is their row in fixed_formats.inc and the row of their family.
#include "pixelformat/gfx_image_pixelformat_fixed_impl.h"

#include "pixelformat/conversion_functions.h"
#include "pixelformat/fixed_plan.h"
#include "pixelformat/format_registration.h"
#include "pixelformat/gfx_image_channels.h"
#include "pixelformat/gfx_image_pixelformat_base_impl.h"
#include "torvi/ids_formats.h"

namespace torvi
{

namespace
{

struct FamilyInfo
{
	Id _group;
	Id _registry;
	Id _colorSpace;
	const char* _template;                  // of PixToString
	std::array<Channel, 4> _templateValues; // the first as many as the template has marks
};

using enum Channel;

// In the order of FixedFamily.
constexpr std::array<FamilyInfo, FIXED_FAMILY_COUNT> FAMILIES = {{
	{ids::PIXELFORMATGROUP_RGB, ids::REGISTRY_RGB, ids::COLORSPACE_RGB, "R @ G @ B @", {Red, Green, Blue}},
	{ids::PIXELFORMATGROUP_RGBA, ids::REGISTRY_RGBA, ids::COLORSPACE_RGB, "A @ R @ G @ B @", {Alpha, Red, Green, Blue}},
	{ids::PIXELFORMATGROUP_ARGB, ids::REGISTRY_ARGB, ids::COLORSPACE_RGB, "A @ R @ G @ B @", {Alpha, Red, Green, Blue}},
	{ids::PIXELFORMATGROUP_XRGB, ids::REGISTRY_XRGB, ids::COLORSPACE_RGB, "R @ G @ B @", {Red, Green, Blue}},
	{ids::PIXELFORMATGROUP_RGBX, ids::REGISTRY_RGBX, ids::COLORSPACE_RGB, "R @ G @ B @", {Red, Green, Blue}},
	{ids::PIXELFORMATGROUP_BGR, ids::REGISTRY_BGR, ids::COLORSPACE_RGB, "R @ G @ B @", {Red, Green, Blue}},
	{ids::PIXELFORMATGROUP_BGRA, ids::REGISTRY_BGRA, ids::COLORSPACE_RGB, "A @ R @ G @ B @", {Alpha, Red, Green, Blue}},
	{ids::PIXELFORMATGROUP_BGRX, ids::REGISTRY_BGRX, ids::COLORSPACE_RGB, "R @ G @ B @", {Red, Green, Blue}},
	{ids::PIXELFORMATGROUP_ABGR, ids::REGISTRY_ABGR, ids::COLORSPACE_RGB, "A @ R @ G @ B @", {Alpha, Red, Green, Blue}},
	{ids::PIXELFORMATGROUP_GREY, ids::REGISTRY_GREY, ids::COLORSPACE_GREY, "Grey @", {Grey}},
	{ids::PIXELFORMATGROUP_GREYA, ids::REGISTRY_GREYA, ids::COLORSPACE_GREY, "A @{*} Grey @{*}", {Alpha, Grey}},
	{ids::PIXELFORMATGROUP_AGREY, ids::REGISTRY_AGREY, ids::COLORSPACE_GREY, "A @{*} Grey @{*}", {Alpha, Grey}},
	{ids::PIXELFORMATGROUP_ALPHA, ids::REGISTRY_ALPHA, ids::COLORSPACE_ALPHA, "", {}},
}};

constexpr CHANNELTYPE ChannelTypeOf(Channel channel)
{
	switch (channel)
	{
	case Red:
		return CHANNELTYPE::RED;
	case Green:
		return CHANNELTYPE::GREEN;
	case Blue:
		return CHANNELTYPE::BLUE;
	case Alpha:
		return CHANNELTYPE::ALPHA;
	case Grey:
		return CHANNELTYPE::GREY;
	default:
		return CHANNELTYPE::UNUSED;
	}
}

class PixelFormatFixedImpl final : public PixelFormatBaseImpl
{
public:
	explicit PixelFormatFixedImpl(const FixedFormatInfo& info)
		: _info(info), _family(FAMILIES[static_cast<std::size_t>(info._family)]), _offsets(_offsetValues.data(), GetLength() + 1)
	{
		for (Int i = 0; i <= info._channelCount; ++i)
			_offsetValues[static_cast<std::size_t>(i)] = info.GetBitOffset(i);
	}

	Result<void> InitObject() override
	{
		_colorSpace = FindDeclared<ColorSpaceInterface>(_family._colorSpace);
		TORVI_CHECK(_colorSpace, NullptrError("The colour space @ is not registered.", _family._colorSpace));
		for (std::size_t i = 0; i < GetLength(); ++i)
		{
			_channels[i] = GetImageChannel(ChannelTypeOf(_info._channels[i]), DataTypeOf(_info._type));
			TORVI_CHECK(_channels[i], NullptrError("The channels of @ are not registered.", _info._shortName));
		}
		return OK;
	}

	FixedFormat GetFormat() const { return _info._format; }
	Block<const ImageChannel> GetChannels() const override { return {_channels.data(), GetLength()}; }
	Int GetChannelCount() const override { return _info._channelCount; }
	const ChannelOffsets& GetChannelOffsets() const override { return _offsets; }
	Bool HasAlpha() const override { return _info.Has(Alpha); }
	ColorSpace GetColorSpace() const override { return _colorSpace; }
	ColorProfile GetDefaultColorProfile() const override { return DefaultProfileOf(_colorSpace, DataTypeOf(_info._type)); }

	Result<AlphaPixelFormat> GetAlphaPixelFormat() const override
	{
		const Int index = _info.Find(Alpha);
		TORVI_CHECK(index >= 0, IllegalArgumentError("@ has no alpha.", GetShortName()));
		PixelFormat format = TORVI_TRY(FindOrCreatePixelFormat({&_channels[static_cast<std::size_t>(index)], 1}));
		return AlphaPixelFormat{std::move(format), index * SizeOf(_info._type)};
	}

	String PixToString(const Byte* pixel) const override
	{
		std::array<String, 4> values;
		for (std::size_t i = 0; i < values.size(); ++i)
		{
			if (const Int index = _info.Find(_family._templateValues[i]); index >= 0)
				values[i] = ChannelValueToString(_info._type, pixel + index * SizeOf(_info._type));
		}
		return Format(_family._template, values[0], values[1], values[2], values[3]);
	}

	Result<ConvertPixelFunc> GetConvertPixelFromFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
													 const ChannelOffsets& dstOffsets, Bool, Bool&) const override
	{
		const std::optional<FixedFormat> source = FixedFormatOf(srcFormat);
		if (!source || (!IsDirectSource(*source) && *source != _info._format))
			return ConvertPixelFunc();
		const std::optional<FixedPlaces> to = FixedPlaces::Make(_info._format, dstOffsets);
		const std::optional<FixedPlaces> from = FixedPlaces::Make(*source, srcOffsets);
		TORVI_CHECK(to && from, IllegalArgumentError("The channel offsets do not fit @ and @.", srcFormat, *this));
		if (*source != _info._format)
			return FunctionOf(ProgramBetween(*to, *from));
		return to->IsDefault() && from->IsDefault() ? CopyFunction(BytesOf(GetBitsPerPixel())) : FunctionOf(CopyBetween(*to, *from));
	}

private:
	std::size_t GetLength() const { return static_cast<std::size_t>(_info._channelCount); }

	const FixedFormatInfo& _info;
	const FamilyInfo& _family;
	std::array<ImageChannel, MAXIMUM_CHANNELS> _channels;
	std::array<BITS, MAXIMUM_CHANNELS + 1> _offsetValues = {};
	const ChannelOffsets _offsets;
	ColorSpace _colorSpace;
};

constexpr auto COMPONENTS = MakeComponentTable<PixelFormatFixedImpl, FIXED_FORMATS>();

} // namespace

std::optional<FixedFormat> FixedFormatOf(const PixelFormat& format)
{
	const auto* const fixed = dynamic_cast<const PixelFormatFixedImpl*>(format.GetPointer());
	return fixed != nullptr ? std::optional(fixed->GetFormat()) : std::nullopt;
}

Result<void> RegisterFixedFormats(Module& module)
{
	for (std::size_t i = 0; i < FIXED_FORMATS.size(); ++i)
	{
		const FixedFormatInfo& info = FIXED_FORMATS[i];
		const FamilyInfo& family = FAMILIES[static_cast<std::size_t>(info._family)];
		const FormatEntry entry = {info.GetName(), info._shortName.data(), family._group, family._registry};
		TORVI_TRY(AddPixelFormat(module, entry, COMPONENTS[i]));
	}
	return OK;
}

} // namespace torvi
