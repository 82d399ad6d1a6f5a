// The descriptions that the library carries can be read, and their keys belong to their descriptions.
#include "module/descriptions.h"

#include "host/description.h"
#include "host/registration.h"

#include <gtest/gtest.h>

namespace torvi
{
namespace
{

TEST(Descriptions, CanBeReadAndKeysBelong)
{
	HostServices services;
	ASSERT_TRUE(services.Init().IsOk());
	Module module(services);
	ASSERT_TRUE(RegisterHost(module).IsOk() && RegisterDescriptions(module).IsOk());
	for (const Id id :
		 {Id("net.torvi.mediasession.export"), Id("net.torvi.mediasession.bmp.export"), Id("net.torvi.mediasession.dds.export"),
		  Id("net.torvi.mediasession.dpx.export"), Id("net.torvi.mediasession.jpg.export"), Id("net.torvi.mediasession.png.export"),
		  Id("net.torvi.mediasession.rla.export"), Id("net.torvi.mediasession.tiff.export"), Id("net.torvi.mediasession.avi.export"),
		  Id("net.torvi.mediasession.mf.export")})
	{
		const Result<const DataDescription*> description = DataDescriptionDatabase::LoadDescription(id);
		ASSERT_TRUE(description.IsOk()) << description.GetError().ToString();
		EXPECT_FALSE(description.GetValue()->GetEntries().empty()) << id.GetText();
		for (const DataDescription::Entry& entry : description.GetValue()->GetEntries())
		{
			EXPECT_TRUE(entry._key.GetText().starts_with(Format("@.", id))) << entry._key.GetText();
			EXPECT_NE(entry._values.FindData(ids::DESCRIPTION_HELP), nullptr) << entry._key.GetText();
		}
	}
	module.RunEnd();
	EXPECT_EQ(DataDescriptionDatabase::LoadDescription("net.torvi.mediasession.export").GetError().GetId(), errorids::KEYNOTFOUND);
}

} // namespace
} // namespace torvi
