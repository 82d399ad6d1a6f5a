// The pixels of a cell of a contact sheet.
#include "tools/sheet_reader.h"

#include "tools/picture.h"
#include "tools/watch.h"
#include "torvi/ids_formats.h"
#include "torvi/ids_keys.h"

namespace torvi::tool
{

namespace
{

constexpr std::size_t PIXEL_SIZE = 4;

/// Pixels somewhere in a frame, and what is around them.
struct FrameSource
{
	PictureReader _reader;
	Vector2dInt _position; ///< of the reader's first pixel in the frame
	Int _left = 0;         ///< the part of the frame that shows the reader's pixels: up to _right and _bottom, without them
	Int _top = 0;
	Int _right = 0;
	Int _bottom = 0;
	Bool _isGrey = false; ///< one byte per pixel, else red, green, blue and alpha
	Byte _around = 0;     ///< with _isGrey; transparent else
};

Bool IsGrey(const Cell& cell)
{
	return cell._kind == CellKind::MASK || cell._kind == CellKind::ALPHA;
}

/// Masks and alpha channels have alpha pixels, and as such they are shown; those with other pixels show their grey.
Result<PictureReader> OpenGrey(const Cell& cell)
{
	const PixelFormat own = cell._image->GetPixelFormat();
	const PixelFormat format = GetPixelFormat(own && own->HasAlpha() ? ids::PIXELFORMAT_ALPHA_U8 : ids::PIXELFORMAT_GREY_U8);
	return PictureReader::Open({cell._image, {}, false}, format, ColorProfile(), PictureReader::Alpha::NONE);
}

/// In sRGB; in its own colours where they can not be converted.
Result<PictureReader> OpenColoured(const Cell& cell)
{
	const PicturePart part = {cell._image, {}, cell._kind == CellKind::PICTURE};
	const auto alpha = cell._hasTransparency ? PictureReader::Alpha::FIRST : PictureReader::Alpha::NONE;
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
	Result<PictureReader> reader = PictureReader::Open(part, format, TORVI_TRY(ParseProfile("srgb")), alpha);
	return reader.IsOk() ? std::move(reader) : PictureReader::Open(part, format, ColorProfile(), alpha);
}

Result<FrameSource> OpenSource(const Cell& cell)
{
	FrameSource source;
	source._reader = TORVI_TRY(IsGrey(cell) ? OpenGrey(cell) : OpenColoured(cell));
	source._isGrey = IsGrey(cell);
	source._around = cell._kind == CellKind::MASK ? cell._image->GetOr<UChar>(ids::IMAGE_LAYER_MASKDEFCOLOR, 0) : Byte(0);
	if (cell._kind == CellKind::MASK)
		source._position = cell._bounds.position; // other pixels begin at the frame's corner, and only those in the bounds are the file's
	const auto [x, y] = cell._bounds.position;
	const Vector2dInt end = {source._position.x + source._reader.GetWidth(), source._position.y + source._reader.GetHeight()};
	source._left = std::max<Int>(x, 0);
	source._top = std::max<Int>(y, 0);
	source._right = std::min({x + cell._bounds.size.width, end.x, cell._frame.width});
	source._bottom = std::min({y + cell._bounds.size.height, end.y, cell._frame.height});
	return source;
}

/// Puts the reader's pixels of one line into a line of the frame.
void PlaceLine(const FrameSource& source, Block<const Byte> pixels, Block<Byte> line)
{
	const std::size_t count = static_cast<std::size_t>(source._right - source._left);
	const std::size_t skipped = static_cast<std::size_t>(source._left - source._position.x);
	Byte* target = line.data() + static_cast<std::size_t>(source._left) * PIXEL_SIZE;
	if (!source._isGrey)
		std::ranges::copy(pixels.subspan(skipped * PIXEL_SIZE, count * PIXEL_SIZE), target);
	for (std::size_t x = 0; source._isGrey && x < count; ++x)
		std::fill_n(target + x * PIXEL_SIZE, PIXEL_SIZE - 1, pixels[skipped + x]);
}

/// A line of the frame where the reader has no pixels.
void ClearLine(const FrameSource& source, Block<Byte> line)
{
	for (std::size_t i = 0; i < line.size(); ++i)
		line[i] = !source._isGrey ? Byte(0) : i % PIXEL_SIZE == PIXEL_SIZE - 1 ? Byte(255) : source._around;
}

Result<void> ReadFrame(const FrameSource& source, const DrawDimensionInt& frame, AreaAverage& average)
{
	Array<Byte> pixels(static_cast<std::size_t>(source._reader.GetBytesPerLine()));
	Array<Byte> line(static_cast<std::size_t>(frame.width) * PIXEL_SIZE);
	ClearLine(source, line);
	for (Int y = 0; y < frame.height; ++y)
	{
		TORVI_TRY(CheckInterrupt());
		const Bool hasPixels = y >= source._top && y < source._bottom && source._left < source._right;
		if (hasPixels)
		{
			TORVI_TRY(source._reader.ReadLine(y - source._position.y, pixels));
			PlaceLine(source, pixels, line);
		}
		else if (y == source._bottom)
			ClearLine(source, line);
		if (hasPixels || source._isGrey)
			average.AddLine(y, line);
	}
	return OK;
}

} // namespace

Result<Thumbnail> ReadThumbnail(const Cell& cell, const DrawDimensionInt& size)
{
	if (cell._kind == CellKind::FILTER || size.width == 0 || size.height == 0)
		return Thumbnail{size, {}};
	const FrameSource source = TORVI_TRY(OpenSource(cell));
	AreaAverage average(cell._frame, size, IsGrey(cell) ? AreaAverage::Values::PLAIN : AreaAverage::Values::SRGB);
	TORVI_TRY(ReadFrame(source, cell._frame, average));
	return average.Finish();
}

} // namespace torvi::tool
