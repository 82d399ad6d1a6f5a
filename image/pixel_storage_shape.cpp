// The layout of packed lines from a format, and its stored form.
#include "image/pixel_storage_shape.h"

#include "image/stored_pixel_format.h"

namespace torvi
{

Result<PixelStorageShape> PixelStorageShape::Make(Int width, Int height, const PixelFormat& pixelFormat)
{
	return NoThrow(
		[&]() -> Result<PixelStorageShape>
		{
			TORVI_CHECK(pixelFormat, IllegalArgumentError("A pixel storage needs a pixel format."));
			TORVI_CHECK(width >= 0 && height >= 0, IllegalArgumentError("A pixel storage can not have @ x @ pixels.", width, height));
			PixelStorageShape shape;
			shape._width = width;
			shape._height = height;
			shape._bitsPerPixel = pixelFormat->GetBitsPerPixel();
			shape._channels = pixelFormat->GetChannelCount();
			const ChannelOffsets& offsets = pixelFormat->GetChannelOffsets();
			shape._channelOffsets.assign(offsets.begin(), offsets.end());
			shape._pixelFormat = pixelFormat;
			BITS lineBits = 0;
			TORVI_CHECK(!__builtin_mul_overflow(width, shape._bitsPerPixel, &lineBits) && lineBits <= INT64_MAX - 7, OutOfMemoryError());
			shape._bytesPerLine = BytesOf(lineBits);
			return shape;
		});
}

Error PixelStorageShape::MakeRangeError(const ImagePos& pos) const
{
	return IllegalArgumentError("A run of @ pixels at (@, @) does not lie in an image of @ x @ pixels.", pos._count, pos._x, pos._y, _width,
								_height);
}

Bool PixelStorageShape::IsEqual(const PixelStorageShape& other) const
{
	if (_width != other._width || _height != other._height)
		return false;
	return _pixelFormat == other._pixelFormat || (_pixelFormat && other._pixelFormat && _pixelFormat->IsEqual(*other._pixelFormat));
}

UInt64 PixelStorageShape::GetHashCode() const
{
	const UInt64 size = CombineHash(MixHash(static_cast<UInt64>(_width)), MixHash(static_cast<UInt64>(_height)));
	return CombineHash(size, _pixelFormat ? _pixelFormat->GetHashCodeImpl() : 0);
}

Result<void> PixelStorageShape::DescribeMembers(DataSerialize& serializer)
{
	TORVI_TRY(serializer.DescribeElement("_width", _width));
	TORVI_TRY(serializer.DescribeElement("_height", _height));
	TORVI_TRY(serializer.DescribeElement("_bytesPerLine", _bytesPerLine));
	TORVI_TRY(serializer.DescribeElement("_bitsPerPixel", _bitsPerPixel));
	TORVI_TRY(serializer.DescribeElement("_channels", _channels));
	TORVI_TRY(serializer.DescribeElement("_channelOffsets", _channelOffsets));
	return serializer.DescribeElement("_pixelFormatId", _pixelFormatId);
}

Bool PixelStorageShape::HasLayoutOf(const PixelStorageShape& other) const
{
	return _bytesPerLine == other._bytesPerLine && _bitsPerPixel == other._bitsPerPixel && _channels == other._channels &&
		   _channelOffsets == other._channelOffsets;
}

Result<void> PixelStorageShape::DescribeIO(DataSerialize& serializer)
{
	if (!serializer.IsReading())
	{
		TORVI_CHECK(_pixelFormat, IllegalStateError("A pixel storage without pixel format can not be stored."));
		_pixelFormatId = TORVI_TRY(GetStoredFormatId(_pixelFormat));
		return DescribeMembers(serializer);
	}
	PixelStorageShape stored;
	TORVI_TRY(stored.DescribeMembers(serializer));
	const PixelFormat format = TORVI_TRY(FindStoredFormat(stored._pixelFormatId));
	TORVI_CHECK(stored._width >= 0 && stored._height >= 0,
				IllegalStateError("A stored image can not have @ x @ pixels.", stored._width, stored._height));
	PixelStorageShape shape = TORVI_TRY(Make(stored._width, stored._height, format));
	TORVI_CHECK(stored.HasLayoutOf(shape),
				IllegalStateError("The stored layout of an image is not that of its pixel format @.", stored._pixelFormatId));
	*this = std::move(shape);
	return OK;
}

} // namespace torvi
