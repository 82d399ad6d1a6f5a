// The texture output: turns the streams of an importer into the images, layers, masks and alpha channels of a texture. Objects are built
// during Analyze, without pixels; the callbacks of the streams give them a storage and a line writer during Execute. Streams refer to the
// output weakly, the output holds the streams: nothing is left over when the session ends.
#include "host/module.h"
#include "mediasession/media_converter_impl.h"
#include "mediasession/mediasession_imagetexture_keys.h"
#include "mediasession/mediasession_retry.h"
#include "mediasession/registration.h"
#include "torvi/exif.h"

#include <limits>

namespace torvi
{

namespace
{

constexpr Id PIXELFORMAT_GREY8 = "net.torvi.image.pixelformat.grey.u8";
constexpr Float64 FPS_NOT_SEEN = std::numeric_limits<Float64>::max();

/// What a run writes on the texture itself.
constexpr Id TEXTURE_KEYS[] = {ids::IMAGE_FPS,         ids::IMAGE_DURATION, ids::IMAGE_SAMPLETIME,    ids::IMAGE_EXIFDATA,
							   ids::IMAGE_ASPECTRATIO, ids::IMAGE_DPI,      ids::IMAGE_EXPORTSETTINGS};

/// One image stream.
struct StreamRecord
{
	MediaStreamRef _parent; ///< null for a root
	MediaStreamRef _stream;
	MediaOutputSelectionResult _selection = MediaOutputSelectionResult::SELECTNONE;
	ImageRef _image; ///< null until it is built
	Float64 _fps = 0.0;
	Int _skipped = 0; ///< frames before the last sample
	Int _sumOfSkipped = 0;
	TimeValue _sampleTime;
	TimeValue _duration;
	MediaStreamType _type = MediaStreamType::NONE;
	String _name;
	String _alphaName;
	MediaStreamFormat _format; ///< the selected format; from InitStream on the properties
};

/// Size and pixel format of a stream, all of which an image needs.
struct Shape
{
	Int _width;
	Int _height;
	PixelFormat _pixelFormat;
};

Result<Shape> ReadShape(const MediaStreamFormatInterface& format)
{
	const PixelFormat pixelFormat = TORVI_TRY(format.Get<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT));
	TORVI_CHECK(pixelFormat, NullptrError());
	const Int width = TORVI_TRY(format.Get<Int>(ids::MEDIAFORMAT_WIDTH));
	const Int height = TORVI_TRY(format.Get<Int>(ids::MEDIAFORMAT_HEIGHT));
	return Shape{width, height, pixelFormat};
}

/// One pixel of the colour that stands outside of a layer's or mask's own pixels; empty for the usual black.
Result<Array<Byte>> MaskDefaultColor(const MediaStreamFormatInterface& format)
{
	const UChar grey = TORVI_TRY(ReadOr<UChar>(format, ids::MEDIAFORMAT_LAYER_MASKDEFCOLOR, 0));
	if (grey == 0)
		return Array<Byte>();
	const PixelFormat pixelFormat = TORVI_TRY(ReadShape(format))._pixelFormat;
	const PixelFormat greyFormat = GetPixelFormat(PIXELFORMAT_GREY8);
	TORVI_CHECK(greyFormat, NullptrError());
	Array<Byte> color(static_cast<std::size_t>(BytesOf(pixelFormat->GetBitsPerPixel())));
	const PixelBuffer destination(color.data(), pixelFormat->GetBitsPerPixel(), &pixelFormat->GetChannelOffsets(), pixelFormat);
	const PixelBuffer source(&grey, greyFormat->GetBitsPerPixel(), &greyFormat->GetChannelOffsets(), greyFormat);
	TORVI_TRY(pixelFormat->ConvertPixelFromSlow(destination, 1, source, nullptr, nullptr, false, 0));
	return color;
}

Result<void> CopyKeys(ImageInterface& image, MediaStreamType type, const MediaStreamFormatInterface& format)
{
	TORVI_TRY(CopyKeysToImage(KeyGroup::NAME, format, image));
	TORVI_TRY(CopyKeysToImage(KeyGroup::INDEX, format, image));
	return IsLayerType(type) ? CopyKeysToImage(KeyGroup::LAYER, format, image) : OK;
}

/// Gives the image a storage of the format's shape. Init makes every image a plain one, so the type of layers is stored again after it.
Result<void> InitImage(ImageInterface& image, MediaStreamType type, const MediaStreamFormatInterface& format, const ClassRef& storageClass,
					   Block<const Byte> defaultColor)
{
	const Shape shape = TORVI_TRY(ReadShape(format));
	TORVI_TRY(image.Init(shape._width, shape._height, storageClass, shape._pixelFormat, defaultColor));
	return IsLayerType(type) ? image.Set<Int32>(ids::IMAGE_TYPE, static_cast<Int32>(FindStreamPlace(type)->_imageType)) : OK;
}

class MediaOutputTextureImpl final : public MediaOutputImpl,
									 public virtual MediaOutputTextureInterface,
									 public virtual MediaOutputRetryInterface
{
public:
	Bool SupportImportStrategy() const override { return true; }
	Result<void> SetOutputTexture(const ImageTextureRef& texture, const ClassRef& storageClass) override;
	Result<void> ResetConverter() override;
	Result<void> DiscardOutput() override;
	Result<void> Analyze(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> PrepareExecute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> Execute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	/// The input stays open.
	Result<void> Close(Block<const MediaConverterRef> inputs) override;

private:
	Result<void> RememberTexture();
	Result<void> VisitStream(const MediaStreamRef& stream);
	Result<void> VisitExifStream(const MediaStreamExifDataRef& stream);
	Result<void> VisitImageStream(const MediaStreamRef& stream, const MediaStreamFormat& format, MediaOutputSelectionResult selection);
	Result<StreamRecord*> AddRecord(const MediaStreamRef& stream, const MediaStreamFormat& format, MediaOutputSelectionResult selection);
	Result<void> SetMovie(const StreamRecord& record);
	Result<void> SetExportSettings(const StreamRecord& record);
	Result<void> CopyStructure(const StreamRecord& record);
	Result<void> Subscribe(const MediaStreamRef& stream);
	StreamRecord* FindRecord(const MediaStreamRef& stream);

	Result<void> Build(StreamRecord& record);
	Result<ImageBaseRef> BuildParent(const StreamRecord& record);
	Result<void> Hang(const ImageRef& image, MediaStreamType type, const ImageBaseRef& parent);

	Result<void> InitSample(const MediaStreamRef& stream, const MediaStreamProperties& properties);
	Result<SetPixelHandlerStruct> OpenPixels(const MediaStreamRef& stream, const ChannelOffsets& channelOffsets,
											 SETPIXELHANDLERFLAGS flags);
	Result<void> FinishSample(const MediaStreamRef& stream, const MediaStreamProperties& properties);

	ImageTextureRef _texture;
	ClassRef _storageClass;
	ClassRef _noDataClass;
	Bool _isAnalyzed = false;
	Float64 _fps = FPS_NOT_SEEN;
	TimeValue _duration;
	Int _sumOfSkipped = 0;
	Bool _hasExportSettings = false;          ///< a picture of this run has given the texture its options
	Array<StreamRecord> _records;             ///< in the order of the streams, each parent before its children
	HashMap<MediaStreamRef, Int> _indices;    ///< of the records
	Array<ImageBaseRef> _roots;               ///< what hangs in the texture since the last reset
	Array<DataDictionary::Entry> _keysBefore; ///< the texture's own keys before the run; empty values stand for missing ones
};

Result<void> MediaOutputTextureImpl::SetOutputTexture(const ImageTextureRef& texture, const ClassRef& storageClass)
{
	_texture = texture;
	_storageClass = storageClass;
	return OK;
}

Result<void> MediaOutputTextureImpl::Close(Block<const MediaConverterRef>)
{
	_isAnalyzed = false;
	_records.clear();
	_indices.clear();
	return OK;
}

Result<void> MediaOutputTextureImpl::ResetConverter()
{
	TORVI_TRY(Close({}));
	_fps = FPS_NOT_SEEN;
	_duration = TimeValue();
	_sumOfSkipped = 0;
	_hasExportSettings = false;
	_roots.clear();
	_keysBefore.clear();
	return OK;
}

Result<void> MediaOutputTextureImpl::RememberTexture()
{
	if (!_keysBefore.empty())
		return OK;
	for (const Id& key : TEXTURE_KEYS)
		_keysBefore.push_back({key, _texture->GetData(key).ValueOr(Data())});
	return OK;
}

Result<void> MediaOutputTextureImpl::DiscardOutput()
{
	for (const ImageBaseRef& root : _roots)
		root->Remove();
	for (const DataDictionary::Entry& entry : _keysBefore)
		TORVI_TRY(entry._value.IsEmpty() ? _texture->EraseData(entry._key) : _texture->SetData(entry._key, entry._value));
	return ResetConverter();
}

Result<void> MediaOutputTextureImpl::Analyze(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			if (_isAnalyzed)
				return OK;
			_isAnalyzed = true;
			const MediaConverterRef input = TORVI_TRY(GetSingleInput(inputs));
			TORVI_CHECK(_texture && _storageClass, IllegalStateError("The output has no texture or no storage class."));
			_noDataClass = TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NODATA));
			TORVI_TRY(RememberTexture());
			TORVI_TRY(AnalyzeInput(input, targetTime, flags));
			for (const MediaStreamRef& stream : TORVI_TRY(input->GetOutputStreams(true)))
				TORVI_TRY(VisitStream(stream));
			TORVI_CHECK(!_records.empty(), MediaSessionWrongTypeError());
			return OK;
		});
}

