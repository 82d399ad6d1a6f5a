// Reading and writing of PNG files.
#include "host/job.h"
#include "media_io/media_io_png.h"
#include "media_io/png_library.h"
#include "media_io/registration.h"
#include "tests/media_io/fault_checks.h"
#include "tests/media_io/sample_files.h"
#include "tests/support/failing_url.h"
#include "torvi/gfx_image.h"
#include "torvi/ids_formats.h"
#include "torvi/ids_keys.h"

#include <algorithm>
#include <zlib.h>

namespace torvi::test
{

namespace
{

using PngTest = MediaTest<&RegisterMediaFormats>;
using SlowPngTest = MediaTest<&RegisterMediaFormats>;
using DataPngTest = MediaTest<&RegisterMediaFormats>;

constexpr Int WIDTH = 11;
constexpr Int HEIGHT = 9;
constexpr std::size_t HEADER_DATA = 16; ///< of IHDR: width, height, depth, colour type, compression, filter, interlace

UInt32 GetUInt32(Block<const Byte> bytes, std::size_t offset)
{
	return ByteReader(bytes.subspan(offset), ByteOrder::BIGENDIAN).ReadUInt32().GetValue();
}

void PutUInt32(std::vector<Byte>& bytes, std::size_t offset, UInt32 value)
{
	for (std::size_t i = 0; i < 4; ++i)
		bytes.at(offset + i) = static_cast<Byte>(value >> (24 - 8 * i));
}

/// Where the data of a chunk begins; 0 if there is none of that name.
std::size_t FindChunk(Block<const Byte> bytes, std::string_view name)
{
	const auto found = std::search(bytes.begin(), bytes.end(), name.begin(), name.end());
	return found == bytes.end() ? 0 : static_cast<std::size_t>(found - bytes.begin()) + 4;
}

/// Repairs the check sum of the chunk whose data begins there.
void SealChunk(std::vector<Byte>& bytes, std::size_t data)
{
	const std::size_t size = GetUInt32(bytes, data - 8);
	PutUInt32(bytes, data + size, static_cast<UInt32>(crc32(0, bytes.data() + data - 4, static_cast<uInt>(size + 4))));
}

SavedFile SavePng(const ImageTextureRef& texture, bool isInterlaced = false)
{
	DataDictionary settings;
	TORVI_MUST(settings.Set<Bool>(ids::PNGEXPORT_INTERLACED, isInterlaced));
	return SaveToMemory(texture, ids::CLASS_PNGEXPORT, isInterlaced ? settings : DataDictionary());
}

std::vector<Byte> MakeNoise(std::size_t size)
{
	std::vector<Byte> bytes(size);
	UInt32 state = 1;
	for (Byte& byte : bytes)
		byte = static_cast<Byte>((state = state * 1664525 + 1013904223) >> 24);
	return bytes;
}

ImageTextureRef MakeNoiseTexture(const Id& format, Int width = WIDTH, Int height = HEIGHT)
{
	const Int size = GetPixelFormat(format)->GetBytesPerLine(width, 1) * height;
	return TORVI_MUST(MakeTexture(format, width, height, MakeNoise(static_cast<std::size_t>(size))));
}

/// The lines of a picture in its own format.
std::vector<Byte> GetOwnPixels(const ImageTextureRef& texture)
{
	const ImageBaseRef image = GetPicture(texture, 0);
	const PixelFormat format = image->GetPixelFormat();
	const Int bytesPerLine = format->GetBytesPerLine(image->GetWidth(), 1);
	std::vector<Byte> bytes(static_cast<std::size_t>(bytesPerLine * image->GetHeight()));
	const GetPixelHandlerStruct reader =
		TORVI_MUST(image->GetPixelHandler(format, format->GetChannelOffsets(), ColorProfile(), GETPIXELHANDLERFLAGS::NONE, nullptr));
	for (Int y = 0; y < image->GetHeight(); ++y)
		TORVI_MUST(reader._getLine({0, y, image->GetWidth()}, PixelBuffer(bytes.data() + y * bytesPerLine, format->GetBitsPerPixel()), 0));
	return bytes;
}

TEST_F(PngTest, SampleFiles)
{
	CheckSampleFiles("png");
}

TEST_F(PngTest, DamagedFiles)
{
	CheckCutAndFlippedFiles("png", 512, 70, 8);
}

TEST_F(SlowPngTest, DamagedFilesThroughout)
{
	CheckCutAndFlippedFiles("png", 2048, 2048, 1);
}

TEST_F(DataPngTest, RealFiles)
{
	CheckCorpus("png", 34);
}

TEST_F(PngTest, DetectsByContent)
{
	const auto format = FindDeclared<FileFormatInterface>(ids::FILEFORMAT_PNG);
	ASSERT_TRUE(format);
	const std::vector<Byte> file = GetSampleFile("png", "rgb8.png");
	const auto detect = [&](const Url& url) { return format->Detect(url, TORVI_MUST(url.OpenInputStream())); };
	for (std::size_t length = 0; length <= 9; ++length)
		EXPECT_EQ(detect(MakeMemoryUrl(Block<const Byte>(file).first(length))).GetValue(), length >= 8) << length;
	EXPECT_EQ(TextOf(detect(MakeFailingUrl(file, {._readErrorAt = 5})).GetError()), "net.torvi.error.io: The read failed.");
	EXPECT_EQ(format->Get<Array<String>>(ids::FILEFORMAT_COMMONSUFFIXES).GetValue(), Array<String>{MakeString("png")});
}

TEST_F(PngTest, PublishesFormatsAndPalettes)
{
	struct Case
	{
		const char* _file;
		Id _format; ///< its class, for those with a palette
		Int _entries;
		Id _entryFormat;
	};
	const Case cases[] = {
		{"grey4-key.png", ids::PIXELFORMAT_INDEXED_U4BIT, 16, ids::PIXELFORMAT_GREYA_U8},
		{"grey8-key.png", ids::PIXELFORMAT_GREYA_U8, 0, {}},
		{"grey16-key.png", ids::PIXELFORMAT_GREYA_U16, 0, {}},
		{"rgb8-key-interlaced.png", ids::PIXELFORMAT_RGBA_U8, 0, {}},
		{"rgb16-key.png", ids::PIXELFORMAT_RGBA_U16, 0, {}},
		{"palette4-short.png", ids::PIXELFORMAT_INDEXED_U4BIT, 9, ids::PIXELFORMAT_RGB_U8},
		{"palette4-alpha.png", ids::PIXELFORMAT_INDEXED_U4BIT, 16, ids::PIXELFORMAT_RGBA_U8},
		{"greya16.png", ids::PIXELFORMAT_GREYA_U16, 0, {}},
		{"rgba8.png", ids::PIXELFORMAT_RGBA_U8, 0, {}},
	};
	for (const Case& test : cases)
	{
		const MediaStreamFormat stream = TORVI_MUST(DescribePicture(ids::CLASS_PNGIMPORT, GetSampleFile("png", test._file)));
		const PixelFormat format = stream->Get<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT).GetValue();
		EXPECT_TRUE(stream->Get<ColorProfile>(ids::MEDIAFORMAT_COLORPROFILE).GetValue().IsEmpty()) << test._file;
		const auto palette = Cast<PixelFormatIndexedColorInterface>(format);
		ASSERT_EQ(static_cast<bool>(palette), test._entries != 0) << test._file;
		if (!palette)
		{
			EXPECT_EQ(format, GetPixelFormat(test._format)) << test._file;
			continue;
		}
		EXPECT_EQ(format->GetClass(), GetPixelFormat(test._format)->GetClass()) << test._file;
		EXPECT_EQ(palette->GetColorTableSize(), test._entries) << test._file;
		EXPECT_EQ(palette->GetColorTablePixelFormat(), GetPixelFormat(test._entryFormat)) << test._file;
	}
}

TEST_F(PngTest, PublishesResolution)
{
	struct Case
	{
		UInt32 _horizontal; ///< pixels per unit
		UInt32 _vertical;
		Byte _unit;
		Float64 _dpi;    ///< 0: none
		Float64 _aspect; ///< 0: none
	};
	const Case cases[] = {
		{11811, 5906, 1, 300, 0.5}, {2834, 2834, 1, 72, 1}, {2834, 0, 1, 72, 0}, {0, 2834, 1, 0, 0}, {11811, 5906, 0, 0, 0}};
	for (const Case& test : cases)
	{
		std::vector<Byte> bytes = GetSampleFile("png", "density.png");
		const std::size_t data = FindChunk(bytes, "pHYs");
		PutUInt32(bytes, data, test._horizontal);
		PutUInt32(bytes, data + 4, test._vertical);
		bytes.at(data + 8) = test._unit;
		SealChunk(bytes, data);
		const MediaStreamFormat format = TORVI_MUST(DescribePicture(ids::CLASS_PNGIMPORT, bytes));
		EXPECT_EQ(format->GetOr<Float64>(ids::MEDIAFORMAT_DPI, 0), test._dpi) << test._horizontal;
		EXPECT_EQ(format->GetOr<Float64>(ids::MEDIAFORMAT_ASPECTRATIO, 0), test._aspect) << test._vertical;
	}
}

/// What is written comes back bit by bit where the file has a format for it, in one pass or in seven.
TEST_F(PngTest, RoundTrips)
{
	enum class Comparison
	{
		OWNPIXELS, ///< format and pixels are those that were saved
		PIXELS,    ///< the pixels are, in 8 bits
		SHAPE      ///< the header of the file alone
	};
	struct Case
	{
		Id _format;
		Byte _depth;
		Byte _colorType;
		Comparison _comparison = Comparison::OWNPIXELS;
	};
	const Case cases[] = {
		{ids::PIXELFORMAT_GREY_U8, 8, 0},
		{ids::PIXELFORMAT_GREY_U16, 16, 0},
		{ids::PIXELFORMAT_GREYA_U8, 8, 4},
		{ids::PIXELFORMAT_GREYA_U16, 16, 4},
		{ids::PIXELFORMAT_RGB_U8, 8, 2},
		{ids::PIXELFORMAT_RGB_U16, 16, 2},
		{ids::PIXELFORMAT_RGBA_U8, 8, 6},
		{ids::PIXELFORMAT_RGBA_U16, 16, 6},
		{ids::PIXELFORMAT_BGRA_U8, 8, 6, Comparison::PIXELS},
		{ids::PIXELFORMAT_AGREY_U16, 16, 4, Comparison::PIXELS},
		{ids::PIXELFORMAT_RGB_U565, 16, 2, Comparison::PIXELS}, // packed pixels count as one channel
		{ids::PIXELFORMAT_RGB_F32, 16, 2, Comparison::SHAPE},
		{ids::PIXELFORMAT_GREY_F16, 16, 0, Comparison::SHAPE},
		{ids::PIXELFORMAT_RGB_RGBE, 16, 2, Comparison::SHAPE},
		{ids::PIXELFORMAT_CMYK_U8, 8, 2, Comparison::SHAPE},
		{ids::PIXELFORMAT_ALPHA_U8, 8, 6, Comparison::SHAPE},
	};
	for (const Case& test : cases)
	{
		for (const bool isInterlaced : {false, true})
		{
			const ImageTextureRef texture = MakeNoiseTexture(test._format);
			const SavedFile file = SavePng(texture, isInterlaced);
			ASSERT_TRUE(file._result.IsOk()) << test._format.GetText() << ": " << TextOf(file._result.GetError());
			const std::vector<Byte> shape(file._bytes.begin() + HEADER_DATA, file._bytes.begin() + HEADER_DATA + 13);
			EXPECT_EQ(shape, (std::vector<Byte>{0, 0, 0, WIDTH, 0, 0, 0, HEIGHT, test._depth, test._colorType, 0, 0, isInterlaced}));
			const Result<ImageTextureRef> read = LoadFile(MakeMemoryUrl(file._bytes));
			ASSERT_TRUE(read.IsOk()) << test._format.GetText() << ": " << TextOf(read.GetError());
			if (test._comparison == Comparison::SHAPE)
				continue;
			EXPECT_EQ(ReadPixels(GetPicture(read.GetValue(), 0)).GetValue(), ReadPixels(GetPicture(texture, 0)).GetValue())
				<< test._format.GetText();
			if (test._comparison == Comparison::PIXELS)
				continue;
			EXPECT_EQ(GetPicture(read.GetValue(), 0)->GetPixelFormat(), GetPixelFormat(test._format));
			EXPECT_EQ(GetOwnPixels(read.GetValue()), GetOwnPixels(texture)) << test._format.GetText() << isInterlaced;
		}
	}
	for (const char* name : {"palette8.png", "palette1-interlaced.png", "palette4-alpha.png", "grey4.png", "grey4-key.png"})
	{
		const ImageTextureRef texture = TORVI_MUST(LoadFile(MakeMemoryUrl(GetSampleFile("png", name))));
		const SavedFile file = SavePng(texture);
		EXPECT_EQ(file._bytes.at(HEADER_DATA + 8), 8) << name;
		EXPECT_EQ(LoadPixels(MakeMemoryUrl(file._bytes)).GetValue(), ReadPixels(GetPicture(texture, 0)).GetValue()) << name;
	}
}

TEST_F(PngTest, AlphaChannelsOfThePictureAreWritten)
{
	const ClassRef storage = TORVI_MUST(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL));
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_ALPHA_U8);
	for (const Id& picture : {ids::PIXELFORMAT_RGB_U16, ids::PIXELFORMAT_GREY_U8})
	{
		const ImageTextureRef texture = MakeNoiseTexture(picture);
		const auto channel = TORVI_MUST(CreateObject<ImageLayerInterface>(ids::IMAGELAYERCLASS_RASTER));
		TORVI_MUST(channel->Init(WIDTH, HEIGHT, storage, format, {}));
		TORVI_MUST(GetPicture(texture, 0)->AddChildren(IMAGEHIERARCHY::ALPHA, channel, nullptr));
		SetPixelHandlerStruct writer =
			TORVI_MUST(channel->SetPixelHandler(format, format->GetChannelOffsets(), ColorProfile(), SETPIXELHANDLERFLAGS::NONE));
		const std::vector<Byte> noise = MakeNoise(WIDTH * HEIGHT);
		for (Int y = 0; y < HEIGHT; ++y)
			TORVI_MUST(writer.SetLine({0, y, WIDTH}, PixelBuffer(noise.data() + y * WIDTH, 8), 0));
		TORVI_MUST(writer.Free());
		for (const bool isInterlaced : {false, true})
		{
			const SavedFile file = SavePng(texture, isInterlaced);
			ASSERT_TRUE(file._result.IsOk()) << TextOf(file._result.GetError());
			const PixelArray wanted = TORVI_MUST(ReadPixels(GetPicture(texture, 0)));
			EXPECT_EQ(wanted._bytes.at(3), noise.at(0));
			EXPECT_EQ(TORVI_MUST(LoadPixels(MakeMemoryUrl(file._bytes))), wanted) << picture.GetText() << isInterlaced;
		}
	}
}

