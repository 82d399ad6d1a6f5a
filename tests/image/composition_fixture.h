// What the tests of composition share: layers in rgba.u8, and the blending of single pixels that they are compared with.
#pragma once

#include "tests/image/image_test.h"

#include <array>

namespace torvi
{

/// Red, green, blue, alpha.
using Rgba = std::array<double, 4>;

enum class PlainMode
{
	OVER,
	MULTIPLY
};

inline Rgba BlendPixel(PlainMode mode, const Rgba& back, const Rgba& front, double opacity)
{
	const double frontAlpha = opacity * front[3];
	if (frontAlpha == 0.0)
		return back;
	Rgba result = {};
	result[3] = frontAlpha + back[3] - frontAlpha * back[3];
	const double share = frontAlpha / result[3];
	for (std::size_t c = 0; c < 3; ++c)
	{
		const double mixed = mode == PlainMode::OVER ? front[c] : front[c] * back[c];
		result[c] = (1.0 - share) * back[c] + share * ((1.0 - back[3]) * front[c] + back[3] * mixed);
	}
	return result;
}

class CompositionTest : public ImageTest
{
protected:
	/// An image that shows its layers.
	static ImageRef MakePicture(Int width, Int height)
	{
		return MakeImage<ImageInterface>(ids::IMAGECLASS_IMAGE, width, height, ids::PIXELFORMAT_RGBA_U8,
										 ids::IMAGEPIXELSTORAGECLASS_NODATA);
	}
	static ImageLayerRef MakeFolder(Int width, Int height)
	{
		return MakeImage<ImageLayerInterface>(ids::IMAGELAYERCLASS_RASTER, width, height, ids::PIXELFORMAT_RGBA_U8,
											  ids::IMAGEPIXELSTORAGECLASS_NODATA);
	}
	/// A layer with those lines, packed.
	static ImageLayerRef MakeFilled(Int width, Int height, const Array<Byte>& lines, const Id& format = ids::PIXELFORMAT_RGBA_U8);
	/// Makes a layer partly opaque as a whole, and chooses its mode.
	static ImageLayerRef With(const ImageLayerRef& layer, Float64 opacity, PlainMode mode = PlainMode::OVER);
	/// A mask at a place in the picture.
	static ImageLayerRef MakeMask(Int x, Int y, Int width, Int height, const Array<Byte>& values);
	static ImageRef MakePicture(Int width, Int height, std::initializer_list<ImageLayerRef> layers);
	static Array<Byte> ReadRgba(ImageBaseInterface& image, const ImagePos& pos)
	{
		return Must(TryReadBytes(image, pos, ids::PIXELFORMAT_RGBA_U8));
	}
};

} // namespace torvi
