// PNG files (ISO/IEC 15948): all colour types and depths, transparent colours, interlaced or not, with colour profile and resolution. Read
// here through libpng, written in media_io_png_export.cpp. Samples stay as they are in the file: nothing of gamma, background or
// significant bits is applied, and the frames of animations behind the first picture are not read.
#include "media_io/media_io_png.h"

#include "host/job.h"
#include "media_io/module_info.h"
#include "media_io/png_library.h"
#include "mediasession/image_palette.h"
#include "torvi/ids_formats.h"
#include "torvi/ids_keys.h"

namespace torvi
{

namespace
{

/// The format in which rows come from the library, and the one of the stream. They differ where one colour is the transparent one.
struct PngFormats
{
	PixelFormat _file;
	PixelFormat _target;

	Bool AreEqual() const { return _file == _target; }
};

/// Entry i of a grey picture of low depth. The transparent one is compared as it stands in the file, also behind the range.
Result<PixelFormat> MakeGreyPalette(const PngHeader& header, const PixelFormat& indexed)
{
	const Int count = Int(1) << header._depth;
	Array<Byte> entries;
	for (Int i = 0; i < count; ++i)
	{
		entries.push_back(static_cast<Byte>(i * 255 / (count - 1)));
		if (header._hasTransparency)
			entries.push_back(header._transparentColor.gray == i ? 0 : 255);
	}
	const PixelFormat entryFormat = GetPixelFormat(header._hasTransparency ? ids::PIXELFORMAT_GREYA_U8 : ids::PIXELFORMAT_GREY_U8);
	return MakePaletteFormat(indexed, entryFormat, count, entries, header._hasTransparency ? 2 : 1);
}

Result<PixelFormat> MakeColorPalette(const PngHeader& header, const PixelFormat& indexed)
{
	Array<Byte> entries;
	for (std::size_t i = 0; i < header._palette.size(); ++i)
	{
		const png_color& color = header._palette[i];
		entries.insert(entries.end(), {color.red, color.green, color.blue});
		if (header._hasTransparency)
			entries.push_back(i < header._paletteAlpha.size() ? header._paletteAlpha[i] : Byte(255));
	}
	const PixelFormat entryFormat = GetPixelFormat(header._hasTransparency ? ids::PIXELFORMAT_RGBA_U8 : ids::PIXELFORMAT_RGB_U8);
	return MakePaletteFormat(indexed, entryFormat, CountOf(header._palette), entries, header._hasTransparency ? 4 : 3);
}

Result<PngFormats> ChooseFormats(const PngHeader& header)
{
	struct Row
	{
		int _colorType;
		int _depth;
		Id _file;
		Id _withTransparency = {}; ///< empty: the same
		Result<PixelFormat> (*_makePalette)(const PngHeader& header, const PixelFormat& indexed) = nullptr;
	};
	static constexpr Row ROWS[] = {
		{PNG_COLOR_TYPE_GRAY, 1, ids::PIXELFORMAT_INDEXED_U1BIT, {}, &MakeGreyPalette},
		{PNG_COLOR_TYPE_GRAY, 2, ids::PIXELFORMAT_INDEXED_U2BIT, {}, &MakeGreyPalette},
		{PNG_COLOR_TYPE_GRAY, 4, ids::PIXELFORMAT_INDEXED_U4BIT, {}, &MakeGreyPalette},
		{PNG_COLOR_TYPE_GRAY, 8, ids::PIXELFORMAT_GREY_U8, ids::PIXELFORMAT_GREYA_U8},
		{PNG_COLOR_TYPE_GRAY, 16, ids::PIXELFORMAT_GREY_U16, ids::PIXELFORMAT_GREYA_U16},
		{PNG_COLOR_TYPE_RGB, 8, ids::PIXELFORMAT_RGB_U8, ids::PIXELFORMAT_RGBA_U8},
		{PNG_COLOR_TYPE_RGB, 16, ids::PIXELFORMAT_RGB_U16, ids::PIXELFORMAT_RGBA_U16},
		{PNG_COLOR_TYPE_PALETTE, 1, ids::PIXELFORMAT_INDEXED_U1BIT, {}, &MakeColorPalette},
		{PNG_COLOR_TYPE_PALETTE, 2, ids::PIXELFORMAT_INDEXED_U2BIT, {}, &MakeColorPalette},
		{PNG_COLOR_TYPE_PALETTE, 4, ids::PIXELFORMAT_INDEXED_U4BIT, {}, &MakeColorPalette},
		{PNG_COLOR_TYPE_PALETTE, 8, ids::PIXELFORMAT_INDEXED_U8BIT, {}, &MakeColorPalette},
		{PNG_COLOR_TYPE_GRAY_ALPHA, 8, ids::PIXELFORMAT_GREYA_U8},
		{PNG_COLOR_TYPE_GRAY_ALPHA, 16, ids::PIXELFORMAT_GREYA_U16},
		{PNG_COLOR_TYPE_RGB_ALPHA, 8, ids::PIXELFORMAT_RGBA_U8},
		{PNG_COLOR_TYPE_RGB_ALPHA, 16, ids::PIXELFORMAT_RGBA_U16},
	};
	for (const Row& row : ROWS)
	{
		if (row._colorType != header._colorType || row._depth != header._depth)
			continue;
		const PixelFormat format = GetPixelFormat(row._file);
		TORVI_CHECK(format, IllegalStateError("The module is not started."));
		if (row._makePalette != nullptr)
		{
			const PixelFormat indexed = TORVI_TRY(row._makePalette(header, format));
			return PngFormats{indexed, indexed};
		}
		const Bool gainsAlpha = header._hasTransparency && !row._withTransparency.IsEmpty();
		return PngFormats{format, gainsAlpha ? GetPixelFormat(row._withTransparency) : format};
	}
	return MediaSessionWrongTypeError("Unsupported PNG color type: @ and bitdepth: @.", header._colorType, header._depth);
}

/// Sets the alpha of the pixels that have the transparent colour to 0. Alpha is the last sample of a pixel. Colours are numbers of 16 bits,
/// so that one outside the range of the samples matches none.
template <class Sample, std::size_t COLORS>
void ClearMatches(Byte* pixels, Int count, const std::array<UInt16, COLORS>& color)
{
	auto* pixel = reinterpret_cast<Sample*>(pixels);
	for (Int i = 0; i < count; ++i, pixel += COLORS + 1)
	{
		if (std::equal(color.begin(), color.end(), pixel))
			pixel[COLORS] = 0;
	}
}

template <class Sample>
void ClearTransparentPixels(Byte* pixels, Int count, const PngHeader& header)
{
	const png_color_16& color = header._transparentColor;
	if (header._colorType == PNG_COLOR_TYPE_GRAY)
		ClearMatches<Sample, 1>(pixels, count, {color.gray});
	else
		ClearMatches<Sample, 3>(pixels, count, {color.red, color.green, color.blue});
}

/// Hands rows of the file to the stream.
class PngRowSink
{
public:
	static Result<PngRowSink> Open(PixelSink* sink, const PngHeader& header, const PngFormats& formats)
	{
		PngRowSink rows(sink, header, formats);
		if (!formats.AreEqual())
			TORVI_TRY(rows.PrepareExpansion());
		return rows;
	}

