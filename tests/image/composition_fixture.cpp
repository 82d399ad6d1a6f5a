// Layers for the tests of composition.
#include "tests/image/composition_fixture.h"

namespace torvi
{

ImageLayerRef CompositionTest::MakeFilled(Int width, Int height, const Array<Byte>& lines, const Id& format)
{
	ImageLayerRef layer = MakeImage<ImageLayerInterface>(ids::IMAGELAYERCLASS_RASTER, width, height, format);
	const Int bytesPerLine = layer->GetPixelFormat()->GetBytesPerLine(width, 1);
	for (Int y = 0; y < height; ++y)
		WriteBytes(*layer, {0, y, width}, Array<Byte>(lines.begin() + y * bytesPerLine, lines.begin() + (y + 1) * bytesPerLine));
	return layer;
}

ImageLayerRef CompositionTest::With(const ImageLayerRef& layer, Float64 opacity, PlainMode mode)
{
	EXPECT_OK(layer->Set<Float64>(ids::IMAGE_LAYER_OPACITY, opacity));
	const Id id = mode == PlainMode::OVER ? ids::BLENDMODE_OVER : ids::BLENDMODE_MULTIPLY;
	EXPECT_OK(layer->Set<ImagePixelBlend>(ids::IMAGE_LAYER_BLENDMODE, FindDeclared<ImagePixelBlendInterface>(id)));
	return layer;
}

ImageLayerRef CompositionTest::MakeMask(Int x, Int y, Int width, Int height, const Array<Byte>& values)
{
	ImageLayerRef mask = MakeFilled(width, height, values, ids::PIXELFORMAT_ALPHA_U8);
	EXPECT_OK(mask->Set<Int>(ids::IMAGE_LAYER_BOUNDINGBOX_X, x));
	EXPECT_OK(mask->Set<Int>(ids::IMAGE_LAYER_BOUNDINGBOX_Y, y));
	return mask;
}

ImageRef CompositionTest::MakePicture(Int width, Int height, std::initializer_list<ImageLayerRef> layers)
{
	ImageRef picture = MakePicture(width, height);
	for (const ImageLayerRef& layer : layers)
		Hang(picture, IMAGEHIERARCHY::LAYER, layer);
	return picture;
}

} // namespace torvi
