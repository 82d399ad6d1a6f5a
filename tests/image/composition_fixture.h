// What the tests of composition share: layers in rgba.u8, and blend modes that work on one pixel at a time.
#pragma once

#include "tests/image/image_test.h"

#include <array>

namespace torvi
{

/// Red, green, blue, alpha.
template <class T>
using Rgba = std::array<T, 4>;

enum class PlainMode
{
	OVER,
	MULTIPLY
};

template <class T>
Rgba<T> BlendPixel(PlainMode mode, const Rgba<T>& back, const Rgba<T>& front, T opacity)
{
	const T frontAlpha = opacity * front[3];
	if (frontAlpha == T(0))
		return back;
	const T alpha = frontAlpha + back[3] - frontAlpha * back[3];
	const T share = frontAlpha / alpha;
	Rgba<T> result = {};
	for (std::size_t c = 0; c < 3; ++c)
	{
		const T mixed = mode == PlainMode::OVER ? front[c] : front[c] * back[c];
		result[c] = (T(1) - share) * back[c] + share * ((T(1) - back[3]) * front[c] + back[3] * mixed);
	}
	result[3] = alpha;
	return result;
}

inline const Id MULTIPLY_ID = "net.torvi.render.blendmode.multiply";
inline const Id APPLYALPHA_ID = "net.torvi.render.blendmode.applyalpha";

class CompositionTest : public ImageTest
{
protected:
	void SetUp() override;

	static Id IdOf(PlainMode mode) { return mode == PlainMode::OVER ? ids::BLENDMODE_OVER : MULTIPLY_ID; }
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
