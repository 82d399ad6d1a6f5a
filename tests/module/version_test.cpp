// The objects that tests link carry the version of the headers.
#include "torvi/version.h"

#include <gtest/gtest.h>

TEST(Version, OfHeadersAndObjectsAgree)
{
	EXPECT_STREQ(torvi::GetLibraryVersion(), torvi::VERSION_TEXT);
}
