// Blend modes for the tests of composition.
#include "tests/image/composition_fixture.h"

namespace torvi
{

namespace
{

template <class T>
BlendPixelFunc MakeBlend(PlainMode mode, Float64 opacity)
{
	return [mode, opacity](const PixelBuffer& destination, const PixelBuffer& background, const PixelBuffer& foreground,
						   Int count) -> Result<void>
	{
		for (Int i = 0; i < count; ++i)
		{
			const auto at = [i](const PixelBuffer& run) { return reinterpret_cast<Rgba<T>*>(run._pixel + i * run._stride / 8); };
			*at(destination) = BlendPixel<T>(mode, *at(background), *at(foreground), static_cast<T>(opacity));
		}
		return OK;
	};
}

template <class T>
Result<void> ApplyAlpha(const PixelBuffer& destination, const PixelBuffer&, const PixelBuffer& mask, Int count)
{
	for (Int i = 0; i < count; ++i)
		(*reinterpret_cast<Rgba<T>*>(destination._pixel + i * destination._stride / 8))[3] *=
			*reinterpret_cast<T*>(mask._pixel + i * mask._stride / 8);
	return OK;
}

class BlendDouble final : public ImagePixelBlendInterface
{
public:
	explicit BlendDouble(PlainMode mode) : _mode(mode) {}
	Result<BlendPixelHandler> GetBlendPixelHandler(const PixelFormat& background, const ChannelOffsets&, const PixelFormat& foreground,
												   const ChannelOffsets&, Float64 opacity) const override
	{
		EXPECT_EQ(background, foreground);
		const Bool isDouble = background == GetPixelFormat(ids::PIXELFORMAT_RGBA_F64);
		EXPECT_TRUE(isDouble || background == GetPixelFormat(ids::PIXELFORMAT_RGBA_F32));
		const BlendPixelFunc function = isDouble ? MakeBlend<Float64>(_mode, opacity) : MakeBlend<Float32>(_mode, opacity);
		return BlendPixelHandler{function, function};
	}

private:
	PlainMode _mode;
};

class ApplyAlphaDouble final : public ImagePixelBlendInterface
{
public:
	Result<BlendPixelHandler> GetBlendPixelHandler(const PixelFormat& background, const ChannelOffsets&, const PixelFormat& foreground,
												   const ChannelOffsets&, Float64) const override
	{
		const Bool isDouble = background == GetPixelFormat(ids::PIXELFORMAT_RGBA_F64);
		EXPECT_EQ(foreground, GetPixelFormat(isDouble ? ids::PIXELFORMAT_ALPHA_F64 : ids::PIXELFORMAT_ALPHA_F32));
		const BlendPixelFunc function = isDouble ? BlendPixelFunc(&ApplyAlpha<Float64>) : BlendPixelFunc(&ApplyAlpha<Float32>);
		return BlendPixelHandler{function, function};
	}
};

} // namespace

void CompositionTest::SetUp()
{
	EXPECT_OK(g_torvi->DeclareObject(ids::BLENDMODE_OVER, Must(NewObject<BlendDouble>(PlainMode::OVER))));
	EXPECT_OK(g_torvi->DeclareObject(MULTIPLY_ID, Must(NewObject<BlendDouble>(PlainMode::MULTIPLY))));
	EXPECT_OK(g_torvi->DeclareObject(APPLYALPHA_ID, Must(NewObject<ApplyAlphaDouble>())));
}

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
	EXPECT_OK(layer->Set<ImagePixelBlend>(ids::IMAGE_LAYER_BLENDMODE, FindDeclared<ImagePixelBlendInterface>(IdOf(mode))));
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
