// The importer and exporter skeletons, through a format that exists for these tests only.
#include "mediasession/image_export.h"
#include "tests/mediasession/test_format.h"
#include "tests/mediasession/test_format_fixture.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/failing_url.h"
#include "torvi/gfx_image.h"
#include "torvi/ids_formats.h"

#include <algorithm>
#include <cmath>

namespace torvi::test
{

namespace
{

using SkeletonTest = MediaTest<&RegisterTestFormat>;

struct TestStream
{
	MediaStreamType _type;
	int _parent; ///< from 1; 0 for a picture
	int _width;
	int _height;
	int _bytesPerPixel;
};

/// Two pictures: the first with an alpha channel and a folder that holds a layer with a mask, the second alone.
constexpr TestStream STREAMS[] = {
	{MediaStreamType::IMAGE, 0, 5, 4, 1},       {MediaStreamType::ALPHA, 1, 5, 4, 1},     {MediaStreamType::LAYERFOLDER, 1, 5, 4, 4},
	{MediaStreamType::RASTERLAYER, 3, 3, 2, 4}, {MediaStreamType::LAYERMASK, 4, 2, 6, 1}, {MediaStreamType::IMAGE, 0, 1, 7, 1},
};
constexpr Int STREAM_COUNT = std::size(STREAMS);

/// The byte at a place of a stream's pixels; the same rule makes the file and checks what comes back.
Byte ByteOf(std::size_t stream, std::size_t index)
{
	return static_cast<Byte>(stream * 40 + index * 3 + 1);
}

Array<Byte> MakeTestFile()
{
	Array<Byte> bytes = {'T', 'E', 'S', 'T', static_cast<Byte>(STREAM_COUNT)};
	for (const TestStream& stream : STREAMS)
	{
		const int fields[] = {static_cast<int>(stream._type), stream._parent, 0, stream._width, 0, stream._height};
		for (const int field : fields)
			bytes.push_back(static_cast<Byte>(field));
	}
	for (std::size_t i = 0; i < std::size(STREAMS); ++i)
	{
		for (int k = 0; k < STREAMS[i]._width * STREAMS[i]._height * STREAMS[i]._bytesPerPixel; ++k)
			bytes.push_back(ByteOf(i, static_cast<std::size_t>(k)));
	}
	return bytes;
}

/// An output that subscribes to chosen streams and keeps what they are given.
struct Recorder
{
	struct Entry
	{
		std::vector<std::string> _calls;
		std::vector<Byte> _bytes;
	};
	std::vector<Entry> _entries = std::vector<Entry>(STREAM_COUNT);
};

Recorder* g_recorder = nullptr; // delegates are small, and one test runs at a time

Result<void> Subscribe(const MediaStreamRef& anyStream, std::size_t index)
{
	const auto stream = Cast<MediaStreamImageDataImportInterface>(anyStream);
	TORVI_TRY(stream->SubscribeStream(stream->GetSelectedFormat()));
	const auto note = [index](const char* call)
	{
		return [index, call](const MediaStreamImageDataImportRef&, const MediaStreamProperties&) -> Result<void>
		{
			g_recorder->_entries[index]._calls.push_back(call);
			return OK;
		};
	};
	const auto pixel = [index](const MediaStreamImageDataImportRef&, const MediaStreamProperties& properties, const ChannelOffsets&,
							   SETPIXELHANDLERFLAGS) -> Result<SetPixelHandlerStruct>
	{
		const PixelFormat format = TORVI_TRY(properties->Get<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT));
		SetPixelHandlerStruct record;
		record._setLine = [index, bytesPerPixel = BytesOf(format->GetBitsPerPixel())](const ImagePos& pos, const PixelBuffer& source,
																					  UInt32) -> Result<void>
		{
			auto& bytes = g_recorder->_entries[index]._bytes;
			bytes.insert(bytes.end(), source._pixel, source._pixel + pos._count * bytesPerPixel);
			return OK;
		};
		record._freeHandler = [index](SetPixelHandlerStruct&) -> Result<void>
		{
			g_recorder->_entries[index]._calls.push_back("free");
			return OK;
		};
		return record;
	};
	return stream->SetCallbackHandler(note("init"), pixel, note("finish"));
}

MediaInputRef MakeImporter(const Url& url)
{
	const auto importer = TORVI_MUST(CreateObject<UrlImporterInterface>(TEST_FORMAT._importer));
	importer->SetUrl(url);
	return importer;
}

Result<void> RunStages(const MediaInputRef& importer, UInt32 subset)
{
	TORVI_TRY(importer->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE));
	const Array<MediaStreamRef> streams = TORVI_TRY(importer->GetOutputStreams(true));
	TORVI_CHECK(CountOf(streams) == STREAM_COUNT, IllegalStateError("@ streams", CountOf(streams)));
	for (std::size_t i = 0; i < streams.size(); ++i)
	{
		if ((subset >> i & 1) != 0)
			TORVI_TRY(Subscribe(streams[i], i));
	}
	TORVI_TRY(importer->PrepareExecute({}, TimeValue(), MEDIASESSIONFLAGS::NONE));
	TORVI_TRY(importer->Execute({}, TimeValue(), MEDIASESSIONFLAGS::NONE));
	return OK;
}

