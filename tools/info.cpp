// torvi-image info: what files hold, without decoding their pixels.
#include "tools/picture.h"
#include "torvi/ids_keys.h"
#include "torvi/mediasession_fileformats.h"

#include <iostream>
#include <nlohmann/json.hpp>

namespace torvi::tool
{

namespace
{

using Json = nlohmann::ordered_json;

constexpr std::string_view BLENDMODE_PREFIX = "net.torvi.render.blendmode.";

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
	if (!format)
		return {};
	// A palette's format has the name of its class's template.
	if (Cast<PixelFormatIndexedColorInterface>(format))
		return "net.torvi.image.pixelformat.indexed." + ShortId(format->GetShortName(), "Indexed::");
	for (const auto& group : g_torvi->GetRegistry(ids::REGISTRY_PIXELFORMATGROUPS).TakeValue()->GetEntries<PixelFormatGroupInterface>())
	{
		for (Registry::Iterator it = group->GetEntries(); it.HasValue(); it.MoveToNext())
		{
			if (it.GetEntry() == format)
				return ToStd(it.GetEntryId().GetText());
		}
	}
	return format->GetShortName();
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
	const auto stored = [&](const Id& key, Int fallback)
	{
		const Int* value = FindStored<Int>(image, key);
		return value != nullptr ? *value : fallback;
	};
	return {stored(ids::IMAGE_LAYER_BOUNDINGBOX_X, 0), stored(ids::IMAGE_LAYER_BOUNDINGBOX_Y, 0),
	        stored(ids::IMAGE_LAYER_BOUNDINGBOX_W, image.GetWidth()), stored(ids::IMAGE_LAYER_BOUNDINGBOX_H, image.GetHeight())};
}

Json DescribeMask(const ImageBaseInterface& mask)
{
	return {{"name", NameOf(mask, ids::IMAGE_NAME)}, {"bounds", BoundsOf(mask)}, {"default", Stored<UChar>(mask, ids::IMAGE_LAYER_MASKDEFCOLOR)}};
}

std::string KindOf(const ImageBaseInterface& layer)
{
	const Int32* type = FindStored<Int32>(layer, ids::IMAGE_TYPE);
	const auto kind = type != nullptr ? static_cast<ImageType>(*type) : ImageType::LAYER;
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
	return {{"name", NameOf(alpha, ids::IMAGE_ALPHANAME)}, {"width", alpha.GetWidth()}, {"height", alpha.GetHeight()}, {"pixelformat", FormatOf(alpha)}};
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

void PrintLayers(const Json& layers, const std::string& indent)
{
	for (const Json& layer : layers)
	{
		std::cout << indent << layer["kind"].get<std::string>() << " \"" << layer["name"].get<std::string>() << "\"\n";
		PrintLayers(layer["layers"], indent + "  ");
	}
}

void PrintText(const Json& file)
{
	std::cout << file["file"].get<std::string>() << ": " << (file["fileformat"].is_null() ? "?" : file["fileformat"].get<std::string>()) << "\n";
	for (const Json& image : file["images"])
	{
		std::cout << "  " << image["width"] << " x " << image["height"] << " "
				  << (image["pixelformat"].is_null() ? "?" : ShortId(image["pixelformat"].get<std::string>(), "net.torvi.image.pixelformat."));
		if (!image["colorprofile"].is_null())
			std::cout << ", " << image["colorprofile"].get<std::string>();
		if (!image["dpi"].is_null())
			std::cout << ", " << image["dpi"] << " dpi";
		for (const Json& alpha : image["alphas"])
			std::cout << ", alpha channel \"" << alpha["name"].get<std::string>() << "\"";
		std::cout << "\n";
		PrintLayers(image["layers"], "    ");
	}
}

int RunInfo(const std::vector<std::string>& files, Bool asJson)
{
	int status = STATUS_OK;
	Json list = Json::array();
	for (const std::string& file : files)
	{
		Result<Json> description = NoThrow([&]() { return DescribeFile(file); });
		if (!description.IsOk())
		{
			PrintError(file, description.GetError());
			status = STATUS_FAILED;
		}
		else if (asJson)
			list.push_back(description.TakeValue());
		else
			PrintText(description.GetValue());
	}
	if (asJson)
		std::cout << list.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
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
