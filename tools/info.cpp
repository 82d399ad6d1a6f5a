// torvi-image info: what files hold, without decoding their pixels.
#include "tools/files.h"
#include "tools/picture.h"
#include "tools/watch.h"
#include "torvi/ids_keys.h"
#include "torvi/mediasession_fileformats.h"

#include <nlohmann/json.hpp>
#include <sstream>

namespace torvi::tool
{

namespace
{

using Json = nlohmann::ordered_json;

/// The stored value of a key, without what an object answers by itself; null where there is none.
template <class T>
const T* FindStored(const DataDictionaryObjectInterface& object, const Id& key)
{
	for (const DataDictionary::Entry& entry : object.InitIterator())
	{
		if (entry._key == key)
			return entry._value.GetPtr<T>();
	}
	return nullptr;
}

template <class T>
Json Stored(const DataDictionaryObjectInterface& object, const Id& key)
{
	const T* value = FindStored<T>(object, key);
	if constexpr (std::is_same_v<T, String>)
		return value != nullptr ? Json(ToStd(*value)) : Json();
	else if constexpr (std::is_same_v<T, TimeValue>)
		return value != nullptr ? Json(value->GetSeconds()) : Json();
	else
		return value != nullptr ? Json(*value) : Json();
}

std::string NameOf(const ImageBaseInterface& image, const Id& key)
{
	const String* name = FindStored<String>(image, key);
	return name != nullptr ? ToStd(*name) : std::string();
}

Json FormatOf(const ImageBaseInterface& image)
{
	const PixelFormat format = image.GetPixelFormat();
	return format ? Json(NamePixelFormat(format)) : Json();
}

Json ProfileOf(const ImageBaseInterface& image)
{
	const ColorProfile* profile = FindStored<ColorProfile>(image, ids::IMAGE_COLORPROFILE);
	return profile != nullptr && !profile->IsEmpty() ? Json(ToStd(profile->ToString())) : Json();
}

Json SettingsOf(const DataDictionaryObjectInterface& object)
{
	Json settings = Json::object();
	if (const DataDictionary* dictionary = FindStored<DataDictionary>(object, ids::IMAGE_EXPORTSETTINGS))
	{
		for (const DataDictionary::Entry& entry : dictionary->GetEntries())
			settings[ToStd(entry._key.GetText())] = ToStd(entry._value.ToString());
	}
	return settings;
}

Json BoundsOf(const ImageBaseInterface& image)
{
	const DrawRectInt bounds = GetBounds(image);
	return {bounds.position.x, bounds.position.y, bounds.size.width, bounds.size.height};
}

Json DescribeMask(const ImageBaseInterface& mask)
{
	return {{"name", NameOf(mask, ids::IMAGE_NAME)},
			{"bounds", BoundsOf(mask)},
			{"default", Stored<UChar>(mask, ids::IMAGE_LAYER_MASKDEFCOLOR)}};
}

std::string KindOf(const ImageBaseInterface& layer)
{
	const ImageType kind = GetLayerType(layer);
	return kind == ImageType::FOLDER ? "folder" : kind == ImageType::FILTER ? "filter" : "layer";
}

Json BlendModeOf(const ImageBaseInterface& layer)
{
	const ImagePixelBlend* mode = FindStored<ImagePixelBlend>(layer, ids::IMAGE_LAYER_BLENDMODE);
	return mode != nullptr && *mode ? Json(ShortId((*mode)->GetClassId().GetText(), BLENDMODE_PREFIX)) : Json();
}

template <class Describe>
Json List(const HierarchyObjectInterface& parent, IMAGEHIERARCHY branch, Describe describe)
{
	Json list = Json::array();
	for (const ImageBaseRef& child : GetImageChildren(parent, branch))
		list.push_back(describe(*child));
	return list;
}

Json DescribeLayer(const ImageBaseInterface& layer)
{
	return {{"kind", KindOf(layer)},
			{"name", NameOf(layer, ids::IMAGE_NAME)},
			{"enabled", Stored<Bool>(layer, ids::IMAGE_LAYER_ENABLED)},
			{"opacity", Stored<Float64>(layer, ids::IMAGE_LAYER_OPACITY)},
			{"fillopacity", Stored<Float64>(layer, ids::IMAGE_LAYER_FILLOPACITY)},
			{"blendmode", BlendModeOf(layer)},
			{"bounds", BoundsOf(layer)},
			{"pixelformat", FormatOf(layer)},
			{"colorprofile", ProfileOf(layer)},
			{"masks", List(layer, IMAGEHIERARCHY::MASK, &DescribeMask)},
			{"layers", List(layer, IMAGEHIERARCHY::LAYER, &DescribeLayer)}};
}

Json DescribeAlpha(const ImageBaseInterface& alpha)
{
	return {{"name", NameOf(alpha, ids::IMAGE_ALPHANAME)},
			{"width", alpha.GetWidth()},
			{"height", alpha.GetHeight()},
			{"pixelformat", FormatOf(alpha)}};
}

Json DescribeImage(const ImageBaseInterface& image)
{
	const Int* index = FindStored<Int>(image, ids::IMAGE_SUBIMAGEINDEX);
	const Int* hotSpotX = FindStored<Int>(image, ids::IMAGE_HOTSPOTX);
	const Int* hotSpotY = FindStored<Int>(image, ids::IMAGE_HOTSPOTY);
	return {{"index", index != nullptr ? *index : 0},
			{"name", NameOf(image, ids::IMAGE_NAME)},
			{"width", image.GetWidth()},
			{"height", image.GetHeight()},
			{"pixelformat", FormatOf(image)},
			{"colorprofile", ProfileOf(image)},
			{"dpi", Stored<Float64>(image, ids::IMAGE_DPI)},
			{"aspectratio", Stored<Float64>(image, ids::IMAGE_ASPECTRATIO)},
			{"hotspot", hotSpotX != nullptr && hotSpotY != nullptr ? Json({*hotSpotX, *hotSpotY}) : Json()},
			{"exportsettings", SettingsOf(image)},
			{"alphas", List(image, IMAGEHIERARCHY::ALPHA, &DescribeAlpha)},
			{"layers", List(image, IMAGEHIERARCHY::LAYER, &DescribeLayer)}};
}

Result<Json> DescribeFile(const std::string& name)
{
	TORVI_TRY(CheckInterrupt());
	const ImageTextureRef texture = TORVI_TRY(LoadStructure(TORVI_TRY(OpenInput(name))));
	const FileFormatRef* format = FindStored<FileFormatRef>(*texture, ids::IMAGE_FILEFORMAT);
	Json exif = false;
	for (const DataDictionary::Entry& entry : texture->InitIterator())
		exif = exif || entry._key == ids::IMAGE_EXIFDATA;
	return Json{{"file", name},
				{"fileformat", format != nullptr && *format ? Json(ToStd((*format)->GetClassId().GetText())) : Json()},
				{"fps", Stored<Float64>(*texture, ids::IMAGE_FPS)},
				{"duration", Stored<TimeValue>(*texture, ids::IMAGE_DURATION)},
				{"exif", exif},
				{"images", List(*texture, IMAGEHIERARCHY::IMAGE, &DescribeImage)},
				{"audio", Json()}};
}

void WriteLayers(std::ostream& text, const Json& layers, const std::string& indent)
{
	for (const Json& layer : layers)
	{
		text << indent << layer["kind"].get<std::string>() << " \"" << layer["name"].get<std::string>() << "\"\n";
		WriteLayers(text, layer["layers"], indent + "  ");
	}
}

std::string TextOr(const Json& value)
{
	return value.is_null() ? "?" : value.get<std::string>();
}

std::string MakeText(const Json& file)
{
	std::ostringstream text;
	text << file["file"].get<std::string>() << ": " << TextOr(file["fileformat"]) << "\n";
	for (const Json& image : file["images"])
	{
		text << "  " << image["width"] << " x " << image["height"] << " " << ShortId(TextOr(image["pixelformat"]), PIXELFORMAT_PREFIX);
		if (!image["colorprofile"].is_null())
			text << ", " << image["colorprofile"].get<std::string>();
		if (!image["dpi"].is_null())
			text << ", " << image["dpi"] << " dpi";
		for (const Json& alpha : image["alphas"])
			text << ", alpha channel \"" << alpha["name"].get<std::string>() << "\"";
		text << "\n";
		WriteLayers(text, image["layers"], "    ");
	}
	return text.str();
}

/// One file; its object joins the list, or its text is printed.
Result<void> ShowFile(const std::string& name, Bool asJson, Json& list)
{
	Json description = TORVI_TRY(DescribeFile(name));
	if (!asJson)
		return Print(MakeText(description));
	list.push_back(std::move(description));
	return OK;
}

int RunInfo(const std::vector<std::string>& files, Bool asJson)
{
	int status = STATUS_OK;
	Json list = Json::array();
	for (std::size_t i = 0; i < files.size() && !(IsInterrupted() && status == STATUS_FAILED); ++i)
		status = std::max(status, Report(files[i], NoThrow([&]() { return ShowFile(files[i], asJson, list); })));
	if (asJson)
		status = std::max(status, Report("standard output", Print(list.dump(2, ' ', false, Json::error_handler_t::replace) + "\n")));
	return status;
}

} // namespace

void AddInfo(CLI::App& app, Run& run)
{
	auto files = std::make_shared<std::vector<std::string>>();
	auto asJson = std::make_shared<Bool>(false);
	CLI::App* command = app.add_subcommand("info", "Tells what files hold, without decoding pixels.");
	command->add_option("FILE", *files, "picture files")->required();
	command->add_flag("--json", *asJson, "an array with one object per file");
	command->callback([=, &run]() { run = [=]() { return RunInfo(*files, *asJson); }; });
}

} // namespace torvi::tool