Result<void> MediaOutputTextureImpl::PrepareExecute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime,
													MEDIASESSIONFLAGS flags)
{
	return PrepareExecuteInput(TORVI_TRY(GetSingleInput(inputs)), targetTime, flags);
}

Result<void> MediaOutputTextureImpl::Execute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags)
{
	return ExecuteInput(TORVI_TRY(GetSingleInput(inputs)), targetTime, flags);
}

Result<void> MediaOutputTextureImpl::VisitStream(const MediaStreamRef& stream)
{
	const MediaStreamFormat format = stream->GetFormat(stream->GetSelectedFormat());
	const MediaOutputSelectionResult selection = TORVI_TRY(CallSelectionHandler(stream, format));
	if (const MediaStreamExifDataRef exifStream = Cast<MediaStreamExifDataInterface>(stream))
		return HasFlag(selection, MediaOutputSelectionResult::SELECTSTRUCTURE) ? VisitExifStream(exifStream) : OK;
	if (Cast<MediaStreamImageBaseInterface>(stream))
		return VisitImageStream(stream, format, selection);
	return OK;
}

Result<void> MediaOutputTextureImpl::VisitExifStream(const MediaStreamExifDataRef& stream)
{
	TORVI_TRY(stream->SubscribeStream(stream->GetSelectedFormat()));
	return stream->SetCallbackHandler(
		[texture = WeakRef<ImageTextureInterface>(_texture)](const MediaStreamExifDataRef&, const ExifRef& exif) -> Result<void>
		{
			const ImageTextureRef target = texture.Lock();
			return target ? target->Set<ExifRef>(ids::IMAGE_EXIFDATA, exif) : OK;
		});
}