/// Depth first, children by branch: alpha, then the folder with its layer and mask, then the second picture, which is the file's order.
void CheckRecorder(const Recorder& recorder, UInt32 subset)
{
	for (std::size_t i = 0; i < std::size(STREAMS); ++i)
	{
		const auto& entry = recorder._entries[i];
		const bool isWanted = (subset >> i & 1) != 0;
		std::vector<Byte> wantedBytes;
		for (int k = 0; isWanted && k < STREAMS[i]._width * STREAMS[i]._height * STREAMS[i]._bytesPerPixel; ++k)
			wantedBytes.push_back(ByteOf(i, static_cast<std::size_t>(k)));
		const std::vector<std::string> wantedCalls =
			isWanted ? std::vector<std::string>{"init", "free", "finish"} : std::vector<std::string>{};
		EXPECT_EQ(entry._bytes, wantedBytes) << "subset " << subset << ", stream " << i;
		EXPECT_EQ(entry._calls, wantedCalls) << "subset " << subset << ", stream " << i;
	}
}

TEST_F(SkeletonTest, DeliversEverySubsetOfStreamsFromFilesThatCannotSeek)
{
	const Array<Byte> file = MakeTestFile();
	for (UInt32 subset = 0; subset < 1u << STREAM_COUNT; ++subset)
	{
		Recorder recorder;
		g_recorder = &recorder;
		const MediaInputRef importer = MakeImporter(MakeFailingUrl(file, {._canSeek = false}));
		const Result<void> result = RunStages(importer, subset);
		ASSERT_TRUE(result.IsOk()) << TextOf(result.GetError());
		CheckRecorder(recorder, subset);
		EXPECT_EQ(importer->Execute({}, TimeValue(), MEDIASESSIONFLAGS::NONE).GetError().GetId(), errorids::MEDIASTREAMEOF);
	}
}

TEST_F(SkeletonTest, StartsOverWithAnotherAnalyze)
{
	Recorder recorder;
	g_recorder = &recorder;
	const MediaInputRef importer = MakeImporter(MakeMemoryUrl(MakeTestFile()));
	ASSERT_TRUE(RunStages(importer, 0).IsOk());
	ASSERT_TRUE(RunStages(importer, 63).IsOk()) << "streams were published twice";
	CheckRecorder(recorder, 63);
	EXPECT_TRUE(importer->Close({}).IsOk());
}

