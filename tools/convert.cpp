// torvi-image convert: one file into another, or many files into a folder.
#include "host/description.h"
#include "tools/picture.h"
#include "torvi/ids_keys.h"
#include "torvi/mediasession_fileformats.h"

#include <atomic>
#include <filesystem>
#include <mutex>
#include <thread>

namespace torvi::tool
{

namespace
{

constexpr std::string_view KEY_PREFIX = "net.torvi.mediasession.";

struct ConvertOptions
{
	std::vector<std::string> _names; ///< IN OUT, or IN... with --to
	std::string _suffix;
	std::string _folder;
	std::string _profile = "keep";
	std::vector<std::string> _settings;
	PictureChoice _choice;
	int _jobs = 1;
	Bool _keepGoing = false;
};

/// The exporter that writes files of a suffix, with its class.
Result<MediaOutputUrlRef> CreateExporter(const std::string& suffix)
{
	for (const auto& record : TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_IMAGESAVERCLASSES))->GetEntries<Class>())
	{
		MediaOutputUrlRef exporter = TORVI_TRY(record->Create<MediaOutputUrlInterface>());
		const FileFormatRef format = TORVI_TRY(exporter->GetFileFormat());
		for (const String& known : TORVI_TRY(format->Get<Array<String>>(ids::FILEFORMAT_COMMONSUFFIXES)))
		{
			if (ComparePart(known, suffix, StringCompareMode::CASEINSENSITIVE) == 0)
				return exporter;
		}
	}
	return IllegalArgumentError("No format that is written here has the suffix \"@\".", suffix);
}

/// The value of a setting in the type that the exporter's description, or the one of all exporters, gives its default.
Result<Data> ParseSetting(const Id& exporter, const Id& key, const std::string& value)
{
	for (const Id& description : {exporter, ids::EXPORT_DESCRIPTION})
	{
		const Result<const DataDescription*> found = DataDescriptionDatabase::LoadDescription(description);
		const DataDictionary* entry = found.IsOk() ? found.GetValue()->GetEntry(key) : nullptr;
		const Data* standard = entry != nullptr ? entry->FindData(ids::DESCRIPTION_DEFAULTVALUE) : nullptr;
		if (standard != nullptr)
			return TORVI_TRY(Data::Make<String>(MakeString(value))).Convert(standard->GetType());
	}
	return IllegalArgumentError("There is no setting @.", key);
}

Result<void> AddSetting(DataDictionary& settings, const Id& exporter, const std::string& assignment)
{
	const std::size_t mark = assignment.find('=');
	const std::string name = assignment.substr(0, mark);
	const Id key = TORVI_TRY(InternId(name.starts_with(KEY_PREFIX) ? name : ToStd(KEY_PREFIX) + name));
	return settings.SetData(key, TORVI_TRY(ParseSetting(exporter, key, assignment.substr(mark + 1))));
}

/// A texture of one image with the pixels that a layer set chooses.
Result<ImageTextureRef> TakePart(const ImageBaseRef& image, const LayerSet& part)
{
	const PixelFormat format = image->GetPixelFormat();
	TORVI_CHECK(format, IllegalStateError("The picture has no pixel format."));
	const PictureReader reader = TORVI_TRY(PictureReader::Open(image, format, ColorProfile(), PictureReader::Alpha::NONE, &part));
	const auto texture = TORVI_TRY(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	const auto copy = TORVI_TRY(CreateObject<ImageInterface>(ids::IMAGECLASS_IMAGE));
	const ClassRef storage = TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL));
	TORVI_TRY(copy->Init(reader.GetWidth(), reader.GetHeight(), storage, format, {}));
	TORVI_TRY(texture->AddChildren(IMAGEHIERARCHY::IMAGE, copy, ImageBaseRef()));
	SetPixelHandlerStruct writer =
		TORVI_TRY(copy->SetPixelHandler(format, format->GetChannelOffsets(), ColorProfile(), SETPIXELHANDLERFLAGS::NONE));
	Array<Byte> line(static_cast<std::size_t>(reader.GetBytesPerLine()));
	for (Int y = 0; y < reader.GetHeight(); ++y)
	{
		TORVI_TRY(reader.ReadLine(y, line));
		TORVI_TRY(writer.SetLine({0, y, reader.GetWidth()}, PixelBuffer(line.data(), format->GetBitsPerPixel()), 0));
	}
	TORVI_TRY(writer.Free());
	return texture;
}

Result<ImageTextureRef> LoadWanted(const ConvertOptions& options, const std::string& in)
{
	ImageTextureRef texture = TORVI_TRY(LoadPicture(TORVI_TRY(OpenInput(in)), in, options._choice));
	if (!ChoosesPart(options._choice))
		return texture;
	const ImageBaseRef image = TORVI_TRY(GetFirstImage(texture));
	return TakePart(image, TORVI_TRY(MakeLayerSet(image, options._choice)));
}

