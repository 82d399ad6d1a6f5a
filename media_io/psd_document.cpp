// Header, palette and image resources of PSD and PSB files.
#include "media_io/psd_document.h"

#include "host/byteorder.h"
#include "mediasession/image_palette.h"
#include "torvi/ids_formats.h"
#include "torvi/mediasession_errors.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace torvi
{

namespace
{

constexpr Int ANY_DEPTH = 0;

struct FormatRow
{
	PsdColorMode _mode;
	Int _depth;
	Int _colorChannels;
	Id _format;
	Id _alphaFormat; ///< empty without one
};

/// The first row that fits counts.
constexpr FormatRow FORMATS[] = {
	{PsdColorMode::BITMAP, 1, 1, ids::PIXELFORMAT_INDEXED_U1BIT, {}},
	{PsdColorMode::GREY, 32, 1, ids::PIXELFORMAT_GREY_F32, ids::PIXELFORMAT_AGREY_F32},
	{PsdColorMode::GREY, 16, 1, ids::PIXELFORMAT_GREY_U16, ids::PIXELFORMAT_AGREY_U16},
	{PsdColorMode::GREY, ANY_DEPTH, 1, ids::PIXELFORMAT_GREY_U8, ids::PIXELFORMAT_AGREY_U8},
	{PsdColorMode::INDEXED, 1, 1, ids::PIXELFORMAT_INDEXED_U1BIT, {}},
	{PsdColorMode::INDEXED, 2, 1, ids::PIXELFORMAT_INDEXED_U2BIT, {}},
	{PsdColorMode::INDEXED, 4, 1, ids::PIXELFORMAT_INDEXED_U4BIT, {}},
	{PsdColorMode::INDEXED, 8, 1, ids::PIXELFORMAT_INDEXED_U8BIT, {}},
	{PsdColorMode::RGB, 32, 3, ids::PIXELFORMAT_RGB_F32, ids::PIXELFORMAT_ARGB_F32},
	{PsdColorMode::RGB, 16, 3, ids::PIXELFORMAT_RGB_U16, ids::PIXELFORMAT_ARGB_U16},
	{PsdColorMode::RGB, ANY_DEPTH, 3, ids::PIXELFORMAT_RGB_U8, ids::PIXELFORMAT_ARGB_U8},
	{PsdColorMode::CMYK, 16, 4, ids::PIXELFORMAT_CMYK_INV_U16, ids::PIXELFORMAT_ACMYK_INV_U16},
	{PsdColorMode::CMYK, 8, 4, ids::PIXELFORMAT_CMYK_INV_U8, ids::PIXELFORMAT_ACMYK_INV_U8},
};

const FormatRow* FindFormats(PsdColorMode mode, Int depth)
{
	for (const FormatRow& row : FORMATS)
	{
		if (row._mode == mode && (row._depth == depth || row._depth == ANY_DEPTH))
			return &row;
	}
	return nullptr;
}

Id ChannelFormatOf(Int depth)
{
	return depth == 32 ? ids::PIXELFORMAT_ALPHA_F32 : depth == 16 ? ids::PIXELFORMAT_ALPHA_U16 : ids::PIXELFORMAT_ALPHA_U8;
}

/// The first bytes of a block; what the block does not have of them is 0.
template <std::size_t SIZE>
Result<std::array<Byte, SIZE>> ReadFields(BinaryReader& reader, Int end)
{
	std::array<Byte, SIZE> fields = {};
	const Int count = std::min<Int>(SIZE, GetPsdRemaining(reader, end));
	TORVI_TRY(reader.ReadBlock(Block<Byte>(fields).first(static_cast<std::size_t>(count))));
	return fields;
}

/// A resolution and its unit, in dots per inch.
Result<Float64> ReadResolution(ByteReader& fields)
{
	constexpr UInt16 PER_CENTIMETRE = 2;
	constexpr Float64 CENTIMETRES_PER_INCH = 2.54;
	const Float64 value = TORVI_TRY(fields.ReadInt32()) / 65536.0;
	const UInt16 unit = TORVI_TRY(fields.ReadUInt16());
	TORVI_TRY(fields.ReadUInt16()); // what rulers show
	return unit == PER_CENTIMETRE ? value * CENTIMETRES_PER_INCH : value;
}

Result<void> ReadResolutions(BinaryReader& reader, Int end, PsdResources& resources)
{
	const std::array<Byte, 16> bytes = TORVI_TRY(ReadFields<16>(reader, end));
	ByteReader fields(bytes, reader.GetByteOrder());
	const Float64 horizontal = TORVI_TRY(ReadResolution(fields));
	const Float64 vertical = TORVI_TRY(ReadResolution(fields));
	if (horizontal == 0.0)
		return OK;
	resources._dpi = horizontal;
	if (vertical != 0.0 && vertical != horizontal)
		resources._aspectRatio = std::abs(vertical / horizontal);
	return OK;
}

Result<void> ReadAspectRatio(BinaryReader& reader, Int end, PsdResources& resources)
{
	const std::array<Byte, 12> bytes = TORVI_TRY(ReadFields<12>(reader, end)); // version, ratio
	const auto ratio = std::bit_cast<Float64>(LoadNumber<UInt64>(bytes.data() + 4, reader.GetByteOrder()));
	if (std::isfinite(ratio) && ratio > 0.0)
		resources._aspectRatio = ratio;
	return OK;
}

Result<void> ReadAlphaNames(BinaryReader& reader, Int end, PsdResources& resources)
{
	for (PsdAlphaRecord& alpha : resources._alphas)
	{
		if (GetPsdRemaining(reader, end) < 1)
			break;
		String name = TORVI_TRY(ReadPsdPascalText(reader, GetPsdRemaining(reader, end)));
		if (!name.empty())
			alpha._name = std::move(name);
	}
	return OK;
}

/// Each text ends with a zero unit, which its count holds.
Result<void> ReadUnicodeAlphaNames(BinaryReader& reader, Int end, PsdResources& resources)
{
	for (PsdAlphaRecord& alpha : resources._alphas)
	{
		if (GetPsdRemaining(reader, end) < 4)
			break;
		const Int units = TORVI_TRY(reader.ReadUInt32());
		if (2 * units > GetPsdRemaining(reader, end))
			break;
		if (units > 0)
		{
			alpha._name = TORVI_TRY(ReadPsdUnicode(reader, units - 1));
			TORVI_TRY(reader.Skip(2));
		}
	}
	return OK;
}

Result<void> ReadDisplayInfo(BinaryReader& reader, Int end, PsdResources& resources)
{
	for (PsdAlphaRecord& alpha : resources._alphas)
	{
		for (UInt16& value : alpha._displayInfo)
		{
			if (GetPsdRemaining(reader, end) < 2)
				return OK;
			value = TORVI_TRY(reader.ReadUInt16());
		}
	}
	return OK;
}

Result<void> ReadAlphaIdentifiers(BinaryReader& reader, Int end, PsdResources& resources)
{
	for (PsdAlphaRecord& alpha : resources._alphas)
	{
		if (GetPsdRemaining(reader, end) < 4)
			break;
		alpha._identifier = TORVI_TRY(reader.ReadUInt32());
	}
	return OK;
}

/// The groups stand before the layers, whose number they can only tell. A second list must have as many.
Result<void> ReadLayerGroups(BinaryReader& reader, Int end, PsdResources& resources)
{
	const Int count = GetPsdRemaining(reader, end) / 2;
	const Int earlier = CountOf(resources._layerGroups);
	TORVI_CHECK(earlier == 0 || earlier == count,
				FileFormatError("layercnt != _layerInfo.GetCount(): @ != @ (@)", count, earlier, resources._url));
	const Array<Byte> bytes = TORVI_TRY(reader.ReadArray(2 * count));
	resources._layerGroups.clear();
	for (Int i = 0; i < count; ++i)
		resources._layerGroups.push_back(LoadNumber<UInt16>(bytes.data() + 2 * i, reader.GetByteOrder()));
	return OK;
}

Result<void> ReadProfile(BinaryReader& reader, Int end, PsdResources& resources)
{
	const Array<Byte> bytes = TORVI_TRY(reader.ReadArray(GetPsdRemaining(reader, end)));
	resources._profile = TORVI_TRY(ColorProfile::OpenProfileFromMemory(bytes));
	return OK;
}

Result<void> ReadColorCount(BinaryReader& reader, Int end, PsdResources& resources)
{
	const std::array<Byte, 2> bytes = TORVI_TRY(ReadFields<2>(reader, end));
	const Int count = LoadNumber<UInt16>(bytes.data(), reader.GetByteOrder());
	TORVI_CHECK(resources._colorCount > 0 && count <= resources._colorCount,
				MediaSessionWrongTypeError("Indexed colors mismatch: @ > @", count, resources._colorCount));
	resources._colorCount = count;
	return OK;
}

Result<void> ReadTransparentIndex(BinaryReader& reader, Int end, PsdResources& resources)
{
	const std::array<Byte, 2> bytes = TORVI_TRY(ReadFields<2>(reader, end));
	resources._transparentIndex = LoadNumber<UInt16>(bytes.data(), reader.GetByteOrder());
	return OK;
}

Result<void> ReadExif(BinaryReader& reader, Int end, PsdResources& resources)
{
	resources._exif = TORVI_TRY(reader.ReadArray(GetPsdRemaining(reader, end)));
	return OK;
}

struct ResourceRow
{
	UInt16 _id;
	Result<void> (*_read)(BinaryReader& reader, Int end, PsdResources& resources);
};

constexpr ResourceRow RESOURCES[] = {
	{1005, &ReadResolutions},
	{1006, &ReadAlphaNames},
	{1007, &ReadDisplayInfo},
	{1026, &ReadLayerGroups},
	{1039, &ReadProfile},
	{1045, &ReadUnicodeAlphaNames},
	{1046, &ReadColorCount},
	{1047, &ReadTransparentIndex},
	{1053, &ReadAlphaIdentifiers},
	{1058, &ReadExif},
	{1059, &ReadExif},
	{1064, &ReadAspectRatio},
};

Result<void> SkipResourceName(BinaryReader& reader)
{
	const Int length = TORVI_TRY(reader.ReadUChar());
	return reader.Skip(length % 2 == 0 ? length + 1 : length);
}

} // namespace

Bool PsdDocument::HasReadablePixels() const noexcept
{
	switch (_colorMode)
	{
	case PsdColorMode::BITMAP:
		return _depth == 1;
	case PsdColorMode::INDEXED:
		return _depth == 1 || _depth == 8;
	default:
		return _depth == 8 || _depth == 16 || _depth == 32;
	}
}

Result<void> ChoosePsdFormats(PsdDocument& document)
{
	const FormatRow* row = FindFormats(document._colorMode, document._depth);
	TORVI_CHECK(row != nullptr || document._colorMode != PsdColorMode::CMYK, MediaSessionWrongTypeError("invalid cmyk format"));
	TORVI_CHECK(row != nullptr, MediaSessionWrongTypeError("Unsupported color depth: @", document._depth));
	document._colorChannels = row->_colorChannels;
	document._format = GetPixelFormat(row->_format);
	document._alphaFormat = row->_alphaFormat.IsEmpty() ? PixelFormat() : GetPixelFormat(row->_alphaFormat);
	document._channelFormat = GetPixelFormat(ChannelFormatOf(document._depth));
	TORVI_CHECK(document._format && document._channelFormat, IllegalStateError("The module is not started."));
	return OK;
}

Result<PsdDocument> ReadPsdHeader(BinaryReader& reader, UInt16 version)
{
	TORVI_CHECK(TORVI_TRY(reader.ReadUInt32()) == PSD_SIGNATURE, MediaSessionWrongTypeError());
	TORVI_CHECK(TORVI_TRY(reader.ReadUInt16()) == version, MediaSessionWrongTypeError());
	TORVI_TRY(reader.Skip(6));
	PsdDocument document;
	document._hasWideFields = version == PSB_VERSION;
	document._channelCount = TORVI_TRY(reader.ReadInt16());
	document._height = TORVI_TRY(reader.ReadUInt32());
	document._width = TORVI_TRY(reader.ReadUInt32());
	document._depth = TORVI_TRY(reader.ReadUInt16());
	const UInt16 mode = TORVI_TRY(reader.ReadUInt16());
	TORVI_CHECK(mode <= static_cast<UInt16>(PsdColorMode::CMYK), MediaSessionWrongTypeError("Unsupported color mode: @", mode));
	document._colorMode = static_cast<PsdColorMode>(mode);
	TORVI_TRY(ChoosePsdFormats(document));
	TORVI_CHECK(document.GetExtraChannels() >= 0, MediaSessionWrongTypeError());
	return document;
}

Result<PsdPalette> ReadPsdPalette(BinaryReader& reader, const PsdDocument& document)
{
	const Int length = TORVI_TRY(reader.ReadInt32());
	if (length < 1)
		return PsdPalette();
	const Int start = reader.GetPosition();
	const Int left = reader.GetRemaining();
	TORVI_CHECK(length <= left, EndOfDataError(length - left));
	PsdPalette palette = {._colorCount = length / 3};
	if (document._colorMode == PsdColorMode::INDEXED)
	{
		palette._storedCount = std::min(palette._colorCount, Int(1) << document._depth);
		for (Int plane = 0; plane < 3; ++plane)
		{
			TORVI_TRY(reader.Seek(start + plane * palette._colorCount));
			const Array<Byte> bytes = TORVI_TRY(reader.ReadArray(palette._storedCount));
			palette._planes.insert(palette._planes.end(), bytes.begin(), bytes.end());
		}
	}
	TORVI_TRY(reader.Seek(start + length));
	return palette;
}

Result<PixelFormat> MakePsdPaletteFormat(const PsdDocument& document, const PsdPalette& palette, UInt16 transparentIndex)
{
	static constexpr Byte BITMAP_COLORS[] = {255, 0}; // a set bit is black
	constexpr Int ENTRY_SIZE = 4;
	if (document._colorMode == PsdColorMode::BITMAP)
		return MakePaletteFormat(document._format, GetPixelFormat(ids::PIXELFORMAT_GREY_U8), 2, BITMAP_COLORS, 1);
	if (document._colorMode != PsdColorMode::INDEXED || palette._colorCount < 1)
		return document._format;
	const Int count = std::min(palette._colorCount, palette._storedCount);
	const Bool hasTransparency = transparentIndex < PSD_NOTRANSPARENTINDEX && transparentIndex < palette._colorCount;
	Array<Byte> entries(static_cast<std::size_t>(count * ENTRY_SIZE));
	for (Int i = 0; i < count; ++i)
	{
		Byte* const entry = entries.data() + i * ENTRY_SIZE;
		for (Int plane = 0; plane < 3; ++plane)
			entry[plane] = palette._planes[static_cast<std::size_t>(plane * palette._storedCount + i)];
		entry[3] = i == transparentIndex ? 0 : 255;
	}
	const PixelFormat entryFormat = GetPixelFormat(hasTransparency ? ids::PIXELFORMAT_RGBA_U8 : ids::PIXELFORMAT_RGB_U8);
	return MakePaletteFormat(document._format, entryFormat, count, entries, ENTRY_SIZE);
}

Result<void> ReadPsdResources(BinaryReader& reader, Int end, PsdResources& resources)
{
	while (GetPsdRemaining(reader, end) >= 2)
	{
		if (TORVI_TRY(reader.ReadUInt32()) != PSD_BLOCKSIGNATURE)
			return OK;
		const UInt16 id = TORVI_TRY(reader.ReadUInt16());
		TORVI_TRY(SkipResourceName(reader));
		const Int size = TORVI_TRY(reader.ReadUInt32());
		const Int dataEnd = GetPsdBlockEnd(reader, size, end);
		const Int paddedEnd = GetPsdBlockEnd(reader, size + size % 2, end);
		for (const ResourceRow& row : RESOURCES)
		{
			if (row._id == id)
				TORVI_TRY(row._read(reader, dataEnd, resources));
		}
		TORVI_TRY(reader.Seek(paddedEnd));
	}
	return OK;
}

Result<void> ReadPsdResourceSection(BinaryReader& reader, PsdResources& resources)
{
	const Int length = TORVI_TRY(reader.ReadInt32());
	if (length < 1)
		return OK;
	const Int end = GetPsdBlockEnd(reader, length, GetPsdStreamEnd(reader));
	TORVI_TRY(ReadPsdResources(reader, end, resources));
	return reader.Seek(end);
}

Int GetPsdStreamEnd(const BinaryReader& reader) noexcept
{
	const Int remaining = reader.GetRemaining();
	return remaining == INT64_MAX ? INT64_MAX : reader.GetPosition() + remaining;
}

Int GetPsdBlockEnd(const BinaryReader& reader, Int length, Int enclosingEnd) noexcept
{
	return reader.GetPosition() + std::min(length, GetPsdRemaining(reader, enclosingEnd));
}

Int GetPsdRemaining(const BinaryReader& reader, Int end) noexcept
{
	return std::max<Int>(0, end - reader.GetPosition());
}

Result<String> ReadPsdUnicode(BinaryReader& reader, Int units)
{
	Array<Byte> bytes = TORVI_TRY(reader.ReadArray(2 * units));
	if (reader.GetByteOrder() == ByteOrder::BIGENDIAN)
	{
		for (std::size_t i = 0; i < bytes.size(); i += 2)
			std::swap(bytes[i], bytes[i + 1]);
	}
	while (!bytes.empty() && bytes.back() == 0 && bytes[bytes.size() - 2] == 0)
		bytes.resize(bytes.size() - 2);
	return FromUtf16Bytes(bytes);
}

Result<String> ReadPsdPascalText(BinaryReader& reader, Int remaining)
{
	const Int length = TORVI_TRY(reader.ReadUChar());
	const Array<Byte> bytes = TORVI_TRY(reader.ReadArray(std::clamp<Int>(length, 0, std::max<Int>(0, remaining - 1))));
	const Array<char32_t> characters(bytes.begin(), bytes.end());
	return FromUtf32({characters.data(), characters.size()});
}

} // namespace torvi
