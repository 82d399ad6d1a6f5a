// The importer skeleton: all that importers of pictures share. It runs the stages, keeps the file, the done flag and the progress jobs,
// publishes streams and hands their lines on. A format derives from ImageImportBase and shows its format only: what its headers
// say, and how the lines of any subset of its streams are decoded.
#pragma once

#include "host/binaryreader.h"
#include "mediasession/media_converter_impl.h"
#include "torvi/exif.h"

#include <optional>

namespace torvi
{

/// A stream of an importer, by the order of publishing.
using StreamHandle = Int;

/// What a stream must say. A side of 0 is a picture without lines.
struct ImportStreamInfo
{
	MediaStreamType _type = MediaStreamType::IMAGE;
	PixelFormat _pixelFormat;
	Int _width = 0;
	Int _height = 0;
	std::optional<Int> _subImageIndex = {};
	std::optional<ColorProfile> _colorProfile = {};
	Id _streamClass = ids::CLASS_MEDIASTREAMIMAGEDATAIMPORT;
	CString _workName = nullptr;             ///< of the progress job; null: the importer's
	CString _deliveryName = nullptr;         ///< of a second job with half the weight, for handing on what was decoded; null: none
	std::optional<Float64> _workWeight = {}; ///< of the job; width x height if it is not said
};

/// Whether a child stream is a piece of work of its own, comes along with its parent's lines, or has no lines at all, as a folder.
enum class ImportWork
{
	OWN,
	OFPARENT,
	NONE
};

/// The progress jobs of one piece of work: decoding, and handing on if it is a job of its own. -1 stands for no job.
struct ImportJobs
{
	Int _decoding = -1;
	Int _delivery = -1;
};

/// Publishes the streams of a file.
class StreamTreeBuilder
{
public:
	explicit StreamTreeBuilder(MediaConverterInterface& importer) : _importer(importer) {}

	/// A top-level picture, with work of its own.
	Result<StreamHandle> AddImage(const ImportStreamInfo& info);
	/// A stream below another one. FileFormatError for a stream that lies deeper than LAYER_NESTING_LIMIT below its picture.
	Result<StreamHandle> AddChild(StreamHandle parent, const ImportStreamInfo& info, ImportWork work);
	/// EXIF data of the file. `deliver` hands it to the stream, once in an Execute in which somebody wants it and before any picture is
	/// read; the stream is ended behind it.
	Result<void> AddExif(const MediaStreamExifDataRef& stream, Delegate<Result<void>()> deliver);
	/// A further key of a stream's format.
	template <class T>
	Result<void> Set(StreamHandle stream, const InternedId& key, T value)
	{
		return _streams[static_cast<std::size_t>(stream)]._format->template Set<T>(key, std::move(value));
	}

private:
	friend class ImageImportBase;
	struct Work
	{
		Float64 _weight;
		CString _name;
		CString _deliveryName;
		ImportJobs _jobs = {}; ///< none while nobody wants the work
	};
	struct Stream
	{
		MediaStreamImageDataImportRef _stream;
		MediaStreamFormat _format;
		Int _work;      ///< index of the piece of work; -1 without one
		Int _depth = 0; ///< levels below its picture
	};
	struct ExifStream
	{
		MediaStreamExifDataRef _stream;
		Delegate<Result<void>()> _deliver;
	};
	Result<StreamHandle> Add(const ImportStreamInfo& info, Int work);
	Int AddWork(const ImportStreamInfo& info);

	MediaConverterInterface& _importer;
	Array<Stream> _streams;
	Array<Work> _works;
	Array<ExifStream> _exifStreams;
};

/// Takes the lines of one stream. For a stream that nobody wants it takes them and does nothing.
class PixelSink
{
public:
	Bool IsWanted() const noexcept { return static_cast<bool>(_record._setLine); }
	/// A whole line, row 0 at the top. `stride` is the distance of pixels in bits.
	Result<void> SetLine(Int y, const Byte* pixels, BITS stride) { return SetRun({0, y, _width}, pixels, stride); }
	Result<void> SetRun(const ImagePos& pos, const Byte* pixels, BITS stride)
	{
		return _record.SetLine(pos, PixelBuffer(pixels, stride), 0);
	}

private:
	friend class ImportRun;
	SetPixelHandlerStruct _record;
	Int _width = 0;
	Bool _isOpen = false;
};

/// One Execute: the streams that are wanted, with their properties, sinks and progress.
class ImportRun
{
public:
	struct Stream
	{
		MediaStreamImageDataImportRef _stream;
		MediaStreamProperties _properties;
		PixelSink _sink;
		ImportJobs _jobs;
	};
	ImportRun(Array<Stream> streams, ProgressRef progress) : _streams(std::move(streams)), _progress(std::move(progress)) {}
	ImportRun(const ImportRun&) = delete;
	ImportRun& operator=(const ImportRun&) = delete;

