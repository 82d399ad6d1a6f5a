// torvi-image convert: one file into another, or many files into a folder.
#include "host/description.h"
#include "tools/exporter.h"
#include "tools/files.h"
#include "tools/picture.h"
#include "tools/watch.h"
#include "torvi/gfx_image_colorprofile_convert.h"
#include "torvi/ids_keys.h"
#include "torvi/mediasession_fileformats.h"

#include <atomic>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>

namespace torvi::tool
{

namespace
{

constexpr std::string_view KEY_PREFIX = "net.torvi.mediasession.";
constexpr std::string_view KEEP_PROFILE = "keep";

struct ConvertOptions
{
	std::vector<std::string> _names; ///< IN OUT, or IN... with --into
	std::string _suffix;             ///< empty: that of OUT
	std::string _folder;             ///< empty: IN OUT
	std::string _profile = ToStd(KEEP_PROFILE);
	std::vector<std::string> _settings;
	PictureChoice _choice;
	int _jobs = 1;
	Bool _keepGoing = true;
};

/// The exporter of the format that a texture came from, for standard output, which has no suffix.
Result<MediaOutputUrlRef> CreateExporterOfSource(const ImageTextureInterface& texture)
{
	const auto format = TORVI_TRY(texture.Get<FileFormatRef>(ids::IMAGE_FILEFORMAT));
	const auto suffixes = TORVI_TRY(format->Get<Array<String>>(ids::FILEFORMAT_COMMONSUFFIXES));
	return CreateExporter(suffixes.empty() ? String() : suffixes.front());
}

/// The value of a setting in the type that the exporter's description, or the one of all exporters, states.
Result<Data> ParseSetting(const Id& exporter, const Id& key, const std::string& value)
{
	for (const Id& description : {exporter, ids::EXPORT_DESCRIPTION})
	{
		const Result<const DataDescription*> found = DataDescriptionDatabase::LoadDescription(description);
		const DataDictionary* entry = found.IsOk() ? found.GetValue()->GetEntry(key) : nullptr;
		if (entry == nullptr)
			continue;
		const DataType type = TORVI_TRY(entry->Get<DataType>(ids::DESCRIPTION_DATATYPE));
		const Data text = TORVI_TRY(Data::Make<String>(MakeString(value)));
		if (type != GetDataType<BytesValue>())
			return text.Convert(type);
		const Data count = TORVI_TRY(text.Convert(GetDataType<Int64>()));
		return Data::Make<BytesValue>(BytesValue{*count.GetPtr<Int64>()});
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

/// Whether a part is made of layers or combined with masks, so that some of it may be transparent whatever its own pixels are.
Bool IsComposed(const PicturePart& part)
{
	const auto has = [&](IMAGEHIERARCHY branch) { return static_cast<Bool>(part._image->GetFirstChild(static_cast<Int32>(branch))); };
	return !part._isWhole && (has(IMAGEHIERARCHY::LAYER) || has(IMAGEHIERARCHY::MASK));
}

/// An RGB or grey format with alpha behind its channels; other formats stay as they are.
Result<PixelFormat> WithAlpha(const PixelFormat& format)
{
	const Block<const ImageChannel> own = format->GetChannels();
	const ColorSpace space = format->GetColorSpace();
	const Bool isKnown =
		space == FindDeclared<ColorSpaceInterface>(ids::COLORSPACE_RGB) || space == FindDeclared<ColorSpaceInterface>(ids::COLORSPACE_GREY);
	if (own.empty() || format->HasAlpha() || !isKnown)
		return format;
	Array<ImageChannel> channels(own.begin(), own.end());
	std::erase_if(channels, [](const ImageChannel& channel) { return channel->GetChannelType()->GetType() == CHANNELTYPE::UNUSED; });
	channels.push_back(GetImageChannel(CHANNELTYPE::ALPHA, own.front()->GetDataType()));
	return FindOrCreatePixelFormat(channels);
}

/// The format for the pixels of a picture in another profile: of the profile's model, in at least the depth that the picture has.
Result<PixelFormat> FormatInProfile(const PixelFormat& format, const ColorProfile& profile, Bool hasAlpha)
{
	struct Model
	{
		Id _colorSpace;
		std::string_view _name;
		std::string_view _nameWithAlpha;
	};
	constexpr Model MODELS[] = {
		{ids::COLORSPACE_RGB, "rgb", "rgba"}, {ids::COLORSPACE_GREY, "grey", "greya"}, {ids::COLORSPACE_CMYK, "cmyk", "acmyk"}};
	const auto conversions = FindDeclared<ColorProfileConvertStaticInterface>(ids::INTERFACE_COLORPROFILECONVERT);
	TORVI_CHECK(conversions, UnsupportedOperationError("The module converts no colours."));
	const PixelFormat native = TORVI_TRY(conversions->GetNearestNativeFormat(format));
	const BITS channelBits = native->GetChannels().front()->GetChannelBits();
	for (const Model& model : MODELS)
	{
		const auto colorSpace = FindDeclared<ColorSpaceInterface>(model._colorSpace);
		if (!colorSpace || profile.GetColorSpace() != colorSpace)
			continue;
		const std::string_view depth = channelBits == 8 ? ".u8" : channelBits == 16 ? ".u16" : ".f32";
		return ParsePixelFormat(ToStd(hasAlpha ? model._nameWithAlpha : model._name) + ToStd(depth));
	}
	return IllegalArgumentError("Pictures can not be converted to the profile @.", profile);
}

/// A texture of one image with the pixels of a part of a picture, and what the picture says about them. With a profile, the colours are
/// those of that profile, and the first alpha channel becomes the picture's own alpha.
Result<ImageTextureRef> TakePart(const ImageTextureRef& source, const PicturePart& part, const ColorProfile& profile)
{
	const ImageBaseRef picture = TORVI_TRY(GetFirstImage(source));
	PixelFormat format = part._image->GetPixelFormat();
	TORVI_CHECK(format, IllegalStateError("The picture has no pixel format."));
	const Bool isWhole = !profile.IsEmpty() && part._isWhole;
	const Bool hasAlpha = format->HasAlpha() || IsComposed(part) || (isWhole && FindAlphaOf(*part._image));
	if (!profile.IsEmpty())
		format = TORVI_TRY(FormatInProfile(format, profile, hasAlpha));
	else if (IsComposed(part))
		format = TORVI_TRY(WithAlpha(format));
	const auto alpha = isWhole ? PictureReader::Alpha::FIRST : PictureReader::Alpha::NONE;
	const PictureReader reader = TORVI_TRY(PictureReader::Open(part, format, profile, alpha));
	const auto texture = TORVI_TRY(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	const auto copy = TORVI_TRY(CreateObject<ImageInterface>(ids::IMAGECLASS_IMAGE));
	const ClassRef storage = TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL));
	TORVI_TRY(copy->Init(reader.GetWidth(), reader.GetHeight(), storage, format, {}));
	for (const Id& key : {ids::IMAGE_COLORPROFILE, ids::IMAGE_DPI, ids::IMAGE_ASPECTRATIO})
	{
		if (Result<Data> value = picture->GetData(key); value.IsOk())
			TORVI_TRY(copy->SetData(key, value.TakeValue()));
	}
	if (!profile.IsEmpty())
		TORVI_TRY(copy->Set<ColorProfile>(ids::IMAGE_COLORPROFILE, profile));
	if (Result<Data> value = source->GetData(ids::IMAGE_FILEFORMAT); value.IsOk())
		TORVI_TRY(texture->SetData(ids::IMAGE_FILEFORMAT, value.TakeValue()));
	TORVI_TRY(texture->AddChildren(IMAGEHIERARCHY::IMAGE, copy, ImageBaseRef()));
	SetPixelHandlerStruct writer =
		TORVI_TRY(copy->SetPixelHandler(format, format->GetChannelOffsets(), ColorProfile(), SETPIXELHANDLERFLAGS::NONE));
	Array<Byte> line(static_cast<std::size_t>(reader.GetBytesPerLine()));
	for (Int y = 0; y < reader.GetHeight(); ++y)
	{
		TORVI_TRY(CheckInterrupt());
		TORVI_TRY(reader.ReadLine(y, line));
		TORVI_TRY(writer.SetLine({0, y, reader.GetWidth()}, PixelBuffer(line.data(), format->GetBitsPerPixel()), 0));
	}
	TORVI_TRY(writer.Free());
	return texture;
}

Result<ImageTextureRef> LoadWanted(const ConvertOptions& options, const std::string& in)
{
	const ColorProfile profile = options._profile == KEEP_PROFILE ? ColorProfile() : TORVI_TRY(ParseProfile(options._profile));
	ImageTextureRef texture = TORVI_TRY(LoadPicture(TORVI_TRY(OpenInput(in)), in, options._choice));
	if (!ChoosesPart(options._choice) && profile.IsEmpty())
		return texture;
	return TakePart(texture, TORVI_TRY(FindPart(TORVI_TRY(GetFirstImage(texture)), options._choice)), profile);
}

Result<void> ApplySettings(const ConvertOptions& options, const Id& exporter, ImageTextureInterface& texture)
{
	DataDictionary settings = texture.GetOr<DataDictionary>(ids::IMAGE_EXPORTSETTINGS, DataDictionary());
	for (const std::string& setting : options._settings)
		TORVI_TRY(AddSetting(settings, exporter, setting));
	return texture.Set<DataDictionary>(ids::IMAGE_EXPORTSETTINGS, settings);
}

Result<void> ConvertFile(const ConvertOptions& options, const std::string& in, const std::string& out)
{
	TORVI_TRY(CheckInterrupt());
	const std::string suffix = options._suffix.empty() ? SuffixOf(out) : options._suffix;
	const Bool isAsSource = suffix.empty() && out == "-";
	MediaOutputUrlRef exporter = isAsSource ? MediaOutputUrlRef() : TORVI_TRY(CreateExporter(suffix));
	const ImageTextureRef texture = TORVI_TRY(LoadWanted(options, in));
	if (isAsSource)
		exporter = TORVI_TRY(CreateExporterOfSource(*texture));
	TORVI_TRY(ApplySettings(options, exporter->GetClassId(), *texture));
	return WriteOutput(out,
					   [&](const Url& url) -> Result<void>
					   {
						   TORVI_TRY(exporter->SetOutputUrl(url));
						   return SavePicture(texture, exporter);
					   });
}

/// The work of one run, from several threads.
class Conversion
{
public:
	explicit Conversion(const ConvertOptions& options) : _options(options) {}

	void Convert(const std::string& in, const std::string& out)
	{
		End(in, NoThrow([&]() { return ConvertFile(_options, in, out); }));
	}
	/// Each file for itself, several at a time. After Ctrl-C none is started, nor after a failure with --no-keep-going.
	void ConvertAll();
	int GetStatus() const { return _status; }

private:
	struct File
	{
		std::string _in;
		std::string _out;
	};
	std::vector<File> NameFiles();
	void End(const std::string& in, const Result<void>& result);
	Bool IsOver() const { return _status != STATUS_OK && (!_options._keepGoing || IsInterrupted()); }

	const ConvertOptions& _options;
	std::mutex _printLock;
	std::atomic<int> _status{STATUS_OK};
};

void Conversion::End(const std::string& in, const Result<void>& result)
{
	CountFile();
	const std::lock_guard guard(_printLock);
	if (Report(in, result) != STATUS_OK)
		_status = STATUS_FAILED;
}

/// The files with their names in the folder. Of two with the same name there the second fails: neither may be lost without a word.
std::vector<Conversion::File> Conversion::NameFiles()
{
	std::vector<File> files;
	std::set<std::string> taken;
	for (const std::string& in : _options._names)
	{
		const std::string stem = in == "-" ? "stdin" : std::filesystem::path(in).stem().string();
		const std::string out = (std::filesystem::path(_options._folder) / (stem + "." + _options._suffix)).string();
		if (taken.insert(out).second)
			files.push_back({in, out});
		else
			End(in, IllegalArgumentError("\"@\" is written from another file already.", out));
	}
	return files;
}

void Conversion::ConvertAll()
{
	std::error_code code; // without the folder each file says why it can not be written
	std::filesystem::create_directories(_options._folder, code);
	SetFileCount(_options._names.size());
	const std::vector<File> files = NameFiles();
	std::atomic<std::size_t> next{0};
	const auto work = [&]()
	{
		for (std::size_t i = next++; i < files.size() && !IsOver(); i = next++)
			Convert(files[i]._in, files[i]._out);
	};
	std::vector<std::jthread> threads;
	for (std::size_t i = 1; i < std::min(static_cast<std::size_t>(_options._jobs), files.size()); ++i)
		threads.emplace_back(work);
	work();
}

int RunConvert(const ConvertOptions& options)
{
	Conversion conversion(options);
	if (options._folder.empty())
		conversion.Convert(options._names[0], options._names[1]);
	else
		conversion.ConvertAll();
	return conversion.GetStatus();
}

void CheckUsage(const ConvertOptions& options)
{
	if (options._suffix.empty() && !options._folder.empty())
		throw CLI::ValidationError("--into", "needs --to SUFFIX");
	if (options._folder.empty() && options._names.size() != 2)
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
	command->add_option("--to", options->_suffix, "suffix of the files to write; default that of OUT, for standard output that of IN")
		->type_name("SUFFIX");
	command->add_option("--into", options->_folder, "folder to write them to")->type_name("DIR");
	command->add_option("--jobs", options->_jobs, "files at a time")->check(CLI::Range(1, 256))->capture_default_str();
	command->add_flag("--keep-going,!--no-keep-going", options->_keepGoing,
					  "go on with further files after a failure, as is the default, or not");
	command->add_option("--set", options->_settings, "export setting, with or without its net.torvi.mediasession. head")
		->type_name("KEY=VALUE");
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
