// Loading and saving for the commands.
#include "tools/picture.h"

#include "tools/watch.h"
#include "torvi/gfx_image_colorprofile_convert.h"
#include "torvi/ids_keys.h"
#include "torvi/mediasession_fileformats.h"

namespace torvi::tool
{

namespace
{

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

Result<ImageTextureRef> Load(const Url& url, const Ref<SelectionRules>& rules, double time)
{
	const auto texture = TORVI_TRY(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	const auto output = TORVI_TRY(CreateObject<MediaOutputTextureInterface>(ids::CLASS_MEDIAOUTPUTTEXTURE));
	const Id storage = rules->_structureOnly ? ids::IMAGEPIXELSTORAGECLASS_NODATA : ids::IMAGEPIXELSTORAGECLASS_NORMAL;
	TORVI_TRY(output->SetOutputTexture(texture, TORVI_TRY(g_torvi->GetClass(storage))));
	const auto select = [rules](const MediaStreamRef& stream, const MediaStreamFormat& format) { return Select(*rules, stream, format); };
	const auto found = [texture](const FileFormatHandlerRef& handler) -> Result<void>
	{ return texture->Set<FileFormatRef>(ids::IMAGE_FILEFORMAT, TORVI_TRY(handler->GetFileFormat())); };
	const auto flags = rules->_structureOnly ? MEDIASESSIONFLAGS::RUNONLYANALYZE : MEDIASESSIONFLAGS::NONE;
	TORVI_TRY(MediaSessionImport(url, TimeValue(time), flags, output, select, &WatchProgress, FileFormatHandlerRef(), found));
	return texture;
}

Bool IsNamed(const ImageBaseInterface& image, const Id& key, std::string_view name)
{
	return ComparePart(image.GetOr<String>(key, String()), name, StringCompareMode::CASEINSENSITIVE) == 0;
}

/// The path of a child whose parent has the path `above`; who has no name adds nothing.
std::string PathOf(const std::string& above, const std::string& name)
{
	return above.empty() || name.empty() ? above + name : above + LAYERPATH_SEPARATOR + name;
}

/// Calls `visit`(layer, path) for all layers below `parent`, each before those inside of it, until it gives true.
template <class Visit>
Bool VisitLayers(const HierarchyObjectInterface& parent, const std::string& above, const Visit& visit)
{
	for (const ImageBaseRef& layer : GetImageChildren(parent, IMAGEHIERARCHY::LAYER))
	{
		const std::string path = PathOf(above, ToStd(layer->GetOr<String>(ids::IMAGE_NAME, String())));
		if (visit(layer, path) || VisitLayers(*layer, path, visit))
			return true;
	}
	return false;
}

/// A layer inside of a folder stands for its outermost folder, as layer sets have it.
Result<ImageBaseRef> FindLayer(const ImageBaseInterface& picture, const std::string& wanted)
{
	for (const ImageBaseRef& outermost : GetImageChildren(picture, IMAGEHIERARCHY::LAYER))
	{
		const auto isWanted = [&](const ImageBaseRef&, const std::string& path)
		{ return ComparePart(path, wanted, StringCompareMode::CASEINSENSITIVE) == 0; };
		const std::string name = ToStd(outermost->GetOr<String>(ids::IMAGE_NAME, String()));
		if (isWanted(outermost, name) || VisitLayers(*outermost, name, isWanted))
			return outermost;
	}
	return IllegalArgumentError("There is no layer @.", wanted);
}

/// A mask is named by its layer's own name and its own, or by the layer's whole path and its own; the short form goes first.
Result<ImageBaseRef> FindMask(const ImageBaseInterface& picture, const std::string& wanted)
{
	ImageBaseRef found;
	for (const Bool isShort : {true, false})
	{
		const auto visit = [&](const ImageBaseRef& layer, const std::string& path)
		{
			const std::string above = isShort ? ToStd(layer->GetOr<String>(ids::IMAGE_NAME, String())) + LAYERPATH_SEPARATOR : path;
			for (const ImageBaseRef& mask : GetImageChildren(*layer, IMAGEHIERARCHY::MASK))
			{
				const String own = mask->GetOr<String>(ids::IMAGE_NAME, String());
				const std::string name = own.empty() ? "Alpha" : ToStd(own);
				if (ComparePart(isShort ? above + name : PathOf(above, name), wanted, StringCompareMode::CASEINSENSITIVE) == 0)
					found = mask;
				if (found)
					return true;
			}
			return false;
		};
		if (VisitLayers(picture, "", visit))
			return found;
	}
	return IllegalArgumentError("There is no mask @.", wanted);
}

Result<ImageBaseRef> FindAlphaChannel(const ImageBaseInterface& picture, const std::string& wanted)
{
	for (const ImageBaseRef& alpha : GetImageChildren(picture, IMAGEHIERARCHY::ALPHA))
	{
		if (IsNamed(*alpha, ids::IMAGE_ALPHANAME, wanted))
			return alpha;
	}
	return IllegalArgumentError("There is no alpha channel @.", wanted);
}

/// Whether pixels of an image become those of a profile when they are read. The lookup goes on without colour management where the
/// profiles cannot be converted; here that is an error. Masks and alpha channels have no profile.
Result<GETPIXELHANDLERFLAGS> CheckProfile(const ImageBaseInterface& image, const PixelFormat& format, const ColorProfile& profile)
{
	const ColorProfile own = image.GetOr<ColorProfile>(ids::IMAGE_COLORPROFILE, {});
	const PixelFormat ownFormat = image.GetPixelFormat();
	if (profile.IsEmpty() || own.IsEmpty() || !ownFormat)
		return GETPIXELHANDLERFLAGS::NONE;
	if (own != profile)
	{
		const auto conversions = FindDeclared<ColorProfileConvertStaticInterface>(ids::INTERFACE_COLORPROFILECONVERT);
		TORVI_CHECK(conversions, UnsupportedOperationError("The module converts no colours."));
		TORVI_TRY(conversions->Init(ownFormat, own, format, profile, COLORCONVERSIONINTENT::PERCEPTUAL,
									ColorProfileConvertStaticInterface::BLACK_POINT_COMPENSATION));
	}
	return GETPIXELHANDLERFLAGS::FORCECOLORPROFILECONVERSION;
}

} // namespace

void AddImageOptions(CLI::App& command, PictureChoice& choice)
{
	command.add_option("--image", choice._image, "picture of a file with several: its name, or #N from 1")->type_name("NAME|#N");
	command.add_option("--layer", choice._layers, "layer to take, by its path; may be repeated")->type_name("PATH");
	command.add_option("--time", choice._time, "time in a movie, in seconds")->check(CLI::NonNegativeNumber)->type_name("SECONDS");
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
	const auto rules = TORVI_TRY(NewObject<SelectionRules>());
	rules->_structureOnly = true;
	return Load(url, rules, 0.0);
}

Result<ImageTextureRef> LoadPicture(const Url& url, const std::string& name, const PictureChoice& choice)
{
	const auto rules = TORVI_TRY(NewObject<SelectionRules>());
	rules->_image = choice._image;
	ImageTextureRef texture = TORVI_TRY(Load(url, rules, choice._time));
	const Bool isFound = static_cast<Bool>(texture->GetFirstChild(static_cast<Int32>(IMAGEHIERARCHY::IMAGE)));
	TORVI_CHECK(isFound || choice._image.empty(), IllegalArgumentError("@ has no picture @.", name, choice._image));
	return texture;
}

Bool ChoosesPart(const PictureChoice& choice)
{
	return !choice._layers.empty() || !choice._mask.empty() || !choice._alphaChannel.empty();
}

Result<PicturePart> FindPart(const ImageBaseRef& picture, const PictureChoice& choice)
{
	if (!choice._mask.empty())
		return PicturePart{TORVI_TRY(FindMask(*picture, choice._mask)), {}, false};
	if (!choice._alphaChannel.empty())
		return PicturePart{TORVI_TRY(FindAlphaChannel(*picture, choice._alphaChannel)), {}, false};
	PicturePart part{picture, {}, choice._layers.empty()};
	LayerNames names;
	for (const std::string& layer : choice._layers)
	{
		const ImageBaseRef found = TORVI_TRY(FindLayer(*picture, layer));
		if (choice._layers.size() == 1)
			part._image = found;
		names.insert(MakeString(layer));
	}
	if (choice._layers.size() > 1)
		TORVI_TRY(part._layers.SetSelectedLayers(std::move(names)));
	return part;
}

ImageBaseRef FindAlphaOf(const ImageBaseInterface& picture)
{
	if (const PixelFormat own = picture.GetPixelFormat(); own && own->HasAlpha())
		return {};
	for (ImageBaseRef& alpha : GetImageChildren(picture, IMAGEHIERARCHY::ALPHA))
	{
		if (alpha->GetWidth() == picture.GetWidth() && alpha->GetHeight() == picture.GetHeight())
			return std::move(alpha);
	}
	return {};
}

DrawRectInt GetBounds(const ImageBaseInterface& image)
{
	return {{image.GetOr<Int>(ids::IMAGE_LAYER_BOUNDINGBOX_X, 0), image.GetOr<Int>(ids::IMAGE_LAYER_BOUNDINGBOX_Y, 0)},
			{image.GetOr<Int>(ids::IMAGE_LAYER_BOUNDINGBOX_W, image.GetWidth()),
			 image.GetOr<Int>(ids::IMAGE_LAYER_BOUNDINGBOX_H, image.GetHeight())}};
}

ImageType GetLayerType(const ImageBaseInterface& layer)
{
	const auto type = static_cast<ImageType>(layer.GetOr<Int32>(ids::IMAGE_TYPE, 0));
	return type == ImageType::FOLDER || type == ImageType::FILTER ? type : ImageType::LAYER;
}

Result<ImageBaseRef> GetFirstImage(const ImageTextureRef& texture)
{
	ImageBaseRef image = Cast<ImageBaseInterface>(texture->GetFirstChild(static_cast<Int32>(IMAGEHIERARCHY::IMAGE)));
	TORVI_CHECK(image, IllegalStateError("The file holds no picture."));
	return image;
}

Result<void> SavePicture(const ImageTextureRef& texture, const MediaOutputUrlRef& exporter)
{
	const auto input = TORVI_TRY(CreateObject<MediaTextureExportInterface>(ids::CLASS_MEDIASTREAMEXPORTFROMIMAGETEXTURE));
	input->SetTexture(texture);
	const auto session = TORVI_TRY(CreateObject<MediaSessionInterface>(ids::CLASS_MEDIASESSIONOBJECT));
	TORVI_TRY(session->ConnectMediaConverter(input, exporter));
	const ProgressRef progress = session->GetProgress();
	TORVI_TRY(progress->InitProgress(0.0, 0.1));
	TORVI_TRY(TORVI_TRY(progress->ObservableProgressNotification())->AddObserver(&WatchProgress));
	Result<void> result = session->Convert(TimeValue(), MEDIASESSIONFLAGS::NONE);
	Result<void> closed = session->Close(); // also after an error, which is the one that counts
	return result.IsOk() ? std::move(closed) : std::move(result);
}

Result<PictureReader> PictureReader::Open(const PicturePart& part, const PixelFormat& format, const ColorProfile& profile, Alpha alpha)
{
	PictureReader reader;
	reader._format = format;
	reader._width = part._image->GetWidth();
	reader._height = part._image->GetHeight();
	const ImageBaseRef channel = alpha == Alpha::FIRST && part._isWhole && format->HasAlpha() ? FindAlphaOf(*part._image) : ImageBaseRef();
	if (channel && !format->GetAlphaPixelFormat().IsOk())
	{
		TORVI_TRY(reader.OpenStep(part, profile));
		return reader;
	}
	const LayerSet* layers = part._layers.GetSelectedLayers().empty() ? nullptr : &part._layers;
	const GETPIXELHANDLERFLAGS flags = TORVI_TRY(CheckProfile(*part._image, format, profile));
	reader._pixels = TORVI_TRY(part._image->GetPixelHandler(format, format->GetChannelOffsets(), profile, flags, layers));
	if (channel)
		TORVI_TRY(reader.OpenAlpha(*channel));
	return reader;
}

/// Formats whose alpha is a few bits of a word.
Result<void> PictureReader::OpenStep(const PicturePart& part, const ColorProfile& profile)
{
	const PixelFormat format = TORVI_TRY(ParsePixelFormat("rgba.u8"));
	_step = std::make_shared<const PictureReader>(TORVI_TRY(Open(part, format, profile, Alpha::FIRST)));
	Bool isColorConverted = false;
	_convert = TORVI_TRY(_format->GetConvertPixelFunc(format, format->GetChannelOffsets(), _format->GetChannelOffsets(), nullptr, nullptr,
													  false, 1, isColorConverted));
	return OK;
}

Result<void> PictureReader::OpenAlpha(ImageBaseInterface& channel)
{
	const AlphaPixelFormat place = TORVI_TRY(_format->GetAlphaPixelFormat());
	_alphaOffset = place._byteOffset;
	_alpha = TORVI_TRY(
		channel.GetPixelHandler(place._format, place._format->GetChannelOffsets(), ColorProfile(), GETPIXELHANDLERFLAGS::NONE, nullptr));
	return OK;
}

Result<void> PictureReader::ReadLine(Int y, Block<Byte> line) const
{
	const ImagePos pos = {0, y, _width};
	const BITS stride = _format->GetBitsPerPixel();
	if (_step)
	{
		Array<Byte> stepLine(static_cast<std::size_t>(_step->GetBytesPerLine()));
		TORVI_TRY(_step->ReadLine(y, stepLine));
		return _convert(PixelBuffer(line.data(), stride), _width, PixelBuffer(stepLine.data(), _step->_format->GetBitsPerPixel()), 1);
	}
	if (_pixels._getLine)
		TORVI_TRY(_pixels._getLine(pos, PixelBuffer(line.data(), stride), 0));
	return _alpha._getLine ? _alpha._getLine(pos, PixelBuffer(line.data() + _alphaOffset, stride), 0) : Result<void>(OK);
}

} // namespace torvi::tool
