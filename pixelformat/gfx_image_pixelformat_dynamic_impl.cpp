// Dynamic formats: a format that is a list of channels, made by adding one channel after the other.
#include "pixelformat/gfx_image_pixelformat_dynamic_impl.h"

#include "pixelformat/conversion_functions.h"
#include "pixelformat/dynamic_rules.h"
#include "pixelformat/fixed_plan.h"
#include "pixelformat/format_registration.h"
#include "pixelformat/gfx_image_channels.h"
#include "pixelformat/gfx_image_pixelformat_base_impl.h"
#include "pixelformat/gfx_image_pixelformat_fixed_impl.h"
#include "torvi/ids_formats.h"

#include <algorithm>

namespace torvi
{

namespace
{

class PixelFormatDynamicImpl final : public PixelFormatBaseImpl, public PixelFormatDynamicInterface
{
public:
	Result<void> InitObject() override
	{
		return NoThrow(
			[this]() -> Result<void>
			{
				SetOffsets({0});
				return OK;
			});
	}

	Result<void> AddChannel(const ImageChannel& channel) override
	{
		return NoThrow([&]() { return Append(channel); });
	}

	String ToString(std::string_view) const override;
	Bool IsEqual(const ObjectInterface& other) const override;
	UInt64 GetHashCodeImpl() const override;
	std::pair<UInt64, UInt64> GetUniqueHashCodeImpl() const override { return {GetHashCodeImpl(), static_cast<UInt64>(_bitsPerPixel)}; }
	Block<const ImageChannel> GetChannels() const override { return _channels; }
	Int GetChannelCount() const override { return CountOf(_channels); }
	const ChannelOffsets& GetChannelOffsets() const override { return _offsets; }
	BITS GetBitsPerPixel() const override { return _bitsPerPixel; }
	Bool HasAlpha() const override { return _roles._alpha != DynamicRoles::NO_CHANNEL; }
	Result<AlphaPixelFormat> GetAlphaPixelFormat() const override;
	ColorSpace GetColorSpace() const override { return _colorSpace; }
	ColorProfile GetDefaultColorProfile() const override { return DefaultProfileOf(_colorSpace, _dataType); }
	String PixToString(const Byte* pixel) const override;
	Result<ConvertPixelFunc> GetConvertPixelFromFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
													 const ChannelOffsets& dstOffsets, Bool fastLayout,
													 Bool& isColorConverted) const override;
	Result<ConvertPixelFunc> GetConvertPixelToFunc(const PixelFormat& dstFormat, const ChannelOffsets& dstOffsets,
												   const ChannelOffsets& srcOffsets, Bool fastLayout,
												   Bool& isColorConverted) const override;

private:
	Result<void> Append(const ImageChannel& channel);
	Result<void> JoinColorSpace(const ColorSpace& colorSpace);
	void SetOffsets(Array<BITS> offsets);
	Int* IndexOf(CHANNELTYPE type);
	Result<Array<ChannelPlace>> PlacesOf(const ChannelOffsets& offsets) const;
	Result<ConvertPixelFunc> CopyOfChannels(const ChannelOffsets& srcOffsets, const ChannelOffsets& dstOffsets) const;

