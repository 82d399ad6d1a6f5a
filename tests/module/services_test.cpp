// The services of the platform are there once the module runs, and nothing else needs them.
#include "torvi/exif.h"
#include "torvi/gfx_image_colorprofile.h"
#include "torvi/module.h"

#include <gtest/gtest.h>

namespace torvi
{
namespace
{

/// A profile of a configuration that is not there: with the service it says so, without it the class is what is missing.
TEST(Services, ProfilesOfConfigurationsDependOnTheOption)
{
	constexpr std::string_view BLOB("ocio_profile\x01\0\0\0\x06\0\0\0\x02/\0a\0b\0\x01\0\0\0c\0\0\0\0", 36);
	const Array<Byte> bytes(BLOB.begin(), BLOB.end());
	ASSERT_TRUE(StartModule().IsOk());
	EXPECT_EQ(CreateObject<OcioConfigInterface>(ids::CLASS_OCIOCONFIG).IsOk(), TORVI_HAS_OCIO);
	const Error error = ColorProfile::OpenProfileFromMemory(bytes).TakeError();
	EXPECT_EQ(error.GetId(), TORVI_HAS_OCIO ? errorids::IO : errorids::NULLPTR) << error.ToString();
	const Array<Byte> icc = TORVI_MUST(GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB).WriteProfileToMemory());
	EXPECT_TRUE(TORVI_MUST(ColorProfile::OpenProfileFromMemory(icc)).HasProfile());
	EndModule();
}

TEST(Services, ExifDataDependsOnTheOption)
{
	const ModuleScope module;
	EXPECT_EQ(CreateObject<ExifStaticInterface>(ids::CLASS_EXIFSTATIC).IsOk(), TORVI_HAS_EXIF);
}

} // namespace
} // namespace torvi
