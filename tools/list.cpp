// torvi-image list: what the library knows.
#include "host/ids.h"
#include "tools/command.h"
#include "tools/files.h"
#include "torvi/mediasession_fileformats.h"

#include <nlohmann/json.hpp>

namespace torvi::tool
{

namespace
{

using Json = nlohmann::ordered_json;

template <class T, class Describe>
Result<Json> ListRegistry(const Id& registry, Describe describe)
{
	Json list = Json::array();
	for (Registry::Iterator it = TORVI_TRY(g_torvi->GetRegistry(registry))->CreateIterator(); it.HasValue(); it.MoveToNext())
	{
		if (const Ref<T> entry = Cast<T>(it.GetEntry()))
			list.push_back(describe(ToStd(it.GetEntryId().GetText()), *entry));
	}
	return list;
}

/// The id that an object of a registry has there.
std::string IdIn(const Id& registry, const ObjectRef& object)
{
	const Result<RegistryRef> found = g_torvi->GetRegistry(registry);
	if (!found.IsOk())
		return {};
	for (Registry::Iterator it = found.GetValue()->CreateIterator(); it.HasValue(); it.MoveToNext())
	{
		if (it.GetEntry() == object)
			return ToStd(it.GetEntryId().GetText());
	}
	return {};
}

Json DescribeFormat(const std::string& id, const PixelFormatInterface& format)
{
	Json channels = Json::array();
	for (const ImageChannel& channel : format.GetChannels())
		channels.push_back(ToStd(channel->ToString()));
	return {{"id", id},
			{"name", format.GetShortName()},
			{"channels", channels},
			{"bits", format.GetBitsPerPixel()},
			{"group", IdIn(ids::REGISTRY_PIXELFORMATGROUPS, format.GetPixelFormatGroup())}};
}

Result<Json> ListFormats()
{
	Json list = Json::array();
	for (const auto& group : TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_PIXELFORMATGROUPS))->GetEntries<PixelFormatGroupInterface>())
	{
		for (Registry::Iterator it = group->GetEntries(); it.HasValue(); it.MoveToNext())
		{
			if (const PixelFormat format = Cast<PixelFormatInterface>(it.GetEntry()))
				list.push_back(DescribeFormat(ToStd(it.GetEntryId().GetText()), *format));
		}
	}
	return list;
}

Result<Json> ListGroups()
{
	return ListRegistry<PixelFormatGroupInterface>(ids::REGISTRY_PIXELFORMATGROUPS,
												   [](const std::string& id, const PixelFormatGroupInterface& group)
												   {
													   Json members = Json::array();
													   for (Registry::Iterator it = group.GetEntries(); it.HasValue(); it.MoveToNext())
														   members.push_back(ToStd(it.GetEntryId().GetText()));
													   return Json{{"id", id}, {"formats", members}};
												   });
}

Result<Json> ListChannels()
{
	return ListRegistry<ImageChannelTypeInterface>(ids::REGISTRY_IMAGECHANNELTYPES,
												   [](const std::string& id, const ImageChannelTypeInterface& type)
												   {
													   const ColorSpace space = type.GetColorSpace();
													   return Json{
														   {"id", id},
														   {"name", ToStd(type.ToString())},
														   {"fill", type.GetDefaultFillValue()},
														   {"colorspace", space ? Json(IdIn(ids::REGISTRY_COLORSPACES, space)) : Json()}};
												   });
}

/// The exporter of a file format; the empty id for formats that are only read.
Result<std::string> FindExporter(const FileFormatInterface& format)
{
	for (const auto& record : TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_IMAGESAVERCLASSES))->GetEntries<Class>())
	{
		const auto exporter = TORVI_TRY(record->Create<MediaOutputUrlInterface>());
		if (TORVI_TRY(exporter->GetFileFormat()).GetPointer() == &format)
			return ToStd(record->GetId().GetText());
	}
	return std::string();
}

Result<Json> ListCodecs()
{
	Json list = Json::array();
	for (const auto& format : TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_FILEFORMATS))->GetEntries<FileFormatInterface>())
	{
		Json suffixes = Json::array();
		for (const String& suffix : format->GetOr<Array<String>>(ids::FILEFORMAT_COMMONSUFFIXES, {}))
			suffixes.push_back(ToStd(suffix));
		Bool isRead = false;
		for (const auto& handler :
			 TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_FILEFORMATHANDLERS))->GetEntries<FileFormatHandlerInterface>())
			isRead = isRead || TORVI_TRY(handler->GetFileFormat()) == format;
		const std::string exporter = TORVI_TRY(FindExporter(*format));
		list.push_back({{"id", IdIn(ids::REGISTRY_FILEFORMATS, format)},
						{"suffixes", suffixes},
						{"read", isRead},
						{"write", !exporter.empty()},
						{"exporter", exporter.empty() ? Json() : Json(exporter)}});
	}
	return list;
}

Result<Json> ListBlendModes()
{
	return ListRegistry<ImagePixelBlendInterface>(ids::REGISTRY_BLENDMODES,
												  [](const std::string& id, const ImagePixelBlendInterface&) {
													  return Json{{"id", id}};
												  });
}

Result<Json> ListProfiles()
{
	return ListRegistry<ColorProfileObject>(ids::REGISTRY_COLORPROFILES,
											[](const std::string& id, const ColorProfileObject& object) {
												return Json{{"id", id}, {"description", ToStd(object.GetProfile().ToString())}};
											});
}

Result<Json> ListClasses()
{
	Json list = Json::array();
	for (const auto& record : g_torvi->GetClasses().GetEntries<Class>())
	{
		const ClassRef& base = record->GetBase();
		list.push_back({{"id", ToStd(record->GetId().GetText())}, {"base", base ? Json(ToStd(base->GetId().GetText())) : Json()}});
	}
	return list;
}

struct Subject
{
	const char* _name;
	Result<Json> (*_list)();
};

constexpr Subject SUBJECTS[] = {
	{"formats", &ListFormats},        {"groups", &ListGroups},     {"channels", &ListChannels}, {"codecs", &ListCodecs},
	{"blend-modes", &ListBlendModes}, {"profiles", &ListProfiles}, {"classes", &ListClasses},
};

/// One line an entry: the id, then the other values.
std::string MakeText(const Json& list)
{
	std::string text;
	for (const Json& entry : list)
	{
		std::string line;
		for (const auto& [key, value] : entry.items())
		{
			const std::string shown = value.is_string() ? value.get<std::string>() : value.dump();
			line.append(line.empty() ? "" : "  ").append(key == "id" ? "" : key + "=").append(shown);
		}
		text += line + "\n";
	}
	return text;
}

Result<void> RunList(const std::string& name, Bool asJson)
{
	const Json list = TORVI_TRY(std::ranges::find(SUBJECTS, name, &Subject::_name)->_list());
	return Print(asJson ? list.dump(2) + "\n" : MakeText(list));
}

} // namespace

void AddList(CLI::App& app, Run& run)
{
	auto name = std::make_shared<std::string>();
	auto asJson = std::make_shared<Bool>(false);
	std::vector<std::string> names;
	for (const Subject& subject : SUBJECTS)
		names.emplace_back(subject._name);
	CLI::App* command = app.add_subcommand("list", "Lists what the library knows.");
	command->add_option("WHAT", *name, "what to list")->required()->check(CLI::IsMember(names));
	command->add_flag("--json", *asJson, "an array with one object per entry");
	command->callback([=, &run]() { run = [=]() { return Report(*name, NoThrow([&]() { return RunList(*name, *asJson); })); }; });
}

} // namespace torvi::tool