	Result<void> SetRow(Int y, const Byte* row)
	{
		const BITS bitsPerPixel = _formats._target->GetBitsPerPixel();
		if (_formats.AreEqual())
			return _sink->SetLine(y, row, bitsPerPixel);
		Byte* pixels = _expanded.data();
		TORVI_TRY(_expand(PixelBuffer(pixels, bitsPerPixel), _header._width, PixelBuffer(row, _formats._file->GetBitsPerPixel()), 0));
		if (_header._depth == 16)
			ClearTransparentPixels<UInt16>(pixels, _header._width, _header);
		else
			ClearTransparentPixels<Byte>(pixels, _header._width, _header);
		return _sink->SetLine(y, pixels, bitsPerPixel);
	}

private:
	PngRowSink(PixelSink* sink, const PngHeader& header, const PngFormats& formats) : _sink(sink), _header(header), _formats(formats) {}

	Result<void> PrepareExpansion()
	{
		Bool isColorConverted = false;
		_expand = TORVI_TRY(_formats._target->GetConvertPixelFunc(_formats._file, _formats._file->GetChannelOffsets(),
																  _formats._target->GetChannelOffsets(), nullptr, nullptr, false,
																  isColorConverted));
		_expanded.resize(static_cast<std::size_t>(_formats._target->GetBytesPerLine(_header._width, 1)));
		return OK;
	}

