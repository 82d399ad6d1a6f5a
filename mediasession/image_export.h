// The exporter skeleton: all that exporters of pictures share. It finds the streams of its input, runs the stages, checks the size, opens
// and closes the file and reports progress. A format derives from ImageExportBase and shows its format only: which settings it takes, and
// how the file is written from the lines that it pulls.
#pragma once

#include "host/binaryreader.h"
#include "mediasession/mediasession_urloutput.h"

namespace torvi
{

/// What is fixed of an exporter class, and its answers to the capability keys.
struct ExporterTraits
{
	Id _fileFormat;
	ByteOrder _byteOrder;
	CString _workName;           ///< of the progress job, "BMP image"
	Int _maximalImageResolution; ///< of both sides, in pixels
	Int _maximalAlphaChannels;
	Block<const DataType> _bitDepthsImage;
	Bool _embedColorProfile = false;
	Bool _supportsVideo = false;
	Int _maximalLayerResolution = 0; ///< 0 without layers
	Block<const DataType> _bitDepthsLayer = {};
};

/// One Execute: the picture, its properties and settings, and the streams that its lines are pulled from.
class ExportRun
{
public:
	ExportRun(MediaStreamImageDataExportRef image, MediaStreamImageDataExportRef alpha, const DataDictionary& settings,
			  ProgressRef progress, Int job)
		: _image{std::move(image), {}}, _alpha{std::move(alpha), {}}, _settings(settings), _progress(std::move(progress)), _job(job)
	{
	}
	ExportRun(const ExportRun&) = delete;
	ExportRun& operator=(const ExportRun&) = delete;

	Int GetWidth() const noexcept { return _width; }
	Int GetHeight() const noexcept { return _height; }
	/// The values of this sample of the picture.
	const MediaStreamProperties& GetProperties() const noexcept { return _image._properties; }
	const DataDictionary& GetSettings() const noexcept { return _settings; }
	/// The format that the picture has in memory; never null.
	const PixelFormat& GetPixelFormat() const noexcept { return _pixelFormat; }
	/// Whether the picture has alpha, in its own format or in a stream beside it.
	Bool HasAlpha() const noexcept { return _alpha._stream || _pixelFormat->HasAlpha(); }
	Bool HasAlphaStream() const noexcept { return static_cast<bool>(_alpha._stream); }
	/// Dots per inch, 72 where unknown.
	Float64 GetDpi() const;
	/// 1 where unknown.
	Float64 GetAspectRatio() const;
	/// The profile that the picture has, or that of its format; where that is none for pixels of `target`, the profile of `target`.
	ColorProfile GetColorProfile(const PixelFormat& target) const;
	/// The picture's own profile if it is an ICC profile for pixels of `target`, else that of integer samples of target's colour space.
	ColorProfile GetNonlinearColorProfile(const PixelFormat& target) const;
	/// The profile to convert to for a file that holds none: sRGB, unless the settings turn the conversion off.
	Result<ColorProfile> GetColorProfileWithoutEmbedding() const;

	/// Readers of the picture's lines, and of the alpha stream's where there is one.
	Result<GetPixelHandlerStruct> OpenImage(const PixelFormat& format, const ChannelOffsets& channelOffsets, const ColorProfile& profile);
	Result<GetPixelHandlerStruct> OpenAlpha(const PixelFormat& format, const ChannelOffsets& channelOffsets);
	/// Reports `done` of `all` lines; the error of cancelling.
	Result<void> ReportProgress(Int done, Int all);

private:
	friend class ImageExportBase;
	struct Stream
	{
		MediaStreamImageDataExportRef _stream;
		MediaStreamProperties _properties;
		Bool _isOpen = false;
	};
	Result<void> Begin();
	Result<void> BeginStream(Stream& stream);
	Result<void> End(Result<void> result);

	Stream _image;
	Stream _alpha;
	const DataDictionary& _settings;
	ProgressRef _progress;
	Int _job;
	PixelFormat _pixelFormat;
	Int _width = 0;
	Int _height = 0;
};

/// Whole lines of the picture in one format. The alpha stream, if there is one and the format has alpha, fills the format's alpha channel.
class ExportLines
{
public:
	/// `profile` is that of the lines; the empty one converts no colours.
	static Result<ExportLines> Open(ExportRun& run, const PixelFormat& format, const ColorProfile& profile);
	/// Line `y`, 0 at the top, packed, into at least GetBytesPerLine bytes.
	Result<void> GetLine(Int y, Block<Byte> line) const;

private:
	ExportLines() = default;

	GetPixelHandlerStruct _image;
	GetPixelHandlerStruct _alpha;
	Int _alphaOffset = 0; ///< bytes from the start of a pixel
	BITS _bitsPerPixel = 0;
	Int _width = 0;
};

class ImageExportBase : public MediaOutputUrlImpl
{
public:
	Result<Data> GetData(const InternedId& key) const override;
	Result<FileFormatRef> GetFileFormat() const override;
	Result<void> Analyze(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> PrepareExecute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> Execute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> Close(Block<const MediaConverterRef> inputs) override;

protected:
	explicit ImageExportBase(const ExporterTraits& traits) : _traits(traits) {}

	/// Reads and checks the format's own settings, before the size is checked and the file is opened.
	virtual Result<void> ReadSettings(const ExportRun&) { return OK; }
	/// Works out what can fail without the file, after the size was checked and before the file is opened, so that an earlier file stays.
	virtual Result<void> PrepareFile(const ExportRun&) { return OK; }
	/// Writes the file. The skeleton closes it.
	virtual Result<void> WriteFile(BinaryWriter& writer, ExportRun& run) = 0;

private:
	Result<void> FindStreams(const MediaConverterRef& input);
	Result<void> TakeImage(const MediaStreamImageDataExportRef& stream, const MediaStreamFormat& format);
	Result<void> AddProgressJob();
	Result<void> Export(ExportRun& run);

	const ExporterTraits& _traits;
	Bool _isAnalyzed = false;
	MediaStreamImageDataExportRef _image;
	MediaStreamImageDataExportRef _alpha;
	Bool _imageHasAlpha = false;
	DataDictionary _settings;
	ProgressRef _progress;
	Int _job = -1;
};

/// The whole number towards 0; clamped to the range, 0 for no number.
Int32 TruncateToInt32(Float64 value);

} // namespace torvi
