// The link from a converter to its session, while the session ends on another thread.
#include "tests/mediasession/session_fixture.h"
#include "tests/support/together.h"

namespace torvi::test
{
namespace
{

using SessionThreads = SessionTest;

TEST_F(SessionThreads, SessionsMayEndWhileConvertersAskForThem)
{
	constexpr int ROUNDS = 200;
	constexpr int QUESTIONS = 50;
	const MediaConverterRef converters[] = {
		MakeImporter(),
		TORVI_MUST(CreateObject<MediaOutputTextureInterface>(ids::CLASS_MEDIAOUTPUTTEXTURE)),
	};
	for (int round = 0; round < ROUNDS; ++round)
	{
		MediaSessionRef session = MakeSession();
		ASSERT_EQ(ErrorOf(session->ConnectMediaConverter(converters[0], converters[1])), "");
		RunTogether(3,
					[&](std::size_t thread)
					{
						if (thread == 2)
						{
							session = nullptr;
							return;
						}
						for (int i = 0; i < QUESTIONS; ++i)
						{
							const MediaSessionRef found = converters[thread]->GetSession();
							EXPECT_TRUE(!found || found->GetInputConverters(*converters[1]).size() == 1);
						}
					});
		EXPECT_FALSE(converters[0]->GetSession());
	}
}

} // namespace
} // namespace torvi::test