std::string SuffixOf(const std::string& name)
{
	const std::string suffix = std::filesystem::path(name).extension().string();
	return suffix.empty() ? suffix : suffix.substr(1);
}

Result<void> ConvertFile(const ConvertOptions& options, const std::string& in, const std::string& out)
{
	TORVI_CHECK(options._profile == "keep",
	            UnsupportedOperationError("This build converts no colours: only --profile keep can be used, not @.", options._profile));
	const MediaOutputUrlRef exporter = TORVI_TRY(CreateExporter(SuffixOf(out)));
	const ImageTextureRef texture = TORVI_TRY(LoadWanted(options, in));
	DataDictionary settings = texture->GetOr<DataDictionary>(ids::IMAGE_EXPORTSETTINGS, DataDictionary());
	for (const std::string& setting : options._settings)
		TORVI_TRY(AddSetting(settings, exporter->GetClassId(), setting));
	TORVI_TRY(texture->Set<DataDictionary>(ids::IMAGE_EXPORTSETTINGS, settings));
	return WriteOutput(out,
	                   [&](const Url& url) -> Result<void>
	                   {
						   TORVI_TRY(exporter->SetOutputUrl(url));
						   TORVI_TRY(CheckInterrupt(ProgressRef()));
						   return texture->Save(exporter, MEDIASESSIONFLAGS::NONE, nullptr);
					   });
}

int ConvertOne(const ConvertOptions& options, const std::string& in, const std::string& out)
{
	static std::mutex s_printLock;
	const Result<void> result = NoThrow([&]() { return ConvertFile(options, in, out); });
	const std::lock_guard guard(s_printLock);
	return Report(in, result);
}

std::string NameInFolder(const ConvertOptions& options, const std::string& in)
{
	const std::string stem = in == "-" ? "stdin" : std::filesystem::path(in).stem().string();
	return (std::filesystem::path(options._folder) / (stem + "." + options._suffix)).string();
}

/// Each file for itself, several at a time; without --keep-going no further file is started after a failure.
int ConvertMany(const ConvertOptions& options)
{
	std::error_code code;
	std::filesystem::create_directories(options._folder, code);
	std::atomic<std::size_t> next{0};
	std::atomic<int> status{STATUS_OK};
	const auto work = [&]()
	{
		for (std::size_t i = next++; i < options._names.size(); i = next++)
		{
			if (status != STATUS_OK && !options._keepGoing)
				return;
			if (ConvertOne(options, options._names[i], NameInFolder(options, options._names[i])) != STATUS_OK)
				status = STATUS_FAILED;
		}
	};
	std::vector<std::jthread> threads;
	for (int i = 1; i < options._jobs; ++i)
		threads.emplace_back(work);
	work();
	threads.clear();
	return status;
}

int RunConvert(const ConvertOptions& options)
{
	return options._suffix.empty() ? ConvertOne(options, options._names[0], options._names[1]) : ConvertMany(options);
}

void CheckUsage(const ConvertOptions& options)
{
	if (options._suffix.empty() != options._folder.empty())
		throw CLI::ValidationError("convert", "--to and --into go together");
	if (options._suffix.empty() && options._names.size() != 2)
		throw CLI::ValidationError("convert", "IN and OUT are needed, or IN... with --to and --into");
	for (const std::string& setting : options._settings)
	{
		if (setting.find('=') == std::string::npos)
			throw CLI::ValidationError("--set", setting + " is not KEY=VALUE");
	}
}

} // namespace

void AddConvert(CLI::App& app, Run& run)
{
	auto options = std::make_shared<ConvertOptions>();
	CLI::App* command = app.add_subcommand("convert", "Converts a picture file: IN OUT, or IN... --to SUFFIX --into DIR.");
	command->add_option("FILES", options->_names, "IN and OUT, or several IN")->required();
	command->add_option("--to", options->_suffix, "suffix of the files to write")->type_name("SUFFIX");
	command->add_option("--into", options->_folder, "folder to write them to")->type_name("DIR");
	command->add_option("--jobs", options->_jobs, "files at a time")->check(CLI::Range(1, 256))->capture_default_str();
	command->add_flag("--keep-going", options->_keepGoing, "go on with further files after a failure");
	command->add_option("--set", options->_settings, "export setting, with or without its net.torvi.mediasession. head")->type_name("KEY=VALUE");
	command->add_option("--profile", options->_profile, "keep, srgb, linear, or an ICC file")->capture_default_str();
	AddImageOptions(*command, options->_choice);
	command->callback(
		[options, &run]()
		{
			CheckUsage(*options);
			run = [options]() { return RunConvert(*options); };
		});
}

} // namespace torvi::tool
