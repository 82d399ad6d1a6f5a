// Groups of pixel formats, and the steps that each format takes into its registry.
#include "pixelformat/format_registration.h"

#include "torvi/ids_formats.h"

namespace torvi
{

namespace
{

struct GroupInfo
{
	Id _id;
	Id _registry;
};

constexpr std::array<GroupInfo, 20> GROUPS = {{
	{ids::PIXELFORMATGROUP_RGB, ids::REGISTRY_RGB},
	{ids::PIXELFORMATGROUP_RGBA, ids::REGISTRY_RGBA},
	{ids::PIXELFORMATGROUP_ARGB, ids::REGISTRY_ARGB},
	{ids::PIXELFORMATGROUP_RGBX, ids::REGISTRY_RGBX},
	{ids::PIXELFORMATGROUP_XRGB, ids::REGISTRY_XRGB},
	{ids::PIXELFORMATGROUP_BGR, ids::REGISTRY_BGR},
	{ids::PIXELFORMATGROUP_BGRA, ids::REGISTRY_BGRA},
	{ids::PIXELFORMATGROUP_BGRX, ids::REGISTRY_BGRX},
	{ids::PIXELFORMATGROUP_ABGR, ids::REGISTRY_ABGR},
	{ids::PIXELFORMATGROUP_ALPHA, ids::REGISTRY_ALPHA},
	{ids::PIXELFORMATGROUP_GREY, ids::REGISTRY_GREY},
	{ids::PIXELFORMATGROUP_AGREY, ids::REGISTRY_AGREY},
	{ids::PIXELFORMATGROUP_GREYA, ids::REGISTRY_GREYA},
	{ids::PIXELFORMATGROUP_CMYK, ids::REGISTRY_CMYK},
	{ids::PIXELFORMATGROUP_ACMYK, ids::REGISTRY_ACMYK},
	{ids::PIXELFORMATGROUP_CMYK_INV, ids::REGISTRY_CMYK_INV},
	{ids::PIXELFORMATGROUP_ACMYK_INV, ids::REGISTRY_ACMYK_INV},
	{ids::PIXELFORMATGROUP_YUV, ids::REGISTRY_YUV},
	{ids::PIXELFORMATGROUP_INDEXED, ids::REGISTRY_INDEXED},
	{ids::PIXELFORMATGROUP_DYNAMIC, ids::REGISTRY_DYNAMIC},
}};

/// Holds no reference to the registry, whose formats hold their group.
class PixelFormatGroupImpl final : public PixelFormatGroupInterface
{
public:
	explicit PixelFormatGroupImpl(const GroupInfo& info) : _info(info) {}

	Registry::Iterator GetEntries() const override
	{
		if (g_torvi == nullptr)
			return Registry::Iterator();
		const Result<RegistryRef> registry = g_torvi->GetRegistry(_info._registry);
		return registry.IsOk() ? registry.GetValue()->CreateIterator() : Registry::Iterator();
	}

private:
	const GroupInfo& _info;
};

constexpr auto COMPONENTS = MakeComponentTable<PixelFormatGroupImpl, GROUPS>();

String WithDots(std::string_view shortName)
{
	String text = MakeString(shortName);
	if (const auto colons = text.find("::"); colons != String::npos)
		text.replace(colons, 2, ".");
	return text;
}

} // namespace

Result<void> PublishPixelFormat(Module& module, const FormatEntry& entry, const PixelFormat& format)
{
	const auto group = FindDeclared<PixelFormatGroupInterface>(entry._group);
	TORVI_TRY(format->Init(group, entry._shortName));
	const Id id = TORVI_TRY(InternId(Format("net.torvi.image.pixelformat.@", entry._name)));
	return module.AddObject(entry._registry, id, format);
}

Result<void> AddPixelFormat(Module& module, const FormatEntry& entry, CreateFunction create)
{
	const Id classId = TORVI_TRY(InternId(Format("net.torvi.image.class.pixelformat.@", WithDots(entry._shortName))));
	const ClassRef record = TORVI_TRY(module.AddClass(classId, ids::CLASS_PIXELFORMATBASE, {{classId, create}}));
	return PublishPixelFormat(module, entry, TORVI_TRY(record->Create<PixelFormatInterface>()));
}

Result<void> RegisterPixelFormatGroups(Module& module)
{
	for (std::size_t i = 0; i < GROUPS.size(); ++i)
	{
		const Id id = GROUPS[i]._id;
		TORVI_TRY(module.GetHost().GetRegistry(GROUPS[i]._registry));
		const ClassRef record = TORVI_TRY(module.AddClass(id, Id(), {{id, COMPONENTS[i]}}));
		TORVI_TRY(module.AddObject(ids::REGISTRY_PIXELFORMATGROUPS, id, TORVI_TRY(record->Create())));
	}
	return OK;
}

} // namespace torvi
