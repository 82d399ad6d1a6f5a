// Turning of pictures as their EXIF orientation says: rows in the order of the file become lines of the upright picture.
#pragma once

#include "mediasession/image_import.h"

#include <array>

namespace torvi
{

/// How the rows of a file lie in the upright picture.
struct JpgPlacement
{
	Bool _isMirrored = false;   ///< rows run from right to left
	Bool _isBottomUp = false;   ///< the first row is the last
	Bool _isTransposed = false; ///< after both: rows become columns
};

/// The placement of an orientation (Exif 2.3, tag 274), 1 to 8; other values leave the picture as it is.
JpgPlacement GetJpgPlacement(UInt16 orientation);

/// Takes the rows of a file and hands lines to a sink. A transposed picture is held in memory until its last row has come.
class JpgOrientationWriter
{
public:
	/// `width` and `height` are those of the file, `sink` takes pictures of the sides after turning. May throw std::bad_alloc.
	JpgOrientationWriter(PixelSink& sink, const JpgPlacement& placement, Int width, Int height, Int bytesPerPixel);

	/// Where some rows from `row` on are to be decoded to; until the next call.
	Block<Byte*> PointAtRows(Int row);
	/// Takes the first `count` of these rows.
	Result<void> SetRows(Int row, Int count);
	/// After the last row.
	Result<void> Finish();

private:
	/// Rows that are decoded, or columns that are gathered, at once.
	static constexpr Int BATCH = 16;

	Int GetBytesPerRow() const noexcept { return _width * _bytesPerPixel; }
	Result<void> SetRow(Int row, const Byte* pixels);
	void CopyColumns(Int first, Int count, Byte* lines, Int lineDistance) const;

	PixelSink& _sink;
	JpgPlacement _placement;
	Int _width;
	Int _height;
	Int _bytesPerPixel;
	Array<Byte> _rows; ///< some rows; of a transposed picture all
	std::array<Byte*, BATCH> _pointers = {};
};

} // namespace torvi
