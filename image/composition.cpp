// The merged handler. What is here is the picture without layers: nothing, which is zero in every format.
#include "image/composition.h"

#include <cstring>

namespace torvi
{

namespace
{

/// Sets the bits of a run to 0 that has no gaps, and leaves the bits behind it alone.
void ClearBits(Byte* bytes, BITS count)
{
	std::memset(bytes, 0, static_cast<std::size_t>(count / 8));
	if (count % 8 != 0)
		bytes[count / 8] = static_cast<Byte>(bytes[count / 8] & (0xFF >> (count % 8)));
}

void ClearPixels(const PixelBuffer& destination, Int count, BITS bitsPerPixel)
{
	if (count <= 0)
		return;
	if (destination._stride == bitsPerPixel)
		return ClearBits(destination._pixel, count * bitsPerPixel);
	for (Int i = 0; i < count; ++i)
		std::memset(destination._pixel + BytesOf(i * destination._stride), 0, static_cast<std::size_t>(BytesOf(bitsPerPixel)));
}

} // namespace

Result<GetPixelHandlerStruct> MakeMergedHandler(const MergeRequest& request)
{
	TORVI_CHECK(request._dstFormat, IllegalArgumentError("Pixels can not be read without a pixel format."));
	TORVI_CHECK(request._layers.empty(), UnsupportedOperationError("Layers and masks can not be composed into one picture."));
	GetPixelHandlerStruct record;
	record._getLine = [bitsPerPixel = request._dstFormat->GetBitsPerPixel()](const ImagePos& pos, const PixelBuffer& destination,
																			 UInt32) -> Result<void>
	{
		ClearPixels(destination, pos._count, bitsPerPixel);
		return OK;
	};
	record._freeHandler = [parent = request._parent](GetPixelHandlerStruct& ended) { return parent->FreePixelHandler(ended); };
	record._dstColorProfile = request._dstColorProfile;
	return record;
}

} // namespace torvi