Result<void> MediaOutputTextureImpl::VisitImageStream(const MediaStreamRef& stream, const MediaStreamFormat& format,
													  MediaOutputSelectionResult selection)
{
	StreamRecord& record = *TORVI_TRY(AddRecord(stream, format, selection));
	TORVI_TRY(SetMovie(record));
	const Bool wantsPixels = HasFlag(selection, MediaOutputSelectionResult::SELECTPIXELS);
	if (HasFlag(selection, MediaOutputSelectionResult::SELECTSTRUCTURE))
	{
		TORVI_TRY(Build(record));
		TORVI_TRY(CopyStructure(record));
		if (!wantsPixels)
			TORVI_TRY(InitImage(*record._image, record._type, *format, _noDataClass, TORVI_TRY(MaskDefaultColor(*format))));
	}
	return wantsPixels ? Subscribe(stream) : OK;
}

Result<StreamRecord*> MediaOutputTextureImpl::AddRecord(const MediaStreamRef& stream, const MediaStreamFormat& format,
														MediaOutputSelectionResult selection)
{
	TORVI_CHECK(format, NullptrError());
	StreamRecord record;
	record._parent = Cast<MediaStreamInterface>(stream->GetParent());
	record._stream = stream;
	record._selection = selection;
	record._fps = TORVI_TRY(ReadOr<Float64>(*format, ids::MEDIAFORMAT_VIDEO_FPS, 0.0));
	record._duration = TORVI_TRY(ReadOr<TimeValue>(*format, ids::MEDIAFORMAT_VIDEO_DURATION, TimeValue()));
	record._type = static_cast<MediaStreamType>(TORVI_TRY(format->Get<UInt32>(ids::MEDIAFORMAT_TYPE)));
	record._name = TORVI_TRY(ReadOr<String>(*format, ids::MEDIAFORMAT_STREAMNAME, String()));
	record._alphaName = TORVI_TRY(ReadOr<String>(*format, ids::MEDIAFORMAT_ALPHANAME, String()));
	record._format = format;
	_records.push_back(std::move(record));
	_indices[stream] = CountOf(_records) - 1;
	return &_records.back();
}

