// Writing of PNG files through libpng: grey or RGB with 8 or 16 bits, with alpha if the picture has it, with colour profile and resolution,
// interlaced on demand. The reader stands in media_io_png.cpp.
#include "media_io/media_io_png.h"
#include "media_io/png_library.h"
#include "mediasession/image_export.h"
#include "torvi/ids_keys.h"

namespace torvi
{

namespace
{

constexpr DataType PNG_BITDEPTHS[] = {GetDataType<UChar>(), GetDataType<UInt16>()};
constexpr ExporterTraits PNG_EXPORTER = {
	._fileFormat = ids::FILEFORMAT_PNG,
	._byteOrder = ByteOrder::BIGENDIAN,
	._workName = "PNG image",
	._maximalImageResolution = INT32_MAX,
	._maximalAlphaChannels = 1,
	._bitDepthsImage = PNG_BITDEPTHS,
	._embedColorProfile = true,
};

class PngExportImpl final : public ImageExportBase
{
public:
	PngExportImpl() : ImageExportBase(PNG_EXPORTER) {}
	Result<void> Close(Block<const MediaConverterRef> inputs) override;

private:
	Result<void> PrepareFile(const ExportRun& run) override;
	Result<void> WriteFile(BinaryWriter& writer, ExportRun& run) override;

	Result<void> ChooseShape(const ExportRun& run);
	Result<void> PrepareHeader(const ExportRun& run);
	Result<void> SetColorProfile();
	Result<void> SetResolution(const ExportRun& run);
	Result<void> WriteRows(ExportRun& run, int passes);

	PngWriter _png;
	PngShape _shape = {};
	PixelFormat _format;   ///< of the rows in the file
	ColorProfile _profile; ///< of the pixels in the file
};

Bool IsGrey(const PixelFormat& format)
{
	const ColorSpace colorSpace = format->GetColorSpace();
	return colorSpace && colorSpace == FindDeclared<ColorSpaceInterface>(ids::COLORSPACE_GREY);
}

/// Pictures with more than 8 bits in a channel are written with 16, also those of floating-point numbers.
Result<void> PngExportImpl::ChooseShape(const ExportRun& run)
{
	constexpr BITS MOST_BITS_FOR_8 = 8;
	const PixelFormat& source = run.GetPixelFormat();
	const Bool isGrey = IsGrey(source);
	const Bool isDeep = source->GetBitsPerPixel() / std::max<Int>(source->GetChannelCount(), 1) > MOST_BITS_FOR_8;
	const DataType type = isDeep ? GetDataType<UInt16>() : GetDataType<UChar>();
	Array<ImageChannel> channels;
	const auto add = [&](CHANNELTYPE channel) { channels.push_back(GetImageChannel(channel, type)); };
	if (isGrey)
		add(CHANNELTYPE::GREY);
	else
	{
		for (const CHANNELTYPE channel : {CHANNELTYPE::RED, CHANNELTYPE::GREEN, CHANNELTYPE::BLUE})
			add(channel);
	}
	if (run.HasAlpha())
		add(CHANNELTYPE::ALPHA);
	_format = TORVI_TRY(FindOrCreatePixelFormat(channels));
	const int alphaMask = run.HasAlpha() ? PNG_COLOR_MASK_ALPHA : 0;
	const Bool isInterlaced = TORVI_TRY(GetExportSetting<Bool>(run.GetSettings(), ids::CLASS_PNGEXPORT, ids::PNGEXPORT_INTERLACED, false));
	_shape = {
		._width = run.GetWidth(),
		._height = run.GetHeight(),
		._depth = isDeep ? 16 : 8,
		._colorType = (isGrey ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB) | alphaMask,
		._isInterlaced = isInterlaced,
	};
	return OK;
}

Result<void> PngExportImpl::SetColorProfile()
{
	if (!_profile.HasProfile())
		return OK;
	const Array<Byte> bytes = TORVI_TRY(_profile.WriteProfileToMemory());
	const String name = MakePngProfileName(_profile.GetInfo(ColorProfileInfo::DESCRIPTION));
	return _png.SetColorProfile(name.c_str(), bytes);
}

png_uint_32 ToPixelsPerMetre(Float64 dpi)
{
	return static_cast<png_uint_32>(std::max<Int32>(TruncateToInt32(dpi * 100.0 / 2.54), 0));
}

Result<void> PngExportImpl::SetResolution(const ExportRun& run)
{
	return _png.SetPixelsPerMetre(ToPixelsPerMetre(run.GetDpi()), ToPixelsPerMetre(run.GetAspectRatio() * run.GetDpi()));
}

/// A profile that the library refuses is none that readers would take: the usual one stands in for it.
Result<void> PngExportImpl::PrepareFile(const ExportRun& run)
{
	TORVI_TRY(ChooseShape(run));
	_profile = run.GetNonlinearColorProfile(_format);
	Result<void> prepared = PrepareHeader(run);
	const ColorProfile usual = _format->GetColorSpace()->GetDefaultNonlinearColorProfile();
	const Bool isRefused = !prepared.IsOk() && prepared.GetError().GetId() == errorids::MEDIASESSIONWRONGTYPE;
	if (!isRefused || _profile == usual)
		return prepared;
	_profile = usual;
	return PrepareHeader(run);
}

Result<void> PngExportImpl::PrepareHeader(const ExportRun& run)
{
	TORVI_TRY(_png.Open());
	TORVI_TRY(_png.SetShape(_shape));
	TORVI_TRY(SetColorProfile());
	return SetResolution(run);
}

Result<void> PngExportImpl::WriteFile(BinaryWriter& writer, ExportRun& run)
{
	TORVI_TRY(_png.WriteHeader(writer));
	const int passes = _shape._isInterlaced ? TORVI_TRY(_png.SetInterlaceHandling()) : 1;
	TORVI_TRY(WriteRows(run, passes));
	TORVI_TRY(_png.WriteEnd());
	_png.Close();
	return OK;
}

/// Every pass takes all rows, and the library picks its pixels.
Result<void> PngExportImpl::WriteRows(ExportRun& run, int passes)
{
	const ExportLines lines = TORVI_TRY(ExportLines::Open(run, _format, _profile));
	Array<Byte> bytes(static_cast<std::size_t>(_format->GetBytesPerLine(_shape._width, 1)));
	for (int pass = 0; pass < passes; ++pass)
	{
		for (Int row = 0; row < _shape._height; ++row)
		{
			TORVI_TRY(run.ReportProgress(pass * _shape._height + row, passes * _shape._height));
			TORVI_TRY(lines.GetLine(row, bytes));
			TORVI_TRY(_png.WriteRow(bytes.data()));
		}
	}
	return OK;
}

Result<void> PngExportImpl::Close(Block<const MediaConverterRef> inputs)
{
	_png.Close();
	return ImageExportBase::Close(inputs);
}

} // namespace

Result<ObjectRef> CreatePngExporter()
{
	return CreateComponent<PngExportImpl>();
}

} // namespace torvi
