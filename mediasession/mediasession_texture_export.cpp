// The texture input: offers each image of a texture's tree as a stream whose pixels are read by the exporter, in the format that it asks
// for. Layers are merged and colours converted by the image's own handlers while the exporter pulls.
#include "host/module.h"
#include "mediasession/media_converter_impl.h"
#include "mediasession/mediasession_imagetexture_keys.h"
#include "mediasession/registration.h"

#include <algorithm>
#include <limits>

namespace torvi
{

namespace
{

constexpr Float64 FPS_NOT_SET = std::numeric_limits<Float64>::max();

class MediaTextureExportImpl final : public MediaConverterImpl, public virtual MediaTextureExportInterface
{
public:
	Bool SupportExportStrategy() const override { return true; }
	void SetTexture(const ImageTextureRef& texture) override { _texture = texture; }
	Result<void> Analyze(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> PrepareExecute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> Execute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> Close(Block<const MediaConverterRef> inputs) override;

private:
	void Clear() noexcept;
	Result<void> ReadTexture();
	Result<void> VisitTree();
	Result<void> VisitImage(const ImageBaseRef& image);
	Result<MediaStreamFormat> DescribeImage(const ImageBaseInterface& image, IMAGEHIERARCHY branch);
	Result<void> DescribePicture(const ImageBaseInterface& image, MediaStreamFormatInterface& format);
	Result<void> Publish(const MediaStreamRef& stream, const ImageBaseInterface& image, IMAGEHIERARCHY branch);

	ImageTextureRef _texture;
	Bool _isAnalyzed = false;
	Float64 _fps = FPS_NOT_SET;
	std::optional<DataDictionary> _exportSettings;
	Int _pictureCount = 0;
	HashMap<ImageBaseRef, MediaStreamRef> _streams; ///< of the images that were visited
};

/// Appends the children that become streams to the stack, so that the first one lies on top.
void PushChildren(Array<ImageBaseRef>& stack, const ImageBaseInterface& parent)
{
	const std::size_t first = stack.size();
	for (const Int32 branch : parent.GetBranches())
	{
		if (branch < static_cast<Int32>(IMAGEHIERARCHY::IMAGE) || branch > static_cast<Int32>(IMAGEHIERARCHY::DEEPIMAGEDATA))
			continue;
		for (ImageBaseRef& child : GetImageChildren(parent, static_cast<IMAGEHIERARCHY>(branch)))
			stack.push_back(std::move(child));
	}
	std::reverse(stack.begin() + static_cast<std::ptrdiff_t>(first), stack.end());
}

/// The reader of an image's lines; a stream that is kept keeps its image.
MediaStreamImageDataExportInterface::PixelDelegate MakePixelDelegate(const ImageBaseRef& image)
{
	return [image](const MediaStreamImageDataExportRef&, const MediaStreamProperties&, const PixelFormat& dstFormat,
				   const ChannelOffsets& dstChannelOffsets, const ColorProfile& dstColorProfile, GETPIXELHANDLERFLAGS flags)
	{ return image->GetPixelHandler(dstFormat, dstChannelOffsets, dstColorProfile, flags, nullptr); };
}

void MediaTextureExportImpl::Clear() noexcept
{
	_isAnalyzed = false;
	_pictureCount = 0;
	_streams.clear();
	ClearOutputStreams();
}

Result<void> MediaTextureExportImpl::Analyze(Block<const MediaConverterRef> inputs, const TimeValue&, MEDIASESSIONFLAGS)
{
	TORVI_CHECK(inputs.empty(), IllegalStateError("A texture has no input."));
	if (_isAnalyzed)
		return OK;
	TORVI_CHECK(_texture, IllegalStateError("The input has no texture."));
	Clear();
	Result<void> result = NoThrow([&]() { return VisitTree(); });
	if (result.IsOk())
		_isAnalyzed = true;
	else
		Clear();
	return result;
}

/// Nothing is left to prepare: the exporter reports the progress of the lines that it pulls.
Result<void> MediaTextureExportImpl::PrepareExecute(Block<const MediaConverterRef>, const TimeValue&, MEDIASESSIONFLAGS)
{
	return OK;
}

Result<void> MediaTextureExportImpl::Execute(Block<const MediaConverterRef>, const TimeValue&, MEDIASESSIONFLAGS)
{
	return OK;
}

Result<void> MediaTextureExportImpl::Close(Block<const MediaConverterRef> inputs)
{
	Clear();
	return NoThrow([&]() { return CloseInput(inputs); });
}

Result<void> MediaTextureExportImpl::ReadTexture()
{
	_fps = TORVI_TRY(ReadOr<Float64>(*_texture, ids::IMAGE_FPS, FPS_NOT_SET));
	_exportSettings = TORVI_TRY(ReadOptional<DataDictionary>(*_texture, ids::IMAGE_EXPORTSETTINGS));
	return OK;
}

/// Visits each parent before its children. Without recursion: files decide how deep a tree is.
Result<void> MediaTextureExportImpl::VisitTree()
{
	TORVI_TRY(ReadTexture());
	Array<ImageBaseRef> stack;
	PushChildren(stack, *_texture);
	while (!stack.empty())
	{
		const ImageBaseRef image = std::move(stack.back());
		stack.pop_back();
		TORVI_TRY(VisitImage(image));
		PushChildren(stack, *image);
	}
	return OK;
}

Result<void> MediaTextureExportImpl::VisitImage(const ImageBaseRef& image)
{
	const auto branch = static_cast<IMAGEHIERARCHY>(image->GetBranch());
	const auto stream = TORVI_TRY(CreateObject<MediaStreamImageDataExportInterface>(ids::CLASS_MEDIASTREAMIMAGEDATAEXPORT));
	TORVI_TRY(stream->AddFormat(TORVI_TRY(Data::Make<Int>(0)), TORVI_TRY(DescribeImage(*image, branch))));
	TORVI_TRY(Publish(stream, *image, branch));
	_streams[image] = stream;
	return stream->SetCallbackHandler({}, MakePixelDelegate(image), {});
}

Result<MediaStreamFormat> MediaTextureExportImpl::DescribeImage(const ImageBaseInterface& image, IMAGEHIERARCHY branch)
{
	const auto format = TORVI_TRY(CreateObject<MediaStreamFormatInterface>(ids::CLASS_MEDIASTREAMFORMAT));
	const auto imageType = static_cast<ImageType>(TORVI_TRY(ReadOr<Int32>(image, ids::IMAGE_TYPE, 0)));
	const MediaStreamType type = GetStreamType(branch, imageType);
	TORVI_TRY(format->Set<UInt32>(ids::MEDIAFORMAT_TYPE, static_cast<UInt32>(type)));
	TORVI_TRY(format->Set<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT, image.GetPixelFormat()));
	TORVI_TRY(format->Set<Int>(ids::MEDIAFORMAT_WIDTH, image.GetWidth()));
	TORVI_TRY(format->Set<Int>(ids::MEDIAFORMAT_HEIGHT, image.GetHeight()));
	TORVI_TRY(CopyKeysToFormat(KeyGroup::PROFILE, image, *format));
	TORVI_TRY(CopyKeysToFormat(KeyGroup::NAME, image, *format));
	if (branch == IMAGEHIERARCHY::IMAGE)
		TORVI_TRY(DescribePicture(image, *format));
	if (IsLayerType(type))
		TORVI_TRY(CopyKeysToFormat(KeyGroup::LAYER, image, *format));
	return format;
}

/// What only whole pictures have.
Result<void> MediaTextureExportImpl::DescribePicture(const ImageBaseInterface& image, MediaStreamFormatInterface& format)
{
	TORVI_TRY(format.Set<Int>(ids::MEDIAFORMAT_SUBIMAGEINDEX, _pictureCount++));
	if (_fps != FPS_NOT_SET)
		TORVI_TRY(format.Set<Float64>(ids::MEDIAFORMAT_VIDEO_FPS, _fps));
	if (_exportSettings)
		TORVI_TRY(format.Set<DataDictionary>(ids::MEDIAFORMAT_EXPORTSETTINGS, *_exportSettings));
	return CopyKeysToFormat(KeyGroup::SHAPE, image, format);
}

Result<void> MediaTextureExportImpl::Publish(const MediaStreamRef& stream, const ImageBaseInterface& image, IMAGEHIERARCHY branch)
{
	if (branch == IMAGEHIERARCHY::IMAGE)
		return AddOutputStream(stream);
	const auto parent = _streams.find(Cast<ImageBaseInterface>(image.GetParent()));
	TORVI_CHECK(parent != _streams.end(), MediaSessionWrongTypeError());
	return stream->InsertAsLastChildOf(parent->second, static_cast<Int32>(branch));
}

} // namespace

Result<void> RegisterMediaTextureExport(Module& module)
{
	TORVI_TRY(module.AddClass<MediaTextureExportImpl>(ids::CLASS_MEDIASTREAMEXPORTFROMIMAGETEXTURE, ids::CLASS_MEDIACONVERTERBASE));
	return OK;
}

} // namespace torvi
