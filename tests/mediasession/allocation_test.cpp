// Running out of memory at every allocation of a load, a save, a session and a stream: the operation gives the out-of-memory error or gets
// by without that allocation, and leaves nothing behind (which the address sanitizer checks).
#include "tests/mediasession/texturebridge_fixture.h"
#include "tests/support/allocation_failure.h"

namespace torvi::test
{
namespace
{

class SessionMemory : public TextureBridge
{
protected:
	/// Publishes streams that are there already: the script itself allocates nothing that could fail.
	static Ref<TestImporter> MakePublishedImporter(Result<void> (*publish)(TestImporter&))
	{
		const Ref<TestImporter> source = MakeImporter();
		TORVI_MUST(publish(*source));
		return MakeImporter(
			[streams = TORVI_MUST(source->GetOutputStreams(false))](TestImporter& self) -> Result<void>
			{
				for (const MediaStreamRef& stream : streams)
					TORVI_TRY(self.AddOutputStream(stream));
				return OK;
			});
	}

	/// Runs the operation with each of its allocations failing. Gives how many there are.
	template <class Operation, class Check>
	static Int FailEach(const Operation& operation, const Check& checkSuccess)
	{
		Int run = 0;
		return ForEachAllocationFailure(operation,
										[&](const auto& result, Bool hasFailed)
										{
											SCOPED_TRACE("run " + std::to_string(run++));
											if (result.IsOk())
												return checkSuccess(result);
											EXPECT_TRUE(hasFailed);
											EXPECT_EQ(result.GetError().GetId(), errorids::OUTOFMEMORY) << result.GetError().ToString();
										});
	}

	static void CheckDocument(const ImageTextureInterface& texture)
	{
		const Array<ImageBaseRef> images = GetImageChildren(texture, IMAGEHIERARCHY::IMAGE);
		ASSERT_EQ(images.size(), 1u);
		EXPECT_EQ(NameOf(images[0]), "picture");
		EXPECT_EQ(ReadOwnBytes(images[0]), PushedPixels(12, 3));
		EXPECT_EQ(GetImageChildren(*images[0], IMAGEHIERARCHY::ALPHA).size(), 1u);
		const Array<ImageBaseRef> layers = GetImageChildren(*images[0], IMAGEHIERARCHY::LAYER);
		ASSERT_EQ(layers.size(), 2u);
		EXPECT_EQ(NameOf(layers[1]), "filter");
		const Array<ImageBaseRef> members = GetImageChildren(*layers[0], IMAGEHIERARCHY::LAYER);
		ASSERT_EQ(members.size(), 1u);
		EXPECT_EQ(members[0]->GetOr<Float64>(ids::IMAGE_LAYER_OPACITY, 0.0), 0.25);
		EXPECT_EQ(GetImageChildren(*members[0], IMAGEHIERARCHY::MASK).size(), 1u);
	}
};

TEST_F(SessionMemory, Loads)
{
	const auto importer = MakePublishedImporter(&PublishLayers);
	AddHandler(importer);
	const Int count = FailEach([&]() { return LoadTexture(_url, TimeValue(), MEDIASESSIONFLAGS::NONE, {}, nullptr); },
							   [&](const Result<ImageTextureRef>& texture)
							   {
								   CheckDocument(*texture.GetValue());
								   EXPECT_FALSE(importer->GetSession());
							   });
	EXPECT_GT(count, 100);
}

TEST_F(SessionMemory, LoadsOfWhatTheFirstHandlerRefuses)
{
	const auto publishOne = [](TestImporter& self) { return PublishPictures(self, 1); };
	const auto refusing = MakePublishedImporter(publishOne);
	refusing->_beforeExecute = []() -> Result<void> { return MediaSessionWrongTypeError(); };
	AddHandler(refusing);
	AddHandler(MakePublishedImporter(publishOne));
	FailEach([&]() { return LoadTexture(_url, TimeValue(), MEDIASESSIONFLAGS::NONE, {}, nullptr); },
			 [](const Result<ImageTextureRef>& texture)
			 { EXPECT_EQ(GetImageChildren(*texture.GetValue(), IMAGEHIERARCHY::IMAGE).size(), 1u); });
}

TEST_F(SessionMemory, Saves)
{
	AddHandler(MakePublishedImporter(&PublishLayers));
	ASSERT_EQ(ErrorOf(Load()), "");
	Ref<TestExporter> exporter;
	const Int count = FailEach(
		[&]() -> Result<void>
		{
			exporter = TORVI_TRY(NewObject<TestExporter>());
			return _texture->Save(exporter, MEDIASESSIONFLAGS::NONE, nullptr);
		},
		[&](const Result<void>&) { EXPECT_EQ(exporter->_seen.size(), 6u); });
	EXPECT_GT(count, 100);
}

TEST_F(SessionMemory, ConnectingLinksBothOrNone)
{
	Ref<TestImporter> input = MakeImporter();
	MediaOutputRef output = TORVI_MUST(CreateObject<MediaOutputTextureInterface>(ids::CLASS_MEDIAOUTPUTTEXTURE));
	MediaSessionRef session;
	ForEachAllocationFailure(
		[&]() -> Result<void>
		{
			session = TORVI_TRY(CreateObject<MediaSessionInterface>(ids::CLASS_MEDIASESSIONOBJECT));
			return session->ConnectMediaConverter(input, output);
		},
		[&](const Result<void>& result, Bool)
		{
			EXPECT_EQ(static_cast<Bool>(input->GetSession()), result.IsOk());
			EXPECT_EQ(static_cast<Bool>(output->GetSession()), result.IsOk());
			session = nullptr;
		});
}

TEST_F(SessionMemory, FormatsAndProperties)
{
	const auto stream = MakeStream(MediaStreamType::IMAGE);
	const MediaStreamFormat format = GetFormatOf(stream);
	MediaStreamImageDataImportRef fresh;
	FailEach(
		[&]() -> Result<MediaStreamProperties>
		{
			fresh = TORVI_TRY(CreateObject<MediaStreamImageDataImportInterface>(ids::CLASS_MEDIASTREAMIMAGEDATAIMPORT));
			TORVI_TRY(fresh->AddFormat(TORVI_TRY(Data::Make<Int>(0)), format));
			MediaStreamProperties properties = TORVI_TRY(CreateObject<MediaStreamPropertiesInterface>(ids::CLASS_MEDIASTREAMPROPERTIES));
			TORVI_TRY(properties->Init(fresh));
			return properties;
		},
		[&](const Result<MediaStreamProperties>& properties)
		{
			EXPECT_EQ(properties.GetValue()->GetOr<Int>(ids::MEDIAFORMAT_WIDTH, 0), 4);
			EXPECT_EQ(GetFormatOf(fresh), format);
		});
}

} // namespace
} // namespace torvi::test