StreamRecord* MediaOutputTextureImpl::FindRecord(const MediaStreamRef& stream)
{
	const auto found = _indices.find(stream);
	return found != _indices.end() ? &_records[static_cast<std::size_t>(found->second)] : nullptr;
}

/// The first stream with a frame rate says what the texture's is.
Result<void> MediaOutputTextureImpl::SetMovie(const StreamRecord& record)
{
	if (_fps != FPS_NOT_SEEN || record._fps == 0.0)
		return OK;
	TORVI_TRY(_texture->Set<Float64>(ids::IMAGE_FPS, record._fps));
	TORVI_TRY(_texture->Set<TimeValue>(ids::IMAGE_DURATION, record._duration));
	_fps = record._fps;
	_duration = record._duration;
	return OK;
}

/// The first picture that has saving options of its own says which ones a later save of the texture uses.
Result<void> MediaOutputTextureImpl::SetExportSettings(const StreamRecord& record)
{
	if (_hasExportSettings || record._type != MediaStreamType::IMAGE)
		return OK;
	const auto settings = TORVI_TRY(ReadOptional<DataDictionary>(*record._format, ids::MEDIAFORMAT_EXPORTSETTINGS));
	if (!settings)
		return OK;
	_hasExportSettings = true;
	return _texture->Set<DataDictionary>(ids::IMAGE_EXPORTSETTINGS, *settings);
}

Result<void> MediaOutputTextureImpl::CopyStructure(const StreamRecord& record)
{
	TORVI_TRY(CopyKeysToImage(KeyGroup::PROFILE, *record._format, *record._image));
	const Float64 aspectRatio = TORVI_TRY(ReadOr<Float64>(*record._format, ids::MEDIAFORMAT_ASPECTRATIO, 1.0));
	TORVI_TRY(record._image->Set<Float64>(ids::IMAGE_ASPECTRATIO, aspectRatio));
	TORVI_TRY(_texture->Set<Float64>(ids::IMAGE_ASPECTRATIO, aspectRatio));
	const Float64 dpi = TORVI_TRY(ReadOr<Float64>(*record._format, ids::MEDIAFORMAT_DPI, 0.0));
	if (dpi == 0.0)
		return OK;
	TORVI_TRY(record._image->Set<Float64>(ids::IMAGE_DPI, dpi));
	return _texture->Set<Float64>(ids::IMAGE_DPI, dpi);
}

/// The callbacks find their record by the stream; after Close, or without the output, they find none and do nothing.
Result<void> MediaOutputTextureImpl::Subscribe(const MediaStreamRef& stream)
{
	using ImportRef = MediaStreamImageDataImportRef;
	TORVI_TRY(stream->SubscribeStream(stream->GetSelectedFormat()));
	const ImportRef importStream = Cast<MediaStreamImageDataImportInterface>(stream);
	if (!importStream)
		return OK;
	const WeakRef<MediaOutputTextureImpl> weak(this);
	return importStream->SetCallbackHandler(
		[weak](const ImportRef& sender, const MediaStreamProperties& properties) -> Result<void>
		{
			const auto output = weak.Lock();
			return output ? output->InitSample(sender, properties) : OK;
		},
		[weak](const ImportRef& sender, const MediaStreamProperties&, const ChannelOffsets& channelOffsets,
			   SETPIXELHANDLERFLAGS flags) -> Result<SetPixelHandlerStruct>
		{
			const auto output = weak.Lock();
			return output ? output->OpenPixels(sender, channelOffsets, flags) : SetPixelHandlerStruct();
		},
		[weak](const ImportRef& sender, const MediaStreamProperties& properties) -> Result<void>
		{
			const auto output = weak.Lock();
			return output ? output->FinishSample(sender, properties) : OK;
		});
}

