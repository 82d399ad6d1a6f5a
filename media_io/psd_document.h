// What a PSD or PSB file says of the document as a whole: the header, the pixel formats that colour mode and depth stand for, the palette
// and the image resources. Layers stand in psd_layers.h, pixels in psd_pixels.h. Everything takes the byte order of its reader, since other
// files carry parts of this format in theirs.
#pragma once

#include "host/binaryreader.h"
#include "media_io/psd_blend_keys.h"
#include "torvi/gfx_image_pixelformat.h"

#include <array>

namespace torvi
{

inline constexpr UInt32 PSD_SIGNATURE = PsdKey("8BPS");
inline constexpr UInt32 PSD_BLOCKSIGNATURE = PsdKey("8BIM");
inline constexpr UInt16 PSD_VERSION = 1;
inline constexpr UInt16 PSB_VERSION = 2; ///< lengths and tables have wider fields

/// What a file must have for each stream beyond those that files of its kind have: about the memory that a stream takes.
inline constexpr Int PSD_BYTES_PER_STREAM = 1024;

enum class PsdColorMode : UInt16
{
	BITMAP = 0,
	GREY = 1,
	INDEXED = 2,
	RGB = 3,
	CMYK = 4
};

struct PsdDocument
{
	Url _url; ///< of the file, for messages
	Bool _hasWideFields = false;
	Int _channelCount = 0; ///< colours and extra channels
	Int _width = 0;
	Int _height = 0;
	Int _depth = 0; ///< bits of a sample
	PsdColorMode _colorMode = PsdColorMode::RGB;

	// What mode and depth stand for.
	Int _colorChannels = 0;
	PixelFormat _format;        ///< without alpha; indexed ones get their palette later
	PixelFormat _alphaFormat;   ///< with alpha; null in modes that have none
	PixelFormat _channelFormat; ///< of alpha channels and masks

	Int GetExtraChannels() const noexcept { return _channelCount - _colorChannels; }
	/// Of one channel; of 1 bit in whole bytes.
	Int GetBytesPerRow(Int width) const noexcept { return BytesOf(width * _depth); }
	/// Whether the pixels can be read: samples of 1 bit in the modes of single bits, else of 8, 16 and 32 as the mode has them.
	Bool HasReadablePixels() const noexcept;
};

/// Fills in what mode and depth stand for. MediaSessionWrongTypeError if they stand for nothing.
Result<void> ChoosePsdFormats(PsdDocument& document);

/// The header at the start of a file. MediaSessionWrongTypeError for another signature or version, and for a shape that is not supported.
Result<PsdDocument> ReadPsdHeader(BinaryReader& reader, UInt16 version);

/// The colours of an indexed document, in planes of `_colorCount` entries.
struct PsdPalette
{
	Int _colorCount = 0;
	Int _storedCount = 0;     ///< entries of each plane that were kept: those that an index can name
	Array<Byte> _planes = {}; ///< red, green, blue
};

/// The section behind the header.
Result<PsdPalette> ReadPsdPalette(BinaryReader& reader, const PsdDocument& document);

inline constexpr UInt16 PSD_NOTRANSPARENTINDEX = 65535;

/// The document's indexed format with its colours; the format itself for documents without a palette.
Result<PixelFormat> MakePsdPaletteFormat(const PsdDocument& document, const PsdPalette& palette, UInt16 transparentIndex);

/// A channel that is none of the colours.
struct PsdAlphaRecord
{
	UInt32 _identifier = 0;
	String _name;
	std::array<UInt16, 6> _displayInfo = {}; ///< how programs show it; nothing here does
};

struct PsdResources
{
	Url _url; ///< of the file, for messages
	Float64 _dpi = 0.0;
	Float64 _aspectRatio = 1.0;
	Array<PsdAlphaRecord> _alphas;                     ///< as many as there are before reading
	Array<UInt16> _layerGroups;                        ///< of the layers, bottom first
	ColorProfile _profile;                             ///< null without one
	Int _colorCount = 0;                               ///< of the palette; a resource may lower it
	UInt16 _transparentIndex = PSD_NOTRANSPARENTINDEX; ///< of the palette
	Array<Byte> _exif;
};

/// Reads the resources up to `end`, a position of the reader. Those that are not known are skipped.
Result<void> ReadPsdResources(BinaryReader& reader, Int end, PsdResources& resources);

/// The resources section of a file, with its length in front.
Result<void> ReadPsdResourceSection(BinaryReader& reader, PsdResources& resources);

/// The position behind the last byte of a stream; the largest Int where it is not known.
Int GetPsdStreamEnd(const BinaryReader& reader) noexcept;

/// Where a block of `length` bytes ends that begins here: not behind the block around it.
Int GetPsdBlockEnd(const BinaryReader& reader, Int length, Int enclosingEnd) noexcept;

/// Bytes from here to the end of a block; 0 behind it.
Int GetPsdRemaining(const BinaryReader& reader, Int end) noexcept;

/// A text of `units` UTF-16 units, without zero units at its end. The caller has compared the count with what is left.
Result<String> ReadPsdUnicode(BinaryReader& reader, Int units);

/// A text with its length in a byte in front, of at most `remaining` bytes with it; one character per byte.
Result<String> ReadPsdPascalText(BinaryReader& reader, Int remaining);

} // namespace torvi
