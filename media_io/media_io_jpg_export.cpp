// Writing of JPEG files: grey or RGB of 8 bits, with the resolution and the ICC profile. Alpha is left out. The reader stands in
// media_io_jpg.cpp.
#include "media_io/media_io_jpg.h"

#include "media_io/jpg_encoder.h"
#include "mediasession/image_export.h"
#include "torvi/ids_formats.h"

#include <algorithm>
#include <array>

namespace torvi
{

namespace
{

constexpr DataType JPG_BITDEPTHS[] = {GetDataType<UChar>()};
constexpr ExporterTraits JPG_EXPORTER = {
	._fileFormat = ids::FILEFORMAT_JPG,
	._byteOrder = ByteOrder::BIGENDIAN,
	._workName = "JPG image",
	._maximalImageResolution = 65000,
	._maximalAlphaChannels = 0,
	._bitDepthsImage = JPG_BITDEPTHS,
	._embedColorProfile = true,
};

class JpgExportImpl final : public ImageExportBase
{
public:
	JpgExportImpl() : ImageExportBase(JPG_EXPORTER) {}

private:
	Result<void> PrepareFile(const ExportRun& run) override;
	Result<void> WriteFile(BinaryWriter& writer, ExportRun& run) override;

	PixelFormat _format; ///< of the rows in the file
	JpgEncoderSettings _settings = {};
	ColorProfile _profile; ///< of the pixels in the file
	Array<Byte> _embedded; ///< the profile's bytes; empty if readers assume the right one
};

/// 0 to 100.
Result<int> ReadQuality(const DataDictionary& settings)
{
	const Float64 quality = TORVI_TRY(GetExportSetting<Float64>(settings, ids::EXPORT_DESCRIPTION, ids::EXPORT_QUALITY, 0.0));
	return TruncateToInt32(std::clamp(quality, 0.0, 1.0) * 100.0 + 0.5);
}

/// Whole dots per inch, 0 where unknown.
UInt16 ReadDpi(const ExportRun& run)
{
	const Float64 dpi = run.GetProperties()->GetOr<Float64>(ids::MEDIAFORMAT_DPI, 0.0);
	return static_cast<UInt16>(std::clamp(TruncateToInt32(dpi), 0, 65535));
}

/// A profile that does not fit the pixels of the file is not embedded; the pixels are then those that readers expect of a file without one.
Result<void> JpgExportImpl::PrepareFile(const ExportRun& run)
{
	const Bool isGrey = run.GetPixelFormat()->GetColorSpace() == FindDeclared<ColorSpaceInterface>(ids::COLORSPACE_GREY);
	_format = GetPixelFormat(isGrey ? ids::PIXELFORMAT_GREY_U8 : ids::PIXELFORMAT_RGB_U8);
	TORVI_CHECK(_format, IllegalStateError("The module is not started."));
	const int quality = TORVI_TRY(ReadQuality(run.GetSettings()));
	const Bool isBaseline = TORVI_TRY(GetExportSetting<Bool>(run.GetSettings(), ids::CLASS_JPGEXPORT, ids::JPGEXPORT_BASELINE, false));
	_settings = {
		._width = run.GetWidth(),
		._height = run.GetHeight(),
		._isGrey = isGrey,
		._dpi = ReadDpi(run),
		._quality = quality,
		._isBaseline = isBaseline,
	};
	_profile = run.GetNonlinearColorProfile(_format);
	const Bool isOwn = _profile == run.GetProperties()->GetOr<ColorProfile>(ids::MEDIAFORMAT_COLORPROFILE, {});
	_embedded = isOwn && _profile.HasProfile() ? TORVI_TRY(_profile.WriteProfileToMemory()) : Array<Byte>();
	const Int size = CountOf(_embedded);
	TORVI_CHECK(size <= JpgEncoder::LARGEST_PROFILE, IllegalArgumentError("A JPEG file cannot hold a colour profile of @ bytes.", size));
	return OK;
}

Result<void> JpgExportImpl::WriteFile(BinaryWriter& writer, ExportRun& run)
{
	constexpr Int BATCH = 16;
	const ExportLines lines = TORVI_TRY(ExportLines::Open(run, _format, _profile));
	JpgEncoder encoder(writer);
	TORVI_TRY(encoder.Start(_settings, _embedded));
	const auto bytesPerRow = static_cast<std::size_t>(_format->GetBytesPerLine(_settings._width, 1));
	Array<Byte> bytes(bytesPerRow * BATCH);
	std::array<Byte*, BATCH> rows;
	for (std::size_t i = 0; i < rows.size(); ++i)
		rows[i] = bytes.data() + i * bytesPerRow;
	for (Int row = 0; row < _settings._height; row += BATCH)
	{
		TORVI_TRY(run.ReportProgress(row, _settings._height));
		const auto count = static_cast<std::size_t>(std::min(BATCH, _settings._height - row));
		for (std::size_t i = 0; i < count; ++i)
			TORVI_TRY(lines.GetLine(row + static_cast<Int>(i), {rows[i], bytesPerRow}));
		TORVI_TRY(encoder.WriteRows(Block<Byte*>(rows).first(count)));
	}
	return encoder.Finish();
}

} // namespace

Result<ObjectRef> CreateJpgExporter()
{
	return CreateComponent<JpgExportImpl>();
}

} // namespace torvi