Result<void> MediaOutputTextureImpl::Build(StreamRecord& record)
{
	if (record._image)
		return OK;
	const Id classId = record._type == MediaStreamType::IMAGE ? ids::IMAGECLASS_IMAGE : ids::IMAGELAYERCLASS_RASTER;
	const ImageRef image = TORVI_TRY(CreateObject<ImageInterface>(classId));
	TORVI_TRY(InitImage(*image, record._type, *record._format, _noDataClass, {}));
	TORVI_TRY(CopyKeys(*image, record._type, *record._format));
	TORVI_TRY(SetExportSettings(record));
	TORVI_TRY(Hang(image, record._type, TORVI_TRY(BuildParent(record))));
	record._image = image;
	return OK;
}

/// The image of the parent stream; null for a root and below a parent that was refused, whose children hang in the texture.
Result<ImageBaseRef> MediaOutputTextureImpl::BuildParent(const StreamRecord& record)
{
	if (!record._parent)
		return ImageBaseRef();
	StreamRecord* parent = FindRecord(record._parent);
	TORVI_CHECK(parent != nullptr, MediaConverterError("Parent stream not found."));
	if (parent->_selection == MediaOutputSelectionResult::SELECTNONE)
		return ImageBaseRef();
	TORVI_TRY(Build(*parent));
	return ImageBaseRef(parent->_image);
}

Result<void> MediaOutputTextureImpl::Hang(const ImageRef& image, MediaStreamType type, const ImageBaseRef& parent)
{
	if (!parent)
	{
		_roots.push_back(image);
		return _texture->AddChildren(IMAGEHIERARCHY::IMAGE, image, {});
	}
	const StreamPlace* place = FindStreamPlace(type);
	TORVI_CHECK(place != nullptr, MediaConverterError());
	return parent->AddChildren(place->_branch, image, {});
}

Result<void> MediaOutputTextureImpl::InitSample(const MediaStreamRef& stream, const MediaStreamProperties& properties)
{
	StreamRecord* record = FindRecord(stream);
	if (record == nullptr)
		return OK;
	TORVI_CHECK(properties, NullptrError());
	record->_format = properties;
	TORVI_TRY(Build(*record)); // an output that wants the pixels alone has no object yet
	TORVI_TRY(CopyKeysToImage(KeyGroup::PROFILE, *properties, *record->_image));
	return InitImage(*record->_image, record->_type, *properties, _storageClass, TORVI_TRY(MaskDefaultColor(*properties)));
}

Result<SetPixelHandlerStruct> MediaOutputTextureImpl::OpenPixels(const MediaStreamRef& stream, const ChannelOffsets& channelOffsets,
																 SETPIXELHANDLERFLAGS flags)
{
	const StreamRecord* record = FindRecord(stream);
	if (record == nullptr)
		return SetPixelHandlerStruct();
	TORVI_CHECK(record->_image, NullptrError());
	const PixelFormat pixelFormat = TORVI_TRY(record->_format->Get<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT));
	return record->_image->SetPixelHandler(pixelFormat, channelOffsets, ColorProfile(), flags); // lines are stored as they come
}

Result<void> MediaOutputTextureImpl::FinishSample(const MediaStreamRef& stream, const MediaStreamProperties& properties)
{
	StreamRecord* record = FindRecord(stream);
	if (record == nullptr)
		return OK;
	TORVI_CHECK(properties, NullptrError());
	record->_skipped = TORVI_TRY(ReadOr<Int>(*properties, ids::MEDIAPROPERTY_SKIPPEDFRAMES, 0));
	record->_sumOfSkipped += record->_skipped;
	_sumOfSkipped += record->_skipped;
	const auto sampleTime = TORVI_TRY(ReadOptional<TimeValue>(*properties, ids::MEDIAPROPERTY_SAMPLETIME));
	if (!sampleTime) // a still picture
		return OK;
	record->_sampleTime = *sampleTime;
	return _texture->Set<TimeValue>(ids::IMAGE_SAMPLETIME, *sampleTime);
}

} // namespace

Result<void> RegisterMediaOutputTexture(Module& module)
{
	TORVI_TRY(module.AddClass<MediaOutputTextureImpl>(ids::CLASS_MEDIAOUTPUTTEXTURE, ids::CLASS_MEDIAOUTPUTBASE));
	return OK;
}

} // namespace torvi