TEST_F(SkeletonTest, RefusesTreesThatAreTooDeep)
{
	for (const Int levels : {LAYER_NESTING_LIMIT, LAYER_NESTING_LIMIT + 1})
	{
		Array<Byte> file = {'T', 'E', 'S', 'T', static_cast<Byte>(levels + 1)};
		for (Int i = 0; i <= levels; ++i)
		{
			const MediaStreamType type = i == 0 ? MediaStreamType::IMAGE : MediaStreamType::LAYERFOLDER;
			for (const Int field : {static_cast<Int>(type), i, Int(0), Int(1), Int(0), Int(1)})
				file.push_back(static_cast<Byte>(field));
		}
		const Result<void> result = MakeImporter(MakeMemoryUrl(file))->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE);
		EXPECT_EQ(result.GetError().GetId(), levels > LAYER_NESTING_LIMIT ? errorids::FILEFORMAT : Id()) << levels;
	}
}

TEST_F(SkeletonTest, ImporterRefusesMisuse)
{
	const MediaInputRef importer = MakeImporter(MakeMemoryUrl(MakeTestFile()));
	const MediaConverterRef inputs[] = {importer};
	const auto idOf = [](const Result<void>& result) { return result.GetError().GetId(); };
	EXPECT_EQ(idOf(importer->PrepareExecute({}, TimeValue(), MEDIASESSIONFLAGS::NONE)), errorids::ILLEGALSTATE) << "not analysed";
	EXPECT_EQ(idOf(importer->Analyze(inputs, TimeValue(), MEDIASESSIONFLAGS::NONE)), errorids::ILLEGALSTATE);
	ASSERT_TRUE(importer->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE).IsOk());
	EXPECT_EQ(idOf(importer->PrepareExecute(inputs, TimeValue(), MEDIASESSIONFLAGS::NONE)), errorids::ILLEGALSTATE);
	EXPECT_EQ(idOf(importer->Execute(inputs, TimeValue(), MEDIASESSIONFLAGS::NONE)), errorids::ILLEGALSTATE);

	const MediaStreamRef stream = TORVI_MUST(importer->GetOutputStreams(true)).at(0);
	TORVI_MUST(stream->SubscribeStream(stream->GetSelectedFormat()));
	TORVI_MUST(importer->Close({}));
	EXPECT_EQ(idOf(importer->Execute({}, TimeValue(), MEDIASESSIONFLAGS::NONE)), errorids::ILLEGALSTATE) << "closed";

	const MediaInputRef damaged = MakeImporter(MakeMemoryUrl(Block<const Byte>(MakeTestFile()).first(14)));
	EXPECT_EQ(idOf(damaged->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE)), errorids::IO);
	EXPECT_EQ(idOf(damaged->PrepareExecute({}, TimeValue(), MEDIASESSIONFLAGS::NONE)), errorids::ILLEGALSTATE) << "half a tree stayed";
	EXPECT_EQ(idOf(MakeImporter(Url())->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE)), errorids::ILLEGALARGUMENT);
}

/// Streams that were begun are finished, whatever byte the file fails at, and the file's error comes out.
TEST_F(SkeletonTest, FinishesOpenStreamsWhenTheFileFails)
{
	const Array<Byte> file = MakeTestFile();
	for (Int end = 0; end < CountOf(file); ++end)
	{
		Recorder recorder;
		g_recorder = &recorder;
		const Result<void> result = RunStages(MakeImporter(MakeFailingUrl(file, {._readErrorAt = end})), 63);
		ASSERT_EQ(TextOf(result.GetError()), "net.torvi.error.io: The read failed.") << "at byte " << end;
		for (const auto& entry : recorder._entries)
		{
			const auto count = [&](const char* call) { return std::count(entry._calls.begin(), entry._calls.end(), call); };
			EXPECT_EQ(count("init"), count("finish")) << "at byte " << end;
		}
	}
}

