// JPEG files (ISO/IEC 10918-1): grey, colour, and CMYK in the inverted form that print programs store; sequential and progressive. The
// orientation of the EXIF data is undone. Files of several pictures (CIPA DC-007) give a stream for each. Read here, written in
// media_io_jpg_export.cpp.
#include "media_io/media_io_jpg.h"

#include "host/job.h"
#include "media_io/jpg_decoder.h"
#include "media_io/jpg_mpf.h"
#include "media_io/jpg_orientation.h"
#include "media_io/module_info.h"
#include "mediasession/media_stream_impl.h"
#include "torvi/exif.h"
#include "torvi/ids_formats.h"
#include "torvi/ids_keys.h"

#include <algorithm>
#include <array>
#include <memory>

namespace torvi
{

namespace
{

constexpr Byte MARKER_BYTE = 0xFF;
constexpr Byte MARKER_SOI = 0xD8;
constexpr int MARKER_APP1 = JPEG_APP0 + 1;
constexpr int MARKER_APP2 = JPEG_APP0 + 2;

constexpr ImporterTraits JPG_IMPORTER = {._byteOrder = ByteOrder::BIGENDIAN, ._workName = "JPG image"};

/// The EXIF data of a JPEG file, which is handed over once.
class MediaStreamExifDataJpgImpl final : public MediaStreamExifDataImpl
{
public:
	void SetExif(ExifRef exif) { _exif = std::move(exif); }
	Result<void> Deliver() { return std::exchange(_isDelivered, true) ? Result<void>(OK) : HandleExifData(_exif); }

private:
	Bool _isDelivered = false;
	ExifRef _exif;
};

/// One picture of the file.
struct JpgPicture
{
	Int _position = 0; ///< in the file
	Int _width = 0;    ///< of its rows
	Int _height = 0;
	Int _bytesPerPixel = 0;
	JpgPlacement _placement;
	StreamHandle _stream = -1;
	std::shared_ptr<JpgDecoder> _decoder; ///< null if it is to be made anew
};

/// Whether an error says that the file holds no such picture; all others are not the file's.
Bool IsFaultOfFile(const Error& error)
{
	const Id id = error.GetId();
	return id != errorids::OUTOFMEMORY && id != errorids::OPERATIONCANCELLED && id != errorids::IO;
}

Bool IsExifData(Block<const Byte> data)
{
	static constexpr Byte HEAD[] = {'E', 'x', 'i', 'f'};
	return data.size() > std::size(HEAD) && std::equal(std::begin(HEAD), std::end(HEAD), data.begin());
}

std::shared_ptr<JpgDecoder> MakeDecoder(BinaryReader& reader, Int position)
{
	return std::allocate_shared<JpgDecoder>(HostAllocator<JpgDecoder>(), reader, position);
}

JpgPicture MakePicture(BinaryReader& reader, Int position)
{
	JpgPicture picture;
	picture._position = position;
	picture._decoder = MakeDecoder(reader, position);
	return picture;
}

/// How the decoded pixels lie in memory.
Result<PixelFormat> ChoosePixelFormat(const JpgDecoder& decoder)
{
	struct Row
	{
		J_COLOR_SPACE _colorSpace;
		Int _components;
		Id _format;
		CString _name;
	};
	static constexpr Row ROWS[] = {
		{JCS_GRAYSCALE, 1, ids::PIXELFORMAT_GREY_U8, "GREY"},
		{JCS_RGB, 3, ids::PIXELFORMAT_RGB_U8, "RGB"},
		{JCS_CMYK, 4, ids::PIXELFORMAT_CMYK_INV_U8, "CMYK"},
	};
	const J_COLOR_SPACE colorSpace = decoder.GetLibrary().out_color_space;
	for (const Row& row : ROWS)
	{
		if (row._colorSpace != colorSpace)
			continue;
		TORVI_CHECK(decoder.GetBytesPerPixel() == row._components,
					MediaSessionWrongTypeError("Unsupported component count for @: @", row._name, decoder.GetBytesPerPixel()));
		PixelFormat format = GetPixelFormat(row._format);
		TORVI_CHECK(format, IllegalStateError("The pixel format @ is not registered.", row._format));
		return format;
	}
	return MediaSessionWrongTypeError("Unsupported color space: @", static_cast<Int>(colorSpace));
}

/// Without the component that parses it, there is no EXIF data. Data that cannot be parsed is none either.
Result<void> DescribeExif(Block<const Byte> data, StreamTreeBuilder& streams, JpgPlacement& placement)
{
	const ClassRef exifClass = g_torvi->FindClass(ids::CLASS_EXIFSTATIC);
	if (!exifClass)
		return OK;
	Result<ExifRef> opened = TORVI_TRY(exifClass->Create<ExifStaticInterface>())->OpenFromMemory(data);
	if (!opened.IsOk())
		return opened.GetError().GetId() == errorids::OUTOFMEMORY ? Result<void>(opened.TakeError()) : OK;
	const ExifRef exif = opened.TakeValue();
	const auto stream = TORVI_TRY(CreateObject<MediaStreamExifDataJpgImpl>(ids::CLASS_MEDIASTREAMEXIFDATAJPG));
	stream->SetExif(exif);
	TORVI_TRY(streams.AddExif(stream, [stream]() { return stream->Deliver(); }));
	placement = GetJpgPlacement(exif->GetOr<UInt16>(EXIFTAG_ORIENTATION, 0));
	return OK;
}

/// The sides of the density are those of the file, also where the picture is turned.
Result<void> DescribeResolution(const JpgPicture& picture, StreamTreeBuilder& streams)
{
	constexpr UINT8 PER_INCH = 1, PER_CENTIMETRE = 2;
	const jpeg_decompress_struct& library = picture._decoder->GetLibrary();
	const Float64 horizontal = library.X_density;
	const Float64 vertical = library.Y_density;
	const Float64 dotsPerUnit = library.density_unit == PER_INCH ? 1.0 : library.density_unit == PER_CENTIMETRE ? 2.54 : 0.0;
	if (horizontal * dotsPerUnit != 0.0)
		TORVI_TRY(streams.Set<Float64>(picture._stream, ids::MEDIAFORMAT_DPI, horizontal * dotsPerUnit));
	const Float64 aspect = horizontal != 0.0 ? vertical / horizontal : 0.0;
	if (horizontal != vertical && aspect > 0.1 && aspect < 10.0)
		TORVI_TRY(streams.Set<Float64>(picture._stream, ids::MEDIAFORMAT_ASPECTRATIO, aspect));
	return OK;
}

Result<void> OpenAgain(BinaryReader& reader, JpgPicture& picture)
{
	picture._decoder = MakeDecoder(reader, picture._position);
	const JpgDecoder& decoder = *picture._decoder;
	TORVI_TRY(picture._decoder->ReadHeader());
	TORVI_TRY(picture._decoder->Start());
	const Bool isSame = decoder.GetWidth() == picture._width && decoder.GetHeight() == picture._height &&
						decoder.GetBytesPerPixel() == picture._bytesPerPixel;
	TORVI_CHECK(isSame, FileFormatError("The file has changed since it was looked at."));
	return OK;
}

Result<void> ReadPicture(ImportRun& run, const JpgPicture& picture)
{
	JpgDecoder& decoder = *picture._decoder;
	const Int height = decoder.GetHeight();
	TORVI_TRY(decoder.ReadScans([&]() { return run.ReportProgress(picture._stream, 0, height); }));
	PixelSink* sink = TORVI_TRY(run.Begin(picture._stream));
	JpgOrientationWriter writer(*sink, picture._placement, decoder.GetWidth(), height, decoder.GetBytesPerPixel());
	for (Int row = 0; row < height;)
	{
		TORVI_TRY(run.ReportProgress(picture._stream, row, height));
		const Int count = TORVI_TRY(decoder.ReadRows(writer.PointAtRows(row)));
		TORVI_TRY(writer.SetRows(row, count));
		row += count;
	}
	TORVI_TRY(writer.Finish());
	TORVI_TRY(run.Finish(picture._stream));
	return decoder.Finish();
}

class JpgImportImpl final : public ImageImportBase
{
public:
	JpgImportImpl() : ImageImportBase(JPG_IMPORTER) {}

