// Conversions between profiles, against lcms2 called directly and against literal values.
#include "color/native_formats.h"
#include "tests/color/color_fixture.h"
#include "tests/support/allocation_failure.h"
#include "torvi/ids_formats.h"

#include <atomic>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <thread>

namespace torvi::test
{

namespace
{

struct NativeRow
{
	std::string _name;
	cmsUInt32Number _word;
};

/// The native formats, with the words that lcms2's own macros make of what they are.
std::vector<NativeRow> MakeNativeRows()
{
	constexpr cmsUInt32Number RGB = COLORSPACE_SH(PT_RGB) | CHANNELS_SH(3), GREY = COLORSPACE_SH(PT_GRAY) | CHANNELS_SH(1),
							  CMYK = COLORSPACE_SH(PT_CMYK) | CHANNELS_SH(4), LAST = EXTRA_SH(1), FIRST = LAST | SWAPFIRST_SH(1);
	struct Layout
	{
		const char* _name;
		cmsUInt32Number _word;
		std::size_t _typeCount;
	};
	constexpr Layout LAYOUTS[] = {{"rgb", RGB, 4},           {"bgr", RGB | DOSWAP_SH(1), 3},
								  {"rgba", RGB | LAST, 4},   {"argb", RGB | FIRST, 4},
								  {"grey", GREY, 4},         {"bgra", RGB | FIRST | DOSWAP_SH(1), 1},
								  {"cmyk", CMYK, 3},         {"acmyk", CMYK | FIRST, 3},
								  {"greya", GREY | LAST, 4}, {"agrey", GREY | FIRST, 4}};
	constexpr std::pair<const char*, cmsUInt32Number> TYPES[] = {
		{".u8", BYTES_SH(1)}, {".u16", BYTES_SH(2)}, {".f32", FLOAT_SH(1) | BYTES_SH(4)}, {".f64", FLOAT_SH(1)}};
	std::vector<NativeRow> rows;
	for (const Layout& layout : LAYOUTS)
	{
		for (std::size_t i = 0; i < layout._typeCount; ++i)
			rows.push_back({std::string(layout._name) + TYPES[i].first, layout._word | TYPES[i].second});
	}
	return rows;
}

const std::vector<NativeRow> NATIVE_ROWS = MakeNativeRows();

Int SizeOfValue(cmsUInt32Number word)
{
	return T_BYTES(word) == 0 ? 8 : static_cast<Int>(T_BYTES(word));
}

Int SizeOfPixel(cmsUInt32Number word)
{
	return static_cast<Int>(T_CHANNELS(word) + T_EXTRA(word)) * SizeOfValue(word);
}

/// By lcms2 itself. What it leaves out of the result, alpha, is that of `result`.
std::vector<Byte> ConvertDirect(const ColorProfile& from, cmsUInt32Number fromWord, const ColorProfile& to, cmsUInt32Number toWord,
								const std::vector<Byte>& pixels, cmsUInt32Number intent = INTENT_PERCEPTUAL, cmsUInt32Number flags = 0,
								std::vector<Byte> result = {})
{
	const IccProfile source = OpenIccProfile(TORVI_MUST(from.WriteProfileToMemory()));
	const IccProfile destination = OpenIccProfile(TORVI_MUST(to.WriteProfileToMemory()));
	const IccTransform transform(cmsCreateTransform(source.get(), fromWord, destination.get(), toWord, intent, flags));
	const Int count = CountOf(pixels) / SizeOfPixel(fromWord);
	result.resize(static_cast<std::size_t>(count * SizeOfPixel(toWord)));
	cmsDoTransform(transform.get(), pixels.data(), result.data(), static_cast<cmsUInt32Number>(count));
	return result;
}

/// Noise in the data type that a word tells; floats in 0 to 1.
std::vector<Byte> MakeNoise(cmsUInt32Number word, Int pixels)
{
	std::mt19937 random(7);
	const Int size = SizeOfValue(word);
	std::vector<Byte> bytes(static_cast<std::size_t>(pixels * SizeOfPixel(word)));
	for (Int offset = 0; offset < CountOf(bytes); offset += size)
	{
		const double value = static_cast<double>(random()) / 4294967296.0;
		const Float32 single = static_cast<Float32>(value);
		const auto whole = static_cast<UInt16>(value * 65536.0);
		const void* const from = size == 8 ? static_cast<const void*>(&value) : size == 4 ? static_cast<const void*>(&single) : &whole;
		std::memcpy(bytes.data() + offset, from, static_cast<std::size_t>(size));
	}
	return bytes;
}

TEST_F(ConversionTest, NearestNativeFormats)
{
	constexpr std::pair<const char*, const char*> CASES[] = {
		{"abgr.u8", "argb.u8"},     {"bgra.u16", "argb.u16"},       {"rgbx.u8", "rgb.u8"},        {"rgba.f16", "argb.f32"},
		{"rgb.f16", "rgb.f32"},     {"rgb.u32", "rgb.f32"},         {"grey.f16", "grey.f32"},     {"agrey.f16", "agrey.f32"},
		{"rgb.rgbe", "rgb.f32"},    {"rgb.u565", "rgb.u16"},        {"argb.u1555", "argb.u16"},   {"yuv.i422a", "rgb.u8"},
		{"cmyk_inv.u8", "cmyk.u8"}, {"acmyk_inv.f32", "acmyk.f32"}, {"indexed.u4bit", "argb.u8"}, {"indexed.u16bit", "argb.u16"},
	};
	for (const auto& [name, nearest] : CASES)
	{
		const Result<PixelFormat> found = GetConversions()->GetNearestNativeFormat(FormatOf(name));
		EXPECT_EQ(found.IsOk() ? found.GetValue() : PixelFormat(), FormatOf(nearest)) << name;
	}
	for (const NativeRow& row : NATIVE_ROWS)
		EXPECT_EQ(GetLcmsFormat(TORVI_MUST(GetConversions()->GetNearestNativeFormat(FormatOf(row._name)))).ValueOr(0u), row._word);
	EXPECT_EQ(GetLcmsFormat(FormatOf("abgr.u8")).GetError().GetMessage(), "Unsupported color conversion pixel format ABGR8.");
	const ImageChannel inks[] = {GetImageChannel(CHANNELTYPE::CMYK_C, GetDataType<Float64>())};
	const PixelFormat large = TORVI_MUST(FindOrCreatePixelFormat(inks));
	for (const PixelFormat& format : {large, FormatOf("alpha.u8")})
		EXPECT_EQ(TextOf(GetConversions()->GetNearestNativeFormat(format).GetError()),
				  "net.torvi.error.illegalargument: No compatible color profile conversion pixel format found for: " +
					  std::string(format->ToString()) + ".");
}

/// All native formats to and from one, packed and by chunks: colours are those of lcms2, alpha is that of a plain conversion.
TEST_F(ConversionTest, ColoursAreThoseOfLcms)
{
	constexpr Int COUNT = 131;
	const ColorProfile cmyk = MakeCmykProfile(), grey = GetBuiltInColorProfile(ids::COLORPROFILE_SGREY);
	for (const NativeRow& row : NATIVE_ROWS)
	{
		if (IsInkInFloats(row._word))
			continue;
		const ColorProfile& profile = T_COLORSPACE(row._word) == PT_GRAY ? grey : T_COLORSPACE(row._word) == PT_CMYK ? cmyk : _wide;
		const PixelFormat format = FormatOf(row._name), rgb = FormatOf("rgb.u16");
		const std::vector<Byte> there = MakeNoise(row._word, COUNT), back = MakeNoise(TYPE_RGB_16, COUNT);
		EXPECT_EQ(Convert(row._name, profile, "rgb.u16", _srgb, there), ConvertDirect(profile, row._word, _srgb, TYPE_RGB_16, there))
			<< row._name;

		const Int size = format->GetBitsPerPixel() / 8;
		std::vector<Byte> expected(static_cast<std::size_t>(COUNT * size));
		if (format->HasAlpha())
		{
			const AlphaPixelFormat alpha = TORVI_MUST(format->GetAlphaPixelFormat());
			const Byte full = 255;
			ASSERT_TRUE(alpha._format
							->ConvertPixelFromSlow(PixelBuffer(expected.data() + alpha._byteOffset, size * 8, nullptr, alpha._format),
												   COUNT, PixelBuffer(&full, 0, nullptr, FormatOf("alpha.u8")), nullptr, nullptr, false, 0)
							.IsOk());
		}
		expected = ConvertDirect(_srgb, TYPE_RGB_16, profile, row._word, back, INTENT_PERCEPTUAL, 0, expected);
		const ColorProfileConvert conversion = MakeConversion("rgb.u16", _srgb, row._name, profile);
		EXPECT_EQ(ConvertPacked(conversion, back, rgb, format), expected) << row._name;

		// With gaps, one constant source pixel, and backwards.
		for (const BITS stride : {BITS(64), BITS(0), BITS(-48)})
		{
			std::vector<Byte> spread(COUNT * 8), out(static_cast<std::size_t>(COUNT * (size + 3)), 0xA5);
			Byte* const first = spread.data() + (stride < 0 ? (COUNT - 1) * 6 : 0);
			for (Int i = 0; i < COUNT; ++i)
				std::memcpy(first + i * stride / 8, back.data() + (stride == 0 ? 0 : i * 6), 6);
			ASSERT_TRUE(conversion->Convert(PixelBuffer(first, stride), PixelBuffer(out.data(), (size + 3) * 8), COUNT).IsOk());
			for (Int i = 0; i < COUNT; ++i)
			{
				const Int pixel = stride == 0 ? 0 : i;
				ASSERT_TRUE(std::equal(&expected[static_cast<std::size_t>(pixel * size)],
									   &expected[static_cast<std::size_t>(pixel * size)] + size,
									   &out[static_cast<std::size_t>(i * (size + 3))]))
					<< row._name << " " << stride << " " << i;
				ASSERT_EQ(out[static_cast<std::size_t>(i * (size + 3) + size + 2)], 0xA5);
			}
		}
	}
}

TEST_F(ConversionTest, AlphaMovesWithThePixels)
{
	struct Case
	{
		const char* _source;
		const char* _destination;
		std::vector<Byte> _pixel;
		std::vector<Byte> _alpha; ///< of the result
		std::size_t _offset;
	};
	const Case cases[] = {
		{"rgb.u8", "rgba.u16", {1, 2, 3}, {0xFF, 0xFF}, 6},
		{"rgba.u8", "argb.u8", {1, 2, 3, 77}, {77}, 0},
		{"rgba.u16", "bgra.u8", {1, 2, 3, 4, 5, 6, 7, 0x80}, {0x80}, 3},
		{"bgra.u8", "abgr.u8", {1, 2, 3, 99}, {99}, 0},
		{"rgba.u8", "rgba.f16", {1, 2, 3, 255}, {0x00, 0x3C}, 6},
		{"rgb.u8", "rgba.f32", {1, 2, 3}, BytesOfValues<Float32>({1.0f}), 12},
		{"argb.u4444", "rgba.u8", BytesOfValues<UInt16>({0x8123}), {0x88}, 3},
		{"rgba.u8", "argb.u4444", {255, 255, 255, 0x90}, {}, 0},
	};
	for (const Case& test : cases)
	{
		const std::vector<Byte> out = Convert(test._source, _wide, test._destination, _srgb, test._pixel);
		EXPECT_TRUE(std::equal(test._alpha.begin(), test._alpha.end(), out.begin() + static_cast<std::ptrdiff_t>(test._offset)))
			<< test._source << " to " << test._destination << ": " << int(out[test._offset]);
		EXPECT_TRUE(!test._alpha.empty() || out[1] >> 4 == 9) << "four bits of alpha";
	}
	EXPECT_EQ(Convert("rgba.u16", _srgb, "rgb.u8", _wide, std::vector<Byte>(8, 0xFF)), std::vector<Byte>(3, 255));
}

/// Source and destination may be the same run, also where alpha and colours change places.
TEST_F(ConversionTest, InPlaceGivesTheSame)
{
	constexpr Int COUNT = 200;
	for (const auto& [source, destination] :
		 {std::pair("rgba.u8", "rgba.u8"), std::pair("rgba.u8", "argb.u8"), std::pair("bgra.u8", "abgr.u8"), std::pair("rgb.u8", "bgr.u8"),
		  std::pair("argb.u4444", "rgb.u565")})
	{
		const PixelFormat from = FormatOf(source), to = FormatOf(destination);
		const ColorProfileConvert conversion = MakeConversion(source, _wide, destination, _srgb);
		std::vector<Byte> pixels(static_cast<std::size_t>(from->GetBytesPerLine(COUNT, 1)));
		std::mt19937 random(3);
		std::generate(pixels.begin(), pixels.end(), [&]() { return static_cast<Byte>(random() >> 24); });
		const std::vector<Byte> wanted = ConvertPacked(conversion, pixels, from, to);
		const PixelBuffer run(pixels.data(), from->GetBitsPerPixel());
		ASSERT_TRUE(conversion->Convert(run, run, COUNT).IsOk());
		EXPECT_EQ(pixels, wanted) << source << " to " << destination;
	}
}

TEST_F(ConversionTest, IntentsAndFlags)
{
	const ColorProfile cmyk = MakeCmykProfile();
	const std::vector<Byte> pixels = MakeNoise(TYPE_RGB_8, 50);
	const auto convert = [&](UInt32 intent, UInt32 flags)
	{
		return ConvertPacked(TORVI_MUST(GetConversions()->Init(FormatOf("rgb.u8"), _wide, FormatOf("cmyk.u8"), cmyk,
															   static_cast<COLORCONVERSIONINTENT>(intent), flags)),
							 pixels, FormatOf("rgb.u8"), FormatOf("cmyk.u8"));
	};
	constexpr cmsUInt32Number LCMS_INTENTS[] = {INTENT_PERCEPTUAL, INTENT_RELATIVE_COLORIMETRIC, INTENT_SATURATION,
												INTENT_RELATIVE_COLORIMETRIC};
	for (UInt32 intent = 0; intent < 4; ++intent)
	{
		for (const UInt32 flags : {0u, 1u})
		{
			EXPECT_EQ(convert(intent, flags),
					  ConvertDirect(_wide, TYPE_RGB_8, cmyk, TYPE_CMYK_8, pixels, LCMS_INTENTS[intent], flags != 0 ? 0x2000 : 0))
				<< intent << " " << flags;
		}
	}
	constexpr auto BAD = static_cast<COLORCONVERSIONINTENT>(4);
	EXPECT_EQ(FailureOf("rgb.u8", _wide, "rgb.u8", _srgb, BAD), "net.torvi.error.illegalargument: Illegal COLORCONVERSIONINTENT");
	EXPECT_EQ(FailureOf("rgb.f32", _linear, "rgb.f32", _srgb, BAD), ": ") << "the curves do not look at it";

	EXPECT_EQ(Convert("rgb.u8", _wide, "rgb.u8", _srgb, pixels, 2), ConvertDirect(_srgb, TYPE_RGB_8, _wide, TYPE_RGB_8, pixels))
		<< "reversed, the source is of the destination's profile";
}

TEST_F(ConversionTest, CurvesTakeFloatPairsOnly)
{
	const auto convert = [&](const char* source, const ColorProfile& from, const char* destination, const ColorProfile& to, UInt32 flags,
							 std::initializer_list<Float32> values)
	{
		const std::vector<Byte> bytes = Convert(source, from, destination, to, BytesOfValues(values), flags);
		std::vector<Float32> results(bytes.size() / sizeof(Float32));
		std::memcpy(results.data(), bytes.data(), bytes.size());
		return results;
	};
	const Float32 half = std::pow((0.5f + 0.055f) * 0.9478673f, 2.4f);
	const std::vector<Float32> toLinear = {0.04045f * 0.07739938f, -0.5f, half};
	EXPECT_EQ(convert("rgb.f32", _srgb, "rgb.f32", _linear, 0, {0.04045f, -0.5f, 0.5f}), toLinear);
	EXPECT_EQ(convert("rgb.f32", _linear, "rgb.f32", _srgb, 2, {0.04045f, -0.5f, 0.5f}), toLinear) << "reversed";
	const Float32 encoded = 1.055f * std::pow(0.5f, 0.41666666f) - 0.055f;
	EXPECT_EQ(convert("rgba.f32", _linear, "rgba.f32", _srgb, 0, {0.5f, 0.0f, -2.0f, 0.3f}),
			  (std::vector<Float32>{encoded, 0.0f, -2.0f, 0.3f}));
	const std::vector<Float32> mixed = convert("rgb.f32", _linear, "rgba.f32", _srgb, 0, {0.5f, 0.5f, 0.5f});
	EXPECT_NEAR(mixed[0], encoded, 1e-4) << "other pairs go through lcms2";
	EXPECT_EQ(mixed[3], 1.0f);
}

/// lcms2 has inks of floats in percent.
TEST_F(ConversionTest, InksInFloatsAreScaled)
{
	const ColorProfile cmyk = MakeCmykProfile();
	const std::vector<Byte> colours = MakeNoise(TYPE_RGB_FLT, 100);
	const std::vector<Byte> percents = ConvertDirect(_wide, TYPE_RGB_FLT, cmyk, TYPE_CMYK_FLT, colours);
	const std::vector<Byte> inks = Convert("rgb.f32", _wide, "cmyk.f32", cmyk, colours);
	for (std::size_t i = 0; i < percents.size(); i += sizeof(Float32))
	{
		Float32 ink = 0, percent = 0;
		std::memcpy(&ink, inks.data() + i, sizeof(ink));
		std::memcpy(&percent, percents.data() + i, sizeof(percent));
		ASSERT_EQ(ink, percent / 100.0f) << i;
	}
	const std::vector<Byte> back = Convert("acmyk.f32", cmyk, "rgba.u8", _srgb, BytesOfValues({0.25f, 0.2f, 0.4f, 0.6f, 0.0f}));
	const std::vector<Byte> fromBytes = Convert("cmyk.u8", cmyk, "rgb.u8", _srgb, {51, 102, 153, 0});
	for (std::size_t i = 0; i < 3; ++i)
		EXPECT_NEAR(back[i], fromBytes[i], 1);
	EXPECT_EQ(back[3], 64);
}

TEST_F(ConversionTest, OneObjectForOneQuestionAndFailuresAreRemembered)
{
	const ColorProfileConvert first = MakeConversion("rgb.u8", _wide, "rgb.u8", _srgb);
	EXPECT_EQ(first, MakeConversion("rgb.u8", _wide, "rgb.u8", _srgb));
	EXPECT_FALSE(first == MakeConversion("rgb.u8", _wide, "rgb.u8", _srgb, 1));
	EXPECT_FALSE(first == MakeConversion("rgb.u8", _srgb, "rgb.u8", _wide));
	EXPECT_NE(first->GetHashCodeImpl(), MakeConversion("rgb.u8", _wide, "rgb.u16", _srgb)->GetHashCodeImpl());

	const ColorProfile broken = TORVI_MUST(ColorProfile::CreateProfile(MakeConfig(), "broken"));
	constexpr const char* BROKEN = "net.torvi.error.unsupportedoperation: The configuration is broken.";
	EXPECT_EQ(FailureOf("rgb.u8", broken, "rgb.u8", _srgb), BROKEN);
	FakeOcioConfig::s_lastCall.clear();
	EXPECT_EQ(FailureOf("rgb.u8", broken, "rgb.u8", _srgb), BROKEN);
	EXPECT_EQ(FakeOcioConfig::s_lastCall, "") << "not tried again";
}

TEST_F(ConversionTest, Refusals)
{
	constexpr const char* FAILED = "net.torvi.error.illegalstate: cmsCreateTransform failed";
	EXPECT_EQ(FailureOf("rgb.u8", {}, "rgb.u8", _srgb), "net.torvi.error.nullptr: ");
	EXPECT_EQ(FailureOf("rgb.u8", _srgb, "rgb.u8", {}), "net.torvi.error.nullptr: ");
	EXPECT_EQ(FailureOf("rgb.u8", GetBuiltInColorProfile(ids::COLORPROFILE_SGREY), "rgb.u8", _srgb), FAILED);
	EXPECT_EQ(FailureOf("cmyk.u8", GetBuiltInColorProfile(ids::COLORPROFILE_CMYKDEFAULT), "rgb.u8", _srgb), FAILED);
	EXPECT_EQ(FailureOf("rgb.u8", TORVI_MUST(ColorProfile::CreateProfile(MakeConfig(), "ACEScg")), "rgb.u8", _wide), FAILED)
		<< "a profile that the configuration has no name for";
	EXPECT_EQ(GetConversions()->Init({}, _srgb, FormatOf("rgb.u8"), _wide, {}, 0).GetError().GetId(), errorids::ILLEGALARGUMENT);

	// Equal content: nothing to do, and nothing is done.
	const std::vector<Byte> pixels(6, 9);
	EXPECT_EQ(Convert("rgb.u8", _wide, "bgr.u8", _wide, pixels), std::vector<Byte>(6, 0xA5));
	EXPECT_TRUE(MakeConversion("rgb.u8", _wide, "rgb.u8", _srgb)->Convert(PixelBuffer(), PixelBuffer(), -1).IsOk());
}

TEST_F(ConversionTest, PalettesAreLookedAtInEachConversion)
{
	const PixelFormat plain = FormatOf("indexed.u1bit"), row = FormatOf("rgba.u8");
	const PixelFormat indexed = TORVI_MUST(CreateObject<PixelFormatInterface>(plain->GetClassId()));
	ASSERT_TRUE(indexed->Init(plain->GetPixelFormatGroup(), plain->GetShortName()).IsOk());
	const PixelFormatIndexedColorRef table = Cast<PixelFormatIndexedColorInterface>(indexed);
	ASSERT_TRUE(table->InitColorTable(2, row).IsOk());
	const std::vector<Byte> colours = {10, 20, 30, 40, 200, 100, 50, 60};
	const auto setRow = [&](Int index, const Byte* colour)
	{ ASSERT_TRUE(table->SetIndex(index, PixelBuffer(colour, 32, &row->GetChannelOffsets(), row)).IsOk()); };
	setRow(0, &colours[0]);
	setRow(1, &colours[4]);
	const std::vector<Byte> converted = Convert("rgba.u8", _wide, "rgba.u8", _srgb, colours);
	const auto init = [&]() { return TORVI_MUST(GetConversions()->Init(indexed, _wide, row, _srgb, {}, 0)); };
	const ColorProfileConvert conversion = init();
	EXPECT_FALSE(conversion == init()) << "nothing of a palette is kept";
	const std::vector<Byte> indices(10, 0b01010101);
	std::vector<Byte> out = ConvertPacked(conversion, indices, indexed, row);
	ASSERT_EQ(out.size(), 320u);
	for (std::size_t i = 0; i < out.size(); ++i)
		ASSERT_EQ(out[i], converted[i % 8]) << i;
	setRow(0, &colours[4]);
	out = ConvertPacked(conversion, indices, indexed, row);
	EXPECT_TRUE(std::equal(out.begin(), out.begin() + 4, out.begin() + 4)) << "a change of the table is seen";
	EXPECT_FALSE(GetConversions()->Init(indexed, _wide, indexed, _srgb, {}, 0).IsOk());
}

TEST_F(ConversionTest, OcioConvertsInPlaceOrThroughFloats)
{
	const OcioConfigRef config = MakeConfig();
	const ColorProfile space = TORVI_MUST(ColorProfile::CreateProfile(config, "ACEScg"));
	const ColorProfile view = TORVI_MUST(ColorProfile::CreateProfile(config, "Film", "P3"));
	struct Case
	{
		const char* _source;
		const char* _destination;
		ColorProfile _from;
		ColorProfile _to;
		UInt32 _flags;
		std::vector<Byte> _pixels;
		std::vector<Byte> _wanted;
		const char* _call;
	};
	const Case cases[] = {
		{"rgb.u8", "rgb.u8", space, _srgb, 0, {10, 20, 30, 40, 50, 60}, {5, 10, 15, 20, 25, 30}, "ACEScg > sRGB () 32"},
		{"rgba.u8", "rgba.u8", _linear, view, 2, {10, 20, 30, 40}, {5, 10, 15, 40}, "linear > P3 (Film) 33"},
		{"rgb.f32", "rgb.f32", space, view, 2, BytesOfValues({1.0f, 2.0f, 3.0f}), BytesOfValues({0.5f, 1.0f, 1.5f}),
		 "ACEScg > P3 (Film) 1"},
		{"rgba.f32", "rgba.f32", _srgb, space, 1, BytesOfValues({1.0f, 2.0f, 3.0f, 4.0f}), BytesOfValues({0.5f, 1.0f, 1.5f, 4.0f}),
		 "sRGB > ACEScg () 0"},
		{"rgb.u8", "rgba.f32", _srgb, space, 0, {255, 0, 255}, BytesOfValues({0.5f, 0.0f, 0.5f, 1.0f}), "sRGB > ACEScg () 0"},
		{"bgra.u8", "rgb.u8", space, _linear, 0, {0, 0, 255, 9}, {128, 0, 0}, "ACEScg > linear () 0"},
	};
	for (const Case& test : cases)
	{
		const ColorProfileConvert conversion = MakeConversion(test._source, test._from, test._destination, test._to, test._flags);
		EXPECT_EQ(FakeOcioConfig::s_lastCall, test._call);
		const PixelFormat from = FormatOf(test._source), to = FormatOf(test._destination);
		EXPECT_EQ(ConvertPacked(conversion, test._pixels, from, to), test._wanted) << test._call;
		if (from == to)
		{
			std::vector<Byte> inPlace = test._pixels;
			const PixelBuffer run(inPlace.data(), from->GetBitsPerPixel());
			ASSERT_TRUE(conversion->Convert(run, run, CountOf(inPlace) * 8 / from->GetBitsPerPixel()).IsOk());
			EXPECT_EQ(inPlace, test._wanted) << test._call;
		}
	}
	EXPECT_EQ(Convert("bgr.u8", space, "rgb.u8", _linear, std::vector<Byte>(3 * 150, 100)), std::vector<Byte>(3 * 150, 50));
	EXPECT_TRUE(
		GetConversions()->Init(FormatOf("rgb.u8"), space, FormatOf("rgb.u16"), _srgb, static_cast<COLORCONVERSIONINTENT>(9), 0).IsOk())
		<< "the intent is not looked at";
	EXPECT_NE(FailureOf("rgb.u8", space, "rgb.u8", TORVI_MUST(ColorProfile::CreateProfile(MakeConfig("/other.ocio"), "ACEScg"))), ": ");
}

TEST_F(ConversionTest, GraphicsProcessorsGetTheirHandlerFromOcioOrTheHost)
{
	const ColorProfile view = TORVI_MUST(ColorProfile::CreateProfile(MakeConfig(), "Film", "P3"));
	const ColorProfileConvert ocio = TORVI_MUST(GetConversions()->InitGPU(_srgb, view, 1, 5));
	EXPECT_EQ(FakeOcioConfig::s_lastCall, "gpu sRGB > P3 (Film) 1 5");
	EXPECT_TRUE(ocio->GetGpuHandler());
	EXPECT_EQ(ocio, TORVI_MUST(GetConversions()->InitGPU(_srgb, view, 1, 5)));
	EXPECT_EQ(TextOf(GetConversions()->InitGPU(_srgb, {}, 0, 0).GetError()), "net.torvi.error.nullptr: ");

	constexpr const char* MISSING = "net.torvi.error.nullptr: There is no class net.torvi.image.legacy.gpuhandler.";
	EXPECT_EQ(TextOf(GetConversions()->InitGPU(_srgb, _wide, 1, 0).GetError()), MISSING);
	ASSERT_TRUE(_host->GetModule().AddClass<FakeGpuHandler>(ids::CLASS_LEGACYGPUHANDLER).IsOk());
	EXPECT_EQ(TextOf(GetConversions()->InitGPU(_srgb, _wide, 1, 0).GetError()), MISSING) << "remembered";
	const ColorProfileConvert made = TORVI_MUST(GetConversions()->InitGPU(_srgb, _wide, 1, 7));
	const Ref<FakeGpuHandler> handler = Cast<FakeGpuHandler>(made->GetGpuHandler());
	ASSERT_TRUE(handler);
	EXPECT_EQ(handler->_setup._flags, 1u);
	EXPECT_EQ(handler->_setup._srcProfile, _wide) << "reversed";
	EXPECT_EQ(handler->_setup._dstProfile, _srgb);
}

/// What a damaged profile still opens as is linked, or refused, and never more than that.
TEST_F(ConversionTest, DamagedProfilesConvertOrAreRefused)
{
	Int made = 0;
	for (const ColorProfile& good : {_wide, MakeCmykProfile()})
	{
		const Array<Byte> bytes = TORVI_MUST(good.WriteProfileToMemory());
		const PixelFormat format = FormatOf(good == _wide ? "rgb.u8" : "cmyk.u8");
		for (std::size_t place = 0; place < std::min<std::size_t>(bytes.size(), 500); place += 3)
		{
			Array<Byte> damaged = bytes;
			damaged[place] ^= 0xFF;
			const ColorProfile profile = ColorProfile::OpenProfileFromMemory(damaged).ValueOr(ColorProfile());
			const Result<ColorProfileConvert> conversion =
				GetConversions()->Init(format, profile, FormatOf("rgb.u8"), _srgb, COLORCONVERSIONINTENT::PERCEPTUAL, 1);
			if (!conversion.IsOk())
				continue;
			ConvertPacked(conversion.GetValue(), std::vector<Byte>(24, 99), format, FormatOf("rgb.u8"));
			++made;
		}
	}
	EXPECT_GT(made, 50);
}

/// Each allocation fails once: the error says so and is not remembered, profiles stay whole, nothing is lost.
TEST_F(ConversionTest, LackOfMemoryIsAnErrorAndPasses)
{
	UInt32 flags = 0x100; // bits without a meaning, for a question that nobody has asked yet
	const auto init = [&]() { return GetConversions()->Init(FormatOf("rgb.f32"), _wide, FormatOf("rgba.u16"), _srgb, {}, flags); };
	ASSERT_TRUE(init().IsOk()); // plain conversions are found once
	const auto initNew = [&]()
	{
		flags += 0x100;
		return init();
	};
	const Int count = ForEachAllocationFailure(initNew,
											   [&](const Result<ColorProfileConvert>& result, Bool hasFailed)
											   {
												   if (result.IsOk())
													   return;
												   EXPECT_TRUE(hasFailed);
												   EXPECT_EQ(result.GetError().GetId(), errorids::OUTOFMEMORY);
												   EXPECT_TRUE(init().IsOk());
											   });
	EXPECT_GT(count, 20);
}

/// A profile may hold any number of steps. A link of thousands is refused before it keeps anybody busy.
TEST_F(ConversionTest, EndlessChainsOfStepsAreRefused)
{
	const IccProfile profile = OpenIccProfile(MakeRgbProfile(L"Chain"));
	cmsSetProfileVersion(profile.get(), 4.3);
	cmsPipeline* const chain = cmsPipelineAlloc(nullptr, 3, 3);
	constexpr cmsFloat64Number TURN[] = {0, 1, 0, 0, 0, 1, 1, 0, 0};
	for (int i = 0; i < 3000; ++i)
		cmsPipelineInsertStage(chain, cmsAT_END, cmsStageAllocMatrix(nullptr, 3, 3, TURN, nullptr));
	EXPECT_TRUE(cmsWriteTag(profile.get(), cmsSigDToB0Tag, chain));
	cmsPipelineFree(chain);
	const ColorProfile opened = TORVI_MUST(ColorProfile::OpenProfileFromMemory(BytesOf(profile)));
	EXPECT_EQ(FailureOf("rgb.f32", opened, "rgb.f32", _wide), "net.torvi.error.illegalstate: cmsCreateTransform failed");
}

TEST_F(ConversionTest, ThreadsAskAndConvertAtOnce)
{
	constexpr Int THREADS = 4, ROUNDS = 40, PIXELS = 100;
	constexpr const char* FORMATS[] = {"rgb.u8", "rgba.u8", "rgb.u16", "rgba.f32", "abgr.u8"};
	const Array<Byte> wideBytes = TORVI_MUST(_wide.WriteProfileToMemory());
	std::atomic<Int> failures{0};
	const auto work = [&](Int seed)
	{
		for (Int i = 0; i < ROUNDS; ++i)
		{
			const PixelFormat from = FormatOf(FORMATS[(i + seed) % 5]), to = FormatOf(FORMATS[(i * 3 + 1) % 5]);
			const Result<ColorProfileConvert> conversion =
				GetConversions()->Init(from, i % 2 == 0 ? _wide : _srgb, to, i % 2 == 0 ? _linear : _wide, {}, static_cast<UInt32>(i / 20));
			const std::vector<Byte> source(PIXELS * 16, 77);
			std::vector<Byte> destination(PIXELS * 16);
			const Bool isDone = conversion.IsOk() && conversion.GetValue()
														 ->Convert(PixelBuffer(source.data(), from->GetBitsPerPixel()),
																   PixelBuffer(destination.data(), to->GetBitsPerPixel()), PIXELS)
														 .IsOk();
			const Bool isRefused = !GetConversions()->Init(from, {}, to, _srgb, {}, static_cast<UInt32>(i)).IsOk();
			const Bool isFound = TORVI_MUST(ColorProfile::OpenProfileFromMemory(wideBytes)) == _wide;
			const ColorProfile passing = TORVI_MUST(ColorProfile::OpenProfileFromMemory(MakeRgbProfile(L"Passing"))); // comes and goes
			failures += isDone && isRefused && isFound && passing.HasProfile() ? 0 : 1;
		}
	};
	std::vector<std::jthread> threads;
	for (Int i = 0; i < THREADS; ++i)
		threads.emplace_back(work, i);
	threads.clear();
	EXPECT_EQ(failures, 0);
}

} // namespace

} // namespace torvi::test
