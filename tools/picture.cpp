// Loading for the commands.
#include "tools/picture.h"

#include "torvi/ids_keys.h"
#include "torvi/mediasession_fileformats.h"

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace torvi::tool
{

namespace
{

volatile std::sig_atomic_t s_isInterrupted = 0;
std::atomic<Bool> s_isLineDrawn{false};

void Interrupt(int)
{
	s_isInterrupted = 1;
}

void DrawLine(Float64 fraction)
{
	if (isatty(STDERR_FILENO) == 0)
		return;
	std::fprintf(stderr, "\r%3d %%", static_cast<int>(fraction * 100.0));
	s_isLineDrawn = true;
}

/// What a load takes of a file; shared by the delegate's copies.
class SelectionRules final : public ObjectInterface
{
public:
	Bool _structureOnly = false;
	std::string _image;
};

/// The name of a picture as users give it: its own, or "#N".
std::string NameOf(const DataDictionaryObjectInterface& object, const Id& nameKey, const Id& indexKey)
{
	const String name = object.GetOr<String>(nameKey, String());
	return name.empty() ? "#" + std::to_string(object.GetOr<Int>(indexKey, 0) + 1) : ToStd(name);
}

Bool IsWanted(const SelectionRules& rules, const MediaStreamFormatInterface& format)
{
	if (rules._image.empty())
		return format.GetOr<Int>(ids::MEDIAFORMAT_SUBIMAGEINDEX, 0) == 0;
	const std::string number = "#" + std::to_string(format.GetOr<Int>(ids::MEDIAFORMAT_SUBIMAGEINDEX, 0) + 1);
	const std::string name = NameOf(format, ids::MEDIAFORMAT_STREAMNAME, ids::MEDIAFORMAT_SUBIMAGEINDEX);
	return rules._image == number || ComparePart(name, rules._image, StringCompareMode::CASEINSENSITIVE) == 0;
}

/// The wish for a picture, which its layers, masks and alpha channels share. Mipmap levels have no place in a texture.
Result<MediaOutputSelectionResult> Select(const SelectionRules& rules, const MediaStreamRef& stream, const MediaStreamFormat& format)
{
	const auto all = rules._structureOnly ? MediaOutputSelectionResult::SELECTSTRUCTURE : MediaOutputSelectionResult::SELECTALL;
	if (!format || !Cast<MediaStreamImageBaseInterface>(stream))
		return MediaOutputSelectionResult::SELECTALL;
	if (static_cast<MediaStreamType>(format->GetOr<UInt32>(ids::MEDIAFORMAT_TYPE, 0)) == MediaStreamType::MIPMAP)
		return MediaOutputSelectionResult::SELECTNONE;
	HierarchyObjectRef root = stream;
	for (HierarchyObjectRef parent = root->GetParent(); parent; parent = root->GetParent())
		root = parent;
	const Ref<MediaStreamInterface> picture = Cast<MediaStreamInterface>(root);
	const MediaStreamFormat pictureFormat = picture ? picture->GetFormat(picture->GetSelectedFormat()) : format;
	const Bool isWanted = rules._structureOnly || (pictureFormat && IsWanted(rules, *pictureFormat));
	return isWanted ? all : MediaOutputSelectionResult::SELECTNONE;
}

Result<ImageTextureRef> Load(const Url& url, const SelectionRules& wanted, double time)
{
	const auto texture = TORVI_TRY(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	const auto output = TORVI_TRY(CreateObject<MediaOutputTextureInterface>(ids::CLASS_MEDIAOUTPUTTEXTURE));
	const Id storage = wanted._structureOnly ? ids::IMAGEPIXELSTORAGECLASS_NODATA : ids::IMAGEPIXELSTORAGECLASS_NORMAL;
	TORVI_TRY(output->SetOutputTexture(texture, TORVI_TRY(g_torvi->GetClass(storage))));
	const auto rules = TORVI_TRY(NewObject<SelectionRules>(wanted));
	const auto select = [rules](const MediaStreamRef& stream, const MediaStreamFormat& format) { return Select(*rules, stream, format); };
	const auto found = [texture](const FileFormatHandlerRef& handler) -> Result<void>
	{ return texture->Set<FileFormatRef>(ids::IMAGE_FILEFORMAT, TORVI_TRY(handler->GetFileFormat())); };
	const auto flags = wanted._structureOnly ? MEDIASESSIONFLAGS::RUNONLYANALYZE : MEDIASESSIONFLAGS::NONE;
	const Result<MediaSessionRef> session =
		MediaSessionImport(url, TimeValue(time), flags, output, select, WatchProgress(), FileFormatHandlerRef(), found);
	EndProgressLine();
	if (!session.IsOk())
		return session.GetError().Share();
	return texture;
}

/// Whether one of the images below `parent` has the path.
Bool HasLayer(const HierarchyObjectInterface& parent, const std::string& above, const std::string& path)
{
	for (const ImageBaseRef& layer : GetImageChildren(parent, IMAGEHIERARCHY::LAYER))
	{
		const std::string name = ToStd(layer->GetOr<String>(ids::IMAGE_NAME, String()));
		const std::string here = above.empty() || name.empty() ? above + name : above + LAYERPATH_SEPARATOR + name;
		if (ComparePart(here, path, StringCompareMode::CASEINSENSITIVE) == 0 || HasLayer(*layer, here, path))
			return true;
	}
	return false;
}

Bool HasMask(const HierarchyObjectInterface& parent, const std::string& path)
{
	for (const ImageBaseRef& layer : GetImageChildren(parent, IMAGEHIERARCHY::LAYER))
	{
		const std::string layerName = ToStd(layer->GetOr<String>(ids::IMAGE_NAME, String()));
		for (const ImageBaseRef& mask : GetImageChildren(*layer, IMAGEHIERARCHY::MASK))
		{
			const std::string maskName = ToStd(mask->GetOr<String>(ids::IMAGE_NAME, String()));
			const std::string here = layerName + LAYERPATH_SEPARATOR + (maskName.empty() ? "Alpha" : maskName);
			if (ComparePart(here, path, StringCompareMode::CASEINSENSITIVE) == 0)
				return true;
		}
		if (HasMask(*layer, path))
			return true;
	}
	return false;
}

Bool HasAlphaChannel(const HierarchyObjectInterface& image, const std::string& name)
{
	for (const ImageBaseRef& alpha : GetImageChildren(image, IMAGEHIERARCHY::ALPHA))
	{
		if (ComparePart(alpha->GetOr<String>(ids::IMAGE_ALPHANAME, String()), name, StringCompareMode::CASEINSENSITIVE) == 0)
			return true;
	}
	return false;
}

} // namespace

void AddImageOptions(CLI::App& command, PictureChoice& choice)
{
	command.add_option("--image", choice._image, "picture of a file with several: its name, or #N from 1")->type_name("NAME|#N");
	command.add_option("--layer", choice._layers, "layer to take, by its path; may be repeated")->type_name("PATH");
	command.add_option("--time", choice._time, "time in a movie, in seconds")->type_name("SECONDS");
}

void AddMaskOptions(CLI::App& command, PictureChoice& choice)
{
	CLI::Option* layer = command.get_option("--layer");
	CLI::Option* mask = command.add_option("--mask", choice._mask, "layer mask to take, by its path")->type_name("PATH");
	CLI::Option* alpha = command.add_option("--alpha-channel", choice._alphaChannel, "alpha channel to take")->type_name("NAME");
	mask->excludes(layer)->excludes(alpha);
	alpha->excludes(layer);
}

Result<ImageTextureRef> LoadStructure(const Url& url)
{
	SelectionRules rules;
	rules._structureOnly = true;
	return Load(url, rules, 0.0);
}

Result<ImageTextureRef> LoadPicture(const Url& url, const std::string& name, const PictureChoice& choice)
{
	SelectionRules rules;
	rules._image = choice._image;
	ImageTextureRef texture = TORVI_TRY(Load(url, rules, choice._time));
	TORVI_CHECK(texture->GetFirstChild(static_cast<Int32>(IMAGEHIERARCHY::IMAGE)),
	            IllegalArgumentError("@ has no picture @.", name, choice._image));
	return texture;
}

Bool ChoosesPart(const PictureChoice& choice)
{
	return !choice._layers.empty() || !choice._mask.empty() || !choice._alphaChannel.empty();
}

Result<LayerSet> MakeLayerSet(const ImageBaseRef& image, const PictureChoice& choice)
{
	LayerNames names;
	for (const std::string& layer : choice._layers)
	{
		TORVI_CHECK(HasLayer(*image, "", layer), IllegalArgumentError("There is no layer @.", layer));
		names.insert(MakeString(layer));
	}
	LayerSet set;
	if (!choice._mask.empty())
	{
		TORVI_CHECK(HasMask(*image, choice._mask), IllegalArgumentError("There is no mask @.", choice._mask));
		names.insert(MakeString(choice._mask));
		TORVI_TRY(set.SetMode(LAYERSETMODE::LAYERMASKS));
	}
	if (!choice._alphaChannel.empty())
	{
		TORVI_CHECK(HasAlphaChannel(*image, choice._alphaChannel), IllegalArgumentError("There is no alpha channel @.", choice._alphaChannel));
		names.insert(MakeString(choice._alphaChannel));
		TORVI_TRY(set.SetMode(LAYERSETMODE::ALPHAS));
	}
	TORVI_TRY(set.SetSelectedLayers(std::move(names)));
	return set;
}

Result<ImageBaseRef> GetFirstImage(const ImageTextureRef& texture)
{
	ImageBaseRef image = Cast<ImageBaseInterface>(texture->GetFirstChild(static_cast<Int32>(IMAGEHIERARCHY::IMAGE)));
	TORVI_CHECK(image, IllegalStateError("The file holds no picture."));
	return image;
}

Result<PictureReader> PictureReader::Open(const ImageBaseRef& image, const PixelFormat& format, const ColorProfile& profile, Alpha alpha,
                                          const LayerSet* layerSet)
{
	PictureReader reader;
	reader._format = format;
	reader._width = image->GetWidth();
	reader._height = image->GetHeight();
	reader._pixels = TORVI_TRY(image->GetPixelHandler(format, format->GetChannelOffsets(), profile, GETPIXELHANDLERFLAGS::NONE, layerSet));
	const PixelFormat own = image->GetPixelFormat();
	const auto channel = Cast<ImageBaseInterface>(image->GetFirstChild(static_cast<Int32>(IMAGEHIERARCHY::ALPHA)));
	if (alpha == Alpha::NONE || layerSet != nullptr || !format->HasAlpha() || !channel || (own && own->HasAlpha()))
		return reader;
	const AlphaPixelFormat place = TORVI_TRY(format->GetAlphaPixelFormat());
	reader._alphaOffset = place._byteOffset;
	reader._alpha = TORVI_TRY(channel->GetPixelHandler(place._format, place._format->GetChannelOffsets(), ColorProfile(),
	                                                   GETPIXELHANDLERFLAGS::NONE, nullptr));
	return reader;
}

Result<void> PictureReader::ReadLine(Int y, Block<Byte> line) const
{
	const ImagePos pos = {0, y, _width};
	const BITS stride = _format->GetBitsPerPixel();
	if (_pixels._getLine)
		TORVI_TRY(_pixels._getLine(pos, PixelBuffer(line.data(), stride), 0));
	return _alpha._getLine ? _alpha._getLine(pos, PixelBuffer(line.data() + _alphaOffset, stride), 0) : Result<void>(OK);
}

MediaProgressDelegate WatchProgress()
{
	std::signal(SIGINT, &Interrupt);
	return [](const ProgressRef& progress) { return CheckInterrupt(progress); };
}

Result<void> CheckInterrupt(const ProgressRef& progress)
{
	TORVI_CHECK(s_isInterrupted == 0, OperationCancelledError("Interrupted."));
	if (progress)
		DrawLine(progress->GetProgress());
	return OK;
}

void EndProgressLine()
{
	if (s_isLineDrawn.exchange(false))
		std::fprintf(stderr, "\r     \r");
}

} // namespace torvi::tool
