// The stages of all picture importers.
#include "mediasession/image_import.h"

#include "torvi/ids_keys.h"

namespace torvi
{

namespace
{

/// The branch of the stream tree that a stream of a type hangs under.
Int32 BranchOf(MediaStreamType type)
{
	switch (type)
	{
	case MediaStreamType::ALPHA:
		return static_cast<Int32>(IMAGEHIERARCHY::ALPHA);
	case MediaStreamType::LAYERFOLDER:
	case MediaStreamType::RASTERLAYER:
	case MediaStreamType::FILTERLAYER:
		return static_cast<Int32>(IMAGEHIERARCHY::LAYER);
	case MediaStreamType::LAYERMASK:
		return static_cast<Int32>(IMAGEHIERARCHY::MASK);
	case MediaStreamType::DEEPIMAGEDATA:
		return static_cast<Int32>(IMAGEHIERARCHY::DEEPIMAGEDATA);
	default:
		return static_cast<Int32>(IMAGEHIERARCHY::IMAGE);
	}
}

Result<MediaStreamFormat> MakeFormat(const ImportStreamInfo& info)
{
	MediaStreamFormat format = TORVI_TRY(CreateObject<MediaStreamFormatInterface>(ids::CLASS_MEDIASTREAMFORMAT));
	TORVI_TRY(format->Set<UInt32>(ids::MEDIAFORMAT_TYPE, static_cast<UInt32>(info._type)));
	if (info._subImageIndex)
		TORVI_TRY(format->Set<Int>(ids::MEDIAFORMAT_SUBIMAGEINDEX, *info._subImageIndex));
	TORVI_TRY(format->Set<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT, info._pixelFormat));
	if (info._colorProfile)
		TORVI_TRY(format->Set<ColorProfile>(ids::MEDIAFORMAT_COLORPROFILE, *info._colorProfile));
	TORVI_TRY(format->Set<Int>(ids::MEDIAFORMAT_WIDTH, info._width));
	TORVI_TRY(format->Set<Int>(ids::MEDIAFORMAT_HEIGHT, info._height));
	return format;
}

} // namespace

Result<StreamHandle> StreamTreeBuilder::Add(const ImportStreamInfo& info, Int work)
{
	MediaStreamFormat format = TORVI_TRY(MakeFormat(info));
	auto stream = TORVI_TRY(CreateObject<MediaStreamImageDataImportInterface>(info._streamClass));
	TORVI_TRY(stream->AddFormat(TORVI_TRY(Data::Make<Int>(0)), format));
	_streams.push_back({std::move(stream), std::move(format), work});
	return CountOf(_streams) - 1;
}

Int StreamTreeBuilder::AddWork(const ImportStreamInfo& info)
{
	const Float64 weight = info._workWeight.value_or(static_cast<Float64>(info._width) * static_cast<Float64>(info._height));
	_works.push_back({weight, info._workName, info._deliveryName});
	return CountOf(_works) - 1;
}

Result<StreamHandle> StreamTreeBuilder::AddImage(const ImportStreamInfo& info)
{
	const StreamHandle handle = TORVI_TRY(Add(info, AddWork(info)));
	TORVI_TRY(_importer.AddOutputStream(_streams.back()._stream));
	return handle;
}

Result<StreamHandle> StreamTreeBuilder::AddChild(StreamHandle parent, const ImportStreamInfo& info, ImportWork work)
{
	const Stream parentStream = _streams[static_cast<std::size_t>(parent)];
	TORVI_CHECK(parentStream._depth < LAYER_NESTING_LIMIT,
				FileFormatError("The layers of a picture are nested in more than @ levels.", LAYER_NESTING_LIMIT));
	const Int workIndex = work == ImportWork::OWN ? AddWork(info) : work == ImportWork::OFPARENT ? parentStream._work : -1;
	const StreamHandle handle = TORVI_TRY(Add(info, workIndex));
	_streams.back()._depth = parentStream._depth + 1;
	TORVI_TRY(_streams.back()._stream->InsertAsLastChildOf(parentStream._stream, BranchOf(info._type)));
	return handle;
}