TEST_F(PngTest, SizesAndResolutionsThatAreWritten)
{
	for (const auto& [width, height] : {std::pair<Int, Int>(0, 1), {1, 0}})
	{
		const ImageTextureRef empty = TORVI_MUST(MakeTexture(ids::PIXELFORMAT_GREY_U8, width, height, {}));
		EXPECT_EQ(TextOf(SavePng(empty)._result.GetError()), "net.torvi.error.illegalargument: resolution must not be 0.");
	}
	const ImageTextureRef wide = TORVI_MUST(MakeTexture(ids::PIXELFORMAT_GREY_U8, 1000001, 1, {}));
	const auto earlier = TORVI_MUST(NewObject<IoMemory>(Array<Byte>{1, 2, 3}));
	EXPECT_EQ(TextOf(SaveFile(wide, ids::CLASS_PNGEXPORT, TORVI_MUST(earlier->GetUrl())).GetError()),
			  "net.torvi.image.error.mediasessionwrongtype: PNG Error: Invalid IHDR data");
	EXPECT_EQ(CountOf(earlier->GetBytes()), 3) << "the earlier file stays";

	struct Case
	{
		Float64 _dpi;
		Float64 _aspect;
		UInt32 _horizontal;
		UInt32 _vertical;
	};
	const Case cases[] = {{0, 1, 2834, 2834}, {300, 0.5, 11811, 5905}, {1e300, 1, INT32_MAX, INT32_MAX}, {-5, 1, 0, 0}};
	for (const Case& test : cases)
	{
		const ImageTextureRef texture = MakeNoiseTexture(ids::PIXELFORMAT_GREY_U8);
		TORVI_MUST(GetPicture(texture, 0)->Set<Float64>(ids::IMAGE_DPI, test._dpi));
		TORVI_MUST(GetPicture(texture, 0)->Set<Float64>(ids::IMAGE_ASPECTRATIO, test._aspect));
		const SavedFile file = SavePng(texture);
		const std::size_t data = FindChunk(file._bytes, "pHYs");
		ASSERT_NE(data, 0u) << TextOf(file._result.GetError());
		EXPECT_EQ(GetUInt32(file._bytes, data), test._horizontal);
		EXPECT_EQ(GetUInt32(file._bytes, data + 4), test._vertical);
		EXPECT_EQ(file._bytes.at(data + 8), 1);
	}
}

