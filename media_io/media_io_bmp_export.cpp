// Writing of Windows bitmap files: 24 bits, or 32 bits with alpha, not compressed, under a header of 40, 108 or 124 bytes ("V3", "V4",
// "V5"). The reader stands in media_io_bmp.cpp.
#include "media_io/media_io_bmp.h"

#include "mediasession/image_export.h"
#include "torvi/ids_formats.h"

namespace torvi
{

namespace
{

constexpr DataType BMP_BITDEPTHS[] = {GetDataType<UChar>()};
constexpr ExporterTraits BMP_EXPORTER = {
	._fileFormat = ids::FILEFORMAT_BMP,
	._byteOrder = ByteOrder::LITTLEENDIAN,
	._workName = "BMP image",
	._maximalImageResolution = 32000,
	._maximalAlphaChannels = 1,
	._bitDepthsImage = BMP_BITDEPTHS,
	._embedColorProfile = true,
};

/// All that the headers say of the file to be written.
struct BmpFileShape
{
	UInt32 _headerSize;
	PixelFormat _format; ///< bgr.u8 or bgra.u8
	Int _width;
	Int _height;
	Int _bytesPerRow;
	Array<Byte> _profile; ///< embedded in generation V5 only

	Bool HasAlpha() const { return _format->HasAlpha(); }
	Int GetPixelOffset() const { return BMP_FILEHEADER_SIZE + _headerSize + CountOf(_profile); }
	Int GetImageSize() const { return _bytesPerRow * _height; }
	Int GetFileSize() const { return GetPixelOffset() + GetImageSize(); }
};

class BmpExportImpl final : public ImageExportBase
{
public:
	BmpExportImpl() : ImageExportBase(BMP_EXPORTER) {}

private:
	Result<void> ReadSettings(const ExportRun& run) override;
	Result<void> PrepareFile(const ExportRun& run) override;
	Result<void> WriteFile(BinaryWriter& writer, ExportRun& run) override;

