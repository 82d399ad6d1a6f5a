// Walks over the pixel format groups, and the reading of channel lists such as "{uchar#Red,uint16#Green}".
#include "image/stored_pixel_format.h"

#include "host/halffloat_datatype.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr std::string_view CHANNEL_LIST_HEAD = "net.torvi.image.pixelformat.{";
constexpr char CHANNEL_LIST_END = '}';
constexpr char CHANNEL_SEPARATOR = ',';
constexpr char CHANNEL_TYPE_MARK = '#';

/// Calls `accept`(format, id in its registry) for all formats of all groups until it gives true; the format then, else null.
template <class Accept>
Result<PixelFormat> FindFormat(const Accept& accept)
{
	TORVI_CHECK(g_torvi != nullptr, IllegalStateError("The module is not started."));
	const RegistryRef groups = TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_PIXELFORMATGROUPS));
	for (const PixelFormatGroup& group : groups->GetEntries<PixelFormatGroupInterface>())
	{
		for (Registry::Iterator it = group->GetEntries(); it.HasValue(); it.MoveToNext())
		{
			PixelFormat format = Cast<PixelFormatInterface>(it.GetEntry());
			if (format && accept(format, it.GetEntryId()))
				return format;
		}
	}
	return PixelFormat();
}

/// The data type of a channel by the name in the channel's text; no type for another name.
DataType FindChannelDataType(std::string_view name)
{
	static constexpr DataType TYPES[] = {GetDataType<UChar>(),     GetDataType<Char>(),    GetDataType<UInt16>(),
										 GetDataType<Int16>(),     GetDataType<UInt32>(),  GetDataType<Int32>(),
										 GetDataType<HalfFloat>(), GetDataType<Float32>(), GetDataType<Float64>()};
	const auto found = std::ranges::find(TYPES, name, [](DataType type) { return type.GetId().GetText(); });
	return found != std::end(TYPES) ? *found : DataType();
}

/// The channel whose text, data type and channel type with "#" between, this is; or null.
Result<ImageChannel> FindChannel(std::string_view text)
{
	const DataType dataType = FindChannelDataType(text.substr(0, text.find(CHANNEL_TYPE_MARK)));
	if (!dataType)
		return ImageChannel();
	const RegistryRef types = TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_IMAGECHANNELTYPES));
	for (const ImageChannelType& type : types->GetEntries<ImageChannelTypeInterface>())
	{
		ImageChannel channel = type->GetChannel(dataType);
		if (channel && channel->ToString() == text)
			return channel;
	}
	return ImageChannel();
}

/// Null for a text that is no list of known channels.
Result<PixelFormat> MakeListedFormat(std::string_view id)
{
	if (!id.starts_with(CHANNEL_LIST_HEAD) || !id.ends_with(CHANNEL_LIST_END))
		return PixelFormat();
	std::string_view rest = id.substr(CHANNEL_LIST_HEAD.size(), id.size() - CHANNEL_LIST_HEAD.size() - 1);
	Array<ImageChannel> channels;
	while (true)
	{
		const std::size_t end = rest.find(CHANNEL_SEPARATOR);
		ImageChannel channel = TORVI_TRY(FindChannel(rest.substr(0, end)));
		if (!channel)
			return PixelFormat();
		channels.push_back(std::move(channel));
		if (end == std::string_view::npos)
			return FindOrCreatePixelFormat(channels);
		rest.remove_prefix(end + 1);
	}
}

} // namespace

Result<Id> GetStoredFormatId(const PixelFormat& format)
{
	return NoThrow(
		[&]() -> Result<Id>
		{
			if (!Cast<PixelFormatDynamicInterface>(format))
				return format->GetClassId();
			Id id;
			const auto isFormat = [&](const PixelFormat& listed, const Id& listedId)
			{
				id = listedId;
				return listed == format;
			};
			TORVI_CHECK(TORVI_TRY(FindFormat(isFormat)), IllegalStateError("Illegal pixel format: @.", format->GetShortName()));
			return id;
		});
}

Result<PixelFormat> FindStoredFormat(const Id& id)
{
	return NoThrow(
		[&]() -> Result<PixelFormat>
		{
			PixelFormat format = TORVI_TRY(FindFormat([&](const PixelFormat& listed, const Id&) { return listed->GetClassId() == id; }));
			if (!format)
				format = TORVI_TRY(FindFormat([&](const PixelFormat&, const Id& listedId) { return listedId == id; }));
			if (!format)
				format = TORVI_TRY(MakeListedFormat(id.GetText()));
			TORVI_CHECK(format, IllegalStateError("Illegal pixel format: @.", id));
			return format;
		});
}

} // namespace torvi