Result<void> StreamTreeBuilder::AddExif(const MediaStreamExifDataRef& stream, Delegate<Result<void>()> deliver)
{
	const auto format = TORVI_TRY(CreateObject<MediaStreamFormatInterface>(ids::CLASS_MEDIASTREAMFORMAT));
	TORVI_TRY(stream->AddFormat(TORVI_TRY(Data::Make<Int>(0)), format)); // without one nobody could subscribe
	TORVI_TRY(_importer.AddOutputStream(stream));
	_exifStreams.push_back({stream, std::move(deliver)});
	return OK;
}

Result<MediaStreamProperties> ImportRun::GetProperties(StreamHandle handle)
{
	Stream& stream = At(handle);
	if (!stream._properties)
	{
		MediaStreamProperties properties = TORVI_TRY(CreateObject<MediaStreamPropertiesInterface>(ids::CLASS_MEDIASTREAMPROPERTIES));
		TORVI_TRY(properties->Init(MediaStreamRef(stream._stream)));
		stream._properties = std::move(properties);
	}
	return stream._properties;
}

Result<PixelSink*> ImportRun::Begin(StreamHandle handle)
{
	if (!IsWanted(handle))
		return &At(handle)._sink;
	const PixelFormat format = TORVI_TRY(TORVI_TRY(GetProperties(handle))->Get<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT));
	TORVI_CHECK(format, NullptrError("A stream has no pixel format."));
	return Begin(handle, format->GetChannelOffsets());
}

Result<PixelSink*> ImportRun::Begin(StreamHandle handle, const ChannelOffsets& channelOffsets)
{
	Stream& stream = At(handle);
	PixelSink& sink = stream._sink;
	if (!IsWanted(handle))
		return &sink;
	const MediaStreamProperties properties = TORVI_TRY(GetProperties(handle));
	sink._width = TORVI_TRY(properties->Get<Int>(ids::MEDIAFORMAT_WIDTH));
	const Int height = TORVI_TRY(properties->Get<Int>(ids::MEDIAFORMAT_HEIGHT));
	if (sink._width <= 0 || height <= 0)
		return &sink;
	TORVI_TRY(stream._stream->InitStream(properties));
	sink._isOpen = true;
	sink._record = TORVI_TRY(stream._stream->SetPixelStream(properties, channelOffsets, SETPIXELHANDLERFLAGS::NONE));
	return &sink;
}

Result<void> ImportRun::ReportProgress(StreamHandle handle, Int done, Int all)
{
	return SetFraction(At(handle), all > 0 ? static_cast<Float64>(done) / static_cast<Float64>(all) : 1.0);
}

Result<void> ImportRun::SetFraction(Stream& stream, Float64 fraction)
{
	for (const Int job : {stream._jobs._decoding, stream._jobs._delivery})
	{
		if (_progress && job >= 0)
			TORVI_TRY(_progress->SetProgressAndCheckBreak(job, fraction));
	}
	return OK;
}

Result<void> ImportRun::Finish(StreamHandle handle)
{
	TORVI_TRY(SetFraction(At(handle), 1.0));
	return EndSample(At(handle));
}

/// Frees the handler first, so that observers learn of the region before the sample ends.
Result<void> ImportRun::EndSample(Stream& stream)
{
	if (!std::exchange(stream._sink._isOpen, false))
		return OK;
	Result<void> freed = stream._sink._record.Free();
	Result<void> finished = stream._stream->FinishStream(stream._properties);
	return freed.IsOk() ? std::move(finished) : std::move(freed);
}

/// Ends what is still open, also after an error, which stays the result.
Result<void> ImportRun::EndAll(Result<void> result)
{
	for (Stream& stream : _streams)
	{
		Result<void> done = result.IsOk() && stream._stream->IsSubscribed() ? SetFraction(stream, 1.0) : Result<void>(OK);
		Result<void> ended = EndSample(stream);
		if (result.IsOk())
			result = done.IsOk() ? std::move(ended) : std::move(done);
	}
	return result;
}

