// Windows bitmap files: headers of 12, 40, 56, 108 and 124 bytes, palettes of 1, 2, 4 and 8 bits, 16-bit packed pixels, 24 bits, 32 bits
// with or without channel masks, and both run-length schemes. Read here, written in media_io_bmp_export.cpp. Little-endian throughout.
#include "media_io/media_io_bmp.h"

#include "media_io/media_io_bmp_rle.h"
#include "mediasession/image_palette.h"
#include "torvi/ids_formats.h"
#include "torvi/ids_keys.h"

#include <array>

namespace torvi
{

namespace
{

struct BmpHeader
{
	UInt32 _fileSize = 0;
	UInt32 _pixelOffset = 0;
	UInt32 _headerSize = 0;
	Int _width = 0;
	Int _height = 0; ///< above 0: the last row comes first
	UInt16 _planes = 0;
	UInt16 _bitCount = 0;
	UInt32 _compression = 0;
	UInt32 _imageSize = 0;
	Int32 _horizontalResolution = 0; ///< pixels per metre
	Int32 _verticalResolution = 0;
	UInt32 _colorsUsed = 0;
	std::array<UInt32, 4> _masks = {}; ///< red, green, blue, alpha
	UInt32 _colorSpace = 0;
	UInt32 _profileOffset = 0; ///< from the info header
	UInt32 _profileSize = 0;

	Int GetRowCount() const noexcept { return _height < 0 ? -_height : _height; }
	Int GetBytesPerRow() const noexcept { return (_bitCount * _width + 31) / 32 * 4; }
	Bool IsRunLength() const noexcept { return _compression == BMP_COMPRESSION_RLE8 || _compression == BMP_COMPRESSION_RLE4; }
	Bool HasPalette() const noexcept { return _bitCount < 16; }
};

/// How the pixels of a file lie in its rows.
struct BmpPixelLayout
{
	PixelFormat _format;
	Int _leadingBytes = 0; ///< of a pixel, before those of the format
	Int _trailingBytes = 0;
	Int _alphaByte = -1; ///< of a pixel; -1 without an alpha stream