/// The profile that a picture is saved with, and the one that the file then has.
TEST_F(PngTest, Profiles)
{
	struct Case
	{
		Id _format;
		Id _profile; ///< empty: none
		Id _inFile;
		const char* _name;
	};
	const Case cases[] = {
		{ids::PIXELFORMAT_RGB_U8, ids::COLORPROFILE_LINEARRGB, ids::COLORPROFILE_LINEARRGB, "Linear Color Space"},
		{ids::PIXELFORMAT_RGB_U8, {}, ids::COLORPROFILE_SRGB, "sRGB IEC61966-2.1"},
		{ids::PIXELFORMAT_RGB_F32, {}, ids::COLORPROFILE_LINEARRGB, "Linear Color Space"}, // what such pictures have by themselves
		{ids::PIXELFORMAT_CMYK_U8, {}, ids::COLORPROFILE_SRGB, "sRGB IEC61966-2.1"},
		{ids::PIXELFORMAT_GREY_U16, {}, ids::COLORPROFILE_SGREY, "Grey Gamma 2.2"},
		{ids::PIXELFORMAT_GREY_U8, ids::COLORPROFILE_LINEARRGB, ids::COLORPROFILE_SGREY, "Grey Gamma 2.2"},
		{ids::PIXELFORMAT_RGB_U8, ids::COLORPROFILE_LINEARGREY, ids::COLORPROFILE_SRGB, "sRGB IEC61966-2.1"},
	};
	for (const Case& test : cases)
	{
		const ImageTextureRef texture = TORVI_MUST(MakeTexture(test._format, WIDTH, HEIGHT, {}));
		TORVI_MUST(GetPicture(texture, 0)->Set<ColorProfile>(ids::IMAGE_COLORPROFILE, GetBuiltInColorProfile(test._profile)));
		const SavedFile file = SavePng(texture);
		ASSERT_TRUE(file._result.IsOk()) << test._format.GetText() << ": " << TextOf(file._result.GetError());
		const std::size_t data = FindChunk(file._bytes, "iCCP");
		ASSERT_NE(data, 0u) << test._format.GetText();
		EXPECT_STREQ(reinterpret_cast<const char*>(file._bytes.data() + data), test._name);
		const MediaStreamFormat format = TORVI_MUST(DescribePicture(ids::CLASS_PNGIMPORT, file._bytes));
		EXPECT_EQ(format->Get<ColorProfile>(ids::MEDIAFORMAT_COLORPROFILE).GetValue(), GetBuiltInColorProfile(test._inFile))
			<< test._format.GetText();
	}
}

