// TransformColors: which lines are converted how, and what stays.
#include "tests/image/image_test.h"
#include "torvi/gfx_image_colorprofile_convert.h"

#include <cstring>

namespace torvi
{

namespace
{

using enum IMAGEHIERARCHY;

/// Exchanges red and blue.
class SwapConvert final : public ColorProfileConvertInterface
{
public:
	Result<void> Convert(const PixelBuffer& source, const PixelBuffer& destination, Int count) const override
	{
		for (Int i = 0; i < count; ++i)
		{
			Float32 rgb[3];
			std::memcpy(rgb, source._pixel + i * source._stride / 8, sizeof(rgb));
			std::swap(rgb[0], rgb[2]);
			std::memcpy(destination._pixel + i * destination._stride / 8, rgb, sizeof(rgb));
		}
		return OK;
	}
	ColorProfileGpuRef GetGpuHandler() const override { return {}; }
};

/// Gives the exchange for every pair of profiles, and notes what it was asked.
class ConversionsDouble final : public ColorProfileConvertStaticInterface
{
public:
	Result<ColorProfileConvert> Init(const PixelFormat& srcFormat, const ColorProfile& srcProfile, const PixelFormat& dstFormat,
									 const ColorProfile& dstProfile, COLORCONVERSIONINTENT intent, UInt32 flags) override
	{
		TORVI_CHECK(!_fails, IllegalStateError("cmsCreateTransform failed"));
		EXPECT_EQ(srcFormat, torvi::GetPixelFormat(ids::PIXELFORMAT_RGB_F32));
		EXPECT_EQ(dstFormat, srcFormat);
		EXPECT_EQ(intent, COLORCONVERSIONINTENT::PERCEPTUAL);
		_srcProfile = srcProfile;
		_dstProfile = dstProfile;
		_flags = flags;
		++_calls;
		return ColorProfileConvert(TORVI_TRY(NewObject<SwapConvert>()));
	}
	Result<PixelFormat> GetNearestNativeFormat(const PixelFormat& format) override { return format; }
	Result<ColorProfileConvert> InitGPU(const ColorProfile&, const ColorProfile&, UInt32, UInt32) override { return ColorProfileConvert(); }

	Bool _fails = false;
	ColorProfile _srcProfile;
	ColorProfile _dstProfile;
	UInt32 _flags = 0;
	Int _calls = 0;
};

class ColorTransformTest : public ImageTest
{
protected:
	void SetUp() override { EXPECT_OK(g_torvi->DeclareObject(ids::INTERFACE_COLORPROFILECONVERT, _conversions)); }

