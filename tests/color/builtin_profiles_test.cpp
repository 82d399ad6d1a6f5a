// The registered profiles: what they say, and that they are the same at every start.
#include "tests/color/color_fixture.h"
#include "torvi/gfx_image_pixelformat.h"

namespace torvi::test
{

namespace
{

struct Expectation
{
	Id _id;
	const char* _description;
	Id _colorSpace;
};

constexpr Expectation PROFILES[] = {{ids::COLORPROFILE_SRGB, "sRGB IEC61966-2.1", ids::COLORSPACE_RGB},
									{ids::COLORPROFILE_SGREY, "Grey Gamma 2.2", ids::COLORSPACE_GREY},
									{ids::COLORPROFILE_CMYKDEFAULT, "CMYK Default Profile", ids::COLORSPACE_GREY},
									{ids::COLORPROFILE_YUVDEFAULT, "YUV Default Profile", ids::COLORSPACE_GREY},
									{ids::COLORPROFILE_LINEARRGB, "Linear Color Space", ids::COLORSPACE_RGB},
									{ids::COLORPROFILE_LINEARGREY, "Linear Color Space (Gray)", ids::COLORSPACE_GREY}};

TEST_F(ColorTest, BuiltInProfilesAreTheSameAtEveryStartAndAreRecognised)
{
	std::vector<Array<Byte>> earlier;
	for (const Expectation& expected : PROFILES)
	{
		const ColorProfile profile = GetBuiltInColorProfile(expected._id);
		EXPECT_EQ(profile.ToString(), expected._description);
		EXPECT_EQ(profile.GetInfo(ColorProfileInfo::NAME), expected._description);
		EXPECT_EQ(profile.GetInfo(ColorProfileInfo::COPYRIGHT), "No copyright, use freely");
		EXPECT_EQ(profile.GetColorSpace(), FindDeclared<ColorSpaceInterface>(expected._colorSpace)) << expected._description;
		earlier.push_back(TORVI_MUST(profile.WriteProfileToMemory()));
	}
	const ColorProfile kept = GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB);
	Start();
	for (std::size_t i = 0; i < std::size(PROFILES); ++i)
	{
		const ColorProfile profile = GetBuiltInColorProfile(PROFILES[i]._id);
		EXPECT_EQ(TORVI_MUST(profile.WriteProfileToMemory()), earlier[i]) << PROFILES[i]._description;
		EXPECT_EQ(TORVI_MUST(ColorProfile::OpenProfileFromMemory(earlier[i])), profile) << PROFILES[i]._description;
	}
	EXPECT_EQ(kept.GetInfo(ColorProfileInfo::DESCRIPTION), "Linear Color Space") << "a profile outlives its module";
	EXPECT_FALSE(kept == GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB));
}

TEST_F(ColorTest, TheNullProfileIsEmptyEverywhere)
{
	EXPECT_EQ(TORVI_MUST(g_torvi->GetRegistry(ids::REGISTRY_COLORPROFILES))->GetCount(), 7);
	EXPECT_TRUE(FindDeclared<ColorProfileObject>(ids::COLORPROFILE_NONE));
	const ColorProfile none = GetBuiltInColorProfile(ids::COLORPROFILE_NONE);
	EXPECT_EQ(none, ColorProfile());
	EXPECT_EQ(none.ToString(), "<<no profile>>");
	EXPECT_EQ(none.GetUniqueHashCode(), (std::pair<UInt64, UInt64>(0, 0)));
	EXPECT_EQ(TextOf(none.WriteProfileToMemory().GetError()), "net.torvi.error.illegalstate: no profile found");
}

} // namespace

} // namespace torvi::test
