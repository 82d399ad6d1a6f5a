// One class for all CMYK formats: what tells them apart is their row in cmyk_formats.h and the row of their family.
#include "pixelformat/gfx_image_pixelformat_cmyk_impl.h"

#include "pixelformat/conversion_functions.h"
#include "pixelformat/format_registration.h"
#include "pixelformat/gfx_image_channels.h"
#include "pixelformat/gfx_image_pixelformat_base_impl.h"
#include "pixelformat/gfx_image_pixelformat_fixed_impl.h"
#include "pixelformat/kernel_cmyk_family.h"
#include "pixelformat/kernel_cmyk_rgb.h"
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

template <class Conversion>
Result<ConvertPixelFunc> MakeFunction(const Conversion& conversion)
{
	auto record = TORVI_TRY(NewObject<SharedRecord<Conversion>>(conversion));
	return ConvertPixelFunc(
		[record](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32) -> Result<void>
		{
			record->GetValue().Run(RunOf(destination, count, source));
			return OK;
		});
}

class PixelFormatCmykImpl final : public PixelFormatBaseImpl
{
public:
	explicit PixelFormatCmykImpl(const CmykInfo& info) : _info(info), _offsets(_offsetValues.data(), GetLength() + 1)
	{
		for (Int i = 0; i <= info.GetChannelCount(); ++i)
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
	Int GetChannelCount() const override { return _info.GetChannelCount(); }
	const ChannelOffsets& GetChannelOffsets() const override { return _offsets; }
	Bool HasAlpha() const override { return _info._hasAlpha; }
	ColorSpace GetColorSpace() const override { return _colorSpace; }
	ColorProfile GetDefaultColorProfile() const override { return DefaultProfileOf(_colorSpace, DataTypeOf(_info._type)); }

	Result<AlphaPixelFormat> GetAlphaPixelFormat() const override
	{
		TORVI_CHECK(_info._hasAlpha, IllegalArgumentError("@ has no alpha.", GetShortName()));
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
		if (const std::optional<FixedFormat> source = FixedFormatOf(srcFormat))
		{
			if (!IsCmykPartner(*source))
				return ConvertPixelFunc();
			const CmykSide to = TORVI_TRY(SideOf(dstOffsets)), from = TORVI_TRY(SideOf(*source, srcOffsets));
			return MakeFunction(CmykRgbConversion::FromRgb(to, _info._isInverted, from));
		}
		const auto* const source = dynamic_cast<const PixelFormatCmykImpl*>(srcFormat.GetPointer());
		return source != nullptr ? Between(dstOffsets, *source, srcOffsets) : ConvertPixelFunc();
	}

	Result<ConvertPixelFunc> GetConvertPixelToFunc(const PixelFormat& dstFormat, const ChannelOffsets& dstOffsets,
												   const ChannelOffsets& srcOffsets, Bool, Bool&) const override
	{
		if (const std::optional<FixedFormat> destination = FixedFormatOf(dstFormat))
		{
			if (!IsCmykPartner(*destination))
				return ConvertPixelFunc();
			const CmykSide to = TORVI_TRY(SideOf(*destination, dstOffsets)), from = TORVI_TRY(SideOf(srcOffsets));
			return MakeFunction(CmykRgbConversion::ToRgb(to, from, _info._isInverted));
		}
		const auto* const destination = dynamic_cast<const PixelFormatCmykImpl*>(dstFormat.GetPointer());
		return destination != nullptr ? destination->Between(dstOffsets, *this, srcOffsets) : ConvertPixelFunc();
	}

private:
	std::size_t GetLength() const { return static_cast<std::size_t>(_info.GetChannelCount()); }

	Result<CmykSide> SideOf(const ChannelOffsets& offsets) const
	{
		const std::optional<CmykSide> side = CmykSideOf(_info._format, offsets);
		TORVI_CHECK(side, IllegalArgumentError("The channel offsets do not fit @.", GetShortName()));
		return *side;
	}

	static Result<CmykSide> SideOf(FixedFormat format, const ChannelOffsets& offsets)
	{
		const std::optional<CmykSide> side = CmykSideOf(format, offsets);
		TORVI_CHECK(side, IllegalArgumentError("The channel offsets do not fit @.", InfoOf(format)._shortName));
		return *side;
	}

	Result<ConvertPixelFunc> Between(const ChannelOffsets& dstOffsets, const PixelFormatCmykImpl& source,
									 const ChannelOffsets& srcOffsets) const
	{
		if (!IsSameCmykClass(_info._format, source._info._format))
			return ConvertPixelFunc();
		const CmykSide to = TORVI_TRY(SideOf(dstOffsets)), from = TORVI_TRY(source.SideOf(srcOffsets));
		if (&source == this && to._isPacked && from._isPacked)
			return CopyFunction(to.GetPixelSize());
		return MakeFunction(CmykFamilyConversion(to, from, _info._isInverted != source._info._isInverted));
	}

	const CmykInfo& _info;
	std::array<ImageChannel, CMYK_MAXIMUM_CHANNELS> _channels;
	std::array<BITS, CMYK_MAXIMUM_CHANNELS + 1> _offsetValues = {};
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