TEST_F(SkeletonTest, LoadsATree)
{
	const Result<ImageTextureRef> texture = LoadFile(MakeFailingUrl(MakeTestFile(), {._canSeek = false}));
	ASSERT_TRUE(texture.IsOk()) << TextOf(texture.GetError());
	const ImageBaseRef picture = GetPicture(texture.GetValue(), 0);
	const Result<PixelArray> pixels = ReadPixels(picture);
	ASSERT_TRUE(pixels.IsOk()) << TextOf(pixels.GetError());
	EXPECT_EQ(pixels.GetValue()._bytes[4], ByteOf(0, 1));
	EXPECT_EQ(pixels.GetValue()._bytes[7], ByteOf(1, 1)) << "the alpha channel";
	const Array<ImageBaseRef> folders = GetImageChildren(*picture, IMAGEHIERARCHY::LAYER);
	ASSERT_EQ(folders.size(), 1u);
	const Array<ImageBaseRef> layers = GetImageChildren(*folders[0], IMAGEHIERARCHY::LAYER);
	ASSERT_EQ(layers.size(), 1u);
	EXPECT_EQ(GetImageChildren(*layers[0], IMAGEHIERARCHY::MASK).size(), 1u);
	EXPECT_EQ(ReadPixels(layers[0]).GetValue()._bytes[5], ByteOf(3, 5));
	EXPECT_EQ(ReadPixels(GetPicture(texture.GetValue(), 1)).GetValue()._height, 7);
	EXPECT_EQ(texture.GetValue()->Get<FileFormatRef>(ids::IMAGE_FILEFORMAT).GetValue(),
			  FindDeclared<FileFormatInterface>(TEST_FORMAT._fileFormat));
}

TEST_F(SkeletonTest, NamesAndNumbersOfTheRow)
{
	const auto format = FindDeclared<FileFormatInterface>(TEST_FORMAT._fileFormat);
	ASSERT_TRUE(format);
	const Array<String> suffixes = format->Get<Array<String>>(ids::FILEFORMAT_COMMONSUFFIXES).GetValue();
	EXPECT_EQ(suffixes, (Array<String>{MakeString("tst"), MakeString("test")}));
	const auto base = TORVI_MUST(CreateObject<FileFormatInterface>(ids::CLASS_FILEFORMATIMAGEBASE));
	EXPECT_EQ(base->Detect(Url(), InputStreamRef()).GetError().GetId(), errorids::FUNCTIONNOTIMPLEMENTED);
	const auto handler = FindDeclared<FileFormatHandlerInterface>(TEST_FORMAT._handler);
	ASSERT_TRUE(handler);
	EXPECT_EQ(handler->GetDependends(), 30000);
	EXPECT_EQ(handler->GetHandlerType(), GetDataType<MediaInputRef>());
	EXPECT_EQ(handler->GetFileFormat().GetValue(), format);
	EXPECT_TRUE(TORVI_MUST(g_torvi->GetRegistry(ids::REGISTRY_IMAGESAVERCLASSES))->Find(TEST_FORMAT._exporter));
}

/// A picture of one colour of grey with an alpha channel of the given size.
ImageTextureRef MakeGreyTexture(Int width, Int height, Int alphaWidth)
{
	const std::vector<Byte> grey(static_cast<std::size_t>(width * height), 77);
	const ImageTextureRef texture = TORVI_MUST(MakeTexture(ids::PIXELFORMAT_GREY_U8, width, height, grey));
	if (alphaWidth == 0)
		return texture;
	const auto alpha = TORVI_MUST(CreateObject<ImageLayerInterface>(ids::IMAGELAYERCLASS_RASTER));
	const ClassRef storage = TORVI_MUST(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL));
	TORVI_MUST(alpha->Init(alphaWidth, height, storage, GetPixelFormat(ids::PIXELFORMAT_ALPHA_U8), {}));
	TORVI_MUST(GetPicture(texture, 0)->AddChildren(IMAGEHIERARCHY::ALPHA, alpha, nullptr));
	return texture;
}

Result<Array<Byte>> SaveTestFile(const ImageTextureRef& texture)
{
	const Ref<IoMemory> memory = TORVI_TRY(NewObject<IoMemory>());
	TORVI_TRY(SaveFile(texture, TEST_FORMAT._exporter, TORVI_TRY(memory->GetUrl())));
	return NoThrow([&]() -> Result<Array<Byte>> { return Array<Byte>(memory->GetBytes().begin(), memory->GetBytes().end()); });
}

