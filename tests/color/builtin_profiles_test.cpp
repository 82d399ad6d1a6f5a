// The registered profiles: what they say, and that they are the same at every start.
#include "color/crc32c.h"
#include "tests/color/color_fixture.h"
#include "torvi/gfx_image_pixelformat.h"

#include <map>

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

constexpr Expectation PROFILES[] = {
	{ids::COLORPROFILE_SRGB, "sRGB IEC61966-2.1", ids::COLORSPACE_RGB},
	{ids::COLORPROFILE_SGREY, "Grey Gamma 2.2", ids::COLORSPACE_GREY},
	{ids::COLORPROFILE_CMYKDEFAULT, "CMYK Default Profile", ids::COLORSPACE_GREY},
	{ids::COLORPROFILE_YUVDEFAULT, "YUV Default Profile", ids::COLORSPACE_GREY},
	{ids::COLORPROFILE_LINEARRGB, "Linear Color Space", ids::COLORSPACE_RGB},
	{ids::COLORPROFILE_LINEARGREY, "Linear Color Space (Gray)", ids::COLORSPACE_GREY},
};

class BuiltInProfiles : public ColorTest
{
};

TEST_F(BuiltInProfiles, AreRegisteredWithTheirTexts)
{
	const RegistryRef registry = TORVI_MUST(g_torvi->GetRegistry(ids::REGISTRY_COLORPROFILES));
	EXPECT_EQ(registry->GetCount(), 7);
	for (const Expectation& expected : PROFILES)
	{
		const ColorProfile profile = GetBuiltInColorProfile(expected._id);
		ASSERT_TRUE(profile.HasProfile()) << expected._description;
		EXPECT_EQ(profile.GetInfo(ColorProfileInfo::DESCRIPTION), expected._description);
		EXPECT_EQ(profile.GetInfo(ColorProfileInfo::NAME), expected._description);
		EXPECT_EQ(profile.GetInfo(ColorProfileInfo::COPYRIGHT), "No copyright, use freely");
		EXPECT_EQ(profile.ToString(), expected._description);
		EXPECT_EQ(profile.GetColorSpace(), FindDeclared<ColorSpaceInterface>(expected._colorSpace)) << expected._description;
		EXPECT_EQ(registry->Find(expected._id), g_torvi->FindDeclaredObject(expected._id));
	}
}

TEST_F(BuiltInProfiles, TheNullProfileIsEmptyEverywhere)
{
	const ColorProfile none = GetBuiltInColorProfile(ids::COLORPROFILE_NONE);
	EXPECT_TRUE(FindDeclared<ColorProfileObject>(ids::COLORPROFILE_NONE));
	EXPECT_EQ(none, ColorProfile());
	EXPECT_EQ(none.ToString(), "<<no profile>>");
	EXPECT_EQ(none.GetInfo(ColorProfileInfo::DESCRIPTION), "");
	EXPECT_EQ(none.GetUniqueHashCode(), (std::pair<UInt64, UInt64>(0, 0)));
	EXPECT_EQ(TextOf(none.WriteProfileToMemory().GetError()), "net.torvi.error.illegalstate: no profile found");
}

TEST_F(BuiltInProfiles, BytesAreTheSameAtEveryStartAndAreRecognised)
{
	std::map<std::string_view, Array<Byte>> earlier;
	for (const Expectation& expected : PROFILES)
		earlier[expected._description] = TORVI_MUST(GetBuiltInColorProfile(expected._id).WriteProfileToMemory());
	Stop();
	ASSERT_TRUE(Start().IsOk());
	constexpr Byte FIXED_DATE[] = {0x07, 0xD0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0};
	for (const Expectation& expected : PROFILES)
	{
		const Array<Byte>& bytes = earlier[expected._description];
		const ColorProfile profile = GetBuiltInColorProfile(expected._id);
		EXPECT_EQ(TORVI_MUST(profile.WriteProfileToMemory()), bytes) << expected._description;
		EXPECT_TRUE(std::equal(std::begin(FIXED_DATE), std::end(FIXED_DATE), bytes.begin() + 24)) << expected._description;
		EXPECT_EQ(profile.GetUniqueHashCode(), (std::pair<UInt64, UInt64>(Crc32c(bytes), 42)));
		EXPECT_EQ(TORVI_MUST(ColorProfile::OpenProfileFromMemory(bytes)), profile) << expected._description;
	}
}

TEST_F(BuiltInProfiles, AProfileOutlivesTheModule)
{
	const ColorProfile kept = GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB);
	Stop();
	EXPECT_EQ(kept.GetInfo(ColorProfileInfo::DESCRIPTION), "Linear Color Space");
	EXPECT_FALSE(kept.GetColorSpace());
	ASSERT_TRUE(Start().IsOk());
	EXPECT_FALSE(kept == GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB));
	EXPECT_EQ(kept.GetCrc(), GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB).GetCrc());
}

} // namespace

} // namespace torvi::test