	PixelSink* _sink;
	const PngHeader& _header;
	const PngFormats& _formats;
	ConvertPixelFunc _expand; ///< from the file's format to the stream's
	Array<Byte> _expanded;
};

constexpr ImporterTraits PNG_IMPORTER = {._byteOrder = ByteOrder::BIGENDIAN, ._workName = "PNG image"};

class PngImportImpl final : public ImageImportBase
{
public:
	PngImportImpl() : ImageImportBase(PNG_IMPORTER) {}
	Result<void> Close(Block<const MediaConverterRef> inputs) override;

private:
	void ResetState() override;
	Result<void> DescribeStreams(BinaryReader& reader, StreamTreeBuilder& streams) override;
	Result<void> ReadStreams(BinaryReader& reader, ImportRun& run) override;

	Result<void> DescribeResolution(StreamTreeBuilder& streams) const;
	Result<void> ReadPicture(ImportRun& run);
	Result<void> ReadRows(ImportRun& run, PngRowSink& sink, Int bytesPerRow);
	Result<void> ReadInterlacedRows(ImportRun& run, PngRowSink& sink, Int bytesPerRow);

	PngReader _png;
	PngHeader _header;
	PngFormats _formats;
	StreamHandle _image = -1;
};

void PngImportImpl::ResetState()
{
	_header = {};
	_formats = {};
	_image = -1;
	_png.Close();
}

/// The library lets go of the stream before the stream is closed.
Result<void> PngImportImpl::Close(Block<const MediaConverterRef> inputs)
{
	ResetState();
	return ImageImportBase::Close(inputs);
}

Result<void> PngImportImpl::DescribeStreams(BinaryReader& reader, StreamTreeBuilder& streams)
{
	TORVI_TRY(_png.Open(reader));
	_header = TORVI_TRY(_png.ReadHeader());
	_formats = TORVI_TRY(ChooseFormats(_header));
	ColorProfile profile;
	if (!_header._colorProfile.empty())
		profile = TORVI_TRY(ColorProfile::OpenProfileFromMemory(_header._colorProfile));
	_image = TORVI_TRY(streams.AddImage({
		._pixelFormat = _formats._target,
		._width = _header._width,
		._height = _header._height,
		._subImageIndex = 0,
		._colorProfile = profile,
		._streamClass = ids::CLASS_MEDIASTREAMIMAGEDATAIMPORTPNG,
	}));
	return DescribeResolution(streams);
}

Result<void> PngImportImpl::DescribeResolution(StreamTreeBuilder& streams) const
{
	const Float64 horizontal = _header._horizontalPixelsPerInch;
	const Float64 vertical = _header._verticalPixelsPerInch;
	if (horizontal == 0.0)
		return OK;
	TORVI_TRY(streams.Set<Float64>(_image, ids::MEDIAFORMAT_DPI, horizontal));
	return vertical != 0.0 ? streams.Set<Float64>(_image, ids::MEDIAFORMAT_ASPECTRATIO, vertical / horizontal) : Result<void>(OK);
}

/// Whether the picture can come out of what is left of the file is asked before anybody makes room for it.
Result<void> PngImportImpl::ReadStreams(BinaryReader& reader, ImportRun& run)
{
	const std::optional<Int> pictureBytes = ImageBytes(_header._width, _header._height, _formats._file->GetBitsPerPixel());
	TORVI_CHECK(pictureBytes && CanHoldPicture(*pictureBytes, reader.GetRemaining(), CompressionBound::DEFLATE),
				MediaSessionWrongTypeError("PNG Error: @", "Read Error!"));
	Result<void> result = ReadPicture(run);
	_png.FreeRows();
	return result;
}

Result<void> PngImportImpl::ReadPicture(ImportRun& run)
{
	PngRowSink sink = TORVI_TRY(PngRowSink::Open(TORVI_TRY(run.Begin(_image)), _header, _formats));
	const int passes = TORVI_TRY(_png.SetInterlaceHandling());
	const Int bytesPerRow = TORVI_TRY(_png.GetBytesPerRow());
	TORVI_TRY(passes == 1 ? ReadRows(run, sink, bytesPerRow) : ReadInterlacedRows(run, sink, bytesPerRow));
	_png.EndRows();
	return run.Finish(_image);
}

Result<void> CheckJob()
{
	TORVI_CHECK(!IsCurrentJobCancelled(), OperationCancelledError());
	return OK;
}

Result<void> PngImportImpl::ReadRows(ImportRun& run, PngRowSink& sink, Int bytesPerRow)
{
	TORVI_TRY(_png.AddRows(1, bytesPerRow));
	for (Int row = 0; row < _header._height; ++row)
	{
		TORVI_TRY(run.ReportProgress(_image, row, _header._height));
		TORVI_TRY(CheckJob());
		TORVI_TRY(_png.ReadRow());
		TORVI_TRY(sink.SetRow(row, _png.GetRows().front()));
	}
	return OK;
}

/// Each pass adds pixels to rows all over the picture, so that no row is whole before the last one.
Result<void> PngImportImpl::ReadInterlacedRows(ImportRun& run, PngRowSink& sink, Int bytesPerRow)
{
	constexpr Int BLOCK_BYTES = Int(1) << 20;
	const Int step = std::max<Int>(1, BLOCK_BYTES / bytesPerRow);
	for (Int row = 0; row < _header._height; row += step)
	{
		TORVI_TRY(CheckJob());
		TORVI_TRY(_png.AddRows(std::min(step, _header._height - row), bytesPerRow));
	}
	TORVI_TRY(_png.ReadImage());
	for (Int row = 0; row < _header._height; ++row)
	{
		TORVI_TRY(run.ReportProgress(_image, row, _header._height));
		TORVI_TRY(CheckJob());
		TORVI_TRY(sink.SetRow(row, _png.GetRows()[static_cast<std::size_t>(row)]));
	}
	return OK;
}

} // namespace

Result<Bool> DetectPng(const InputStreamRef& stream)
{
	Byte signature[8] = {};
	return TORVI_TRY(stream->ReadEOS(signature)) == CountOf(Block<Byte>(signature)) && png_sig_cmp(signature, 0, sizeof(signature)) == 0;
}

Result<ObjectRef> CreatePngImporter()
{
	return CreateComponent<PngImportImpl>();
}

Result<void> RegisterPngStreamsAndLibrary(Module& module)
{
	TORVI_TRY(module.AddClass(ids::CLASS_MEDIASTREAMIMAGEDATAIMPORTPNG, ids::CLASS_MEDIASTREAMIMAGEDATAIMPORT, {}));
	return RegisterModuleInfo(module, ids::MODULEINFO_LIBPNG, "libpng", "PNG image i/o library", "1.6.42");
}

} // namespace torvi