TEST_F(SkeletonTest, ExporterChecksTheSizeBeforeItOpensTheFile)
{
	struct Case
	{
		const char* _name;
		Int _width;
		Int _height;
		const char* _error;
	};
	const Case cases[] = {
		{"at the limit", 100, 1, ""},
		{"too wide", 101, 1, "net.torvi.error.illegalargument: Maximum resolution exceeded."},
		{"too high", 1, 101, "net.torvi.error.illegalargument: Maximum resolution exceeded."},
		{"empty", 0, 5, "net.torvi.error.illegalargument: resolution must not be 0."},
		{"empty and too high", 0, 101, "net.torvi.error.illegalargument: resolution must not be 0."},
	};
	for (const Case& test : cases)
	{
		const auto file = TORVI_MUST(NewObject<FailingFile>(Array<Byte>(), FailurePlan()));
		const Result<void> result =
			SaveFile(MakeGreyTexture(test._width, test._height, 0), TEST_FORMAT._exporter, TORVI_MUST(file->GetUrl()));
		EXPECT_EQ(TextOf(result.GetError()), test._error) << test._name;
		EXPECT_EQ(file->GetOpenCount(), result.IsOk() ? 1 : 0) << test._name;
		EXPECT_EQ(file->GetLivingCount(), 0) << test._name;
	}
}

TEST_F(SkeletonTest, ExporterTakesTheAlphaStreamThatFits)
{
	for (const Int alphaWidth : {0, 3, 2})
	{
		const Result<Array<Byte>> file = SaveTestFile(MakeGreyTexture(3, 2, alphaWidth));
		ASSERT_TRUE(file.IsOk()) << TextOf(file.GetError());
		EXPECT_EQ(file.GetValue()[4], alphaWidth == 3 ? 2 : 1) << "streams in the file, with alpha of width " << alphaWidth;
		const Result<PixelArray> pixels = LoadPixels(MakeMemoryUrl(file.GetValue()));
		ASSERT_TRUE(pixels.IsOk()) << TextOf(pixels.GetError());
		EXPECT_EQ(pixels.GetValue()._bytes[0], 77);
		EXPECT_EQ(pixels.GetValue()._bytes[3], alphaWidth == 3 ? 0 : 255);
	}
}

TEST_F(SkeletonTest, ExporterHandsOnEveryFailureOfTheFile)
{
	const ImageTextureRef texture = MakeGreyTexture(20, 30, 20);
	const Int size = CountOf(SaveTestFile(texture).GetValue());
	for (Int end = 0; end < size; end += 7)
	{
		const auto file = TORVI_MUST(NewObject<FailingFile>(Array<Byte>(), FailurePlan{._diskSize = end}));
		const Result<void> result = SaveFile(texture, TEST_FORMAT._exporter, TORVI_MUST(file->GetUrl()));
		EXPECT_EQ(TextOf(result.GetError()), "net.torvi.error.io: The disk is full.") << "at byte " << end;
		EXPECT_EQ(file->GetLivingCount(), 0) << "at byte " << end;
	}
	const Url failsClose = MakeFailingUrl({}, {._failsClose = true});
	EXPECT_EQ(TextOf(SaveFile(texture, TEST_FORMAT._exporter, failsClose).GetError()), "net.torvi.error.io: The close failed.");
	EXPECT_EQ(SaveFile(texture, TEST_FORMAT._exporter, Url()).GetError().GetId(), errorids::ILLEGALARGUMENT);
}

