// What is registered, and under which names.
#include "pixelformat/registration.h"
#include "tests/support/host_scope.h"
#include "torvi/gfx_image_pixelformat.h"
#include "torvi/ids_formats.h"

#include <gtest/gtest.h>

namespace torvi
{

namespace
{

TEST(PixelFormatRegistration, Starts)
{
	const HostScope host({&RegisterPixelFormats});
	ASSERT_TRUE(host.IsStarted());
	EXPECT_TRUE(GetPixelFormat(ids::PIXELFORMAT_RGB_U8));
}

} // namespace

} // namespace torvi
