// Pictures, made as every user of the library makes them.
#include "bench/picture.h"

#include "torvi/ids_formats.h"

#include <cmath>

namespace torvi::bench
{

Result<ImageRef> MakeImage(const PixelFormat& format, Int width, Int height)
{
	ImageRef image = TORVI_TRY(CreateObject<ImageInterface>(ids::IMAGECLASS_IMAGE));
	TORVI_TRY(image->Init(width, height, TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL)), format, {}));
	return image;
}

namespace
{

/// A texture of one image, whose lines `fillLine` makes.
template <class FillLine>
Result<ImageTextureRef> MakeTextureOfLines(const PixelFormat& format, Int width, Int height, Array<Byte> line, FillLine fillLine)
{
	ImageTextureRef texture = TORVI_TRY(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	const ImageRef image = TORVI_TRY(MakeImage(format, width, height));
	TORVI_TRY(texture->AddChildren(IMAGEHIERARCHY::IMAGE, image, ImageBaseRef()));
	SetPixelHandlerStruct writer =
		TORVI_TRY(image->SetPixelHandler(format, format->GetChannelOffsets(), ColorProfile(), SETPIXELHANDLERFLAGS::NONE));
	for (Int y = 0; y < height; ++y)
	{
		fillLine(y, line);
		TORVI_TRY(writer.SetLine({0, y, width}, PixelBuffer(line.data(), format->GetBitsPerPixel()), 0));
	}
	TORVI_TRY(writer.Free());
	return texture;
}

} // namespace

Result<ImageTextureRef> MakeTexture(const PixelFormat& format, Int width, Int height)
{
	return MakeTextureOfLines(format, width, height, TORVI_TRY(MakePixels(format, width)), [](Int, Array<Byte>&) {});
}

Result<ImageTextureRef> MakePhotograph(Int side)
{
	constexpr Int CHANNELS = 3;
	constexpr UInt32 GRAIN = 7;
	UInt32 noise = 1;
	const auto fillLine = [&noise, side](Int y, Array<Byte>& line)
	{
		const double v = static_cast<double>(y) / static_cast<double>(side);
		for (Int x = 0; x < side; ++x)
		{
			const double u = static_cast<double>(x) / static_cast<double>(side);
			const double waves =
				std::sin(23.0 * u + 5.0 * std::sin(11.0 * v)) + 0.5 * std::sin(170.0 * v * u) + 0.3 * std::sin(900.0 * u - 400.0 * v);
			const double disc = (u - 0.6) * (u - 0.6) + (v - 0.4) * (v - 0.4) < 0.05 ? 50.0 : 0.0;
			const double colors[CHANNELS] = {90.0 + 30.0 * waves + disc, 100.0 + 25.0 * waves + 40.0 * v, 120.0 + 20.0 * waves - disc};
			for (Int channel = 0; channel < CHANNELS; ++channel)
			{
				noise = noise * 1664525 + 1013904223;
				line[static_cast<std::size_t>(x * CHANNELS + channel)] = static_cast<Byte>(colors[channel] + (noise >> 24 & GRAIN));
			}
		}
	};
	return MakeTextureOfLines(GetPixelFormat(ids::PIXELFORMAT_RGB_U8), side, side, Array<Byte>(static_cast<std::size_t>(side * CHANNELS)),
							  fillLine);
}

} // namespace torvi::bench
