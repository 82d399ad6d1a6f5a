// The stages of all picture exporters.
#include "mediasession/image_export.h"

#include <cmath>

namespace torvi
{

namespace
{

/// The format that a stream was subscribed with; null for a stream without one.
MediaStreamFormat SelectedFormat(const MediaStreamImageDataExportRef& stream)
{
	return stream->GetFormat(stream->GetSelectedFormat());
}

Result<Bool> IsOfSameSize(const MediaStreamImageDataExportRef& a, const MediaStreamImageDataExportRef& b)
{
	for (const Id& key : {ids::MEDIAFORMAT_WIDTH, ids::MEDIAFORMAT_HEIGHT})
	{
		if (TORVI_TRY(SelectedFormat(a)->Get<Int>(key)) != TORVI_TRY(SelectedFormat(b)->Get<Int>(key)))
			return false;
	}
	return true;
}

Result<Data> MakeDepths(Block<const DataType> depths)
{
	return NoThrow([&]() { return Data::Make<Array<DataType>>(Array<DataType>(depths.begin(), depths.end())); });
}

} // namespace

Float64 ExportRun::GetDpi() const
{
	constexpr Float64 USUAL_DPI = 72.0;
	const Float64 dpi = GetProperties()->GetOr<Float64>(ids::MEDIAFORMAT_DPI, 0.0);
	return dpi != 0.0 ? dpi : USUAL_DPI;
}

Float64 ExportRun::GetAspectRatio() const
{
	return GetProperties()->GetOr<Float64>(ids::MEDIAFORMAT_ASPECTRATIO, 1.0);
}

ColorProfile ExportRun::GetColorProfile(const PixelFormat& target) const
{
	ColorProfile profile = GetProperties()->GetOr<ColorProfile>(ids::MEDIAFORMAT_COLORPROFILE, {});
	if (profile.IsEmpty())
		profile = _pixelFormat->GetDefaultColorProfile();
	const Bool isUsable = !profile.IsEmpty() && profile.CheckCompatiblePixelFormat(*target);
	return isUsable ? profile : target->GetDefaultColorProfile();
}

ColorProfile ExportRun::GetNonlinearColorProfile(const PixelFormat& target) const
{
	ColorProfile profile = GetProperties()->GetOr<ColorProfile>(ids::MEDIAFORMAT_COLORPROFILE, {});
	if (profile.HasProfile() && profile.CheckCompatiblePixelFormat(*target))
		return profile;
	const ColorSpace colorSpace = target->GetColorSpace();
	return colorSpace ? colorSpace->GetDefaultNonlinearColorProfile() : ColorProfile();
}

Result<ColorProfile> ExportRun::GetColorProfileWithoutEmbedding() const
{
	if (TORVI_TRY(GetExportSetting<Bool>(_settings, ids::EXPORT_DESCRIPTION, ids::EXPORT_DISABLESRGBCONVERSION, false)))
		return GetProperties()->GetOr<ColorProfile>(ids::MEDIAFORMAT_COLORPROFILE, {});
	return GetBuiltInColorProfile(ids::COLORPROFILE_SRGB);
}

/// Asks for the colours of `profile` in so many words: otherwise pixels of the same colour space would stay as they are.
Result<GetPixelHandlerStruct> ExportRun::OpenImage(const PixelFormat& format, const ChannelOffsets& channelOffsets,
												   const ColorProfile& profile)
{
	const ColorProfile source = GetProperties()->GetOr<ColorProfile>(ids::MEDIAFORMAT_COLORPROFILE, {});
	const Bool canConvert = !source.IsEmpty() || !_pixelFormat->GetDefaultColorProfile().IsEmpty();
	const Bool isForced = canConvert && !profile.IsEmpty();
	const auto flags = isForced ? GETPIXELHANDLERFLAGS::FORCECOLORPROFILECONVERSION : GETPIXELHANDLERFLAGS::NONE;
	return _image._stream->GetPixelStream(_image._properties, format, channelOffsets, profile, flags);
}

Result<GetPixelHandlerStruct> ExportRun::OpenAlpha(const PixelFormat& format, const ChannelOffsets& channelOffsets)
{
	if (!_alpha._stream)
		return GetPixelHandlerStruct();
	return _alpha._stream->GetPixelStream(_alpha._properties, format, channelOffsets, ColorProfile(), GETPIXELHANDLERFLAGS::NONE);
}

Result<void> ExportRun::ReportProgress(Int done, Int all)
{
	if (!_progress || _job < 0)
		return OK;
	return _progress->SetProgressAndCheckBreak(_job, all > 0 ? static_cast<Float64>(done) / static_cast<Float64>(all) : 1.0);
}

Result<void> ExportRun::BeginStream(Stream& stream)
{
	if (!stream._stream)
		return OK;
	stream._properties = TORVI_TRY(CreateObject<MediaStreamPropertiesInterface>(ids::CLASS_MEDIASTREAMPROPERTIES));
	TORVI_TRY(stream._properties->Init(MediaStreamRef(stream._stream)));
	TORVI_TRY(stream._stream->InitStream(stream._properties));
	stream._isOpen = true;
	return OK;
}

Result<void> ExportRun::Begin()
{
	TORVI_TRY(BeginStream(_image));
	TORVI_TRY(BeginStream(_alpha));
	_width = TORVI_TRY(GetProperties()->Get<Int>(ids::MEDIAFORMAT_WIDTH));
	_height = TORVI_TRY(GetProperties()->Get<Int>(ids::MEDIAFORMAT_HEIGHT));
	_pixelFormat = TORVI_TRY(GetProperties()->Get<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT));
	TORVI_CHECK(_pixelFormat, NullptrError("A stream has no pixel format."));
	return OK;
}

