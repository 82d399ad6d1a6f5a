// The host and the scripted converters of the media session's tests.
#include "tests/mediasession/session_fixture.h"

#include "host/fileformat.h"
#include "image/registration.h"
#include "mediasession/registration.h"
#include "pixelformat/registration.h"

namespace torvi::test
{

void SessionTest::SetUp()
{
	TORVI_MUST(_services.Init());
	g_torvi = &_services;
	TORVI_MUST(RegisterPixelFormats(_module));
	TORVI_MUST(RegisterImages(_module));
	TORVI_MUST(RegisterMediaSession(_module));
}

void SessionTest::TearDown()
{
	_module.RunEnd();
	_services.Clear();
	g_torvi = nullptr;
}

void TestImporter::Log(const char* stage)
{
	_calls.push_back(stage);
	if (_log != nullptr)
		_log->push_back(_name + "." + stage);
}

Result<void> TestImporter::Analyze(Block<const MediaConverterRef> inputs, const TimeValue&, MEDIASESSIONFLAGS)
{
	Log("Analyze");
	TORVI_CHECK(inputs.empty(), IllegalStateError());
	_isDone = false;
	ClearOutputStreams();
	return _publish ? _publish(*this) : OK;
}

Result<void> TestImporter::PrepareExecute(Block<const MediaConverterRef>, const TimeValue&, MEDIASESSIONFLAGS)
{
	Log("PrepareExecute");
	TORVI_CHECK(!_isDone, MediaStreamEOFError());
	_job = TORVI_TRY(GetSession()->GetProgress()->AddProgressJob(1.0, "test image"));
	return OK;
}

Result<void> TestImporter::Execute(Block<const MediaConverterRef>, const TimeValue&, MEDIASESSIONFLAGS)
{
	Log("Execute");
	_isDone = !_isMovie;
	if (_beforeExecute)
		TORVI_TRY(_beforeExecute());
	for (const MediaStreamRef& stream : TORVI_TRY(GetOutputStreams(true)))
	{
		if (!stream->IsSubscribed())
			continue;
		if (const auto exif = Cast<MediaStreamExifDataInterface>(stream))
			TORVI_TRY(exif->HandleExifData({}));
		if (const auto picture = Cast<MediaStreamImageDataImportInterface>(stream))
			TORVI_TRY(Push(picture));
	}
	return OK;
}

Result<void> TestImporter::Push(const MediaStreamImageDataImportRef& stream)
{
	const auto properties = TORVI_TRY(CreateObject<MediaStreamPropertiesInterface>(ids::CLASS_MEDIASTREAMPROPERTIES));
	TORVI_TRY(properties->Init(stream));
	if (_changeProperties)
		TORVI_TRY(_changeProperties(properties));
	TORVI_TRY(stream->InitStream(properties));
	const PixelFormat format = TORVI_TRY(properties->Get<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT));
	const Int width = TORVI_TRY(properties->Get<Int>(ids::MEDIAFORMAT_WIDTH));
	const Int height = TORVI_TRY(properties->Get<Int>(ids::MEDIAFORMAT_HEIGHT));
	SetPixelHandlerStruct handler = TORVI_TRY(stream->SetPixelStream(properties, format->GetChannelOffsets(), SETPIXELHANDLERFLAGS::NONE));
	Array<Byte> line(static_cast<std::size_t>(format->GetBytesPerLine(width, 1)));
	for (Int y = 0; y < height; ++y)
	{
		TORVI_TRY(GetSession()->GetProgress()->SetProgressAndCheckBreak(_job, static_cast<Float64>(y) / static_cast<Float64>(height)));
		for (std::size_t i = 0; i < line.size(); ++i)
			line[i] = static_cast<Byte>(static_cast<std::size_t>(y) * 16 + i);
		TORVI_TRY(handler.SetLine({0, y, width}, PixelBuffer(line.data(), format->GetBitsPerPixel()), 0));
	}
	TORVI_TRY(handler.Free());
	return stream->FinishStream(properties);
}

Result<void> TestImporter::Close(Block<const MediaConverterRef>)
{
	Log("Close");
	return OK;
}

Ref<TestImporter> MakeImporter(std::function<Result<void>(TestImporter&)> publish)
{
	Ref<TestImporter> importer = TORVI_MUST(NewObject<TestImporter>());
	importer->_publish = std::move(publish);
	return importer;
}

MediaStreamImageDataImportRef MakeStream(MediaStreamType type, Int width, Int height, const Id& pixelFormat)
{
	auto stream = TORVI_MUST(CreateObject<MediaStreamImageDataImportInterface>(ids::CLASS_MEDIASTREAMIMAGEDATAIMPORT));
	const auto format = TORVI_MUST(CreateObject<MediaStreamFormatInterface>(ids::CLASS_MEDIASTREAMFORMAT));
	TORVI_MUST(format->Set<UInt32>(ids::MEDIAFORMAT_TYPE, static_cast<UInt32>(type)));
	TORVI_MUST(format->Set<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT, GetPixelFormat(pixelFormat)));
	TORVI_MUST(format->Set<Int>(ids::MEDIAFORMAT_WIDTH, width));
	TORVI_MUST(format->Set<Int>(ids::MEDIAFORMAT_HEIGHT, height));
	TORVI_MUST(stream->AddFormat(TORVI_MUST(Data::Make<Int>(0)), format));
	return stream;
}

MediaStreamFormat GetFormatOf(const MediaStreamRef& stream)
{
	return stream->GetFormat(stream->GetSelectedFormat());
}

MediaStreamImageDataImportRef Below(const MediaStreamRef& parent, const MediaStreamImageDataImportRef& child, Int32 branch)
{
	TORVI_MUST(child->InsertAsLastChildOf(parent, branch));
	return child;
}

MediaStreamImageDataImportRef Named(const MediaStreamImageDataImportRef& stream, std::string_view name)
{
	TORVI_MUST(GetFormatOf(stream)->Set<String>(ids::MEDIAFORMAT_STREAMNAME, MakeString(name)));
	return stream;
}

std::vector<int> ReadOwnBytes(const ImageBaseRef& image)
{
	const PixelFormat format = image->GetPixelFormat();
	Array<Byte> line(static_cast<std::size_t>(format->GetBytesPerLine(image->GetWidth(), 1)));
	std::vector<int> pixels;
	Result<GetPixelHandlerStruct> handler =
		image->GetPixelHandler(format, format->GetChannelOffsets(), {}, GETPIXELHANDLERFLAGS::NOMASKS, nullptr);
	if (!handler.IsOk())
		return pixels;
	for (Int y = 0; y < image->GetHeight(); ++y)
	{
		if (!handler.GetValue()._getLine({0, y, image->GetWidth()}, PixelBuffer(line.data(), format->GetBitsPerPixel()), 0).IsOk())
			return {};
		pixels.insert(pixels.end(), line.begin(), line.end());
	}
	return pixels;
}

std::vector<int> PushedPixels(Int bytesPerLine, Int height)
{
	std::vector<int> pixels;
	for (Int y = 0; y < height; ++y)
	{
		for (Int i = 0; i < bytesPerLine; ++i)
			pixels.push_back(static_cast<int>(y * 16 + i));
	}
	return pixels;
}

MediaSessionRef MakeSession()
{
	return TORVI_MUST(CreateObject<MediaSessionInterface>(ids::CLASS_MEDIASESSIONOBJECT));
}

Result<void> ConvertAll(const MediaSessionRef& session, MEDIASESSIONFLAGS flags)
{
	return session->Convert(TimeValue(), flags);
}

} // namespace torvi::test
