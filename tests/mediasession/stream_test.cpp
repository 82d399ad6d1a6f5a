// Streams: their table of formats, the subscription, callbacks that are there or not, and properties as copies of formats.
#include "tests/mediasession/session_fixture.h"

namespace torvi::test
{
namespace
{

using Stream = SessionTest;

MediaStreamFormat MakeFormat()
{
	return TORVI_MUST(CreateObject<MediaStreamFormatInterface>(ids::CLASS_MEDIASTREAMFORMAT));
}

Data IdOf(Int value)
{
	return TORVI_MUST(Data::Make<Int>(value));
}

TEST_F(Stream, TheFirstFormatIsSelectedAndReplacingKeepsTheSelection)
{
	const auto stream = TORVI_MUST(CreateObject<MediaStreamInterface>(ids::CLASS_MEDIASTREAMBASE));
	EXPECT_TRUE(stream->GetSelectedFormat().IsEmpty());
	EXPECT_FALSE(stream->GetFormat(IdOf(0)));
	const MediaStreamFormat first = MakeFormat();
	const MediaStreamFormat second = MakeFormat();
	TORVI_MUST(stream->AddFormat(IdOf(7), first));
	TORVI_MUST(stream->AddFormat(IdOf(8), first));
	EXPECT_EQ(stream->GetSelectedFormat(), IdOf(7));
	TORVI_MUST(stream->SetSelectedFormat(IdOf(8)));
	TORVI_MUST(stream->AddFormat(IdOf(7), second));
	EXPECT_EQ(stream->GetSelectedFormat(), IdOf(8));
	EXPECT_EQ(stream->GetFormat(IdOf(7)), second);
	EXPECT_EQ(stream->GetFormats().size(), 2u);
}

TEST_F(Stream, SubscribingToAnUnknownFormatLeavesEverythingAsItWas)
{
	const auto stream = MakeStream(MediaStreamType::IMAGE);
	EXPECT_EQ(ErrorOf(stream->SubscribeStream(IdOf(5))).substr(0, 15), "illegalargument");
	EXPECT_FALSE(stream->IsSubscribed());
	EXPECT_EQ(stream->GetSelectedFormat(), IdOf(0));
	TORVI_MUST(stream->SubscribeStream(IdOf(0)));
	EXPECT_TRUE(stream->IsSubscribed());
	TORVI_MUST(stream->UnsubscribeStream());
	EXPECT_FALSE(stream->IsSubscribed());
}

TEST_F(Stream, ImageStreamsNeedATypeOfTheRightType)
{
	const auto stream = TORVI_MUST(CreateObject<MediaStreamInterface>(ids::CLASS_MEDIASTREAMIMAGEDATAIMPORT));
	const MediaStreamFormat format = MakeFormat();
	EXPECT_EQ(ErrorOf(stream->AddFormat(IdOf(0), {})).substr(0, 7), "nullptr");
	EXPECT_EQ(stream->AddFormat(IdOf(0), format).GetError().GetId(), errorids::KEYNOTFOUND);
	TORVI_MUST(format->Set<Int>(ids::MEDIAFORMAT_TYPE, 1));
	EXPECT_EQ(stream->AddFormat(IdOf(0), format).GetError().GetId(), errorids::WRONGDATATYPE);
	EXPECT_TRUE(stream->GetSelectedFormat().IsEmpty());
}

TEST_F(Stream, WithoutCallbacksPicturesGoNowhereAndExifIsAnError)
{
	const auto import = MakeStream(MediaStreamType::IMAGE);
	EXPECT_EQ(ErrorOf(import->InitStream({})), "");
	SetPixelHandlerStruct set = TORVI_MUST(import->SetPixelStream({}, {}, SETPIXELHANDLERFLAGS::NONE));
	EXPECT_FALSE(set._setLine);
	EXPECT_TRUE(set._updateRegion.IsEmpty());
	EXPECT_EQ(ErrorOf(import->FinishStream({})), "");

	const auto exported = TORVI_MUST(CreateObject<MediaStreamImageDataExportInterface>(ids::CLASS_MEDIASTREAMIMAGEDATAEXPORT));
	EXPECT_FALSE(TORVI_MUST(exported->GetPixelStream({}, {}, {}, {}, GETPIXELHANDLERFLAGS::NONE))._getLine);

	const auto exif = TORVI_MUST(CreateObject<MediaStreamExifDataInterface>(ids::CLASS_MEDIASTREAMEXIFDATA));
	EXPECT_EQ(ErrorOf(exif->HandleExifData({})).substr(0, 7), "nullptr");
	EXPECT_EQ(ErrorOf(exif->FinishStream()), "");
}

TEST_F(Stream, CallbacksGetTheStreamAndHandTheirErrorsOn)
{
	const auto stream = MakeStream(MediaStreamType::IMAGE);
	const auto properties = TORVI_MUST(CreateObject<MediaStreamPropertiesInterface>(ids::CLASS_MEDIASTREAMPROPERTIES));
	Int calls = 0;
	const auto count = [&calls, &stream, &properties](const MediaStreamImageDataImportRef& sender,
													  const MediaStreamProperties& sample) -> Result<void>
	{
		TORVI_CHECK(sender == stream && sample == properties, IllegalArgumentError());
		++calls;
		// Replacing the callbacks from inside one must not end the running closure.
		return calls == 1 ? stream->SetCallbackHandler({}, {}, {}) : OK;
	};
	TORVI_MUST(stream->SetCallbackHandler(count, {}, {}));
	EXPECT_EQ(ErrorOf(stream->InitStream(properties)), "");
	EXPECT_EQ(ErrorOf(stream->InitStream(properties)), "");
	EXPECT_EQ(calls, 1);

	const auto fail = [](const MediaStreamImageDataImportRef&, const MediaStreamProperties&) -> Result<void>
	{ return IoError("scripted"); };
	TORVI_MUST(stream->SetCallbackHandler(
		fail,
		[](const MediaStreamImageDataImportRef&, const MediaStreamProperties&, const ChannelOffsets&,
		   SETPIXELHANDLERFLAGS) -> Result<SetPixelHandlerStruct> { return IoError("scripted"); },
		fail));
	EXPECT_EQ(ErrorOf(stream->InitStream(properties)), "io: scripted");
	EXPECT_EQ(ErrorOf(stream->SetPixelStream(properties, {}, SETPIXELHANDLERFLAGS::NONE)), "io: scripted");
	EXPECT_EQ(ErrorOf(stream->FinishStream(properties)), "io: scripted");
}

TEST_F(Stream, PropertiesAreCopiesOfTheSelectedFormat)
{
	const auto stream = MakeStream(MediaStreamType::IMAGE, 4, 3);
	DataDictionary settings;
	TORVI_MUST(settings.Set<Int>(ids::EXPORT_QUALITY, 1));
	TORVI_MUST(GetFormatOf(stream)->Set<DataDictionary>(ids::MEDIAFORMAT_EXPORTSETTINGS, settings));
	const auto properties = TORVI_MUST(CreateObject<MediaStreamPropertiesInterface>(ids::CLASS_MEDIASTREAMPROPERTIES));
	TORVI_MUST(properties->Set<Int>(ids::MEDIAFORMAT_WIDTH, 99));
	TORVI_MUST(properties->Set<Int>(ids::MEDIAPROPERTY_SKIPPEDFRAMES, 2));
	TORVI_MUST(properties->Init(stream));
	EXPECT_EQ(properties->GetOr<Int>(ids::MEDIAFORMAT_WIDTH, 0), 4);
	EXPECT_EQ(properties->GetOr<Int>(ids::MEDIAPROPERTY_SKIPPEDFRAMES, 0), 2);

	TORVI_MUST(properties->Set<Int>(ids::MEDIAFORMAT_HEIGHT, 50));
	DataDictionary changed = TORVI_MUST(properties->Get<DataDictionary>(ids::MEDIAFORMAT_EXPORTSETTINGS));
	TORVI_MUST(changed.Set<Int>(ids::EXPORT_QUALITY, 2));
	TORVI_MUST(properties->Set<DataDictionary>(ids::MEDIAFORMAT_EXPORTSETTINGS, changed));
	EXPECT_EQ(GetFormatOf(stream)->GetOr<Int>(ids::MEDIAFORMAT_HEIGHT, 0), 3);
	EXPECT_EQ(TORVI_MUST(GetFormatOf(stream)->Get<DataDictionary>(ids::MEDIAFORMAT_EXPORTSETTINGS)), settings);

	EXPECT_EQ(ErrorOf(properties->Init(MediaStreamFormat())).substr(0, 7), "nullptr");
	EXPECT_EQ(ErrorOf(properties->Init(MediaStreamRef())).substr(0, 7), "nullptr");
}

} // namespace
} // namespace torvi::test
