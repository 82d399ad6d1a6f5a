// Blending of pixels in any format: which path is taken, what the converting path gives, and what it does when a conversion fails.
#include "tests/pixelblend/blend_test.h"
#include "tests/support/allocation_failure.h"

namespace torvi::test
{
namespace
{

class BlendFormats : public BlendTest
{
protected:
	static ConvertPixelFunc FindConversion(const PixelFormat& to, const PixelFormat& from)
	{
		Bool isColorConverted = false;
		return to->GetConvertPixelFunc(from, from->GetChannelOffsets(), to->GetChannelOffsets(), nullptr, nullptr, false, isColorConverted)
			.TakeValue();
	}

	static std::vector<Byte> Convert(const PixelFormat& to, const PixelFormat& from, const Byte* pixels, Int count)
	{
		std::vector<Byte> result(static_cast<std::size_t>(to->GetBytesPerLine(count, 1)));
		EXPECT_TRUE(FindConversion(to, from)(PixelBuffer(result.data(), to->GetBitsPerPixel()), count,
											 PixelBuffer(pixels, from->GetBitsPerPixel()), 0)
						.IsOk());
		return result;
	}

	static std::vector<Pixel<double>> ToDouble(const PixelFormat& from, const std::vector<Byte>& pixels, Int count)
	{
		const std::vector<Byte> bytes = Convert(GetFormat("rgba.f64"), from, pixels.data(), count);
		std::vector<Pixel<double>> result(static_cast<std::size_t>(count));
		std::memcpy(result.data(), bytes.data(), bytes.size());
		return result;
	}
	static std::vector<Byte> FromDouble(const PixelFormat& to, const std::vector<Pixel<double>>& pixels)
	{
		return Convert(to, GetFormat("rgba.f64"), reinterpret_cast<const Byte*>(pixels.data()), CountOf(pixels));
	}

	/// Usual pixels of a format.
	std::vector<Byte> MakePixels(const PixelFormat& format, Int count)
	{
		std::vector<Pixel<double>> pixels;
		for (Int i = 0; i < count; ++i)
			pixels.push_back(_maker.MakeUsual());
		return FromDouble(format, pixels);
	}