/// Finishes the streams that were opened. The first error stays the result.
Result<void> ExportRun::End(Result<void> result)
{
	for (Stream* stream : {&_image, &_alpha})
	{
		if (!std::exchange(stream->_isOpen, false))
			continue;
		Result<void> finished = stream->_stream->FinishStream(stream->_properties);
		if (result.IsOk())
			result = std::move(finished);
	}
	return result;
}

Result<ExportLines> ExportLines::Open(ExportRun& run, const PixelFormat& format, const ColorProfile& profile)
{
	ExportLines lines;
	lines._width = run.GetWidth();
	lines._bitsPerPixel = format->GetBitsPerPixel();
	lines._image = TORVI_TRY(run.OpenImage(format, format->GetChannelOffsets(), profile));
	if (run.HasAlphaStream() && format->HasAlpha())
	{
		const AlphaPixelFormat alpha = TORVI_TRY(format->GetAlphaPixelFormat());
		lines._alphaOffset = alpha._byteOffset;
		lines._alpha = TORVI_TRY(run.OpenAlpha(alpha._format, alpha._format->GetChannelOffsets()));
	}
	return lines;
}

Result<void> ExportLines::GetLine(Int y, Block<Byte> line) const
{
	const ImagePos pos{0, y, _width};
	if (_image._getLine)
		TORVI_TRY(_image._getLine(pos, PixelBuffer(line.data(), _bitsPerPixel), 0));
	if (_alpha._getLine)
		TORVI_TRY(_alpha._getLine(pos, PixelBuffer(line.data() + _alphaOffset, _bitsPerPixel), 0));
	return OK;
}

Result<Data> ImageExportBase::GetData(const InternedId& key) const
{
	if (key == ids::MEDIAOUTPUT_SUPPORTS_IMAGE)
		return Data::Make<Bool>(true);
	if (key == ids::MEDIAOUTPUT_SUPPORTS_VIDEO)
		return Data::Make<Bool>(_traits._supportsVideo);
	if (key == ids::MEDIAOUTPUT_EMBED_COLORPROFILE)
		return Data::Make<Bool>(_traits._embedColorProfile);
	if (key == ids::MEDIAOUTPUT_MAXIMALIMAGERESOLUTION)
		return Data::Make<Int>(_traits._maximalImageResolution);
	if (key == ids::MEDIAOUTPUT_MAXIMALLAYERRESOLUTION)
		return Data::Make<Int>(_traits._maximalLayerResolution);
	if (key == ids::MEDIAOUTPUT_MAXIMALALPHACHANNELS)
		return Data::Make<Int>(_traits._maximalAlphaChannels);
	if (key == ids::MEDIAOUTPUT_BITDEPTHSIMAGE)
		return MakeDepths(_traits._bitDepthsImage);
	if (key == ids::MEDIAOUTPUT_BITDEPTHSLAYER)
		return MakeDepths(_traits._bitDepthsLayer);
	return MediaOutputUrlImpl::GetData(key);
}

Result<FileFormatRef> ImageExportBase::GetFileFormat() const
{
	FileFormatRef format = FindDeclared<FileFormatInterface>(_traits._fileFormat);
	TORVI_CHECK(format, NullptrError());
	return format;
}

Result<void> ImageExportBase::Analyze(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			if (std::exchange(_isAnalyzed, true))
				return OK;
			const MediaConverterRef input = TORVI_TRY(GetSingleInput(inputs));
			TORVI_TRY(AnalyzeInput(input, targetTime, flags));
			return FindStreams(input);
		});
}

