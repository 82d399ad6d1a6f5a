// Channel types, and for each of them a channel of each of the nine data types. A type makes its channels once; from then on there is one
// object for each pair, and lists of channels are compared by address.
#include "pixelformat/gfx_image_channels.h"

#include "pixelformat/component_table.h"
#include "pixelformat/kernel_values.h"
#include "torvi/ids_formats.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace torvi
{

namespace
{

struct ChannelClassInfo
{
	Id _classId;
	DataType _dataType;
	ValueType _type;
};

// In the order of ValueType.
constexpr std::array<ChannelClassInfo, VALUE_TYPE_COUNT> CHANNEL_CLASSES = {{
	{"net.torvi.image.class.imagechannelPix8u", GetDataType<UChar>(), ValueType::U8},
	{"net.torvi.image.class.imagechannelPix8s", GetDataType<Char>(), ValueType::S8},
	{"net.torvi.image.class.imagechannelPix16u", GetDataType<UInt16>(), ValueType::U16},
	{"net.torvi.image.class.imagechannelPix16s", GetDataType<Int16>(), ValueType::S16},
	{"net.torvi.image.class.imagechannelPix32u", GetDataType<UInt32>(), ValueType::U32},
	{"net.torvi.image.class.imagechannelPix32s", GetDataType<Int32>(), ValueType::S32},
	{"net.torvi.image.class.imagechannelPix16f", GetDataType<HalfFloat>(), ValueType::F16},
	{"net.torvi.image.class.imagechannelPix32f", GetDataType<Float32>(), ValueType::F32},
	{"net.torvi.image.class.imagechannelPix64f", GetDataType<Float64>(), ValueType::F64},
}};

struct ChannelTypeInfo
{
	CHANNELTYPE _type;
	const char* _text;
	Id _id;
	UChar _fill;
	Id _colorSpace; // none where empty
};

constexpr std::array<ChannelTypeInfo, 30> CHANNEL_TYPES = {{
	{CHANNELTYPE::RED, "Red", ids::IMAGECHANNELTYPE_RED, 0, ids::COLORSPACE_RGB},
	{CHANNELTYPE::GREEN, "Green", ids::IMAGECHANNELTYPE_GREEN, 0, ids::COLORSPACE_RGB},
	{CHANNELTYPE::BLUE, "Blue", ids::IMAGECHANNELTYPE_BLUE, 0, ids::COLORSPACE_RGB},
	{CHANNELTYPE::ALPHA, "Alpha", ids::IMAGECHANNELTYPE_ALPHA, 255, ids::COLORSPACE_ALPHA},
	{CHANNELTYPE::GREY, "Grey", ids::IMAGECHANNELTYPE_GREY, 0, ids::COLORSPACE_GREY},
	{CHANNELTYPE::UNKNOWN, "Unknown", ids::IMAGECHANNELTYPE_UNKNOWN, 0, Id()},
	{CHANNELTYPE::UNUSED, "Unused", ids::IMAGECHANNELTYPE_UNUSED, 0, Id()},
	{CHANNELTYPE::CMYK_C, "CMYK_C", ids::IMAGECHANNELTYPE_CMYK_C, 0, ids::COLORSPACE_CMYK},
	{CHANNELTYPE::CMYK_M, "CMYK_M", ids::IMAGECHANNELTYPE_CMYK_M, 0, ids::COLORSPACE_CMYK},
	{CHANNELTYPE::CMYK_Y, "CMYK_Y", ids::IMAGECHANNELTYPE_CMYK_Y, 0, ids::COLORSPACE_CMYK},
	{CHANNELTYPE::CMYK_K, "CMYK_K", ids::IMAGECHANNELTYPE_CMYK_K, 0, ids::COLORSPACE_CMYK},
	{CHANNELTYPE::CMYK_IC, "CMYK_iC", ids::IMAGECHANNELTYPE_CMYK_IC, 255, ids::COLORSPACE_CMYK},
	{CHANNELTYPE::CMYK_IM, "CMYK_iM", ids::IMAGECHANNELTYPE_CMYK_IM, 255, ids::COLORSPACE_CMYK},
	{CHANNELTYPE::CMYK_IY, "CMYK_iY", ids::IMAGECHANNELTYPE_CMYK_IY, 255, ids::COLORSPACE_CMYK},
	{CHANNELTYPE::CMYK_IK, "CMYK_iK", ids::IMAGECHANNELTYPE_CMYK_IK, 255, ids::COLORSPACE_CMYK},
	{CHANNELTYPE::DEPTH, "Depth", ids::IMAGECHANNELTYPE_DEPTH, 0, Id()},
	{CHANNELTYPE::DEPTHBACK, "DepthBack", ids::IMAGECHANNELTYPE_DEPTHBACK, 0, Id()},
	{CHANNELTYPE::MATERIALID, "MaterialId", ids::IMAGECHANNELTYPE_MATERIALID, 0, Id()},
	{CHANNELTYPE::NODEID, "NodeId", ids::IMAGECHANNELTYPE_NODEID, 0, Id()},
	{CHANNELTYPE::UVU, "UvU", ids::IMAGECHANNELTYPE_UVU, 0, Id()},
	{CHANNELTYPE::UVV, "UvV", ids::IMAGECHANNELTYPE_UVV, 0, Id()},
	{CHANNELTYPE::NORMAL, "Normal", ids::IMAGECHANNELTYPE_NORMAL, 0, Id()},
	{CHANNELTYPE::REALPIX, "RealPix", ids::IMAGECHANNELTYPE_REALPIX, 0, Id()},
	{CHANNELTYPE::COVERAGE, "Coverage", ids::IMAGECHANNELTYPE_COVERAGE, 0, Id()},
	{CHANNELTYPE::BG, "BG", ids::IMAGECHANNELTYPE_BG, 0, Id()},
	{CHANNELTYPE::NODERENDERID, "NodeRenderId", ids::IMAGECHANNELTYPE_NODERENDERID, 0, Id()},
	{CHANNELTYPE::TRANSPARENCY, "Transparency", ids::IMAGECHANNELTYPE_TRANSPARENCY, 0, Id()},
	{CHANNELTYPE::VELOCITY, "Velocity", ids::IMAGECHANNELTYPE_VELOCITY, 0, Id()},
	{CHANNELTYPE::WEIGHT, "Weight", ids::IMAGECHANNELTYPE_WEIGHT, 0, Id()},
	{CHANNELTYPE::MASK, "Mask", ids::IMAGECHANNELTYPE_MASK, 0, Id()},
}};

template <class T>
Bool IsIdenticalInteger(T a, T b, UChar threshold)
{
	using Unsigned = std::make_unsigned_t<T>;
	constexpr int SHIFT = 8 * (sizeof(T) - 1);
	const auto scaled = static_cast<T>(static_cast<Unsigned>(threshold) << SHIFT);
	const auto limit = static_cast<Unsigned>(scaled > 0 ? scaled : T(0)); // the threshold of a signed type may have turned negative
	const auto difference = static_cast<Unsigned>(static_cast<Unsigned>(a) - static_cast<Unsigned>(b));
	const auto opposite = static_cast<Unsigned>(Unsigned(0) - difference);
	if constexpr (std::signed_integral<T>)
		return std::min(difference, opposite) <= limit; // around the ends of the range
	else
		return (a >= b ? difference : opposite) <= limit;
}

template <class T>
Bool IsIdenticalValue(T a, T b, UChar threshold)
{
	if constexpr (std::same_as<T, HalfFloat>)
	{
		const auto difference = static_cast<Float32>(HalfFloat(std::fabs(static_cast<Float32>(a) - static_cast<Float32>(b))));
		return a == b || difference <= static_cast<Float32>(ConvertValue<HalfFloat>(threshold));
	}
	else if constexpr (std::floating_point<T>)
		return a == b || std::fabs(a - b) <= ConvertValue<T>(threshold);
	else
		return IsIdenticalInteger(a, b, threshold);
}

const ChannelTypeInfo* FindChannelType(CHANNELTYPE type)
{
	const auto found = std::ranges::find(CHANNEL_TYPES, type, &ChannelTypeInfo::_type);
	return found != CHANNEL_TYPES.end() ? &*found : nullptr;
}

String TextOf(const ChannelTypeInfo& info, std::string_view format)
{
	const std::string_view text = info._text;
	return MakeString(format == "short" ? text.substr(0, 2) : text);
}

class ImageChannelImpl final : public ImageChannelInterface
{
public:
	explicit ImageChannelImpl(const ChannelClassInfo& info) : _class(info) {}

	/// Called by the type that makes the channel.
	void SetTypeInfo(const ChannelTypeInfo& info) { _typeInfo = &info; }
	void SetType(const ImageChannelType& type) { _type = type; }

	BITS GetChannelBits() const override { return SizeOf(_class._type) * 8; }
	ImageChannelType GetChannelType() const override { return _type; }
	DataType GetDataType() const override { return _class._dataType; }
	Bool IsIdenticalComponent(const Byte* a, const Byte* b, UChar threshold) const override
	{
		return WithValueOfType(_class._type, [&]<class T>(T) { return IsIdenticalValue(LoadValue<T>(a), LoadValue<T>(b), threshold); });
	}
	String ToString(std::string_view format) const override
	{
		return Format("@#@", _class._dataType, _typeInfo != nullptr ? TextOf(*_typeInfo, format) : String());
	}

private:
	const ChannelClassInfo& _class;
	const ChannelTypeInfo* _typeInfo = nullptr;
	ImageChannelType _type; // which holds this channel until the module ends
};

class ImageChannelTypeImpl final : public ImageChannelTypeInterface
{
public:
	explicit ImageChannelTypeImpl(const ChannelTypeInfo& info) : _info(info) {}

	Result<void> InitObject() override
	{
		_colorSpace = FindDeclared<ColorSpaceInterface>(_info._colorSpace);
		for (std::size_t i = 0; i < CHANNEL_CLASSES.size(); ++i)
		{
			_channels[i] = TORVI_TRY(CreateObject<ImageChannelImpl>(CHANNEL_CLASSES[i]._classId));
			_channels[i]->SetTypeInfo(_info);
		}
		return OK;
	}

	/// From here on type and channels hold each other, until DropChannels.
	void JoinChannels()
	{
		for (const Ref<ImageChannelImpl>& channel : _channels)
			channel->SetType(ImageChannelType(this));
	}
	void DropChannels() { _channels = {}; }

	UChar GetDefaultFillValue() const override { return _info._fill; }
	ColorSpace GetColorSpace() const override { return _colorSpace; }
	CHANNELTYPE GetType() const override { return _info._type; }
	ImageChannel GetChannel(DataType dataType) const override
	{
		const std::optional<ValueType> type = ValueTypeOf(dataType);
		return type ? ImageChannel(_channels[static_cast<std::size_t>(*type)]) : ImageChannel();
	}
	String ToString(std::string_view format) const override { return TextOf(_info, format); }

private:
	const ChannelTypeInfo& _info;
	ColorSpace _colorSpace;
	std::array<Ref<ImageChannelImpl>, VALUE_TYPE_COUNT> _channels;
};

/// Channels that a format still holds keep their type; the others go.
void DropAllChannels()
{
	const Result<RegistryRef> types = g_torvi->GetRegistry(ids::REGISTRY_IMAGECHANNELTYPES);
	if (!types.IsOk())
		return;
	for (Registry::Iterator it = types.GetValue()->CreateIterator(); it.HasValue(); it.MoveToNext())
	{
		if (const auto type = Cast<ImageChannelTypeImpl>(it.GetEntry()))
			type->DropChannels();
	}
}

constexpr auto CHANNEL_COMPONENTS = MakeComponentTable<ImageChannelImpl, CHANNEL_CLASSES>();
constexpr auto TYPE_COMPONENTS = MakeComponentTable<ImageChannelTypeImpl, CHANNEL_TYPES>();

} // namespace

DataType DataTypeOf(ValueType type)
{
	return CHANNEL_CLASSES[static_cast<std::size_t>(type)]._dataType;
}

std::optional<ValueType> ValueTypeOf(DataType type)
{
	const auto found = std::ranges::find(CHANNEL_CLASSES, type, &ChannelClassInfo::_dataType);
	return found != CHANNEL_CLASSES.end() ? std::optional(found->_type) : std::nullopt;
}

String ChannelValueToString(ValueType type, const Byte* value)
{
	return WithValueOfType(type, [value]<class T>(T) { return ValueToString(LoadValue<T>(value)); });
}

Bool IsIdenticalFloat(Float32 a, Float32 b, UChar threshold)
{
	return IsIdenticalValue(a, b, threshold);
}

ImageChannel GetImageChannel(CHANNELTYPE type, DataType dataType)
{
	const ChannelTypeInfo* const info = FindChannelType(type);
	const ImageChannelType object = info != nullptr ? FindDeclared<ImageChannelTypeInterface>(info->_id) : ImageChannelType();
	return object ? object->GetChannel(dataType) : ImageChannel();
}

Result<void> RegisterChannelTypes(Module& module)
{
	for (std::size_t i = 0; i < CHANNEL_CLASSES.size(); ++i)
		TORVI_TRY(module.AddClass(CHANNEL_CLASSES[i]._classId, Id(), {{CHANNEL_CLASSES[i]._classId, CHANNEL_COMPONENTS[i]}}));
	TORVI_TRY(module.OnEnd(&DropAllChannels));
	for (std::size_t i = 0; i < CHANNEL_TYPES.size(); ++i)
	{
		const Id id = CHANNEL_TYPES[i]._id;
		const ClassRef record = TORVI_TRY(module.AddClass(id, Id(), {{id, TYPE_COMPONENTS[i]}}));
		const auto type = TORVI_TRY(record->Create<ImageChannelTypeImpl>());
		TORVI_TRY(module.AddObject(ids::REGISTRY_IMAGECHANNELTYPES, id, type));
		type->JoinChannels();
	}
	return OK;
}

} // namespace torvi