	PixelMaker<double> _maker;
};

TEST_F(BlendFormats, TheConvertingPathEqualsDoubles)
{
	constexpr Int COUNT = 150; // more than two chunks
	constexpr const char* PAIRS[][2] = {
		{"bgra.u8", "rgba.f32"}, {"rgb.u16", "argb.u8"}, {"rgba.f64", "rgba.f32"}, {"greya.u8", "rgba.f16"}};
	for (const auto& [backgroundName, foregroundName] : PAIRS)
	{
		const PixelFormat backgroundFormat = GetFormat(backgroundName), foregroundFormat = GetFormat(foregroundName);
		std::vector<Byte> background = MakePixels(backgroundFormat, COUNT);
		const std::vector<Byte> foreground = MakePixels(foregroundFormat, COUNT);
		const auto under = ToDouble(backgroundFormat, background, COUNT), over = ToDouble(foregroundFormat, foreground, COUNT);
		for (const std::string& key : GetColorKeys())
		{
			for (const double opacity : {1.0, 0.0, 0.625})
			{
				const BlendPixelHandler handler = FindHandler(key, backgroundFormat, foregroundFormat, opacity).TakeValue();
				EXPECT_FALSE(handler._nativeBlend);
				std::vector<Pixel<double>> result;
				for (std::size_t i = 0; i < COUNT; ++i)
					result.push_back(BlendByReference(key, under[i], over[i], opacity));
				const std::vector<Byte> wanted = FromDouble(backgroundFormat, result);
				std::vector<Byte> found = background;
				const PixelBuffer inPlace(found.data(), backgroundFormat->GetBitsPerPixel());
				ASSERT_TRUE(
					handler._blend(inPlace, inPlace, PixelBuffer(foreground.data(), foregroundFormat->GetBitsPerPixel()), COUNT).IsOk());
				EXPECT_EQ(found, wanted) << key << " of " << foregroundName << " over " << backgroundName << ", opacity " << opacity;
			}
		}
	}
}

TEST_F(BlendFormats, NativeFunctionsAreForTheirOwnLayoutsOnly)
{
	for (const char* name : {"rgba.f32", "rgba.f64"})
	{
		const PixelFormat format = GetFormat(name);
		EXPECT_TRUE(FindHandler("over", format, format, 0.5).TakeValue()._nativeBlend);
		EXPECT_FALSE(FindHandler("applyalpha", format, format, 1.0).TakeValue()._nativeBlend);
		const PixelFormat mask = GetFormat(name == std::string("rgba.f32") ? "alpha.f32" : "alpha.f64");
		EXPECT_TRUE(FindHandler("applyalpha", format, mask, 1.0).TakeValue()._nativeBlend);
		EXPECT_FALSE(FindHandler("over", format, mask, 1.0).TakeValue()._nativeBlend);
	}
	EXPECT_FALSE(FindHandler("over", GetFormat("rgba.f32"), GetFormat("rgba.f64"), 1.0).TakeValue()._nativeBlend);

	// The background as blue, green, red, alpha.
	const PixelFormat rgba = GetFormat("rgba.f32");
	const std::vector<BITS> turned = {64, 32, 0, 96, 128};
	const BlendPixelHandler handler =
		GetMode("multiply")->GetBlendPixelHandler(rgba, turned, rgba, rgba->GetChannelOffsets(), 1.0).TakeValue();
	EXPECT_FALSE(handler._nativeBlend);
	const std::vector<Pixel<float>> background = {{0.5, 0.25, 1, 1}}, foreground = {{0.5, 0.25, 0.125, 1}};
	EXPECT_EQ(Blend(handler._blend, background, foreground), (std::vector<Pixel<float>>{{0.0625, 0.0625, 0.5, 1}}));
}

TEST_F(BlendFormats, MasksOfOtherFormats)
{
	using Bytes = std::array<UChar, 4>;
	const std::vector<Bytes> background = {{10, 20, 30, 255}, {40, 50, 60, 128}};
	const std::vector<UChar> mask = {51, 255};
	EXPECT_EQ(Blend(FindBlend("applyalpha", "rgba.u8", "alpha.u8", 0.0), background, mask),
			  (std::vector<Bytes>{{10, 20, 30, 51}, {40, 50, 60, 128}}));
	const std::vector<Bytes> alphas = {{0, 0, 0, 51}, {0, 0, 0, 255}};
	EXPECT_EQ(Blend(FindBlend("applyalpha", "rgba.u8", "rgba.u8", 1.0), background, alphas)[0], (Bytes{10, 20, 30, 51}));
	// What has no alpha is a full mask, also where it is black.
	EXPECT_EQ(Blend(FindBlend("applyalpha", "rgba.u8", "grey.u8", 1.0), background, std::vector<UChar>{0, 0}), background);
}

TEST_F(BlendFormats, ConversionsThatAreMissingOrFail)
{
	const PixelFormat rgba = GetFormat("rgba.u8");
	const auto error = [&](const PixelFormat& background, const PixelFormat& foreground)
	{
		return GetMode("over")
			->GetBlendPixelHandler(background, rgba->GetChannelOffsets(), foreground, rgba->GetChannelOffsets(), 1.0)
			.GetError()
			.GetId();
	};
	EXPECT_EQ(error(PixelFormat(), rgba), errorids::ILLEGALARGUMENT);
	EXPECT_EQ(error(rgba, PixelFormat()), errorids::ILLEGALARGUMENT);
	const PixelFormat indexed = GetFormat("indexed.u8bit");
	EXPECT_EQ(FindHandler("over", indexed, rgba, 1.0).GetError().GetId(), errorids::ILLEGALSTATE);

	// Two pixels of this format share their colour, so that an odd number of them is refused: here behind a whole chunk.
	const BlendPixelFunc blend = FindBlend("over", "rgba.u8", "yuv.i422a", 1.0);
	const std::vector<Byte> foreground(66 * 2, 255);
	std::vector<Byte> pixels(66 * 4, 7);
	const PixelBuffer inPlace(pixels.data(), 32), over(foreground.data(), 16);
	EXPECT_FALSE(blend(inPlace, inPlace, over, 65).IsOk());
	EXPECT_NE(pixels[63 * 4], 7);
	EXPECT_EQ(pixels[64 * 4], 7);
	EXPECT_TRUE(blend(inPlace, inPlace, over, 66).IsOk());
	EXPECT_TRUE(blend(inPlace, inPlace, over, 0).IsOk());
	EXPECT_TRUE(blend(inPlace, inPlace, over, -1).IsOk());
}

TEST_F(BlendFormats, OutOfMemoryIsAnError)
{
	const PixelFormat background = GetFormat("bgra.u16"), foreground = GetFormat("argb.u8");
	const ImagePixelBlend mode = GetMode("applyalpha");
	const Int count = ForEachAllocationFailure(
		[&]() {
			return mode->GetBlendPixelHandler(background, background->GetChannelOffsets(), foreground, foreground->GetChannelOffsets(),
											  1.0);
		},
		[](const Result<BlendPixelHandler>& result, Bool hasFailed)
		{
			EXPECT_TRUE(result.IsOk() || hasFailed) << result.GetError().ToString();
			EXPECT_TRUE(result.IsOk() || result.GetError().GetInnermostCause().GetId() == errorids::OUTOFMEMORY)
				<< result.GetError().ToString();
		});
	EXPECT_GE(count, 1);
}

TEST_F(BlendFormats, OptimalFormat)
{
	const PixelFormat single = GetFormat("rgba.f32"), twice = GetFormat("rgba.f64");
	const auto optimal = [](const std::vector<PixelFormat>& formats) { return GetOptimalPixelFormat(formats).TakeValue(); };
	EXPECT_EQ(optimal({}), single);
	EXPECT_EQ(optimal({GetFormat("rgba.f16")}), single);
	EXPECT_EQ(optimal({GetFormat("rgb.f64"), GetFormat("rgb.u8")}), twice);
	EXPECT_EQ(optimal({GetFormat("rgb.u8"), GetFormat("alpha.f64")}), twice);
	EXPECT_EQ(optimal({GetFormat("rgb.rgbe"), GetFormat("yuv.i422a"), GetFormat("indexed.u8bit")}), single); // without channels
	const std::vector<PixelFormat> missing(1);
	EXPECT_EQ(GetOptimalPixelFormat(missing).GetError().GetId(), errorids::NULLPTR);
}

TEST_F(BlendFormats, HandlersAreValuesOfTheDataSystem)
{
	EXPECT_TRUE(FindDataType("net.torvi.datatype.blendpixelhandlerref").IsOk());
	EXPECT_TRUE(FindDataType("net.torvi.image.interface.imagepixelblend").IsOk());
}

} // namespace
} // namespace torvi::test