/// The last picture counts. Its alpha is that of its own format, or the first alpha stream that fits it.
Result<void> ImageExportBase::FindStreams(const MediaConverterRef& input)
{
	Array<MediaStreamImageDataExportRef> alphas;
	for (const MediaStreamRef& anyStream : TORVI_TRY(input->GetOutputStreams(true)))
	{
		const MediaStreamImageDataExportRef stream = Cast<MediaStreamImageDataExportInterface>(anyStream);
		if (!stream)
			continue;
		const MediaStreamFormat format = SelectedFormat(stream);
		TORVI_CHECK(format, NullptrError());
		const auto type = static_cast<MediaStreamType>(TORVI_TRY(format->Get<UInt32>(ids::MEDIAFORMAT_TYPE)));
		if (type == MediaStreamType::IMAGE)
			TORVI_TRY(TakeImage(stream, format));
		else if (type == MediaStreamType::ALPHA && !_imageHasAlpha)
			alphas.push_back(stream);
	}
	TORVI_CHECK(_image, MediaSessionWrongTypeError("no image stream(s) found."));
	for (const MediaStreamImageDataExportRef& alpha : alphas)
	{
		if (!_alpha && !_imageHasAlpha && TORVI_TRY(IsOfSameSize(alpha, _image)))
			_alpha = alpha;
	}
	return _alpha ? _alpha->SubscribeStream(_alpha->GetSelectedFormat()) : Result<void>(OK);
}

Result<void> ImageExportBase::TakeImage(const MediaStreamImageDataExportRef& stream, const MediaStreamFormat& format)
{
	const PixelFormat pixelFormat = TORVI_TRY(format->Get<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT));
	_image = stream;
	_imageHasAlpha = pixelFormat && pixelFormat->HasAlpha();
	Result<DataDictionary> settings = format->Get<DataDictionary>(ids::MEDIAFORMAT_EXPORTSETTINGS);
	TORVI_CHECK(settings.IsOk() || settings.GetError().GetId() != errorids::OUTOFMEMORY, settings.TakeError());
	_settings = settings.IsOk() ? settings.TakeValue() : DataDictionary();
	return stream->SubscribeStream(stream->GetSelectedFormat());
}

Result<void> ImageExportBase::PrepareExecute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			TORVI_TRY(PrepareExecuteInput(TORVI_TRY(GetSingleInput(inputs)), targetTime, flags));
			return AddProgressJob();
		});
}

Result<void> ImageExportBase::AddProgressJob()
{
	_progress = nullptr;
	_job = -1;
	const MediaSessionRef session = GetSession();
	if (!_image || !session)
		return OK;
	const MediaStreamFormat format = SelectedFormat(_image);
	const auto width = static_cast<Float64>(format->GetOr<Int>(ids::MEDIAFORMAT_WIDTH, 0));
	const auto height = static_cast<Float64>(format->GetOr<Int>(ids::MEDIAFORMAT_HEIGHT, 0));
	_progress = session->GetProgress();
	if (_progress)
		_job = TORVI_TRY(_progress->AddProgressJob(std::max(width, 0.0) * std::max(height, 0.0), _traits._workName));
	return OK;
}

Result<void> ImageExportBase::Execute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			TORVI_TRY(ExecuteInput(TORVI_TRY(GetSingleInput(inputs)), targetTime, flags));
			if (!_image)
				return OK;
			ExportRun run(_image, _alpha, _settings, _progress, _job);
			return run.End(NoThrow([&]() { return Export(run); }));
		});
}

Result<void> ImageExportBase::Export(ExportRun& run)
{
	TORVI_TRY(run.Begin());
	TORVI_TRY(ReadSettings(run));
	TORVI_TRY(CheckResolution(run.GetWidth(), run.GetHeight()));
	TORVI_TRY(PrepareFile(run));
	BinaryWriter writer;
	TORVI_TRY(writer.Open(GetOutputUrl(), _traits._byteOrder));
	TORVI_TRY(WriteFile(writer, run));
	TORVI_TRY(run.ReportProgress(1, 1)); // the last chance to stop, as closing puts the file in place
	return writer.Close();
}

Result<void> ImageExportBase::Close(Block<const MediaConverterRef> inputs)
{
	_isAnalyzed = false;
	_image = nullptr;
	_alpha = nullptr;
	_imageHasAlpha = false;
	_settings = {};
	_progress = nullptr;
	_job = -1;
	return CloseInput(inputs);
}

Int32 TruncateToInt32(Float64 value)
{
	if (std::isnan(value))
		return 0;
	return static_cast<Int32>(std::clamp(value, static_cast<Float64>(INT32_MIN), static_cast<Float64>(INT32_MAX)));
}

} // namespace torvi
