// Pictures, made as every user of the library makes them.
#include "bench/picture.h"

namespace torvi::bench
{

Result<ImageRef> MakeImage(const PixelFormat& format, Int width, Int height)
{
	ImageRef image = TORVI_TRY(CreateObject<ImageInterface>(ids::IMAGECLASS_IMAGE));
	TORVI_TRY(image->Init(width, height, TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL)), format, {}));
	return image;
}

Result<ImageTextureRef> MakeTexture(const PixelFormat& format, Int width, Int height)
{
	ImageTextureRef texture = TORVI_TRY(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	const ImageRef image = TORVI_TRY(MakeImage(format, width, height));
	TORVI_TRY(texture->AddChildren(IMAGEHIERARCHY::IMAGE, image, ImageBaseRef()));
	const Array<Byte> line = TORVI_TRY(MakePixels(format, width));
	SetPixelHandlerStruct writer =
		TORVI_TRY(image->SetPixelHandler(format, format->GetChannelOffsets(), ColorProfile(), SETPIXELHANDLERFLAGS::NONE));
	for (Int y = 0; y < height; ++y)
		TORVI_TRY(writer.SetLine({0, y, width}, PixelBuffer(line.data(), format->GetBitsPerPixel()), 0));
	TORVI_TRY(writer.Free());
	return texture;
}

} // namespace torvi::bench