	UInt32 _headerSize = BMP_V4HEADER_SIZE;
	BmpFileShape _shape = {};
	ColorProfile _profile; ///< of the pixels in the file
};

Result<void> BmpExportImpl::ReadSettings(const ExportRun& run)
{
	const Id generation =
		TORVI_TRY(GetExportSetting<Id>(run.GetSettings(), ids::CLASS_BMPEXPORT, ids::BMPEXPORT_BITMAPINFOHEADER, BMP_GENERATION_V4));
	if (generation == BMP_GENERATION_V3)
		_headerSize = BMP_V3HEADER_SIZE;
	else if (generation == BMP_GENERATION_V4)
		_headerSize = BMP_V4HEADER_SIZE;
	else if (generation == BMP_GENERATION_V5)
		_headerSize = BMP_V5HEADER_SIZE;
	else
		return IllegalArgumentError("Invalid header type: @.", generation);
	return OK;
}

Result<void> WriteFileHeader(BinaryWriter& writer, const BmpFileShape& shape)
{
	TORVI_TRY(writer.WriteUInt16(BMP_MAGIC));
	TORVI_TRY(writer.WriteUInt32(static_cast<UInt32>(shape.GetFileSize())));
	TORVI_TRY(writer.WriteZeros(4));
	return writer.WriteUInt32(static_cast<UInt32>(shape.GetPixelOffset()));
}

/// Pixels per metre, rounded; clamped to what the field holds.
Int32 ToPixelsPerMetre(Float64 dpi)
{
	return TruncateToInt32(dpi * 11808.0 / 300.0 + 0.5);
}

Result<void> WriteInfoFields(BinaryWriter& writer, const BmpFileShape& shape, const ExportRun& run)
{
	TORVI_TRY(writer.WriteUInt32(shape._headerSize));
	TORVI_TRY(writer.WriteInt32(static_cast<Int32>(shape._width)));
	TORVI_TRY(writer.WriteInt32(static_cast<Int32>(shape._height)));
	TORVI_TRY(writer.WriteUInt16(1)); // planes
	TORVI_TRY(writer.WriteUInt16(static_cast<UInt16>(shape._format->GetBitsPerPixel())));
	TORVI_TRY(writer.WriteUInt32(shape.HasAlpha() ? BMP_COMPRESSION_MASKS : BMP_COMPRESSION_NONE));
	TORVI_TRY(writer.WriteUInt32(static_cast<UInt32>(shape.GetImageSize())));
	TORVI_TRY(writer.WriteInt32(ToPixelsPerMetre(run.GetDpi())));
	TORVI_TRY(writer.WriteInt32(ToPixelsPerMetre(run.GetAspectRatio() * run.GetDpi())));
	return writer.WriteZeros(8); // colours used and important
}

Result<void> WriteMasksAndColorSpace(BinaryWriter& writer, const BmpFileShape& shape)
{
	constexpr Int ENDPOINTS_AND_GAMMA = 36 + 12;
	for (const UInt32 mask : {0xFF0000u, 0xFF00u, 0xFFu, 0xFF000000u})
		TORVI_TRY(writer.WriteUInt32(shape.HasAlpha() ? mask : 0));
	TORVI_TRY(writer.WriteUInt32(shape._headerSize == BMP_V5HEADER_SIZE ? BMP_COLORSPACE_EMBEDDED : BMP_COLORSPACE_SRGB));
	return writer.WriteZeros(ENDPOINTS_AND_GAMMA);
}

/// The profile follows the header at once.
Result<void> WriteProfileFields(BinaryWriter& writer, const BmpFileShape& shape)
{
	TORVI_TRY(writer.WriteUInt32(BMP_INTENT_IMAGES));
	TORVI_TRY(writer.WriteUInt32(BMP_V5HEADER_SIZE));
	TORVI_TRY(writer.WriteUInt32(static_cast<UInt32>(shape._profile.size())));
	return writer.WriteUInt32(0);
}

Result<void> WriteInfoHeader(BinaryWriter& writer, const BmpFileShape& shape, const ExportRun& run)
{
	TORVI_TRY(WriteInfoFields(writer, shape, run));
	if (shape._headerSize >= BMP_V4HEADER_SIZE)
		TORVI_TRY(WriteMasksAndColorSpace(writer, shape));
	if (shape._headerSize >= BMP_V5HEADER_SIZE)
		TORVI_TRY(WriteProfileFields(writer, shape));
	return writer.WriteBlock(shape._profile);
}

/// The last row comes first.
Result<void> WriteRows(BinaryWriter& writer, const BmpFileShape& shape, ExportRun& run, const ColorProfile& profile)
{
	const ExportLines lines = TORVI_TRY(ExportLines::Open(run, shape._format, profile));
	Array<Byte> bytes(static_cast<std::size_t>(shape._bytesPerRow));
	for (Int row = 0; row < shape._height; ++row)
	{
		TORVI_TRY(run.ReportProgress(row, shape._height));
		TORVI_TRY(lines.GetLine(shape._height - 1 - row, bytes));
		TORVI_TRY(writer.WriteBlock(bytes));
	}
	return OK;
}

Result<void> BmpExportImpl::PrepareFile(const ExportRun& run)
{
	const Bool keepsAlpha = run.HasAlpha() && _headerSize != BMP_V3HEADER_SIZE;
	const PixelFormat format = GetPixelFormat(keepsAlpha ? ids::PIXELFORMAT_BGRA_U8 : ids::PIXELFORMAT_BGR_U8);
	TORVI_CHECK(format, IllegalStateError("The module is not started."));
	_shape = {_headerSize, format, run.GetWidth(), run.GetHeight(), format->GetBytesPerLine(run.GetWidth(), 4), {}};
	const Bool isEmbedding = _headerSize == BMP_V5HEADER_SIZE;
	_profile = isEmbedding ? run.GetColorProfile(format) : TORVI_TRY(run.GetColorProfileWithoutEmbedding());
	if (isEmbedding)
		_shape._profile = TORVI_TRY(_profile.WriteProfileToMemory());
	const Int fileSize = _shape.GetFileSize();
	TORVI_CHECK(fileSize <= UINT32_MAX, IllegalArgumentError("A BMP file cannot hold @ bytes.", fileSize));
	return OK;
}

Result<void> BmpExportImpl::WriteFile(BinaryWriter& writer, ExportRun& run)
{
	TORVI_TRY(WriteFileHeader(writer, _shape));
	TORVI_TRY(WriteInfoHeader(writer, _shape, run));
	return WriteRows(writer, _shape, run, _profile);
}

} // namespace

Result<ObjectRef> CreateBmpExporter()
{
	return CreateComponent<BmpExportImpl>();
}

} // namespace torvi