	Bool IsWanted(StreamHandle stream) const { return At(stream)._stream->IsSubscribed(); }
	/// The values of this sample: a copy of the stream's format, which may be changed until Begin. Only of wanted streams.
	Result<MediaStreamProperties> GetProperties(StreamHandle stream);
	/// Starts a stream and gives its sink, which lives as long as the run. Lines are in the properties' pixel format, at its own channel
	/// offsets or at those given. The sink takes nothing if the stream is not wanted or has no lines.
	Result<PixelSink*> Begin(StreamHandle stream);
	Result<PixelSink*> Begin(StreamHandle stream, const ChannelOffsets& channelOffsets);
	/// Reports `done` of `all` lines of the stream's piece of work; the error of cancelling.
	Result<void> ReportProgress(StreamHandle stream, Int done, Int all);
	/// Ends a stream: work done, handler freed, FinishStream. Streams that the importer does not end are ended when it returns.
	Result<void> Finish(StreamHandle stream);

private:
	friend class ImageImportBase;
	Stream& At(StreamHandle stream) { return _streams[static_cast<std::size_t>(stream)]; }
	const Stream& At(StreamHandle stream) const { return _streams[static_cast<std::size_t>(stream)]; }
	Result<void> SetFraction(Stream& stream, Float64 fraction);
	Result<void> EndSample(Stream& stream);
	Result<void> EndAll(Result<void> result);

	Array<Stream> _streams;
	ProgressRef _progress;
};

/// What is fixed of an importer class.
struct ImporterTraits
{
	ByteOrder _byteOrder;
	CString _workName; ///< of the progress jobs, "BMP image"
	Bool _supportsVideo = false;
	Bool _supportsAudio = false;
	Bool _analyzesOnce = false; ///< Analyze after a successful one does nothing until Close
};

/// Takes the Url that a handler was asked to open.
class UrlImporterInterface : public virtual MediaInputInterface
{
public:
	virtual void SetUrl(const Url& url) = 0;
};

class ImageImportBase : public MediaConverterImpl, public virtual UrlImporterInterface
{
public:
	void SetUrl(const Url& url) override { _url = url; }
	Bool SupportImportStrategy() const override { return true; }
	Result<Data> GetData(const InternedId& key) const override;
	Result<void> Analyze(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> PrepareExecute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> Execute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> Close(Block<const MediaConverterRef> inputs) override;

protected:
	explicit ImageImportBase(const ImporterTraits& traits) : _traits(traits) {}
	const Url& GetUrl() const noexcept { return _url; }

	/// Drops everything that an earlier DescribeStreams has found.
	virtual void ResetState() = 0;
	/// Reads what the headers need from the start of the file, and publishes the streams.
	virtual Result<void> DescribeStreams(BinaryReader& reader, StreamTreeBuilder& streams) = 0;
	/// Decodes the wanted streams. The reader stands where DescribeStreams left it.
	virtual Result<void> ReadStreams(BinaryReader& reader, ImportRun& run) = 0;

private:
	void Reset();
	Result<Bool> CheckStage(Block<const MediaConverterRef> inputs) const;
	Result<void> DeliverExif();
	Result<void> AddJobs(StreamTreeBuilder::Work& work);

	const ImporterTraits& _traits;
	Url _url;
	BinaryReader _reader;
	Bool _isAnalyzed = false;
	Bool _isDone = false;
	Array<StreamTreeBuilder::Stream> _published;
	Array<StreamTreeBuilder::Work> _works;
	Array<StreamTreeBuilder::ExifStream> _exifStreams;
	ProgressRef _progress;
};

/// How many bytes of a picture one byte of a file can stand for.
enum class CompressionBound
{
	NONE,      ///< not compressed
	UNBOUNDED, ///< no useful ratio: runs of any length in a few bytes
	DEFLATE,   ///< also LZW
	PACKBITS,
	HUFFMANJPEG,
};

/// False if `pixelBytes` of decoded picture cannot come from `fileBytes` of compressed data, so that a header alone never makes the process
/// allocate. Pictures up to 64 MiB always pass.
Bool CanHoldPicture(Int pixelBytes, Int fileBytes, CompressionBound bound);

/// The bytes of the first of `rows` rows that are not compressed. The read error if the file does not hold it, or if it is a large picture
/// of which the file does not hold all rows; so nothing is allocated that the file could not fill.
Result<Array<Byte>> ReadFirstRow(BinaryReader& reader, Int bytesPerRow, Int rows);

/// Bytes of `height` lines of `width` pixels; nothing on overflow or for negative sides.
std::optional<Int> ImageBytes(Int width, Int height, BITS bitsPerPixel);

} // namespace torvi