/// The library takes no profile whose size is not that of its data; others open it.
TEST_F(PngTest, ARefusedProfileMakesWayForTheUsualOne)
{
	Array<Byte> bytes = TORVI_MUST(GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB).WriteProfileToMemory());
	bytes.insert(bytes.end(), 4, Byte(0));
	const ImageTextureRef texture = MakeNoiseTexture(ids::PIXELFORMAT_RGB_U8);
	TORVI_MUST(GetPicture(texture, 0)->Set<ColorProfile>(ids::IMAGE_COLORPROFILE, TORVI_MUST(ColorProfile::OpenProfileFromMemory(bytes))));
	const SavedFile file = SavePng(texture);
	ASSERT_TRUE(file._result.IsOk()) << TextOf(file._result.GetError());
	const MediaStreamFormat format = TORVI_MUST(DescribePicture(ids::CLASS_PNGIMPORT, file._bytes));
	EXPECT_EQ(format->Get<ColorProfile>(ids::MEDIAFORMAT_COLORPROFILE).GetValue(), GetBuiltInColorProfile(ids::COLORPROFILE_SRGB));
}

TEST(PngProfileName, IsOneThatFilesMayHold)
{
	struct Case
	{
		std::string _text;
		std::string _name;
	};
	const Case cases[] = {
		{"sRGB", "sRGB"},
		{"  two  words ", "two  words"},
		{"", "ICC Profile"},
		{" \n", "ICC Profile"},
		{"Gr\xC3\xBC\xC3\x9F"
		 "e",
		 "Gr\xFC\xDF"
		 "e"},
		{"\xE8\x89\xB2", "ICC Profile"},
		{std::string(200, 'x'), std::string(79, 'x')},
		{std::string(78, 'x') + " y", std::string(78, 'x')},
	};
	for (const Case& test : cases)
		EXPECT_EQ(std::string_view(MakePngProfileName(test._text)), test._name) << test._text;
}