/// A picture without pixels of its own, with a grey layer below a half opaque one.
TEST_F(SkeletonTest, ExporterWritesComposedLayers)
{
	const auto texture = TORVI_MUST(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	const auto picture = TORVI_MUST(CreateObject<ImageInterface>(ids::IMAGECLASS_IMAGE));
	const PixelFormat grey = GetPixelFormat(ids::PIXELFORMAT_GREY_U8);
	TORVI_MUST(picture->Init(2, 1, TORVI_MUST(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NODATA)), grey, {}));
	TORVI_MUST(texture->AddChildren(IMAGEHIERARCHY::IMAGE, picture, nullptr));
	for (const Float64 opacity : {1.0, 0.5})
	{
		const auto layer = TORVI_MUST(CreateObject<ImageLayerInterface>(ids::IMAGELAYERCLASS_RASTER));
		TORVI_MUST(layer->Init(opacity == 1.0 ? 2 : 1, 1, TORVI_MUST(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL)), grey, {}));
		const Byte value = opacity == 1.0 ? 100 : 200;
		for (Int x = 0; x < layer->GetWidth(); ++x)
			TORVI_MUST(layer->SetComponent(0, {x, 0, 1}, &value, 1));
		TORVI_MUST(layer->Set<Float64>(ids::IMAGE_LAYER_OPACITY, opacity));
		TORVI_MUST(picture->AddChildren(IMAGEHIERARCHY::LAYER, layer, nullptr));
	}
	const PixelArray pixels = TORVI_MUST(LoadPixels(MakeMemoryUrl(TORVI_MUST(SaveTestFile(texture)))));
	EXPECT_EQ(pixels._bytes, (std::vector<Byte>{150, 150, 150, 255, 100, 100, 100, 255}));
}

