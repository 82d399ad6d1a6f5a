// What is registered, and under which names.
#include "pixelformat/registration.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/host_scope.h"
#include "torvi/gfx_image_pixelformat.h"
#include "torvi/ids_formats.h"

#include <gtest/gtest.h>

#include <map>

namespace torvi
{

namespace
{

struct Row
{
	std::string _name;
	std::string _shortName;
	BITS _bits;
	std::string _group;
};

const Row ROWS[] = {
	{"rgb.u8", "RGB::U8", 24, "rgbgroup"},
	{"rgb.u16", "RGB::U16", 48, "rgbgroup"},
	{"rgb.u32", "RGB::U32", 96, "rgbgroup"},
	{"rgb.s32", "RGB::S32", 96, "rgbgroup"},
	{"rgb.f16", "RGB::F16", 48, "rgbgroup"},
	{"rgb.f32", "RGB::F32", 96, "rgbgroup"},
	{"rgb.f64", "RGB::F64", 192, "rgbgroup"},
	{"rgba.u8", "RGBA::U8", 32, "rgbagroup"},
	{"rgba.u16", "RGBA::U16", 64, "rgbagroup"},
	{"rgba.u32", "RGBA::U32", 128, "rgbagroup"},
	{"rgba.s32", "RGBA::S32", 128, "rgbagroup"},
	{"rgba.f16", "RGBA::F16", 64, "rgbagroup"},
	{"rgba.f32", "RGBA::F32", 128, "rgbagroup"},
	{"rgba.f64", "RGBA::F64", 256, "rgbagroup"},
	{"argb.u8", "ARGB::U8", 32, "argbgroup"},
	{"argb.u16", "ARGB::U16", 64, "argbgroup"},
	{"argb.f32", "ARGB::F32", 128, "argbgroup"},
	{"argb.f64", "ARGB::F64", 256, "argbgroup"},
	{"xrgb.u8", "XRGB::U8", 32, "xrgbgroup"},
	{"rgbx.u8", "RGBX::U8", 32, "rgbxgroup"},
	{"bgr.u8", "BGR::U8", 24, "bgrgroup"},
	{"bgr.u16", "BGR::U16", 48, "bgrgroup"},
	{"bgr.f32", "BGR::F32", 96, "bgrgroup"},
	{"bgra.u8", "BGRA::U8", 32, "bgragroup"},
	{"bgra.u16", "BGRA::U16", 64, "bgragroup"},
	{"bgra.f16", "BGRA::F16", 64, "bgragroup"},
	{"bgra.f32", "BGRA::F32", 128, "bgragroup"},
	{"bgrx.u8", "BGRX::U8", 32, "bgrxgroup"},
	{"abgr.u8", "ABGR::U8", 32, "abgrgroup"},
	{"abgr.f32", "ABGR::F32", 128, "abgrgroup"},
	{"grey.u8", "GREY::U8", 8, "greygroup"},
	{"grey.u16", "GREY::U16", 16, "greygroup"},
	{"grey.f16", "GREY::F16", 16, "greygroup"},
	{"grey.f32", "GREY::F32", 32, "greygroup"},
	{"grey.f64", "GREY::F64", 64, "greygroup"},
	{"greya.u8", "GREYA::U8", 16, "greyagroup"},
	{"greya.u16", "GREYA::U16", 32, "greyagroup"},
	{"greya.f16", "GREYA::F16", 32, "greyagroup"},
	{"greya.f32", "GREYA::F32", 64, "greyagroup"},
	{"greya.f64", "GREYA::F64", 128, "greyagroup"},
	{"agrey.u8", "AGREY::U8", 16, "agreygroup"},
	{"agrey.u16", "AGREY::U16", 32, "agreygroup"},
	{"agrey.f16", "AGREY::F16", 32, "agreygroup"},
	{"agrey.f32", "AGREY::F32", 64, "agreygroup"},
	{"agrey.f64", "AGREY::F64", 128, "agreygroup"},
	{"alpha.u8", "ALPHA::U8", 8, "alphagroup"},
	{"alpha.u16", "ALPHA::U16", 16, "alphagroup"},
	{"alpha.f16", "ALPHA::F16", 16, "alphagroup"},
	{"alpha.f32", "ALPHA::F32", 32, "alphagroup"},
	{"alpha.f64", "ALPHA::F64", 64, "alphagroup"},
	{"rgb.u565", "RGB::U565", 16, "rgbgroup"},
	{"rgb.u555", "RGB::U555", 16, "rgbgroup"},
	{"rgb.u444", "RGB::U444", 16, "rgbgroup"},
	{"argb.u1555", "ARGB::U1555", 16, "argbgroup"},
	{"argb.u4444", "ARGB::U4444", 16, "argbgroup"},
	{"bgr.u565", "BGR::U565", 16, "bgrgroup"},
	{"bgr.u555", "BGR::U555", 16, "bgrgroup"},
	{"bgr.u444", "BGR::U444", 16, "bgrgroup"},
	{"abgr.u1555", "ABGR::U1555", 16, "abgrgroup"},
	{"abgr.u4444", "ABGR::U4444", 16, "abgrgroup"},
	{"rgb.rgbe", "RGB::RGBE", 32, "rgbgroup"},
	{"cmyk.u8", "CMYK::U8", 32, "cmykgroup"},
	{"cmyk.u16", "CMYK::U16", 64, "cmykgroup"},
	{"cmyk.f32", "CMYK::F32", 128, "cmykgroup"},
	{"acmyk.u8", "ACMYK::U8", 40, "acmykgroup"},
	{"acmyk.u16", "ACMYK::U16", 80, "acmykgroup"},
	{"acmyk.f32", "ACMYK::F32", 160, "acmykgroup"},
	{"cmyk_inv.u8", "CMYK_INV::U8", 32, "cmyk_invgroup"},
	{"cmyk_inv.u16", "CMYK_INV::U16", 64, "cmyk_invgroup"},
	{"cmyk_inv.f32", "CMYK_INV::F32", 128, "cmyk_invgroup"},
	{"acmyk_inv.u8", "ACMYK_INV::U8", 40, "acmyk_invgroup"},
	{"acmyk_inv.u16", "ACMYK_INV::U16", 80, "acmyk_invgroup"},
	{"acmyk_inv.f32", "ACMYK_INV::F32", 160, "acmyk_invgroup"},
	{"yuv.i422a", "YUV::I422A", 16, "yuvgroup"},
	{"yuv.i422b", "YUV::I422B", 16, "yuvgroup"},
	{"indexed.u1bit", "Indexed::u1bit", 1, "indexedgroup"},
	{"indexed.u2bit", "Indexed::u2bit", 2, "indexedgroup"},
	{"indexed.u3bit", "Indexed::u3bit", 3, "indexedgroup"},
	{"indexed.u4bit", "Indexed::u4bit", 4, "indexedgroup"},
	{"indexed.u5bit", "Indexed::u5bit", 5, "indexedgroup"},
	{"indexed.u6bit", "Indexed::u6bit", 6, "indexedgroup"},
	{"indexed.u7bit", "Indexed::u7bit", 7, "indexedgroup"},
	{"indexed.u8bit", "Indexed::u8bit", 8, "indexedgroup"},
	{"indexed.u16bit", "Indexed::u16bit", 16, "indexedgroup"},
	{"dynamic.redu8", "Dynamic::RedU8", 8, "dynamicgroup"},
	{"dynamic.reds8", "Dynamic::RedS8", 8, "dynamicgroup"},
	{"dynamic.redu16", "Dynamic::RedU16", 16, "dynamicgroup"},
	{"dynamic.reds16", "Dynamic::RedS16", 16, "dynamicgroup"},
	{"dynamic.redu32", "Dynamic::RedU32", 32, "dynamicgroup"},
	{"dynamic.reds32", "Dynamic::RedS32", 32, "dynamicgroup"},
	{"dynamic.redf16", "Dynamic::RedF16", 16, "dynamicgroup"},
	{"dynamic.redf32", "Dynamic::RedF32", 32, "dynamicgroup"},
	{"dynamic.redgreenu8", "Dynamic::RedGreenU8", 16, "dynamicgroup"},
	{"dynamic.redgreens8", "Dynamic::RedGreenS8", 16, "dynamicgroup"},
	{"dynamic.redgreenu16", "Dynamic::RedGreenU16", 32, "dynamicgroup"},
	{"dynamic.redgreens16", "Dynamic::RedGreenS16", 32, "dynamicgroup"},
	{"dynamic.redgreenu32", "Dynamic::RedGreenU32", 64, "dynamicgroup"},
	{"dynamic.redgreens32", "Dynamic::RedGreenS32", 64, "dynamicgroup"},
	{"dynamic.redgreenf16", "Dynamic::RedGreenF16", 32, "dynamicgroup"},
	{"dynamic.redgreenf32", "Dynamic::RedGreenF32", 64, "dynamicgroup"},
};

std::string Text(std::string_view text)
{
	return std::string(text);
}

/// Every format that a walk over the groups reaches, by id.
std::multimap<std::string, PixelFormat> WalkGroups()
{
	std::multimap<std::string, PixelFormat> formats;
	const RegistryRef groups = g_torvi->GetRegistry(ids::REGISTRY_PIXELFORMATGROUPS).TakeValue();
	for (const auto& group : groups->GetEntries<PixelFormatGroupInterface>())
	{
		for (Registry::Iterator it = group->GetEntries(); it.HasValue(); it.MoveToNext())
			formats.emplace(Text(it.GetEntryId().GetText()), Cast<PixelFormatInterface>(it.GetEntry()));
	}
	return formats;
}

TEST(PixelFormatRegistration, WalkReachesEveryFormatOnce)
{
	const HostScope host({&RegisterPixelFormats});
	ASSERT_TRUE(host.IsStarted());
	const auto found = WalkGroups();
	constexpr std::size_t START_LISTS = 4;
	EXPECT_EQ(found.size(), std::size(ROWS) + START_LISTS);
	EXPECT_EQ(std::size(ROWS), 100u);
	for (const Row& row : ROWS)
	{
		SCOPED_TRACE(row._name);
		const std::string id = "net.torvi.image.pixelformat." + row._name;
		ASSERT_EQ(found.count(id), 1u);
		const PixelFormat format = found.find(id)->second;
		EXPECT_EQ(format, GetPixelFormat(InternId(id).TakeValue()));
		EXPECT_EQ(format->GetShortName(), row._shortName);
		EXPECT_EQ(format->GetBitsPerPixel(), row._bits);
		EXPECT_EQ(format->GetBitsPerPixel(), format->GetChannelOffsets().back());
		EXPECT_EQ(CountOf(format->GetChannelOffsets()), format->GetChannelCount() + 1);
		const Id groupId = InternId("net.torvi.image.pixelformat." + row._group).TakeValue();
		EXPECT_EQ(format->GetPixelFormatGroup(), FindDeclared<PixelFormatGroupInterface>(groupId));
		EXPECT_TRUE(format->GetClass()->IsSubclassOf(ids::CLASS_PIXELFORMATBASE));
		if (row._group != "dynamicgroup")
		{
			std::string className = row._shortName;
			className.replace(className.find("::"), 2, ".");
			EXPECT_EQ(format->GetClassId().GetText(), "net.torvi.image.class.pixelformat." + className);
		}
	}
}

TEST(PixelFormatRegistration, EndsCleanlyWhenMemoryRunsOut)
{
	for (Int count = 1; count < 1200; count += 101)
	{
		HostScope host;
		const test::AllocationFailure failure(count, test::AllocationFailure::Mode::KEEPFAILING);
		const Result<void> result = RegisterPixelFormats(host.GetModule());
		ASSERT_TRUE(failure.HasFailed());
		EXPECT_EQ(result.GetError().GetInnermostCause().GetId(), errorids::OUTOFMEMORY) << count;
	}
}

TEST(ImageChannels, TypesFillsAndColourSpaces)
{
	const HostScope host({&RegisterPixelFormats});
	const RegistryRef types = g_torvi->GetRegistry(ids::REGISTRY_IMAGECHANNELTYPES).TakeValue();
	EXPECT_EQ(types->GetCount(), 30);
	const auto type = [&](const Id& id) { return FindDeclared<ImageChannelTypeInterface>(id); };
	for (const auto& entry : types->GetEntries<ImageChannelTypeInterface>())
	{
		const CHANNELTYPE value = entry->GetType();
		const bool isFull = value == CHANNELTYPE::ALPHA || (value >= CHANNELTYPE::CMYK_IC && value <= CHANNELTYPE::CMYK_IK);
		EXPECT_EQ(entry->GetDefaultFillValue(), isFull ? 255 : 0) << Text(entry->ToString({}));
	}
	EXPECT_EQ(type(ids::IMAGECHANNELTYPE_CMYK_IM)->ToString({}), "CMYK_iM");
	EXPECT_EQ(type(ids::IMAGECHANNELTYPE_CMYK_IM)->ToString("short"), "CM");
	EXPECT_EQ(type(ids::IMAGECHANNELTYPE_DEPTHBACK)->ToString("short"), "De");
	EXPECT_FALSE(type(ids::IMAGECHANNELTYPE_UVU)->GetColorSpace());
	EXPECT_EQ(type(ids::IMAGECHANNELTYPE_CMYK_K)->GetColorSpace(), FindDeclared<ColorSpaceInterface>(ids::COLORSPACE_CMYK));
	EXPECT_FALSE(type(ids::IMAGECHANNELTYPE_RED)->GetChannel(GetDataType<UInt64>()));
	EXPECT_FALSE(GetImageChannel(CHANNELTYPE::COLOR, GetDataType<UChar>()));
	const ImageChannel half = GetImageChannel(CHANNELTYPE::GREEN, GetDataType<HalfFloat>());
	EXPECT_EQ(half, type(ids::IMAGECHANNELTYPE_GREEN)->GetChannel(GetDataType<HalfFloat>()));
	EXPECT_EQ(half->GetChannelBits(), 16);
	EXPECT_EQ(half.ToString(), "float16#Green");
	EXPECT_EQ(half->ToString("short"), "float16#Gr");
	EXPECT_EQ(half->GetClassId().GetText(), "net.torvi.image.class.imagechannelPix16f");
}

template <class T>
bool IsIdentical(T a, T b, UChar threshold)
{
	const ImageChannel channel = GetImageChannel(CHANNELTYPE::RED, GetDataType<T>());
	return channel->IsIdenticalComponent(reinterpret_cast<const Byte*>(&a), reinterpret_cast<const Byte*>(&b), threshold);
}

TEST(ImageChannels, IdenticalComponents)
{
	const HostScope host({&RegisterPixelFormats});
	EXPECT_TRUE(IsIdentical<UChar>(10, 13, 3));
	EXPECT_FALSE(IsIdentical<UChar>(0, 255, 1));
	EXPECT_TRUE(IsIdentical<UInt16>(1000, 1256, 1));
	EXPECT_FALSE(IsIdentical<UInt16>(1257, 1000, 1));
	EXPECT_TRUE(IsIdentical<UInt32>(0, 255u << 24, 255));
	EXPECT_TRUE(IsIdentical<Char>(-128, 127, 1)); // the difference wraps
	EXPECT_TRUE(IsIdentical<Char>(5, 5, 200));    // a negative threshold counts as 0
	EXPECT_FALSE(IsIdentical<Char>(5, 6, 200));
	EXPECT_FALSE(IsIdentical<Char>(-128, 0, 127));
	EXPECT_TRUE(IsIdentical<Int16>(256, 0, 1));
	EXPECT_FALSE(IsIdentical<Int32>(0, 1, 0));
	EXPECT_TRUE(IsIdentical<Float32>(0.25f, 0.25f, 0));
	EXPECT_FALSE(IsIdentical<Float32>(0.25f, 0.2500001f, 0));
	EXPECT_TRUE(IsIdentical<Float64>(0.0, 1.0 / 255, 1));
	EXPECT_FALSE(IsIdentical<HalfFloat>(HalfFloat(0.5f), HalfFloat(0.501f), 0));
	EXPECT_TRUE(IsIdentical<HalfFloat>(HalfFloat(0.5f), HalfFloat(0.501f), 1));
}

} // namespace

} // namespace torvi