Result<Data> ImageImportBase::GetData(const InternedId& key) const
{
	if (key == ids::MEDIAINPUT_SUPPORTS_IMAGE)
		return Data::Make<Bool>(true);
	if (key == ids::MEDIAINPUT_SUPPORTS_VIDEO)
		return Data::Make<Bool>(_traits._supportsVideo);
	if (key == ids::MEDIAINPUT_SUPPORTS_AUDIO)
		return Data::Make<Bool>(_traits._supportsAudio);
	return MediaConverterImpl::GetData(key);
}

Result<void> ImageImportBase::Analyze(Block<const MediaConverterRef> inputs, const TimeValue&, MEDIASESSIONFLAGS)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			TORVI_CHECK(inputs.empty(), IllegalStateError("An importer takes no input."));
			if (_isAnalyzed && _traits._analyzesOnce)
				return OK;
			Reset();
			TORVI_TRY(_reader.Close());
			TORVI_TRY(_reader.Open(_url, _traits._byteOrder));
			StreamTreeBuilder streams(*this);
			Result<void> described = NoThrow([&]() { return DescribeStreams(_reader, streams); });
			if (!described.IsOk())
			{
				ClearOutputStreams();
				return described;
			}
			_published = std::move(streams._streams);
			_works = std::move(streams._works);
			_exifStreams = std::move(streams._exifStreams);
			_isAnalyzed = true;
			return OK;
		});
}

/// Forgets an earlier Analyze.
void ImageImportBase::Reset()
{
	_isAnalyzed = false;
	_isDone = false;
	_published.clear();
	_works.clear();
	_exifStreams.clear();
	_progress = nullptr;
	ClearOutputStreams();
	ResetState();
}

/// Whether a stage has anything to do.
Result<Bool> ImageImportBase::CheckStage(Block<const MediaConverterRef> inputs) const
{
	TORVI_CHECK(inputs.empty(), IllegalStateError("An importer takes no input."));
	TORVI_CHECK(!_isDone, MediaStreamEOFError());
	TORVI_CHECK(_isAnalyzed, IllegalStateError("The importer has not analysed its file, or it was closed."));
	const Array<MediaStreamRef> streams = TORVI_TRY(GetOutputStreams(true));
	TORVI_CHECK(!streams.empty(), IllegalStateError("The importer has published no stream."));
	TORVI_CHECK(streams.size() == _published.size() + _exifStreams.size(), IllegalStateError("A stream is not one of the importer's."));
	return std::ranges::any_of(streams, [](const MediaStreamRef& stream) { return stream->IsSubscribed(); });
}

Result<void> ImageImportBase::PrepareExecute(Block<const MediaConverterRef> inputs, const TimeValue&, MEDIASESSIONFLAGS)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			_progress = nullptr;
			for (StreamTreeBuilder::Work& work : _works)
				work._jobs = {};
			if (!TORVI_TRY(CheckStage(inputs)))
				return OK;
			if (const MediaSessionRef session = GetSession())
				_progress = session->GetProgress();
			for (const StreamTreeBuilder::Stream& stream : _published)
			{
				if (_progress && stream._work >= 0 && stream._stream->IsSubscribed())
					TORVI_TRY(AddJobs(_works[static_cast<std::size_t>(stream._work)]));
			}
			return OK;
		});
}

/// The jobs of a piece of work, once for all streams that share it.
Result<void> ImageImportBase::AddJobs(StreamTreeBuilder::Work& work)
{
	constexpr Float64 DELIVERY_SHARE = 0.5;
	if (work._jobs._decoding >= 0)
		return OK;
	work._jobs._decoding = TORVI_TRY(_progress->AddProgressJob(work._weight, work._name != nullptr ? work._name : _traits._workName));
	if (work._deliveryName != nullptr)
		work._jobs._delivery = TORVI_TRY(_progress->AddProgressJob(work._weight * DELIVERY_SHARE, work._deliveryName));
	return OK;
}