	ColorProfile _from = MakePlainProfile();
	ColorProfile _to = MakePlainProfile();
	Ref<ConversionsDouble> _conversions = Must(NewObject<ConversionsDouble>());
};

TEST_F(ColorTransformTest, OnlyColoursChange)
{
	const PixelFormat deep = Must(FindOrCreatePixelFormat(Array<ImageChannel>{
		GetImageChannel(CHANNELTYPE::RED, GetDataType<UChar>()), GetImageChannel(CHANNELTYPE::GREEN, GetDataType<UChar>()),
		GetImageChannel(CHANNELTYPE::BLUE, GetDataType<UChar>()), GetImageChannel(CHANNELTYPE::DEPTH, GetDataType<UInt16>())}));
	const struct
	{
		const char* _name;
		PixelFormat _format;
		Array<Byte> _before; ///< two pixels
		Array<Byte> _after;
	} CASES[] = {
		{"rgb", GetPixelFormat(ids::PIXELFORMAT_RGB_U8), {1, 2, 3, 4, 5, 6}, {3, 2, 1, 6, 5, 4}},
		{"alpha", GetPixelFormat(ids::PIXELFORMAT_RGBA_U8), {1, 2, 3, 0, 4, 5, 6, 7}, {3, 2, 1, 0, 6, 5, 4, 7}},
		{"alpha in front", GetPixelFormat(ids::PIXELFORMAT_ARGB_U8), {0, 1, 2, 3, 9, 4, 5, 6}, {0, 3, 2, 1, 9, 6, 5, 4}},
		{"alpha in a few bits", GetPixelFormat(ids::PIXELFORMAT_ARGB_U4444), {0x21, 0x03, 0x54, 0xF6}, {0x23, 0x01, 0x56, 0xF4}},
		{"alpha alone", GetPixelFormat(ids::PIXELFORMAT_ALPHA_U8), {1, 2}, {1, 2}},
		{"a byte that is not used", GetPixelFormat(ids::PIXELFORMAT_RGBX_U8), {1, 2, 3, 8, 4, 5, 6, 9}, {3, 2, 1, 8, 6, 5, 4, 9}},
		{"depth", deep, {1, 2, 3, 8, 9, 4, 5, 6, 10, 11}, {3, 2, 1, 8, 9, 6, 5, 4, 10, 11}},
	};
	for (const auto& test : CASES)
	{
		const ImageRef image = Make<ImageInterface>(ids::IMAGECLASS_IMAGE);
		EXPECT_OK(image->Init(2, 2, StorageClass(), test._format, {}));
		WriteBytes(*image, {0, 1, 2}, test._before);
		EXPECT_OK(image->TransformColors(_from, _to, 0));
		Array<Byte> after(test._before.size());
		const GetPixelHandlerStruct handler =
			Must(image->GetPixelHandler(test._format, test._format->GetChannelOffsets(), {}, GETPIXELHANDLERFLAGS::NONE, nullptr));
		EXPECT_OK(handler._getLine({0, 1, 2}, PixelBuffer(after.data(), test._format->GetBitsPerPixel()), 0));
		EXPECT_EQ(after, test._after) << test._name;
	}
}

TEST_F(ColorTransformTest, ProfilesAndFlags)
{
	const ImageRef image = MakeImage(2, 2, ids::PIXELFORMAT_RGB_U8);
	EXPECT_OK(image->Set<ColorProfile>(ids::IMAGE_COLORPROFILE, _from));
	EXPECT_EQ(Must(image->TransformColors({}, _to, 1)), ImageBaseRef(image));
	EXPECT_EQ(_conversions->_srcProfile, _from);
	EXPECT_EQ(_conversions->_dstProfile, _to);
	EXPECT_EQ(_conversions->_flags, 2u);
	EXPECT_EQ(Must(image->Get<ColorProfile>(ids::IMAGE_COLORPROFILE)), _from) << "the stored profile is the caller's";
	const ColorProfile other = MakePlainProfile();
	EXPECT_OK(image->TransformColors(other, _to, 2));
	EXPECT_EQ(_conversions->_srcProfile, other);
	EXPECT_EQ(_conversions->_flags, 0u) << "bit 0 only";
	EXPECT_EQ(_conversions->_calls, 2);
	EXPECT_EQ(Must(image->TransformColors(_from, {}, 0)), ImageBaseRef(image));
	EXPECT_OK(Make<ImageInterface>(ids::IMAGECLASS_IMAGE)->TransformColors({}, _to, 0));
	EXPECT_EQ(_conversions->_calls, 2) << "a missing profile leaves all as it is";
}

TEST_F(ColorTransformTest, ClonesAndObservers)
{
	const ImageRef image = MakeImage(2, 2, ids::PIXELFORMAT_RGBA_U8);
	WriteBytes(*image, {0, 0, 1}, {1, 2, 3, 4});
	const ImageRef clone = Cast<ImageInterface>(Must(image->CloneObject()));
	UpdateRegion changed = UpdateRegion::MakeEmpty();
	EXPECT_OK(Must(clone->ObservableRegionChanged(true))
				  ->AddObserver(
					  [&changed](const ImageBaseRef&, const UpdateRegion& region) -> Result<void>
					  {
						  changed = region;
						  return OK;
					  }));
	EXPECT_OK(clone->TransformColors(_from, _to, 0));
	EXPECT_EQ(ReadBytes(*clone, {0, 0, 1}, ids::PIXELFORMAT_RGBA_U8), (Array<Byte>{3, 2, 1, 4}));
	EXPECT_EQ(ReadBytes(*image, {0, 0, 1}, ids::PIXELFORMAT_RGBA_U8), (Array<Byte>{1, 2, 3, 4}));
	EXPECT_EQ(changed, (UpdateRegion{0, 0, 1, 1}));
}

TEST_F(ColorTransformTest, Errors)
{
	const ImageTextureRef texture = MakeTexture();
	const ImageRef image = MakeImage(2, 2, ids::PIXELFORMAT_RGB_U8);
	Hang(texture, IMAGE, image);
	EXPECT_ERROR(errorids::FUNCTIONNOTIMPLEMENTED, texture->TransformColors(_from, _to, 0));
	EXPECT_ERROR(errorids::NULLPTR, Make<ImageInterface>(ids::IMAGECLASS_IMAGE)->TransformColors(_from, _to, 0));
	EXPECT_OK(MakeImage<ImageInterface>(ids::IMAGECLASS_IMAGE, 1, INT64_MAX, ids::PIXELFORMAT_RGB_U8, ids::IMAGEPIXELSTORAGECLASS_NODATA)
				  ->TransformColors(_from, _to, 0));
	_conversions->_fails = true;
	EXPECT_EQ(image->TransformColors(_from, _to, 0).GetError().GetMessage(), "cmsCreateTransform failed");
}

TEST_F(ImageTest, ColoursAreTransformedByTheConversions)
{
	EXPECT_ERROR(errorids::ILLEGALSTATE, MakeImage(1, 1)->TransformColors(MakePlainProfile(), MakePlainProfile(), 0));
}

} // namespace

} // namespace torvi