	Array<ImageChannel> _channels;
	Array<BITS> _offsetValues;
	ChannelOffsets _offsets;
	BITS _bitsPerPixel = 0;
	DataType _dataType; // of the first channel
	DynamicRoles _roles;
	ColorSpace _colorSpace;
};

Bool IsUsed(const ImageChannel& channel)
{
	return channel->GetChannelType()->GetType() != CHANNELTYPE::UNUSED;
}

Result<void> PixelFormatDynamicImpl::Append(const ImageChannel& channel)
{
	TORVI_CHECK(channel && channel->GetChannelType(), NullptrError("A pixel format can not have a null channel, or one without a type."));
	TORVI_TRY(JoinColorSpace(channel->GetChannelType()->GetColorSpace()));
	const Int index = CountOf(_channels);
	Int* const role = IndexOf(channel->GetChannelType()->GetType());
	if (role != nullptr && *role == DynamicRoles::NO_CHANNEL)
		*role = index;
	Array<BITS> offsets = _offsetValues;
	offsets.push_back(_bitsPerPixel + channel->GetChannelBits());
	_channels.push_back(channel);
	_bitsPerPixel = offsets.back();
	SetOffsets(std::move(offsets));
	if (index == 0)
		_dataType = channel->GetDataType();
	return OK;
}

Result<void> PixelFormatDynamicImpl::JoinColorSpace(const ColorSpace& colorSpace)
{
	if (!colorSpace)
		return OK;
	const ColorSpace alphaSpace = FindDeclared<ColorSpaceInterface>(ids::COLORSPACE_ALPHA);
	const Bool isFree = !_colorSpace || _colorSpace == alphaSpace || _colorSpace == colorSpace || colorSpace == alphaSpace;
	TORVI_CHECK(isFree, IllegalStateError("PixelFormat belongs to two different color spaces: @, @", _colorSpace, colorSpace));
	_colorSpace = colorSpace; // so a list that ends with alpha has the colour space of alpha
	return OK;
}

void PixelFormatDynamicImpl::SetOffsets(Array<BITS> offsets)
{
	_offsetValues = std::move(offsets);
	_offsets = _offsetValues;
}

Int* PixelFormatDynamicImpl::IndexOf(CHANNELTYPE type)
{
	switch (type)
	{
	case CHANNELTYPE::RED:
		return &_roles._red;
	case CHANNELTYPE::GREEN:
		return &_roles._green;
	case CHANNELTYPE::BLUE:
		return &_roles._blue;
	case CHANNELTYPE::ALPHA:
		return &_roles._alpha;
	case CHANNELTYPE::GREY:
		return &_roles._grey;
	default:
		return nullptr;
	}
}

String PixelFormatDynamicImpl::ToString(std::string_view) const
{
	String text;
	for (const ImageChannel& channel : _channels)
	{
		if (IsUsed(channel))
			text += (text.empty() ? String() : MakeString(" ")) + Format("@{short}", channel);
	}
	return text.empty() ? MakeString("Custom") : text;
}

Bool PixelFormatDynamicImpl::IsEqual(const ObjectInterface& other) const
{
	const auto* const dynamic = dynamic_cast<const PixelFormatDynamicImpl*>(&other);
	return dynamic != nullptr && dynamic->_bitsPerPixel == _bitsPerPixel && dynamic->_channels == _channels;
}

UInt64 PixelFormatDynamicImpl::GetHashCodeImpl() const
{
	UInt64 hash = 0;
	for (const ImageChannel& channel : _channels)
		hash = CombineHash(hash, HashAddress(channel.GetPointer()));
	return CombineHash(hash, MixHash(static_cast<UInt64>(_bitsPerPixel)));
}

Result<AlphaPixelFormat> PixelFormatDynamicImpl::GetAlphaPixelFormat() const
{
	TORVI_CHECK(HasAlpha(), IllegalArgumentError("@ has no alpha.", GetShortName()));
	const auto index = static_cast<std::size_t>(_roles._alpha);
	PixelFormat format = TORVI_TRY(FindOrCreatePixelFormat({&_channels[index], 1}));
	return AlphaPixelFormat{std::move(format), BytesOf(_offsetValues[index])};
}

String PixelFormatDynamicImpl::PixToString(const Byte* pixel) const
{
	String text;
	for (std::size_t i = 0; i < _channels.size(); ++i)
	{
		const std::optional<ValueType> type = ValueTypeOf(_channels[i]->GetDataType());
		if (!type || !IsUsed(_channels[i]))
			continue;
		const String value = ChannelValueToString(*type, pixel + BytesOf(_offsetValues[i]));
		text += (text.empty() ? String() : MakeString(" ")) + Format("@{short} @", _channels[i], value);
	}
	return text;
}

Result<Array<ChannelPlace>> PixelFormatDynamicImpl::PlacesOf(const ChannelOffsets& offsets) const
{
	TORVI_CHECK(offsets.size() == _channels.size() + 1, IllegalArgumentError("The channel offsets do not fit @.", GetShortName()));
	Array<ChannelPlace> places;
	for (std::size_t i = 0; i < _channels.size(); ++i)
	{
		const DataType& dataType = _channels[i]->GetDataType();
		const std::optional<ValueType> type = ValueTypeOf(dataType);
		TORVI_CHECK(type, FunctionNotImplementedError("Channels of data type @ can not be converted.", dataType));
		places.push_back({BytesOf(offsets[i]), *type});
	}
	return places;
}

Result<ConvertPixelFunc> PixelFormatDynamicImpl::CopyOfChannels(const ChannelOffsets& srcOffsets, const ChannelOffsets& dstOffsets) const
{
	if (std::ranges::equal(srcOffsets, _offsets) && std::ranges::equal(dstOffsets, _offsets))
		return CopyFunction(BytesOf(_bitsPerPixel));
	const Array<ChannelPlace> to = TORVI_TRY(PlacesOf(dstOffsets)), from = TORVI_TRY(PlacesOf(srcOffsets));
	Array<ChannelRule> rules;
	for (Int i = 0; i < CountOf(_channels); ++i)
		rules.push_back(ChannelRule::Move(i));
	return FunctionOf(ChannelProgram(to, from, rules));
}

Result<ConvertPixelFunc> PixelFormatDynamicImpl::GetConvertPixelFromFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
																		 const ChannelOffsets& dstOffsets, Bool, Bool&) const
{
	if (IsEqual(*srcFormat))
		return CopyOfChannels(srcOffsets, dstOffsets);
	const std::optional<FixedFormat> source = FixedFormatOf(srcFormat);
	if (!source || !IsDynamicPartner(*source))
		return ConvertPixelFunc();
	const std::optional<FixedPlaces> from = FixedPlaces::Make(*source, srcOffsets);
	TORVI_CHECK(from, IllegalArgumentError("The channel offsets do not fit @.", srcFormat));
	const Array<ChannelPlace> to = TORVI_TRY(PlacesOf(dstOffsets));
	Array<ChannelRule> rules(to.size());
	RulesToDynamic(rules, _roles, *source);
	return FunctionOf(ChannelProgram(to, from->GetChannels(), rules));
}