	BITS GetPixelDistance() const { return _format->GetBitsPerPixel() + 8 * (_leadingBytes + _trailingBytes); }
};

Result<void> ReadFileHeader(BinaryReader& reader, BmpHeader& header)
{
	TORVI_CHECK(TORVI_TRY(reader.ReadUInt16()) == BMP_MAGIC, MediaSessionWrongTypeError());
	header._fileSize = TORVI_TRY(reader.ReadUInt32());
	TORVI_TRY(reader.Skip(4));
	header._pixelOffset = TORVI_TRY(reader.ReadUInt32());
	header._headerSize = TORVI_TRY(reader.ReadUInt32());
	return OK;
}

Result<void> ReadCoreHeader(BinaryReader& reader, BmpHeader& header)
{
	header._width = TORVI_TRY(reader.ReadUInt16());
	header._height = TORVI_TRY(reader.ReadUInt16());
	header._planes = TORVI_TRY(reader.ReadUInt16());
	header._bitCount = TORVI_TRY(reader.ReadUInt16());
	TORVI_CHECK(header._planes == 1, MediaSessionWrongTypeError());
	return OK;
}

Result<void> ReadInfoFields(BinaryReader& reader, BmpHeader& header)
{
	header._width = TORVI_TRY(reader.ReadInt32());
	header._height = TORVI_TRY(reader.ReadInt32());
	header._planes = TORVI_TRY(reader.ReadUInt16());
	header._bitCount = TORVI_TRY(reader.ReadUInt16());
	header._compression = TORVI_TRY(reader.ReadUInt32());
	header._imageSize = TORVI_TRY(reader.ReadUInt32());
	header._horizontalResolution = TORVI_TRY(reader.ReadInt32());
	header._verticalResolution = TORVI_TRY(reader.ReadInt32());
	header._colorsUsed = TORVI_TRY(reader.ReadUInt32());
	return reader.Skip(4); // important colours
}

Result<void> ReadMasks(BinaryReader& reader, BmpHeader& header, std::size_t count)
{
	for (std::size_t i = 0; i < count; ++i)
		header._masks[i] = TORVI_TRY(reader.ReadUInt32());
	return OK;
}

Result<void> ReadColorSpace(BinaryReader& reader, BmpHeader& header)
{
	constexpr Int ENDPOINTS_AND_GAMMA = 36 + 12;
	header._colorSpace = TORVI_TRY(reader.ReadUInt32());
	TORVI_TRY(reader.Skip(ENDPOINTS_AND_GAMMA));
	if (header._headerSize < BMP_V5HEADER_SIZE)
		return OK;
	TORVI_TRY(reader.Skip(4)); // intent
	header._profileOffset = TORVI_TRY(reader.ReadUInt32());
	header._profileSize = TORVI_TRY(reader.ReadUInt32());
	return reader.Skip(4 + static_cast<Int>(header._headerSize - BMP_V5HEADER_SIZE));
}

/// The header's size alone says which fields there are. Sizes in between have the fields of the next smaller layout.
Result<void> ReadInfoHeader(BinaryReader& reader, BmpHeader& header)
{
	const UInt32 size = header._headerSize;
	if (size == BMP_COREHEADER_SIZE)
		return ReadCoreHeader(reader, header);
	if (size < BMP_V3HEADER_SIZE)
		return OK;
	TORVI_TRY(ReadInfoFields(reader, header));
	if (size >= BMP_MASKHEADER_SIZE)
		TORVI_TRY(ReadMasks(reader, header, 4));
	else if (size == BMP_V3HEADER_SIZE && header._compression == BMP_COMPRESSION_MASKS &&
			 (header._bitCount == 16 || header._bitCount == 32))
		TORVI_TRY(ReadMasks(reader, header, 3));
	if (size >= BMP_V4HEADER_SIZE)
		return ReadColorSpace(reader, header);
	return size > BMP_MASKHEADER_SIZE ? reader.Skip(size - BMP_MASKHEADER_SIZE) : Result<void>(OK);
}

Result<void> CheckShape(const BmpHeader& header)
{
	TORVI_CHECK(header._width >= 0, MediaSessionWrongTypeError("Invalid Image width: @.", header._width));
	TORVI_CHECK(header._compression <= BMP_COMPRESSION_MASKS,
				MediaSessionWrongTypeError("unsupported bmp compression (@).", header._compression));
	TORVI_CHECK(header._bitCount <= 32, MediaSessionWrongTypeError());
	for (const int known : {1, 2, 4, 8, 16, 24, 32})
	{
		if (header._bitCount == known)
			return OK;
	}
	return MediaSessionWrongTypeError("Invalid image bit count: @.", header._bitCount);
}

Result<BmpHeader> ReadHeader(BinaryReader& reader)
{
	BmpHeader header;
	TORVI_TRY(ReadFileHeader(reader, header));
	TORVI_TRY(ReadInfoHeader(reader, header));
	TORVI_TRY(CheckShape(header));
	return header;
}

Error PixelTypeError()
{
	return MediaSessionWrongTypeError("unsupported pixeltype");
}

Result<Id> ChoosePackedFormat(const BmpHeader& header)
{
	struct Row
	{
		std::array<UInt32, 4> _masks;
		Id _format;
	};
	static constexpr Row ROWS[] = {
		{{0x7C00, 0x3E0, 0x1F, 0}, ids::PIXELFORMAT_RGB_U555},        {{0xF800, 0x7E0, 0x1F, 0}, ids::PIXELFORMAT_RGB_U565},
		{{0x7C00, 0x3E0, 0x1F, 0x8000}, ids::PIXELFORMAT_ARGB_U1555}, {{0xF00, 0xF0, 0xF, 0}, ids::PIXELFORMAT_RGB_U444},
		{{0xF00, 0xF0, 0xF, 0xF000}, ids::PIXELFORMAT_ARGB_U4444},
	};
	if (header._compression != BMP_COMPRESSION_MASKS)
		return ids::PIXELFORMAT_RGB_U555;
	for (const Row& row : ROWS)
	{
		if (row._masks == header._masks)
			return row._format;
	}
	return PixelTypeError();
}

/// The byte of a pixel that a mask stands for. Bits below the byte are nobody's and do not count.
std::optional<Int> FindMaskByte(UInt32 mask)
{
	if (mask == 0xFF)
		return 0;
	if ((mask & ~0xFFu) == 0xFF00)
		return 1;
	if ((mask & ~0xFFFFu) == 0xFF0000)
		return 2;
	if (mask >= 0xFF000000)
		return 3;
	return std::nullopt;
}

/// Colours stand where their masks say. The alpha byte is left out of the format, as are all bytes in front of and behind the colours.
Result<BmpPixelLayout> MakeMaskedLayout(const BmpHeader& header)
{
	constexpr std::array TYPES = {CHANNELTYPE::RED, CHANNELTYPE::GREEN, CHANNELTYPE::BLUE, CHANNELTYPE::UNUSED};
	const ImageChannel unused = GetImageChannel(CHANNELTYPE::UNUSED, GetDataType<UChar>());
	std::array<ImageChannel, 4> channels; // by byte
	BmpPixelLayout layout;
	for (std::size_t i = 0; i < TYPES.size(); ++i)
	{
		const UInt32 mask = header._masks[i];
		if (mask == 0)
			continue;
		const ImageChannel channel = GetImageChannel(TYPES[i], GetDataType<UChar>());
		TORVI_CHECK(channel, IllegalStateError("The module is not started."));
		const std::optional<Int> byte = FindMaskByte(mask);
		TORVI_CHECK(byte, MediaSessionWrongTypeError("BITMAPV4HEADER unsupported mask value (@{x}) for channel '@'.", mask,
													 channel->GetChannelType()));
		ImageChannel& place = channels[static_cast<std::size_t>(*byte)];
		TORVI_CHECK(!place, MediaSessionWrongTypeError("BITMAPV4HEADER duplicate mask value (@{x}) for channel '@'.", mask,
													   channel->GetChannelType()));
		place = channel;
		if (TYPES[i] == CHANNELTYPE::UNUSED)
			layout._alphaByte = *byte;
	}
	for (ImageChannel& channel : channels)
		channel = channel ? channel : unused;
	Block<const ImageChannel> list = channels;
	for (; !list.empty() && list.front() == unused; list = list.subspan(1))
		++layout._leadingBytes;
	for (; !list.empty() && list.back() == unused; list = list.first(list.size() - 1))
		++layout._trailingBytes;
	TORVI_CHECK(!list.empty(), PixelTypeError());
	layout._format = TORVI_TRY(FindOrCreatePixelFormat(list));
	return layout;
}

Result<BmpPixelLayout> MakeFixedLayout(const Id& format)
{
	BmpPixelLayout layout;
	layout._format = GetPixelFormat(format);
	TORVI_CHECK(layout._format, IllegalStateError("The pixel format @ is not registered.", format));
	return layout;
}

Result<BmpPixelLayout> ChooseLayout(const BmpHeader& header)
{
	switch (header._bitCount)
	{
	case 1:
		return MakeFixedLayout(ids::PIXELFORMAT_INDEXED_U1BIT);
	case 2:
		return MakeFixedLayout(ids::PIXELFORMAT_INDEXED_U2BIT);
	case 4:
		return MakeFixedLayout(ids::PIXELFORMAT_INDEXED_U4BIT);
	case 8:
		return MakeFixedLayout(ids::PIXELFORMAT_INDEXED_U8BIT);
	case 16:
		return MakeFixedLayout(TORVI_TRY(ChoosePackedFormat(header)));
	case 24:
		return MakeFixedLayout(ids::PIXELFORMAT_BGR_U8);
	default:
		break;
	}
	if (header._compression == BMP_COMPRESSION_MASKS)
		return MakeMaskedLayout(header);
	BmpPixelLayout layout = TORVI_TRY(MakeFixedLayout(ids::PIXELFORMAT_BGR_U8));
	layout._trailingBytes = 1;
	layout._alphaByte = 3;
	return layout;
}

/// The embedded profile, or sRGB. The reader stands where it stood.
Result<ColorProfile> ReadColorProfile(BinaryReader& reader, const BmpHeader& header)
{
	if (header._headerSize < BMP_V5HEADER_SIZE || header._colorSpace != BMP_COLORSPACE_EMBEDDED || header._profileSize == 0)
		return GetBuiltInColorProfile(ids::COLORPROFILE_SRGB);
	const Int position = reader.GetPosition();
	TORVI_TRY(reader.Seek(BMP_FILEHEADER_SIZE + static_cast<Int>(header._profileOffset)));
	const Array<Byte> bytes = TORVI_TRY(reader.ReadArray(header._profileSize));
	ColorProfile profile = TORVI_TRY(ColorProfile::OpenProfileFromMemory(bytes));
	TORVI_TRY(reader.Seek(position));
	return profile;
}

/// The indexed format with the file's colours. In entries of four bytes the last one is 255 minus alpha, if any entry uses it.
Result<PixelFormat> ReadPalette(BinaryReader& reader, const BmpHeader& header, const PixelFormat& indexed)
{
	constexpr UInt32 MAXIMAL_COLORS = 65536;
	const Int fullCount = Int(1) << header._bitCount;
	const Bool isGiven = header._colorsUsed != 0 && static_cast<Int32>(header._colorsUsed) <= fullCount;
	TORVI_CHECK(!isGiven || header._colorsUsed <= MAXIMAL_COLORS,
				MediaSessionWrongTypeError("Illegal Color table size: @.", header._colorsUsed));
	const Int count = isGiven ? header._colorsUsed : fullCount;
	const Int entrySize = header._headerSize == BMP_COREHEADER_SIZE ? 3 : 4;
	Array<Byte> entries = TORVI_TRY(reader.ReadArray(count * entrySize));
	Bool hasAlpha = false;
	for (Int i = 3; entrySize == 4 && i < CountOf(entries); i += 4)
	{
		Byte& reserved = entries[static_cast<std::size_t>(i)];
		hasAlpha = hasAlpha || reserved != 0;
		reserved = static_cast<Byte>(255 - reserved);
	}
	const PixelFormat entryFormat = GetPixelFormat(hasAlpha ? ids::PIXELFORMAT_BGRA_U8 : ids::PIXELFORMAT_BGR_U8);
	return MakePaletteFormat(indexed, entryFormat, count, entries, entrySize);
}

constexpr ImporterTraits BMP_IMPORTER = {._byteOrder = ByteOrder::LITTLEENDIAN, ._workName = "BMP image"};

class BmpImportImpl final : public ImageImportBase
{
public:
	BmpImportImpl() : ImageImportBase(BMP_IMPORTER) {}

private:
	void ResetState() override;
	Result<void> DescribeStreams(BinaryReader& reader, StreamTreeBuilder& streams) override;
	Result<void> ReadStreams(BinaryReader& reader, ImportRun& run) override;

