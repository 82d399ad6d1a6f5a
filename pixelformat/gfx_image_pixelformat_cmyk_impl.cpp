// One class for all CMYK formats: what tells them apart is their row in cmyk_formats.h and the row of their family.
#include "pixelformat/gfx_image_pixelformat_cmyk_impl.h"

#include "pixelformat/conversion_functions.h"
#include "pixelformat/format_registration.h"
#include "pixelformat/gfx_image_channels.h"
#include "pixelformat/gfx_image_pixelformat_base_impl.h"
#include "pixelformat/gfx_image_pixelformat_fixed_impl.h"
#include "pixelformat/kernel_cmyk.h"
#include "torvi/ids_formats.h"

namespace torvi
{

namespace
{

struct FamilyInfo
{
	Id _group;
	Id _registry;
	const char* _template; // of PixToString, alpha last
};

// In the order of CmykFormat.
constexpr std::array<FamilyInfo, CMYK_FORMAT_COUNT / CMYK_TYPE_COUNT> FAMILIES = {{
	{ids::PIXELFORMATGROUP_CMYK, ids::REGISTRY_CMYK, "C @ M @ Y @ K @"},
	{ids::PIXELFORMATGROUP_ACMYK, ids::REGISTRY_ACMYK, "C @ M @ Y @ K @ A @"},
	{ids::PIXELFORMATGROUP_CMYK_INV, ids::REGISTRY_CMYK_INV, "iC @ iM @ iY @ iK @"},
	{ids::PIXELFORMATGROUP_ACMYK_INV, ids::REGISTRY_ACMYK_INV, "iC @ iM @ iY @ iK @ iA @"},
}};

constexpr const FamilyInfo& FamilyOf(const CmykInfo& info)
{
	return FAMILIES[static_cast<std::size_t>(info._format) / CMYK_TYPE_COUNT];
}

constexpr CHANNELTYPE INKS[] = {CHANNELTYPE::CMYK_C, CHANNELTYPE::CMYK_M, CHANNELTYPE::CMYK_Y, CHANNELTYPE::CMYK_K};
constexpr CHANNELTYPE INVERTED_INKS[] = {CHANNELTYPE::CMYK_IC, CHANNELTYPE::CMYK_IM, CHANNELTYPE::CMYK_IY, CHANNELTYPE::CMYK_IK};

class PixelFormatCmykImpl final : public PixelFormatBaseImpl
{
public:
	explicit PixelFormatCmykImpl(const CmykInfo& info) : _info(info), _offsets(_offsetValues.data(), GetLength() + 1)
	{
		for (Int i = 0; i <= info._channelCount; ++i)
			_offsetValues[static_cast<std::size_t>(i)] = info.GetBitOffset(i);
	}

	Result<void> InitObject() override
	{
		_colorSpace = FindDeclared<ColorSpaceInterface>(ids::COLORSPACE_CMYK);
		TORVI_CHECK(_colorSpace, NullptrError("The colour space @ is not registered.", ids::COLORSPACE_CMYK));
		const DataType dataType = DataTypeOf(_info._type);
		const auto firstInk = static_cast<std::size_t>(_info.GetFirstInk());
		for (std::size_t i = 0; i < GetLength(); ++i)
		{
			const CHANNELTYPE ink = (_info._isInverted ? INVERTED_INKS : INKS)[i < firstInk ? 0 : i - firstInk];
			_channels[i] = GetImageChannel(i < firstInk ? CHANNELTYPE::ALPHA : ink, dataType);
			TORVI_CHECK(_channels[i], NullptrError("The channels of @ are not registered.", _info._shortName));
		}
		return OK;
	}

	Block<const ImageChannel> GetChannels() const override { return {_channels.data(), GetLength()}; }
	Int GetChannelCount() const override { return _info._channelCount; }
	const ChannelOffsets& GetChannelOffsets() const override { return _offsets; }
	Bool HasAlpha() const override { return _info.HasAlpha(); }
	ColorSpace GetColorSpace() const override { return _colorSpace; }
	ColorProfile GetDefaultColorProfile() const override { return DefaultProfileOf(_colorSpace, DataTypeOf(_info._type)); }

	Result<AlphaPixelFormat> GetAlphaPixelFormat() const override
	{
		TORVI_CHECK(_info.HasAlpha(), IllegalArgumentError("@ has no alpha.", GetShortName()));
		PixelFormat format = TORVI_TRY(FindOrCreatePixelFormat({_channels.data(), 1}));
		return AlphaPixelFormat{std::move(format), 0};
	}

