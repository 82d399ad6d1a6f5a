// The map from lists of channels to formats, which is the one door to dynamic formats: two callers with the same list share one object.
#include "pixelformat/gfx_image_channels.h"
#include "pixelformat/gfx_image_pixelformat_dynamic_impl.h"
#include "torvi/ids_formats.h"

#include <algorithm>

namespace torvi
{

namespace
{

using ChannelList = Array<ImageChannel>;

/// Hash and equality of lists, for blocks too, so that a look-up copies nothing.
struct ChannelListHash
{
	using is_transparent = void;
	std::size_t operator()(Block<const ImageChannel> channels) const
	{
		UInt64 hash = 0;
		for (const ImageChannel& channel : channels)
			hash = CombineHash(hash, HashAddress(channel.GetPointer()));
		return hash;
	}
};

struct ChannelListEqual
{
	using is_transparent = void;
	bool operator()(Block<const ImageChannel> a, Block<const ImageChannel> b) const { return std::ranges::equal(a, b); }
};

/// A format, or why there is none for the list.
struct MapEntry
{
	PixelFormat _format;
	Error _error;

	Result<PixelFormat> Get() const { return _format ? Result<PixelFormat>(_format) : Result<PixelFormat>(_error.Share()); }
};

Result<Id> MakeDynamicId(Block<const ImageChannel> channels)
{
	String list = MakeString("{");
	for (const ImageChannel& channel : channels)
		list += (list.size() > 1 ? MakeString(",") : String()) + channel.ToString();
	return InternId(Format("net.torvi.image.pixelformat.@", list + "}"));
}

Result<PixelFormat> CreateDynamic(Block<const ImageChannel> channels, const Id& id)
{
	const auto format = TORVI_TRY(CreateObject<PixelFormatDynamicInterface>(ids::CLASS_PIXELFORMATDYNAMIC));
	TORVI_TRY(format->Init(FindDeclared<PixelFormatGroupInterface>(ids::PIXELFORMATGROUP_DYNAMIC), id.GetCString()));
	for (const ImageChannel& channel : channels)
		TORVI_TRY(format->AddChannel(channel));
	return PixelFormat(format);
}

class PixelFormatsImpl final : public PixelFormatsInterface
{
public:
	Result<PixelFormat> FindOrCreatePixelFormat(Block<const ImageChannel> channels) override
	{
		TORVI_CHECK(!channels.empty(), IllegalArgumentError("FindOrCreatePixelFormat() needs at least 1 channel."));
		TORVI_CHECK(g_torvi != nullptr, IllegalStateError("The module is not started."));
		return NoThrow([&]() { return FindOrCreate(channels); });
	}

	/// Enters the members of all groups; of two with the same list the first counts.
	void AddRegisteredFormats(const Registry& groups)
	{
		for (const auto& group : groups.GetEntries<PixelFormatGroupInterface>())
		{
			for (Registry::Iterator it = group->GetEntries(); it.HasValue(); it.MoveToNext())
				AddRegisteredFormat(Cast<PixelFormatInterface>(it.GetEntry()));
		}
	}

private:
	void AddRegisteredFormat(const PixelFormat& format)
	{
		const Block<const ImageChannel> channels = format ? format->GetChannels() : Block<const ImageChannel>();
		if (!channels.empty())
			_entries.try_emplace(ChannelList(channels.begin(), channels.end()), MapEntry{format, Error()});
	}

	Result<PixelFormat> FindOrCreate(Block<const ImageChannel> channels)
	{
		{
			const std::shared_lock guard(_lock);
			if (const auto found = _entries.find(channels); found != _entries.end())
				return found->second.Get();
		}
		const Id id = TORVI_TRY(MakeDynamicId(channels));
		const RegistryRef registry = TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_DYNAMIC));
		Result<PixelFormat> created = CreateDynamic(channels, id); // without the lock: of several makers the first to enter wins
		if (!created.IsOk() && created.GetError().GetId() == errorids::OUTOFMEMORY)
			return created;
		const std::unique_lock guard(_lock);
		const auto [position, isNew] = _entries.try_emplace(ChannelList(channels.begin(), channels.end()));
		MapEntry& entry = position->second;
		if (!isNew)
			return entry.Get();
		Result<void> published = created.IsOk() ? registry->InsertEntry(id, created.GetValue()) : Result<void>(OK);
		if (!published.IsOk())
		{
			_entries.erase(position);
			return published.TakeError();
		}
		(created.IsOk() ? void(entry._format = created.TakeValue()) : void(entry._error = created.TakeError()));
		return entry.Get();
	}

	std::shared_mutex _lock;
	HashMap<ChannelList, MapEntry, ChannelListHash, ChannelListEqual> _entries;
};

struct ChannelRow
{
	CHANNELTYPE _channel;
	ValueType _type;
};

template <std::size_t COUNT>
Result<void> FindList(PixelFormatsInterface& formats, const ChannelRow (&rows)[COUNT])
{
	std::array<ImageChannel, COUNT> channels;
	for (std::size_t i = 0; i < COUNT; ++i)
		channels[i] = GetImageChannel(rows[i]._channel, DataTypeOf(rows[i]._type));
	TORVI_TRY(formats.FindOrCreatePixelFormat(channels));
	return OK;
}

/// Lists that exist from the beginning.
Result<void> FindStartLists(PixelFormatsInterface& formats)
{
	using enum CHANNELTYPE;
	TORVI_TRY(FindList(formats, {{GREY, ValueType::U32}}));
	TORVI_TRY(FindList(formats, {{GREY, ValueType::S32}}));
	TORVI_TRY(FindList(formats, {{RED, ValueType::U8}, {GREEN, ValueType::U16}, {BLUE, ValueType::F32}, {ALPHA, ValueType::U32}}));
	return FindList(
		formats,
		{{DEPTH, ValueType::F32}, {ALPHA, ValueType::F32}, {RED, ValueType::F32}, {GREEN, ValueType::F32}, {BLUE, ValueType::F32}});
}

} // namespace

Result<void> RegisterPixelFormatMap(Module& module)
{
	const auto formats = TORVI_TRY(NewObject<PixelFormatsImpl>());
	formats->AddRegisteredFormats(*TORVI_TRY(module.GetHost().GetRegistry(ids::REGISTRY_PIXELFORMATGROUPS)));
	TORVI_TRY(module.GetHost().DeclareObject(ids::INTERFACE_PIXELFORMATS, formats));
	return FindStartLists(*formats);
}

} // namespace torvi