	Result<void> DescribeResolution(StreamTreeBuilder& streams) const;
	Result<void> DescribeExportSettings(StreamTreeBuilder& streams) const;
	Result<void> DescribeAlpha(StreamTreeBuilder& streams);
	Result<void> BeginSinks(ImportRun& run);
	Result<void> ReadRows(BinaryReader& reader, ImportRun& run);
	Result<void> ReadRunLengthRows(BinaryReader& reader, ImportRun& run);
	Result<void> SetRow(Int row, const Array<Byte>& bytes);

	BmpHeader _header;
	BmpPixelLayout _layout;
	StreamHandle _image = -1;
	StreamHandle _alpha = -1; ///< -1 without one
	PixelSink* _imageSink = nullptr;
	PixelSink* _alphaSink = nullptr;
};

void BmpImportImpl::ResetState()
{
	_header = {};
	_layout = {};
	_image = _alpha = -1;
	_imageSink = _alphaSink = nullptr;
}

Result<void> BmpImportImpl::DescribeStreams(BinaryReader& reader, StreamTreeBuilder& streams)
{
	_header = TORVI_TRY(ReadHeader(reader));
	_layout = TORVI_TRY(ChooseLayout(_header));
	const ColorProfile profile = TORVI_TRY(ReadColorProfile(reader, _header));
	_image = TORVI_TRY(streams.AddImage({
		._pixelFormat = _layout._format,
		._width = _header._width,
		._height = _header.GetRowCount(),
		._subImageIndex = 0,
		._colorProfile = profile,
	}));
	TORVI_TRY(DescribeResolution(streams));
	TORVI_TRY(DescribeExportSettings(streams));
	return _layout._alphaByte >= 0 ? DescribeAlpha(streams) : Result<void>(OK);
}

Result<void> BmpImportImpl::DescribeResolution(StreamTreeBuilder& streams) const
{
	const Float64 horizontal = std::abs(static_cast<Float64>(_header._horizontalResolution));
	const Float64 vertical = std::abs(static_cast<Float64>(_header._verticalResolution));
	const Float64 aspect = vertical / horizontal;
	const Bool areUnequal = _header._horizontalResolution != _header._verticalResolution;
	if (horizontal != 0.0 && vertical != 0.0 && areUnequal && aspect > 0.1 && aspect < 10.0)
		TORVI_TRY(streams.Set<Float64>(_image, ids::MEDIAFORMAT_ASPECTRATIO, aspect));
	const Float64 dpi = horizontal * 300.0 / 11808.0;
	if (dpi >= 1.0 && dpi < 10000.0)
		TORVI_TRY(streams.Set<Float64>(_image, ids::MEDIAFORMAT_DPI, dpi));
	return OK;
}

/// A file that is saved again keeps its generation.
Result<void> BmpImportImpl::DescribeExportSettings(StreamTreeBuilder& streams) const
{
	if (_header._headerSize < BMP_V3HEADER_SIZE)
		return OK;
	const Id generation = _header._headerSize >= BMP_V5HEADER_SIZE   ? BMP_GENERATION_V5
						  : _header._headerSize >= BMP_V4HEADER_SIZE ? BMP_GENERATION_V4
																	 : BMP_GENERATION_V3;
	DataDictionary settings;
	TORVI_TRY(settings.Set<Id>(ids::BMPEXPORT_BITMAPINFOHEADER, generation));
	return streams.Set<DataDictionary>(_image, ids::MEDIAFORMAT_EXPORTSETTINGS, std::move(settings));
}

Result<void> BmpImportImpl::DescribeAlpha(StreamTreeBuilder& streams)
{
	constexpr UInt32 STRAIGHT = 2;
	const ImportStreamInfo info = {
		._type = MediaStreamType::ALPHA,
		._pixelFormat = GetPixelFormat(ids::PIXELFORMAT_ALPHA_U8),
		._width = _header._width,
		._height = _header.GetRowCount(),
	};
	_alpha = TORVI_TRY(streams.AddChild(_image, info, ImportWork::OFPARENT));
	TORVI_TRY(streams.Set<UInt32>(_alpha, ids::MEDIAFORMAT_ALPHATYPE, STRAIGHT));
	return streams.Set<String>(_alpha, ids::MEDIAFORMAT_ALPHANAME, MakeString("Alpha"));
}

Result<void> BmpImportImpl::ReadStreams(BinaryReader& reader, ImportRun& run)
{
	if (_header.HasPalette())
	{
		const PixelFormat format = TORVI_TRY(ReadPalette(reader, _header, _layout._format));
		TORVI_TRY(TORVI_TRY(run.GetProperties(_image))->Set<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT, format));
	}
	if (_header._width == 0 || _header._height == 0)
		return OK;
	if (_header._pixelOffset != 0)
		TORVI_TRY(reader.Seek(_header._pixelOffset));
	return _header.IsRunLength() ? ReadRunLengthRows(reader, run) : ReadRows(reader, run);
}

Result<void> BmpImportImpl::BeginSinks(ImportRun& run)
{
	_imageSink = TORVI_TRY(run.Begin(_image));
	_alphaSink = _alpha >= 0 ? TORVI_TRY(run.Begin(_alpha)) : nullptr;
	return OK;
}

/// Hands on the row with the number that it has in the file.
Result<void> BmpImportImpl::SetRow(Int row, const Array<Byte>& bytes)
{
	const Int y = _header._height > 0 ? _header._height - 1 - row : row;
	const BITS distance = _layout.GetPixelDistance();
	TORVI_TRY(_imageSink->SetLine(y, bytes.data() + _layout._leadingBytes, distance));
	return _alphaSink != nullptr ? _alphaSink->SetLine(y, bytes.data() + _layout._alphaByte, distance) : Result<void>(OK);
}

Result<void> BmpImportImpl::ReadRows(BinaryReader& reader, ImportRun& run)
{
	const Int rows = _header.GetRowCount();
	Array<Byte> bytes = TORVI_TRY(ReadFirstRow(reader, _header.GetBytesPerRow(), rows));
	TORVI_TRY(BeginSinks(run));
	for (Int row = 0; row < rows; ++row)
	{
		TORVI_TRY(run.ReportProgress(_image, row, rows));
		if (row > 0)
			TORVI_TRY(reader.ReadBlock(bytes));
		TORVI_TRY(SetRow(row, bytes));
	}
	return OK;
}

/// The encoded data, as long as the headers say. Their differences count as signed 32-bit numbers.
Result<Array<Byte>> ReadRunLengthBlock(BinaryReader& reader, const BmpHeader& header)
{
	const auto inFile = static_cast<Int32>(header._fileSize - header._pixelOffset);
	const Int size = std::min(inFile, static_cast<Int32>(header._imageSize));
	return reader.ReadArray(std::max<Int>(size, 0));
}

/// The bit count alone chooses the scheme; files of other depths that claim to be compressed have rows of zeros.
Result<void> BmpImportImpl::ReadRunLengthRows(BinaryReader& reader, ImportRun& run)
{
	const Int rows = _header.GetRowCount();
	const Array<Byte> block = TORVI_TRY(ReadRunLengthBlock(reader, _header));
	const std::optional<Int> pictureBytes = ImageBytes(_header._width, rows, _header._bitCount);
	const Bool isEncoded = _header._bitCount == 4 || _header._bitCount == 8;
	const CompressionBound bound = isEncoded ? CompressionBound::UNBOUNDED : CompressionBound::NONE;
	TORVI_CHECK(pictureBytes && CanHoldPicture(*pictureBytes, CountOf(block), bound),
				MediaSessionWrongTypeError("Illegal RLE compression (cropped data)."));
	BmpRleDecoder decoder(block, _header._bitCount == 8 ? BmpRleScheme::BYTES : BmpRleScheme::NIBBLES);
	TORVI_CHECK(CanHoldPicture(_header.GetBytesPerRow(), CountOf(block), CompressionBound::PACKBITS),
				MediaSessionWrongTypeError("Illegal RLE compression (cropped data)."));
	TORVI_TRY(BeginSinks(run));
	Array<Byte> bytes(static_cast<std::size_t>(_header.GetBytesPerRow()));
	Int row = 0;
	while (row < rows)
	{
		TORVI_TRY(run.ReportProgress(_image, row, rows));
		std::fill(bytes.begin(), bytes.end(), Byte(0));
		row += isEncoded ? TORVI_TRY(decoder.DecodeRow(bytes, row == rows - 1)) : 1;
		if (row <= rows)
			TORVI_TRY(SetRow(row - 1, bytes));
	}
	TORVI_CHECK(row == rows, MediaSessionWrongTypeError("Corrupt RLE compression."));
	return OK;
}

} // namespace

Result<Bool> DetectBmp(const InputStreamRef& stream)
{
	std::array<Byte, 20> bytes;
	if (TORVI_TRY(stream->ReadEOS(bytes)) < CountOf(bytes))
		return false;
	ByteReader reader(bytes);
	if (TORVI_TRY(reader.ReadUInt16()) != BMP_MAGIC)
		return false;
	TORVI_TRY(reader.Take(BMP_FILEHEADER_SIZE - 2));
	const UInt32 headerSize = TORVI_TRY(reader.ReadUInt32());
	for (const UInt32 known : {BMP_COREHEADER_SIZE, BMP_V3HEADER_SIZE, BMP_MASKHEADER_SIZE, BMP_V4HEADER_SIZE, BMP_V5HEADER_SIZE})
	{
		if (headerSize == known)
			return true;
	}
	return false;
}

Result<ObjectRef> CreateBmpImporter()
{
	return CreateComponent<BmpImportImpl>();
}

} // namespace torvi
