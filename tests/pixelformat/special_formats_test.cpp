// Texts, alpha and palettes: what the families of formats answer beside their conversions, and the conversions that only they have.
#include "tests/pixelformat/format_helpers.h"
#include "tests/support/allocation_failure.h"

namespace torvi
{

namespace
{

using enum CHANNELTYPE;

class Formats : public testing::Test
{
protected:
	static std::string PixText(const std::string& name, const std::vector<Byte>& pixel)
	{
		return std::string(FormatNamed(name)->PixToString(pixel.data()));
	}
	static std::string Text(const std::string& name) { return std::string(FormatNamed(name).ToString()); }

	const HostScope _host{&RegisterPixelFormats};
};

TEST_F(Formats, Texts)
{
	const std::pair<const char*, const char*> expected[] = {{"argb.u8", "ARGB8"},
															{"rgb.f64", "RGB64"},
															{"xrgb.u8", "RGB8"},
															{"greya.u16", "GreyA16"},
															{"alpha.f32", "A32"},
															{"rgb.u565", "RGB565"},
															{"argb.u1555", "ARGB1555"},
															{"bgr.u555", "BGR555"},
															{"abgr.u1555", "BGRA5551"},
															{"abgr.u4444", "BGRA4444"},
															{"yuv.i422b", "YUV422"},
															{"indexed.u4bit", "Indexed"},
															{"dynamic.redgreenu8", "uchar#Re uchar#Gr"}};
	for (const auto& [name, text] : expected)
		EXPECT_EQ(Text(name), text) << name;
}

TEST_F(Formats, PixelTexts)
{
	EXPECT_EQ(PixText("rgba.u8", {1, 2, 3, 4}), "A 4 R 1 G 2 B 3");
	EXPECT_EQ(PixText("bgrx.u8", {1, 2, 3, 4}), "R 3 G 2 B 1");
	EXPECT_EQ(PixText("greya.u16", {1, 1, 2, 0}), "A 2 Grey 257");
	EXPECT_EQ(PixText("rgb.f16", {0, 0x3C, 0, 0x38, 0, 0}), "R 1 G 0.5 B 0");
	EXPECT_EQ(PixText("rgb.s32", {255, 255, 255, 255, 1, 0, 0, 0, 0, 0, 0, 0x80}), "R -1 G 1 B -2147483648");
	EXPECT_EQ(PixText("alpha.u8", {7}), "");
	EXPECT_EQ(PixText("rgb.u565", {0xFF, 0xFF}), "R5 248 G6 252 B5 248");
	EXPECT_EQ(PixText("argb.u1555", {0x00, 0x80}), "A1 128 R5 0 G5 0 B5 0");
	EXPECT_EQ(PixText("abgr.u4444", {0x01, 0x80}), "A4 136 R4 16 G4 0 B4 0");
	EXPECT_EQ(PixText("rgb.rgbe", {127, 63, 31, 129}), "R 0.99609375 G 0.49609375 B 0.24609375");
	EXPECT_EQ(PixText("yuv.i422a", {0, 0}), "YUV unsupported");
	EXPECT_EQ(PixText("dynamic.redgreens8", {255, 3}), "char#Re -1 char#Gr 3");
}

TEST_F(Formats, Alpha)
{
	const auto alphaOf = [](const std::string& name) { return FormatNamed(name)->GetAlphaPixelFormat(); };
	EXPECT_EQ(alphaOf("rgba.f16").GetValue()._format, FormatNamed("alpha.f16"));
	EXPECT_EQ(alphaOf("rgba.f16").GetValue()._byteOffset, 6);
	EXPECT_EQ(alphaOf("agrey.f64").GetValue()._byteOffset, 0);
	const AlphaPixelFormat wide = alphaOf("rgba.s32").TakeValue();
	EXPECT_EQ(wide._format, FormatOfChannels({{ALPHA, GetDataType<Int32>()}}).TakeValue());
	EXPECT_STREQ(wide._format->GetShortName(), "net.torvi.image.pixelformat.{int32#Alpha}");
	EXPECT_EQ(wide._format->GetAlphaPixelFormat().GetValue()._format, wide._format);
	for (const char* name : {"rgb.u8", "xrgb.u8", "argb.u1555", "rgb.u565", "rgb.rgbe", "dynamic.redu8"})
		EXPECT_EQ(alphaOf(name).GetError().GetId(), errorids::ILLEGALARGUMENT) << name;
	EXPECT_EQ(alphaOf("yuv.i422a").GetError().GetId(), errorids::FUNCTIONNOTIMPLEMENTED);
	EXPECT_TRUE(FormatNamed("argb.u4444")->HasAlpha());
	EXPECT_FALSE(FormatNamed("bgrx.u8")->HasAlpha());
}

TEST_F(Formats, IdenticalPixels)
{
	const auto identical = [](const std::string& name, const std::vector<Byte>& a, const std::vector<Byte>& b, UChar threshold)
	{ return FormatNamed(name)->IsIdenticalPixel(PixelBuffer(a.data(), 0), PixelBuffer(b.data(), 0), threshold); };
	EXPECT_TRUE(identical("xrgb.u8", {1, 2, 3, 4}, {99, 2, 3, 5}, 1)); // the unused channel does not count
	EXPECT_FALSE(identical("rgbx.u8", {1, 2, 3, 4}, {3, 2, 3, 4}, 1));
	EXPECT_TRUE(identical("rgb.u565", {0, 0}, {1, 0}, 8));
	EXPECT_FALSE(identical("rgb.u565", {0, 0}, {1, 0}, 7));
	EXPECT_FALSE(identical("argb.u1555", {0, 0}, {0, 0x80}, 254));
	EXPECT_TRUE(identical("rgb.rgbe", {9, 9, 9, 0}, {0, 0, 0, 0}, 0));
	EXPECT_FALSE(identical("yuv.i422a", {0, 0}, {0, 0}, 255));
	const BITS turned[] = {16, 8, 0, 24};
	const ChannelOffsets offsets(turned);
	const Byte a[] = {1, 2, 3}, b[] = {3, 2, 1};
	EXPECT_TRUE(FormatNamed("rgb.u8")->IsIdenticalPixel(PixelBuffer(a, 0), PixelBuffer(b, 0, &offsets), 0));
}

TEST_F(Formats, BlocksOfPixels)
{
	const PixelFormat bits = FormatNamed("indexed.u1bit"), rgb = FormatNamed("rgb.u8");
	EXPECT_EQ(bits->GetBytesPerLine(9, 1), 2);
	EXPECT_EQ(rgb->GetBytesPerLine(5, 4), 16);
	EXPECT_EQ(rgb->GetBytesPerLine(5, 0), 15);
	EXPECT_GT(rgb->GetBytesPerLine(INT64_MAX / 2, 16), INT64_MAX / 2); // as much as there is, never a small number
	Byte* const block = rgb->CreatePix(5, 3, 4).TakeValue();
	block[47] = 1;
	Free(block);
	EXPECT_EQ(rgb->CreatePix(-1, 1, 1).GetError().GetId(), errorids::ILLEGALARGUMENT);
	EXPECT_EQ(rgb->CreatePix(1, 1, 3).GetError().GetId(), errorids::ILLEGALARGUMENT);
	EXPECT_EQ(rgb->CreatePix(INT64_MAX / 8, 1, 1).GetError().GetId(), errorids::OUTOFMEMORY);
	EXPECT_EQ(rgb->CreatePix(1 << 30, INT64_MAX / 1000, 1).GetError().GetId(), errorids::OUTOFMEMORY);
}

TEST_F(Formats, Packed)
{
	const auto to = [](const std::string& name, UInt16 pixel, const std::string& source)
	{ return Convert<UChar>(FormatNamed(name), FormatNamed(source), 1, std::vector<UInt16>{pixel}); };
	EXPECT_EQ(to("rgb.u8", 0xFFFF, "rgb.u565"), (std::vector<UChar>{248, 252, 248}));
	EXPECT_EQ(to("argb.u8", 0x8000, "argb.u1555"), (std::vector<UChar>{255, 0, 0, 0}));
	EXPECT_EQ(to("argb.u8", 0x8000, "argb.u4444"), (std::vector<UChar>{0x88, 0, 0, 0}));
	EXPECT_EQ(to("rgbx.u8", 0xFFFF, "rgb.u565")[3], 0);
	const auto copy = Convert<UInt16>(FormatNamed("argb.u1555"), FormatNamed("rgb.u555"), 1, std::vector<UInt16>{0x1234});
	EXPECT_EQ(copy[0], 0x9234);
	EXPECT_EQ(Convert<UInt16>(FormatNamed("rgb.u565"), FormatNamed("rgb.u565"), 2, std::vector<UInt16>{7, 65535})[1], 65535);
}

TEST_F(Formats, RgbeAndYuv)
{
	const PixelFormat rgbe = FormatNamed("rgb.rgbe"), yuv = FormatNamed("yuv.i422a"), rgb = FormatNamed("rgb.u8");
	EXPECT_EQ(Convert<UChar>(rgbe, FormatNamed("rgb.f32"), 1, std::vector<Float32>{1.0f, 0.5f, 0.25f}),
			  (std::vector<UChar>{127, 63, 31, 129}));
	EXPECT_EQ(Convert<UChar>(rgbe, rgbe, 1, std::vector<UChar>{1, 2, 3, 4}), (std::vector<UChar>{1, 2, 3, 4}));
	// By way of half floats nothing is cut off at 1.
	EXPECT_EQ(Convert<Float32>(FormatNamed("rgba.f32"), rgbe, 1, std::vector<UChar>{127, 63, 31, 131}),
			  (std::vector<Float32>{3.984375f, 1.984375f, 0.984375f, 1.0f}));
	EXPECT_EQ(Convert<UChar>(yuv, rgb, 2, std::vector<UChar>{255, 255, 255, 0, 0, 0}), (std::vector<UChar>{235, 128, 16, 128}));
	Byte bytes[32] = {};
	for (const PixelFormat& source : {rgb, yuv})
	{
		const ConvertPixelFunc function = LookUp(yuv, source).TakeValue();
		const Result<void> odd = function(PixelBuffer(bytes, 16), 3, PixelBuffer(bytes + 16, 24), 0);
		EXPECT_EQ(odd.GetError().GetId(), errorids::ILLEGALARGUMENT);
		EXPECT_EQ(odd.GetError().GetMessage(), "YUV needs an even number of pixels to convert.");
		EXPECT_TRUE(function(PixelBuffer(bytes, 16), -3, PixelBuffer(bytes + 16, 24), 0).IsOk());
	}
	EXPECT_EQ(bytes[0], 0);
}

/// A palette of opaque greys: row i is (i, i, i, 255).
PixelFormat MakeGreys(const std::string& name, Int count)
{
	const PixelFormat format = Cast<PixelFormatInterface>(FormatNamed(name)->CloneObject().TakeValue());
	const auto palette = Cast<PixelFormatIndexedColorInterface>(format);
	const PixelFormat rgba = FormatNamed("rgba.u8");
	EXPECT_TRUE(palette->InitColorTable(count, rgba).IsOk());
	for (Int i = 0; i < count; ++i)
	{
		const auto grey = static_cast<Byte>(i);
		const Byte row[] = {grey, grey, grey, 255};
		EXPECT_TRUE(palette->SetIndex(i, PixelBuffer(row, 32, nullptr, rgba)).IsOk());
	}
	return format;
}

TEST_F(Formats, IndexedColours)
{
	const PixelFormat rgba = FormatNamed("rgba.u8");
	EXPECT_EQ(Convert<UChar>(FormatNamed("rgb.u8"), MakeGreys("indexed.u1bit", 2), 3, std::vector<UChar>{0x80}),
			  (std::vector<UChar>{1, 1, 1, 0, 0, 0, 0, 0, 0}));
	// 101 010 11|1 ...: the third index lies in two bytes.
	EXPECT_EQ(Convert<UChar>(FormatNamed("bgr.u8"), MakeGreys("indexed.u3bit", 8), 3, std::vector<UChar>{0b10101011, 0b10000000}),
			  (std::vector<UChar>{5, 5, 5, 2, 2, 2, 7, 7, 7}));
	EXPECT_EQ(Convert<UChar>(rgba, MakeGreys("indexed.u8bit", 16), 2, std::vector<UChar>{200, 15}),
			  (std::vector<UChar>{255, 255, 255, 0, 15, 15, 15, 255}));
	EXPECT_EQ(Convert<UChar>(FormatNamed("xrgb.u8"), MakeGreys("indexed.u16bit", 300), 1, std::vector<UInt16>{258}),
			  (std::vector<UChar>{255, 2, 2, 2}));
	// Formats without a kernel of their own go by way of 8 bits.
	EXPECT_EQ(Convert<UInt16>(FormatNamed("bgra.u16"), MakeGreys("indexed.u8bit", 16), 1, std::vector<UChar>{3}),
			  (std::vector<UInt16>{771, 771, 771, 65535}));
}

/// Also where the colours lie in planes, or come by way of another format: both roads work in chunks of 64 pixels.
TEST_F(Formats, OddRunsOfYuvWriteNothing)
{
	constexpr Int COUNT = 129;
	const PixelFormat yuv = FormatNamed("yuv.i422a"), rgb = FormatNamed("rgb.u8"), grey = FormatNamed("grey.u8");
	const BITS planes[] = {0, COUNT * 8, COUNT * 16, 8};
	const ChannelOffsets inPlanes = planes;
	const ChannelOffsets& ofYuv = yuv->GetChannelOffsets();
	struct
	{
		PixelFormat _to, _from;
		ChannelOffsets _toOffsets, _fromOffsets;
	} const roads[] = {
		{yuv, rgb, ofYuv, rgb->GetChannelOffsets()},
		{yuv, rgb, ofYuv, inPlanes},
		{rgb, yuv, inPlanes, ofYuv},
		{yuv, grey, ofYuv, grey->GetChannelOffsets()},
		{grey, yuv, grey->GetChannelOffsets(), ofYuv},
	};
	for (const auto& road : roads)
	{
		Bool isColorConverted = false;
		const ConvertPixelFunc function =
			road._to->GetConvertPixelFunc(road._from, road._fromOffsets, road._toOffsets, nullptr, nullptr, false, isColorConverted)
				.TakeValue();
		const std::vector<Byte> from(3 * COUNT, 200);
		std::vector<Byte> to(3 * COUNT, 7);
		const PixelBuffer source(from.data(), road._fromOffsets.back()), destination(to.data(), road._toOffsets.back());
		for (const Int count : {COUNT, Int(65), Int(63), Int(1)})
		{
			const Result<void> result = function(destination, count, source, 0);
			EXPECT_EQ(result.GetError().GetMessage(), "YUV needs an even number of pixels to convert.");
			EXPECT_EQ(to, std::vector<Byte>(3 * COUNT, 7)) << road._from.ToString() << " to " << road._to.ToString() << ", " << count;
		}
		EXPECT_TRUE(function(destination, COUNT - 1, source, 0).IsOk());
		EXPECT_TRUE(function(destination, -1, source, 0).IsOk());
	}
}

TEST_F(Formats, IndexedTables)
{
	const PixelFormat rgba = FormatNamed("rgba.u8"), rgb16 = FormatNamed("rgb.u16");
	const PixelFormat greys = MakeGreys("indexed.u8bit", 4);
	const auto palette = Cast<PixelFormatIndexedColorInterface>(greys);
	EXPECT_EQ(greys.ToString(), "Indexed 4");
	EXPECT_TRUE(greys->IsEqual(*MakeGreys("indexed.u8bit", 4)));
	EXPECT_EQ(greys->GetHashCodeImpl(), MakeGreys("indexed.u8bit", 4)->GetHashCodeImpl());
	EXPECT_FALSE(greys->IsEqual(*MakeGreys("indexed.u4bit", 4)));
	EXPECT_FALSE(greys->IsEqual(*MakeGreys("indexed.u8bit", 5)));
	EXPECT_NE(greys->GetUniqueId(), FormatNamed("indexed.u8bit")->GetUniqueId());
	EXPECT_EQ(greys->GetClassId().GetText(), "net.torvi.image.class.pixelformat.Indexed.u8bit");
	EXPECT_FALSE(LookUp(greys, MakeGreys("indexed.u8bit", 4)).IsOk()); // equal, but not this very object

	// A function made earlier sees a change of the table, and outlives the format.
	Byte index = 2, color[4] = {};
	const ConvertPixelFunc function = LookUp(rgba, greys).TakeValue();
	const Byte red[] = {255, 0, 0, 128};
	EXPECT_TRUE(palette->SetIndex(2, PixelBuffer(red, 32, nullptr, rgba)).IsOk());
	EXPECT_TRUE(function(PixelBuffer(color, 32), 1, PixelBuffer(&index, 8), 0).IsOk());
	EXPECT_EQ(0, std::memcmp(color, red, 4));
	std::memset(color, 0, 4);
	EXPECT_TRUE(palette->GetIndex(2, PixelBuffer(color, 32, nullptr, rgba)).IsOk());
	EXPECT_EQ(0, std::memcmp(color, red, 4));

	EXPECT_EQ(palette->SetIndex(4, PixelBuffer(red, 32, nullptr, rgba)).GetError().GetId(), errorids::ILLEGALARGUMENT);
	EXPECT_EQ(palette->SetIndex(-1, PixelBuffer(red, 32, nullptr, rgba)).GetError().GetId(), errorids::ILLEGALARGUMENT);
	EXPECT_EQ(palette->GetIndex(0, PixelBuffer(color, 32, nullptr, rgb16)).GetError().GetId(), errorids::ILLEGALARGUMENT);
	EXPECT_EQ(palette->InitColorTable(-1, rgba).GetError().GetId(), errorids::ILLEGALARGUMENT);
	EXPECT_EQ(palette->InitColorTable(1, greys).GetError().GetId(), errorids::ILLEGALARGUMENT); // a table of itself
	{
		const test::AllocationFailure failure(2); // the second of the two tables
		EXPECT_EQ(palette->InitColorTable(9, rgba).GetError().GetId(), errorids::OUTOFMEMORY);
	}
	EXPECT_EQ(palette->GetColorTableSize(), 4);
	EXPECT_TRUE(palette->InitColorTable(2, rgb16).IsOk());
	EXPECT_FALSE(greys->HasAlpha());
	EXPECT_EQ(palette->GetColorTablePixelFormat(), rgb16);
	EXPECT_TRUE(palette->InitColorTable(0, rgb16).IsOk());
	EXPECT_EQ(greys.ToString(), "Indexed");
	EXPECT_TRUE(function(PixelBuffer(color, 32), 1, PixelBuffer(&index, 8), 0).IsOk());
	EXPECT_EQ(color[0], 255);
	EXPECT_EQ(color[3], 0);
}

TEST_F(Formats, IndexedCopies)
{
	const PixelFormat six = FormatNamed("indexed.u6bit");
	const ConvertPixelFunc copy = LookUp(six, six).TakeValue();
	const Byte from[] = {0b10000111, 0b11001011, 0b11111111};
	Byte to[4] = {};
	EXPECT_TRUE(copy(PixelBuffer(to, 6), 2, PixelBuffer(from, 6), 0).IsOk());
	EXPECT_EQ(to[1] & 0xF0, 0xC0);
	EXPECT_TRUE(copy(PixelBuffer(to, 8), 3, PixelBuffer(from, 6), 0).IsOk());
	EXPECT_EQ(to[0] >> 2, 0b100001);
	EXPECT_EQ(to[1] >> 2, 0b111100);
	EXPECT_EQ(to[2] >> 2, 0b101111);
	EXPECT_EQ(to[3], 0);
}

TEST_F(Formats, DynamicFormats)
{
	const DataType u8 = GetDataType<UChar>(), u16 = GetDataType<UInt16>(), u32 = GetDataType<UInt32>(), f32 = GetDataType<Float32>();
	EXPECT_EQ(FormatOfChannels({{RED, u8}, {GREEN, u8}, {BLUE, u8}}).TakeValue(), FormatNamed("rgb.u8"));
	EXPECT_EQ(FormatOfChannels({{BLUE, u8}, {GREEN, u8}, {RED, u8}}).TakeValue(), FormatNamed("bgr.u8"));
	EXPECT_EQ(FormatOfChannels({{RED, u8}}).TakeValue(), FormatNamed("dynamic.redu8"));

	const RegistryRef registry = g_torvi->GetRegistry(ids::REGISTRY_DYNAMIC).TakeValue();
	const Int before = registry->GetCount();
	const PixelFormat mixed = FormatOfChannels({{RED, u8}, {GREEN, u16}, {BLUE, f32}, {ALPHA, u32}}).TakeValue();
	EXPECT_EQ(registry->GetCount(), before); // one of the start lists
	const ChannelOffsets& offsets = mixed->GetChannelOffsets();
	EXPECT_EQ(std::vector<BITS>(offsets.begin(), offsets.end()), (std::vector<BITS>{0, 8, 24, 56, 88}));
	const PixelFormat grey = FormatOfChannels({{GREY, u8}, {DEPTH, u8}}).TakeValue();
	EXPECT_EQ(registry->GetCount(), before + 1);
	EXPECT_EQ(Cast<PixelFormatInterface>(registry->Find(InternId("net.torvi.image.pixelformat.{uchar#Grey,uchar#Depth}").TakeValue())),
			  grey);
	EXPECT_EQ(grey->GetClassId(), ids::CLASS_PIXELFORMATDYNAMIC);
	EXPECT_EQ(grey.ToString(), "uchar#Gr uchar#De");
	EXPECT_EQ(FormatOfChannels({{UNUSED, u8}}).GetValue().ToString(), "Custom");
	EXPECT_EQ(Convert<UChar>(grey, FormatNamed("rgb.u8"), 1, std::vector<UChar>{30, 60, 90}), (std::vector<UChar>{60, 0}));
	EXPECT_EQ(Convert<UChar>(FormatNamed("argb.u8"), grey, 1, std::vector<UChar>{60, 7}), (std::vector<UChar>{255, 60, 60, 60}));
	EXPECT_EQ(Convert<UChar>(grey, grey, 2, std::vector<UChar>{1, 2, 3, 4}), (std::vector<UChar>{1, 2, 3, 4}));
	EXPECT_FALSE(FormatOfChannels({{DEPTH, f32}}).GetValue()->GetColorSpace());
	EXPECT_EQ(FormatOfChannels({{RED, u8}, {ALPHA, u16}}).GetValue()->GetColorSpace(),
			  FindDeclared<ColorSpaceInterface>(ids::COLORSPACE_ALPHA));
}

TEST_F(Formats, DynamicFailuresAreRemembered)
{
	const DataType u8 = GetDataType<UChar>();
	const Result<PixelFormat> none = FindOrCreatePixelFormat({});
	EXPECT_EQ(none.GetError().GetId(), errorids::ILLEGALARGUMENT);
	EXPECT_EQ(none.GetError().GetMessage(), "FindOrCreatePixelFormat() needs at least 1 channel.");
	for (int i = 0; i < 2; ++i)
	{
		const Result<PixelFormat> mixed = FormatOfChannels({{RED, u8}, {CMYK_C, u8}});
		EXPECT_EQ(mixed.GetError().GetId(), errorids::ILLEGALSTATE);
		EXPECT_EQ(mixed.GetError().GetMessage(), "PixelFormat belongs to two different color spaces: net.torvi.image.colorspace.rgb, "
												 "net.torvi.image.colorspace.cmyk");
		EXPECT_EQ(FormatOfChannels({{RED, u8}, {RED, GetDataType<UInt64>()}}).GetError().GetId(), errorids::NULLPTR);
	}
}

} // namespace

} // namespace torvi