Result<ConvertPixelFunc> PixelFormatDynamicImpl::GetConvertPixelToFunc(const PixelFormat& dstFormat, const ChannelOffsets& dstOffsets,
																	   const ChannelOffsets& srcOffsets, Bool, Bool&) const
{
	const std::optional<FixedFormat> destination = FixedFormatOf(dstFormat);
	if (!destination || !IsDynamicPartner(*destination))
		return ConvertPixelFunc();
	const std::optional<FixedPlaces> to = FixedPlaces::Make(*destination, dstOffsets);
	TORVI_CHECK(to, IllegalArgumentError("The channel offsets do not fit @.", dstFormat));
	const Array<ChannelPlace> from = TORVI_TRY(PlacesOf(srcOffsets));
	const auto rules = RulesFromDynamic(*destination, _roles);
	return FunctionOf(ChannelProgram(to->GetChannels(), from, Block<const ChannelRule>(rules).first(to->GetChannels().size())));
}

struct DeclaredRow
{
	std::string_view _name;
	CString _shortName;
	ValueType _type;
	Int _channelCount; // red, or red and green
};

constexpr std::array<DeclaredRow, 16> DECLARED = {{
	{"dynamic.redu8", "Dynamic::RedU8", ValueType::U8, 1},
	{"dynamic.reds8", "Dynamic::RedS8", ValueType::S8, 1},
	{"dynamic.redu16", "Dynamic::RedU16", ValueType::U16, 1},
	{"dynamic.reds16", "Dynamic::RedS16", ValueType::S16, 1},
	{"dynamic.redu32", "Dynamic::RedU32", ValueType::U32, 1},
	{"dynamic.reds32", "Dynamic::RedS32", ValueType::S32, 1},
	{"dynamic.redf16", "Dynamic::RedF16", ValueType::F16, 1},
	{"dynamic.redf32", "Dynamic::RedF32", ValueType::F32, 1},
	{"dynamic.redgreenu8", "Dynamic::RedGreenU8", ValueType::U8, 2},
	{"dynamic.redgreens8", "Dynamic::RedGreenS8", ValueType::S8, 2},
	{"dynamic.redgreenu16", "Dynamic::RedGreenU16", ValueType::U16, 2},
	{"dynamic.redgreens16", "Dynamic::RedGreenS16", ValueType::S16, 2},
	{"dynamic.redgreenu32", "Dynamic::RedGreenU32", ValueType::U32, 2},
	{"dynamic.redgreens32", "Dynamic::RedGreenS32", ValueType::S32, 2},
	{"dynamic.redgreenf16", "Dynamic::RedGreenF16", ValueType::F16, 2},
	{"dynamic.redgreenf32", "Dynamic::RedGreenF32", ValueType::F32, 2},
}};

} // namespace

Result<void> RegisterDynamicFormats(Module& module)
{
	const ClassRef record = TORVI_TRY(module.AddClass<PixelFormatDynamicImpl>(ids::CLASS_PIXELFORMATDYNAMIC, ids::CLASS_PIXELFORMATBASE));
	constexpr CHANNELTYPE TYPES[] = {CHANNELTYPE::RED, CHANNELTYPE::GREEN};
	for (const DeclaredRow& row : DECLARED)
	{
		const auto format = TORVI_TRY(record->Create<PixelFormatDynamicInterface>());
		for (Int i = 0; i < row._channelCount; ++i)
			TORVI_TRY(format->AddChannel(GetImageChannel(TYPES[i], DataTypeOf(row._type))));
		const FormatEntry entry = {row._name, row._shortName, ids::PIXELFORMATGROUP_DYNAMIC, ids::REGISTRY_DYNAMIC};
		TORVI_TRY(PublishPixelFormat(module, entry, format));
	}
	return OK;
}

} // namespace torvi
