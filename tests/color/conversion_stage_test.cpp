// When the lookup of a conversion converts profiles: through the pixel formats, as everybody asks.
#include "tests/color/color_fixture.h"
#include "torvi/ids_formats.h"

namespace torvi::test
{

namespace
{

class ConversionStage : public ConversionTest
{
protected:
	struct Answer
	{
		std::string _error;
		Bool _isColorConverted = false;
		ColorProfile _dstProfile;
		ConvertPixelFunc _function;
	};

	static Answer Ask(std::string_view source, std::string_view destination, const ColorProfile& srcProfile, const ColorProfile& dstProfile,
					  Bool force, UInt32 flags = 1)
	{
		const PixelFormat from = FormatOf(source), to = FormatOf(destination);
		Answer answer;
		answer._dstProfile = dstProfile;
		Result<ConvertPixelFunc> function = to->GetConvertPixelFunc(from, from->GetChannelOffsets(), to->GetChannelOffsets(), &srcProfile,
																	&answer._dstProfile, force, flags, answer._isColorConverted);
		if (function.IsOk())
			answer._function = function.TakeValue();
		else
			answer._error = TextOf(function.GetError());
		return answer;
	}

	static std::vector<Byte> Run(const ConvertPixelFunc& function, const std::vector<Byte>& source, std::string_view srcFormat,
								 std::string_view dstFormat)
	{
		const BITS from = FormatOf(srcFormat)->GetBitsPerPixel(), to = FormatOf(dstFormat)->GetBitsPerPixel();
		const Int count = CountOf(source) * 8 / from;
		std::vector<Byte> destination(static_cast<std::size_t>(count * to / 8));
		EXPECT_TRUE(function(PixelBuffer(destination.data(), to), count, PixelBuffer(source.data(), from), 0).IsOk());
		return destination;
	}
};

TEST_F(ConversionStage, DecisionTable)
{
	const ColorProfile none;
	const ColorProfile grey = GetBuiltInColorProfile(ids::COLORPROFILE_SGREY);
	const ColorProfile cmykDefault = GetBuiltInColorProfile(ids::COLORPROFILE_CMYKDEFAULT);
	const std::string incomplete = "net.torvi.error.illegalstate: Warning: Pixel conversion with different color spaces: ";
	const auto spaces = [&](const Id& a, const Id& b)
	{
		return FindDeclared<ColorSpaceInterface>(a)->ToString() + " != " + FindDeclared<ColorSpaceInterface>(b)->ToString() +
			   " and incomplete color profiles: ";
	};
	struct Case
	{
		const char* _name;
		const char* _source;
		const char* _destination;
		ColorProfile _from;
		ColorProfile _to;
		Bool _force;
		Bool _isConverted;
		ColorProfile _left; ///< the value at dstProfile afterwards
		std::string _error;
	};
	const Case cases[] = {
		{"none at all", "grey.u8", "rgb.u8", none, none, true, false, none, ""},
		{"one is missing, not forced, other spaces", "grey.u8", "rgb.u8", grey, none, false, false, none, ""},
		{"one is missing, not forced, the same space", "rgb.u8", "rgb.u16", _wide, none, false, false, _wide, ""},
		{"destination is missing, forced, the same space", "rgb.u8", "rgb.u16", _wide, none, true, false, _wide, ""},
		{"destination is missing, forced, other spaces", "grey.u8", "rgb.u8", grey, none, true, false, none,
		 incomplete + std::string(spaces(ids::COLORSPACE_GREY, ids::COLORSPACE_RGB)) + std::string(grey.ToString()) + " != nullptr"},
		{"no default for the source, forced", "alpha.u8", "rgb.u8", none, _srgb, true, false, _srgb,
		 incomplete + std::string(spaces(ids::COLORSPACE_ALPHA, ids::COLORSPACE_RGB)) + "nullptr != " + std::string(_srgb.ToString())},
		{"the source's default equals the destination's", "rgb.u8", "rgb.u8", none, _srgb, true, false, _srgb, ""},
		{"the source's default differs", "rgb.f32", "rgb.u8", none, _srgb, true, true, _srgb, ""},
		{"the default counts only when forced", "rgb.f32", "rgb.u8", none, _srgb, false, false, _srgb, ""},
		{"equal", "rgb.u8", "rgb.u16", _wide, _wide, true, false, _wide, ""},
		{"unequal, not forced, the same space", "rgb.u8", "rgb.u8", _wide, _srgb, false, false, _wide, ""},
		{"unequal, not forced, other spaces", "grey.u8", "rgb.u8", grey, _srgb, false, true, _srgb, ""},
		{"unequal, forced", "rgb.u8", "rgb.u8", _wide, _srgb, true, true, _srgb, ""},
		{"cannot be converted, other spaces", "rgb.u8", "cmyk.u8", _srgb, cmykDefault, true, false, cmykDefault, ""},
		{"cannot be converted, the same space", "rgb.u8", "bgr.u8", _srgb, cmykDefault, true, false, _srgb, ""},
	};
	for (const Case& test : cases)
	{
		const Answer answer = Ask(test._source, test._destination, test._from, test._to, test._force);
		EXPECT_EQ(answer._error, test._error) << test._name;
		EXPECT_EQ(answer._isColorConverted, test._isConverted) << test._name;
		EXPECT_EQ(answer._dstProfile, test._left) << test._name;
		EXPECT_EQ(static_cast<Bool>(answer._function), test._error.empty()) << test._name;
	}
	Bool isColorConverted = false;
	const PixelFormat grey8 = FormatOf("grey.u8"), rgb8 = FormatOf("rgb.u8");
	EXPECT_TRUE(
		rgb8->GetConvertPixelFunc(grey8, grey8->GetChannelOffsets(), rgb8->GetChannelOffsets(), &grey, nullptr, false, isColorConverted)
			.IsOk())
		<< "dstProfile may be a null pointer";
	EXPECT_FALSE(isColorConverted);
}

TEST_F(ConversionStage, ConvertedFunctionsConvertColoursAndAreNotRemembered)
{
	const std::vector<Byte> pixel = {10, 128, 250};
	const Answer converted = Ask("rgb.u8", "rgb.u8", _srgb, _linear, true);
	ASSERT_TRUE(converted._function);
	EXPECT_NEAR(Run(converted._function, pixel, "rgb.u8", "rgb.u8")[1], 55, 1) << "(128 / 255) to linear";
	const Answer plain = Ask("rgb.u8", "rgb.u8", _srgb, _linear, false);
	EXPECT_EQ(Run(plain._function, pixel, "rgb.u8", "rgb.u8"), pixel);
}

/// Planes on one side and gaps on the other give the values of packed pixels, and what lies between stays.
TEST_F(ConversionStage, ForeignLayouts)
{
	constexpr Int COUNT = 150;
	const PixelFormat format = FormatOf("rgb.u8");
	std::vector<Byte> packed, planes(3 * COUNT);
	for (Int i = 0; i < 3 * COUNT; ++i)
	{
		packed.push_back(static_cast<Byte>(i * 37));
		planes[static_cast<std::size_t>(i % 3 * COUNT + i / 3)] = packed.back();
	}
	const std::vector<Byte> wanted = Run(Ask("rgb.u8", "rgb.u8", _wide, _srgb, true)._function, packed, "rgb.u8", "rgb.u8");
	const BITS planeOffsets[] = {0, 8 * COUNT, 16 * COUNT, 24 * COUNT}, gapOffsets[] = {8, 16, 32, 40};
	Bool isColorConverted = false;
	ColorProfile profile = _srgb;
	const ConvertPixelFunc function =
		TORVI_MUST(format->GetConvertPixelFunc(format, planeOffsets, gapOffsets, &_wide, &profile, true, isColorConverted));
	EXPECT_TRUE(isColorConverted);
	std::vector<Byte> gaps(5 * COUNT, 0xA5), expected(5 * COUNT, 0xA5);
	ASSERT_TRUE(function(PixelBuffer(gaps.data(), 40), COUNT, PixelBuffer(planes.data(), 8), 0).IsOk());
	for (std::size_t i = 0; i < COUNT; ++i)
	{
		expected[5 * i + 1] = wanted[3 * i];
		expected[5 * i + 2] = wanted[3 * i + 1];
		expected[5 * i + 4] = wanted[3 * i + 2];
	}
	EXPECT_EQ(gaps, expected);
}

TEST_F(ConversionStage, ViewsAreReversedWhereTheyAreTheSource)
{
	const OcioConfigRef config = MakeConfig();
	const ColorProfile view = TORVI_MUST(ColorProfile::CreateProfile(config, "Film", "P3"));
	const ColorProfile space = TORVI_MUST(ColorProfile::CreateProfile(config, "ACEScg"));
	EXPECT_TRUE(Ask("rgb.f32", "rgb.f32", space, view, true)._isColorConverted);
	EXPECT_EQ(FakeOcioConfig::s_lastCall, "ACEScg > P3 (Film) 0");
	const Answer back = Ask("rgb.f32", "rgb.f32", view, space, true);
	EXPECT_TRUE(back._isColorConverted);
	EXPECT_EQ(back._dstProfile, space);
	EXPECT_EQ(FakeOcioConfig::s_lastCall, "ACEScg > P3 (Film) 1");
	// A conversion that fails leaves the source's own profile, not the one that it changed sides with.
	const ColorProfile broken = TORVI_MUST(ColorProfile::CreateProfile(config, "broken"));
	const Answer failed = Ask("rgb.f32", "rgb.f32", view, broken, true);
	EXPECT_FALSE(failed._isColorConverted);
	EXPECT_EQ(failed._dstProfile, view);
}

} // namespace

} // namespace torvi::test