Result<void> ImageImportBase::Execute(Block<const MediaConverterRef> inputs, const TimeValue&, MEDIASESSIONFLAGS)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			const Bool isAnyWanted = TORVI_TRY(CheckStage(inputs));
			_isDone = true;
			if (!isAnyWanted)
				return OK;
			TORVI_TRY(DeliverExif());
			Array<ImportRun::Stream> streams(_published.size());
			for (std::size_t i = 0; i < streams.size(); ++i)
			{
				streams[i]._stream = _published[i]._stream;
				if (_published[i]._work >= 0)
					streams[i]._jobs = _works[static_cast<std::size_t>(_published[i]._work)]._jobs;
			}
			ImportRun run(std::move(streams), _progress);
			return run.EndAll(NoThrow([&]() { return ReadStreams(_reader, run); }));
		});
}

Result<void> ImageImportBase::DeliverExif()
{
	for (const StreamTreeBuilder::ExifStream& exif : _exifStreams)
	{
		if (!exif._stream->IsSubscribed())
			continue;
		TORVI_TRY(exif._deliver());
		TORVI_TRY(exif._stream->FinishStream());
	}
	return OK;
}

Result<void> ImageImportBase::Close(Block<const MediaConverterRef>)
{
	_isAnalyzed = false;
	_isDone = false;
	_progress = nullptr;
	return _reader.Close();
}

Bool CanHoldPicture(Int pixelBytes, Int fileBytes, CompressionBound bound)
{
	constexpr Int ALWAYS_FINE = Int(64) << 20;
	constexpr Int UNBOUNDED_PICTURE = Int(1) << 30; // a picture of this size from less than UNBOUNDED_FILE is no honest one
	constexpr Int UNBOUNDED_FILE = Int(64) << 10;
	constexpr Int DEFLATE_RATIO = 1100; // one symbol of two bits can stand for 258 bytes
	constexpr Int PACKBITS_RATIO = 70;  // two bytes stand for 128
	constexpr Int HUFFMAN_RATIO = 6000; // 2,000 pixels of three bytes from one byte: blocks of a few bits
	if (pixelBytes <= ALWAYS_FINE)
		return true;
	const Int bytes = std::max<Int>(fileBytes, 0);
	switch (bound)
	{
	case CompressionBound::NONE:
		return pixelBytes <= bytes;
	case CompressionBound::DEFLATE:
		return pixelBytes / DEFLATE_RATIO <= bytes;
	case CompressionBound::PACKBITS:
		return pixelBytes / PACKBITS_RATIO <= bytes;
	case CompressionBound::HUFFMANJPEG:
		return pixelBytes / HUFFMAN_RATIO <= bytes;
	case CompressionBound::UNBOUNDED:
		break;
	}
	return pixelBytes <= UNBOUNDED_PICTURE || bytes >= UNBOUNDED_FILE;
}

Result<Array<Byte>> ReadFirstRow(BinaryReader& reader, Int bytesPerRow, Int rows)
{
	const Int remaining = reader.GetRemaining();
	const Int needed = ImageBytes(bytesPerRow, rows, 8).value_or(INT64_MAX);
	TORVI_CHECK(CanHoldPicture(needed, remaining, CompressionBound::NONE), EndOfDataError(needed - remaining));
	return reader.ReadArray(bytesPerRow);
}

std::optional<Int> ImageBytes(Int width, Int height, BITS bitsPerPixel)
{
	Int bits = 0;
	Int bytes = 0;
	if (width < 0 || height < 0 || bitsPerPixel < 0 || __builtin_mul_overflow(width, bitsPerPixel, &bits) || bits > INT64_MAX - 7 ||
		__builtin_mul_overflow(BytesOf(bits), height, &bytes))
		return std::nullopt;
	return bytes;
}

} // namespace torvi