TEST_F(PngTest, ErrorsHaveTheirCauses)
{
	const std::vector<Byte> bytes = GetSampleFile("png", "rgb8.png");
	const auto importer = TORVI_MUST(CreateObject<UrlImporterInterface>(ids::CLASS_PNGIMPORT));
	importer->SetUrl(MakeFailingUrl(bytes, {._readErrorAt = 20}));
	const Result<void> result = importer->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE);
	EXPECT_EQ(result.GetError().GetMessage(), "PNG Error: Read Error!");
	EXPECT_EQ(result.GetError().GetId(), errorids::MEDIASESSIONWRONGTYPE);
	EXPECT_EQ(TextOf(result.GetError()), "net.torvi.error.io: The read failed.");
	EXPECT_TRUE(TORVI_MUST(importer->GetOutputStreams(true)).empty());
}

/// What stands behind the picture is read by Close, if the picture was; what is wrong with it is nobody's business.
TEST_F(PngTest, StagesOfTheImporter)
{
	std::vector<Byte> bytes = GetSampleFile("png", "rgb8-key.png");
	bytes.resize(bytes.size() - 5);
	for (const bool isCut : {false, true})
	{
		const auto importer = TORVI_MUST(CreateObject<UrlImporterInterface>(ids::CLASS_PNGIMPORT));
		importer->SetUrl(MakeMemoryUrl(Block<const Byte>(bytes).first(isCut ? bytes.size() / 2 : bytes.size())));
		ASSERT_TRUE(importer->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE).IsOk());
		ASSERT_TRUE(importer->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE).IsOk());
		const MediaStreamRef stream = TORVI_MUST(importer->GetOutputStreams(true)).at(0);
		EXPECT_EQ(stream->GetClass()->GetId(), ids::CLASS_MEDIASTREAMIMAGEDATAIMPORTPNG);
		TORVI_MUST(stream->SubscribeStream(stream->GetSelectedFormat()));
		EXPECT_EQ(importer->Execute({}, TimeValue(), MEDIASESSIONFLAGS::NONE).IsOk(), !isCut);
		EXPECT_EQ(importer->Execute({}, TimeValue(), MEDIASESSIONFLAGS::NONE).GetError().GetId(), errorids::MEDIASTREAMEOF);
		EXPECT_TRUE(importer->Close({}).IsOk());
	}
}

TEST_F(PngTest, CancelledJobsStopBetweenRows)
{
	for (const char* name : {"rgb8.png", "rgb8-interlaced.png"})
	{
		JobGroup group;
		Error error;
		const Url url = MakeMemoryUrl(GetSampleFile("png", name));
		TORVI_MUST(group.Add(
			[&]() -> Result<void>
			{
				group.Cancel();
				error = LoadFile(url).TakeError();
				return OK;
			}));
		(void)group.EnqueueGroupAndWait(TORVI_MUST(JobQueue::GetComputeQueue()));
		EXPECT_EQ(error.GetInnermostCause().GetId(), errorids::OPERATIONCANCELLED) << name << ": " << TextOf(error);
	}
}

TEST_F(PngTest, Faults)
{
	CheckLoadFaults("png", ids::CLASS_PNGIMPORT,
					{"grey4-key.png", "rgb16.png", "rgba8-interlaced.png", "palette4-alpha.png", "pieces.png"});
	CheckSaveFaults(ids::CLASS_PNGEXPORT, MakeNoiseTexture(ids::PIXELFORMAT_RGB_U8, 60, 60));
}

} // namespace

} // namespace torvi::test
