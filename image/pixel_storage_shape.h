// Size, format and line layout of a storage of packed lines, and the test that a run of pixels lies inside.
#pragma once

#include "torvi/gfx_image_storage.h"

namespace torvi
{

struct PixelStorageShape
{
	Int _width = 0;
	Int _height = 0;
	Int _bytesPerLine = 0; ///< without padding but that of the last byte
	BITS _bitsPerPixel = 0;
	Int _channels = 0;
	Array<BITS> _channelOffsets; ///< _channels entries and the bits per pixel
	Id _pixelFormatId;           ///< see GetStoredFormatId; set while the shape is stored
	PixelFormat _pixelFormat;

	/// IllegalArgumentError for a null format or a negative size; out-of-memory error for lines whose bits do not count in an Int.
	static Result<PixelStorageShape> Make(Int width, Int height, const PixelFormat& pixelFormat);

	/// IllegalArgumentError unless the run lies inside; an empty run may start behind the last pixel.
	Result<void> CheckRun(const ImagePos& pos) const
	{
		TORVI_CHECK(pos._x >= 0 && pos._y >= 0 && pos._y < _height && pos._count <= _width - pos._x, MakeRangeError(pos));
		return OK;
	}

	/// Equal sizes and formats, the formats by their IsEqual.
	Bool IsEqual(const PixelStorageShape& other) const;
	UInt64 GetHashCode() const;

	/// Stores or reads the members from _width to _pixelFormatId. What is read must be what the format gives for that size:
	/// IllegalStateError. On failure nothing has changed.
	Result<void> DescribeIO(DataSerialize& serializer);

private:
	Error MakeRangeError(const ImagePos& pos) const;
	Result<void> DescribeMembers(DataSerialize& serializer);
	Bool HasLayoutOf(const PixelStorageShape& other) const;
};

} // namespace torvi
