// The segments before the picture (ITU-T T.81, annex B): FF, a code, and the length of what follows with its own two bytes.
#include "platform/exif/exif_jpeg.h"

#include "host/binaryreader.h"
#include "platform/exif/exif_dictionary.h"

namespace torvi
{

namespace
{

constexpr UChar FILL = 0xFF;
constexpr UChar TEM = 0x01;
constexpr UChar RST0 = 0xD0;
constexpr UChar SOI = 0xD8;
constexpr UChar EOI = 0xD9;
constexpr UChar SOS = 0xDA;
constexpr UChar APP1 = 0xE1;

Bool HasLength(UChar marker)
{
	return marker != TEM && (marker < RST0 || marker > EOI);
}

/// The next marker's code; any number of fill bytes may stand before it.
Result<UChar> ReadMarker(BinaryReader& reader)
{
	const Int position = reader.GetPosition();
	TORVI_CHECK(TORVI_TRY(reader.ReadUChar()) == FILL, FileFormatError("The JPEG file has no marker at @.", position));
	UChar marker = FILL;
	while (marker == FILL)
		marker = TORVI_TRY(reader.ReadUChar());
	return marker;
}

} // namespace

Result<Array<Byte>> ReadExifOfJpeg(const Url& url)
{
	BinaryReader reader;
	TORVI_TRY(reader.Open(url, ByteOrder::BIGENDIAN));
	TORVI_CHECK(TORVI_TRY(reader.ReadUInt16()) == (FILL << 8 | SOI), FileFormatError("@ is no JPEG file.", url));
	for (;;)
	{
		const UChar marker = TORVI_TRY(ReadMarker(reader));
		TORVI_CHECK(marker != SOS && marker != EOI, FileFormatError("@ has no EXIF data.", url));
		if (!HasLength(marker))
			continue;
		const Int length = TORVI_TRY(reader.ReadUInt16()) - Int(sizeof(UInt16));
		TORVI_CHECK(length >= 0, FileFormatError("The JPEG file has a segment of @ bytes.", length + Int(sizeof(UInt16))));
		if (marker != APP1)
		{
			TORVI_TRY(reader.Skip(length));
			continue;
		}
		Array<Byte> data = TORVI_TRY(reader.ReadArray(length));
		if (HasExifHead(data))
			return data;
	}
}

} // namespace torvi