TEST_F(SkeletonTest, ExporterWithoutAPictureFails)
{
	const auto texture = TORVI_MUST(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	EXPECT_EQ(TextOf(SaveTestFile(texture).GetError()), "net.torvi.image.error.mediasessionwrongtype: no image stream(s) found.");
}

TEST_F(SkeletonTest, ExporterAnswersWhatItCan)
{
	const auto exporter = TORVI_MUST(CreateObject<MediaOutputUrlInterface>(TEST_FORMAT._exporter));
	EXPECT_EQ(exporter->Get<Int>(ids::MEDIAOUTPUT_MAXIMALIMAGERESOLUTION).GetValue(), 100);
	EXPECT_EQ(exporter->Get<Int>(ids::MEDIAOUTPUT_MAXIMALLAYERRESOLUTION).GetValue(), 0);
	EXPECT_EQ(exporter->Get<Int>(ids::MEDIAOUTPUT_MAXIMALALPHACHANNELS).GetValue(), 1);
	EXPECT_EQ(exporter->Get<Array<DataType>>(ids::MEDIAOUTPUT_BITDEPTHSIMAGE).GetValue(), Array<DataType>{GetDataType<UChar>()});
	EXPECT_TRUE(exporter->Get<Array<DataType>>(ids::MEDIAOUTPUT_BITDEPTHSLAYER).GetValue().empty());
	EXPECT_TRUE(exporter->Get<Bool>(ids::MEDIAOUTPUT_SUPPORTS_IMAGE).GetValue());
	EXPECT_FALSE(exporter->Get<Bool>(ids::MEDIAOUTPUT_SUPPORTS_AUDIO).GetValue());
	EXPECT_EQ(exporter->GetData("net.torvi.test.unknown").GetError().GetId(), errorids::KEYNOTFOUND);
	EXPECT_EQ(exporter->GetFileFormat().GetValue(), FindDeclared<FileFormatInterface>(TEST_FORMAT._fileFormat));
	EXPECT_EQ(exporter->ResetConverter().GetError().GetId(), errorids::FUNCTIONNOTIMPLEMENTED);
}

TEST_F(SkeletonTest, BothWaysCanBeCancelled)
{
	const auto cancelling = [](const MediaConverterRef& input, const MediaConverterRef& output)
	{
		const auto session = TORVI_MUST(CreateObject<MediaSessionInterface>(ids::CLASS_MEDIASESSIONOBJECT));
		TORVI_MUST(session->ConnectMediaConverter(input, output));
		session->GetProgress()->Cancel();
		const Result<void> result = session->Convert(TimeValue(), MEDIASESSIONFLAGS::NONE);
		EXPECT_TRUE(session->Close().IsOk());
		return result.GetError().GetInnermostCause().GetId();
	};
	const auto texture = TORVI_MUST(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	const auto textureOutput = TORVI_MUST(CreateObject<MediaOutputTextureInterface>(ids::CLASS_MEDIAOUTPUTTEXTURE));
	TORVI_MUST(textureOutput->SetOutputTexture(texture, TORVI_MUST(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL))));
	EXPECT_EQ(cancelling(MakeImporter(MakeMemoryUrl(MakeTestFile())), textureOutput), errorids::OPERATIONCANCELLED);

	const auto textureInput = TORVI_MUST(CreateObject<MediaTextureExportInterface>(ids::CLASS_MEDIASTREAMEXPORTFROMIMAGETEXTURE));
	textureInput->SetTexture(MakeGreyTexture(20, 30, 20));
	const auto exporter = TORVI_MUST(CreateObject<MediaOutputUrlInterface>(TEST_FORMAT._exporter));
	TORVI_MUST(exporter->SetOutputUrl(MakeMemoryUrl({})));
	EXPECT_EQ(cancelling(textureInput, exporter), errorids::OPERATIONCANCELLED);
}

TEST_F(SkeletonTest, RunningOutOfMemoryIsAnError)
{
	const Array<Byte> file = MakeTestFile();
	const auto check = [](const auto& result, Bool hasFailed)
	{
		// What only speeds things up, as caches do, may fail unseen.
		const bool isMemory = hasFailed && result.GetError().GetInnermostCause().GetId() == errorids::OUTOFMEMORY;
		EXPECT_TRUE(isMemory || result.IsOk()) << TextOf(result.GetError());
	};
	const Url url = MakeMemoryUrl(file);
	const Int loads = ForEachAllocationFailure([&]() { return LoadFile(url); }, check);
	const ImageTextureRef texture = MakeGreyTexture(20, 3, 20);
	const Int saves = ForEachAllocationFailure([&]() { return SaveTestFile(texture); }, check);
	EXPECT_GT(std::min(loads, saves), 20);
}

TEST(PictureGuardTest, RefusesOnlyWhatNoFileCanHold)
{
	constexpr Int MIB = Int(1) << 20;
	struct Case
	{
		const char* _name;
		Int _pixelBytes;
		Int _fileBytes;
		CompressionBound _bound;
		bool _canHold;
	};
	const Case cases[] = {
		{"small pictures always", 64 * MIB, 0, CompressionBound::NONE, true},
		{"plain, complete", 65 * MIB, 65 * MIB, CompressionBound::NONE, true},
		{"plain, one byte short", 65 * MIB, 65 * MIB - 1, CompressionBound::NONE, false},
		{"deflate at its best", 1100 * MIB, MIB, CompressionBound::DEFLATE, true},
		{"deflate beyond", 1102 * MIB, MIB, CompressionBound::DEFLATE, false},
		{"packed bits beyond", 72 * MIB, MIB, CompressionBound::PACKBITS, false},
		{"runs of any length", 1024 * MIB, 10, CompressionBound::UNBOUNDED, true},
		{"runs of any length, huge", 1025 * MIB, 10, CompressionBound::UNBOUNDED, false},
		{"huge from a real file", 5000 * MIB, 64 << 10, CompressionBound::UNBOUNDED, true},
		{"a negative rest", 65 * MIB, -5, CompressionBound::DEFLATE, false},
	};
	for (const Case& test : cases)
		EXPECT_EQ(CanHoldPicture(test._pixelBytes, test._fileBytes, test._bound), test._canHold) << test._name;
	EXPECT_EQ(ImageBytes(3, 5, 1), 5);
	EXPECT_EQ(ImageBytes(INT32_MAX, INT32_MAX, 32), std::nullopt);
	EXPECT_EQ(ImageBytes(-1, 5, 8), std::nullopt);
	EXPECT_EQ(TruncateToInt32(NAN), 0);
	EXPECT_EQ(TruncateToInt32(1e300), INT32_MAX);
	EXPECT_EQ(TruncateToInt32(-2.9), -2);
}

} // namespace

} // namespace torvi::test