	String PixToString(const Byte* pixel) const override
	{
		const auto textOf = [this, pixel](Int channel) { return ChannelValueToString(_info._type, pixel + channel * SizeOf(_info._type)); };
		const Int ink = _info.GetFirstInk();
		return Format(FamilyOf(_info)._template, textOf(ink), textOf(ink + 1), textOf(ink + 2), textOf(ink + 3), textOf(0));
	}

	Result<ConvertPixelFunc> GetConvertPixelFromFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
													 const ChannelOffsets& dstOffsets, Bool, Bool&) const override
	{
		const CmykPlaces to = TORVI_TRY(PlacesOf(_info._format, dstOffsets));
		if (const std::optional<FixedFormat> source = FixedFormatOf(srcFormat))
			return MakeFunction(CmykPlanFrom(to, TORVI_TRY(PlacesOf(*source, srcOffsets))));
		const auto* const source = dynamic_cast<const PixelFormatCmykImpl*>(srcFormat.GetPointer());
		return source != nullptr ? Between(to, TORVI_TRY(PlacesOf(source->_info._format, srcOffsets))) : ConvertPixelFunc();
	}

	Result<ConvertPixelFunc> GetConvertPixelToFunc(const PixelFormat& dstFormat, const ChannelOffsets& dstOffsets,
												   const ChannelOffsets& srcOffsets, Bool, Bool&) const override
	{
		const CmykPlaces from = TORVI_TRY(PlacesOf(_info._format, srcOffsets));
		if (const std::optional<FixedFormat> destination = FixedFormatOf(dstFormat))
			return MakeFunction(CmykPlanTo(TORVI_TRY(PlacesOf(*destination, dstOffsets)), from));
		const auto* const destination = dynamic_cast<const PixelFormatCmykImpl*>(dstFormat.GetPointer());
		return destination != nullptr ? Between(TORVI_TRY(PlacesOf(destination->_info._format, dstOffsets)), from) : ConvertPixelFunc();
	}

private:
	std::size_t GetLength() const { return static_cast<std::size_t>(_info._channelCount); }

	template <class Format>
	static Result<FormatPlaces<Format>> PlacesOf(Format format, const ChannelOffsets& offsets)
	{
		const std::optional<FormatPlaces<Format>> places = FormatPlaces<Format>::Make(format, offsets);
		TORVI_CHECK(places, IllegalArgumentError("The channel offsets do not fit @.", InfoOf(format)._shortName));
		return *places;
	}

	static Result<ConvertPixelFunc> MakeFunction(const std::optional<ConversionPlan>& plan)
	{
		return plan ? FunctionOf(*plan) : ConvertPixelFunc();
	}

	/// From alpha to none, and back, there is no direct way.
	static Result<ConvertPixelFunc> Between(const CmykPlaces& to, const CmykPlaces& from)
	{
		const CmykInfo &destination = InfoOf(to.GetFormat()), &source = InfoOf(from.GetFormat());
		if (destination.HasAlpha() != source.HasAlpha())
			return ConvertPixelFunc();
		if (destination._isInverted != source._isInverted)
			return FunctionOf(CmykComplementPlan(to, from));
		if (destination._type != source._type)
			return FunctionOf(CmykProgramBetween(to, from));
		return to.IsDefault() && from.IsDefault() ? CopyFunction(BytesOf(destination.GetBitOffset(destination._channelCount)))
												  : FunctionOf(ChannelCopy(to.GetChannels(), from.GetChannels()));
	}

	const CmykInfo& _info;
	std::array<ImageChannel, MAXIMUM_CHANNELS> _channels;
	std::array<BITS, MAXIMUM_CHANNELS + 1> _offsetValues = {};
	const ChannelOffsets _offsets;
	ColorSpace _colorSpace;
};

constexpr auto COMPONENTS = MakeComponentTable<PixelFormatCmykImpl, CMYK_FORMATS>();

} // namespace

Result<void> RegisterCmykFormats(Module& module)
{
	for (std::size_t i = 0; i < CMYK_FORMATS.size(); ++i)
	{
		const CmykInfo& info = CMYK_FORMATS[i];
		const FamilyInfo& family = FamilyOf(info);
		TORVI_TRY(AddPixelFormat(module, {info._name, info._shortName.data(), family._group, family._registry}, COMPONENTS[i]));
	}
	return OK;
}

} // namespace torvi