	Result<void> Close(Block<const MediaConverterRef> inputs) override;

private:
	void ResetState() override;
	Result<void> DescribeStreams(BinaryReader& reader, StreamTreeBuilder& streams) override;
	Result<void> ReadStreams(BinaryReader& reader, ImportRun& run) override;

	Result<ColorProfile> ReadColorProfile(BinaryReader& reader, JpgDecoder& decoder);
	Result<void> DescribePicture(BinaryReader& reader, JpgPicture picture, StreamTreeBuilder& streams);
	Result<void> DescribeFurtherPictures(BinaryReader& reader, Block<const Int> positions, StreamTreeBuilder& streams);

	Array<JpgPicture> _pictures;
	Int _profileBytes = 0; ///< of all pictures
};

void JpgImportImpl::ResetState()
{
	_pictures.clear();
	_profileBytes = 0;
}

Result<void> JpgImportImpl::Close(Block<const MediaConverterRef> inputs)
{
	for (JpgPicture& picture : _pictures)
		picture._decoder = nullptr;
	return ImageImportBase::Close(inputs);
}

Result<void> JpgImportImpl::DescribeStreams(BinaryReader& reader, StreamTreeBuilder& streams)
{
	JpgPicture first = MakePicture(reader, 0);
	TORVI_TRY(first._decoder->ReadHeader());
	const Array<JpgMarker> markers = first._decoder->GetMarkers();
	const auto isMultiPicture = [](const JpgMarker& marker) { return marker._code == MARKER_APP2 && IsMultiPictureData(marker._data); };
	const Bool hasMore = reader.CanSeek() && std::ranges::any_of(markers, isMultiPicture);
	const Array<Int> positions = hasMore ? TORVI_TRY(FindMultiPictures(reader)) : Array<Int>{0};
	for (const JpgMarker& marker : markers)
	{
		if (marker._code == MARKER_APP1 && IsExifData(marker._data))
			TORVI_TRY(DescribeExif(marker._data, streams, first._placement));
	}
	TORVI_TRY(DescribePicture(reader, std::move(first), streams));
	return DescribeFurtherPictures(reader, positions, streams);
}

/// Pictures behind the first are looked at and left; their decoders are made again when they are wanted, so that a file that names
/// thousands holds the memory of none. A picture that is not there, as in files that were edited, ends the list; so do headers that are
/// longer together than the file, as the same one can be named again and again.
Result<void> JpgImportImpl::DescribeFurtherPictures(BinaryReader& reader, Block<const Int> positions, StreamTreeBuilder& streams)
{
	constexpr Int ALWAYS_FINE = Int(16) << 20;
	Int headerBytes = 0;
	for (const Int position : positions.subspan(1))
	{
		TORVI_CHECK(!IsCurrentJobCancelled(), OperationCancelledError());
		JpgPicture picture = MakePicture(reader, position);
		Result<void> described = picture._decoder->ReadHeader();
		headerBytes += picture._decoder->GetPosition() - position;
		if (headerBytes - ALWAYS_FINE - reader.GetPosition() > reader.GetRemaining())
			return OK;
		if (described.IsOk())
			described = DescribePicture(reader, std::move(picture), streams);
		if (!described.IsOk())
			return IsFaultOfFile(described.GetError()) ? Result<void>(OK) : std::move(described);
		_pictures.back()._decoder = nullptr;
	}
	return OK;
}

/// The embedded profile; the null profile without one. Pictures may share bytes of the file, but not to hold more profiles than fit into
/// it.
Result<ColorProfile> JpgImportImpl::ReadColorProfile(BinaryReader& reader, JpgDecoder& decoder)
{
	const Array<Byte> bytes = TORVI_TRY(decoder.ReadProfile());
	_profileBytes += CountOf(bytes);
	TORVI_CHECK(_pictures.empty() || _profileBytes - reader.GetPosition() <= reader.GetRemaining(),
				JpgGuard::MakeError("The colour profiles are larger than the file"));
	return bytes.empty() ? Result<ColorProfile>(ColorProfile()) : ColorProfile::OpenProfileFromMemory(bytes);
}

Result<void> JpgImportImpl::DescribePicture(BinaryReader& reader, JpgPicture picture, StreamTreeBuilder& streams)
{
	JpgDecoder& decoder = *picture._decoder;
	TORVI_TRY(decoder.Start());
	picture._width = decoder.GetWidth();
	picture._height = decoder.GetHeight();
	picture._bytesPerPixel = decoder.GetBytesPerPixel();
	const PixelFormat format = TORVI_TRY(ChoosePixelFormat(decoder));
	const ColorProfile profile = TORVI_TRY(ReadColorProfile(reader, decoder));
	ImportStreamInfo info = {
		._pixelFormat = format,
		._width = picture._width,
		._height = picture._height,
		._subImageIndex = CountOf(_pictures),
		._colorProfile = profile,
		._streamClass = ids::CLASS_MEDIASTREAMIMAGELAYERJPGIMPORT,
	};
	if (picture._placement._isTransposed)
		std::swap(info._width, info._height);
	picture._stream = TORVI_TRY(streams.AddImage(info));
	TORVI_TRY(DescribeResolution(picture, streams));
	_pictures.push_back(std::move(picture));
	return OK;
}

Result<void> JpgImportImpl::ReadStreams(BinaryReader& reader, ImportRun& run)
{
	for (JpgPicture& picture : _pictures)
	{
		if (!run.IsWanted(picture._stream))
			continue;
		if (!picture._decoder)
			TORVI_TRY(OpenAgain(reader, picture));
		TORVI_TRY(ReadPicture(run, picture));
		picture._decoder = nullptr;
	}
	return OK;
}

} // namespace

/// Looks at the first markers. A file may end behind what was looked at.
Result<Bool> DetectJpg(const InputStreamRef& stream)
{
	constexpr int MARKERS_LOOKED_AT = 3;
	BinaryReader reader;
	TORVI_TRY(reader.Open(stream, ByteOrder::BIGENDIAN));
	std::array<Byte, 2> start;
	if (TORVI_TRY(reader.ReadEOS(start)) < CountOf(start) || start[0] != MARKER_BYTE || start[1] != MARKER_SOI)
		return false;
	for (int i = 1; true; ++i)
	{
		std::array<Byte, 4> head = {};
		const Int count = TORVI_TRY(reader.ReadEOS(head));
		if (count < 1 || head[0] != MARKER_BYTE)
			return false;
		if (i == MARKERS_LOOKED_AT || (count > 1 && head[1] == JPEG_EOI))
			return true;
		const Int length = head[2] << 8 | head[3];
		if (count < CountOf(head) || length < 2 || length - 2 > reader.GetRemaining())
			return false;
		TORVI_TRY(reader.Skip(length - 2));
	}
}

Result<ObjectRef> CreateJpgImporter()
{
	return CreateComponent<JpgImportImpl>();
}

Result<void> RegisterJpgStreamsAndLibrary(Module& module)
{
	TORVI_TRY(
		module.AddClass<MediaStreamImageDataImportImpl>(ids::CLASS_MEDIASTREAMIMAGELAYERJPGIMPORT, ids::CLASS_MEDIASTREAMIMAGEDATAIMPORT));
	TORVI_TRY(module.AddClass<MediaStreamExifDataJpgImpl>(ids::CLASS_MEDIASTREAMEXIFDATAJPG, ids::CLASS_MEDIASTREAMEXIFDATA));
	const String version = Format("@.@", JPEG_LIB_VERSION / 10, JPEG_LIB_VERSION % 10);
	return RegisterModuleInfo(module, ids::MODULEINFO_JPEGLIB, "jpeglib", "Jpeg image i/o library", version);
}

} // namespace torvi
