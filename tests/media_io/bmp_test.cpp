// Reading and writing of BMP files.
#include "host/description.h"
#include "media_io/media_io_bmp.h"
#include "media_io/registration.h"
#include "tests/media_io/fault_checks.h"
#include "tests/media_io/sample_files.h"
#include "tests/support/failing_url.h"
#include "torvi/gfx_image.h"
#include "torvi/ids_formats.h"
#include "torvi/ids_keys.h"

#include <cstdlib>
#include <fstream>

namespace torvi::test
{

namespace
{

using BmpTest = MediaTest<&RegisterMediaFormats>;
using SlowBmpTest = MediaTest<&RegisterMediaFormats>;
using DataBmpTest = MediaTest<&RegisterMediaFormats>;

std::vector<Byte> GetGoodFile(const std::string& name)
{
	return GetSampleFile("bmp", name);
}

void PutUInt32(std::vector<Byte>& bytes, std::size_t offset, UInt32 value)
{
	for (std::size_t i = 0; i < 4; ++i)
		bytes.at(offset + i) = static_cast<Byte>(value >> (8 * i));
}

UInt32 GetUInt32(Block<const Byte> bytes, std::size_t offset)
{
	return ByteReader(bytes.subspan(offset)).ReadUInt32().GetValue();
}

Result<MediaStreamFormat> DescribePicture(Block<const Byte> bytes)
{
	return test::DescribePicture(ids::CLASS_BMPIMPORT, bytes);
}

TEST_F(BmpTest, SampleFiles)
{
	CheckSampleFiles("bmp");
}

TEST_F(BmpTest, DamagedFiles)
{
	CheckCutAndFlippedFiles("bmp", 512, 70, 8);
}

TEST_F(SlowBmpTest, DamagedFilesThroughout)
{
	CheckCutAndFlippedFiles("bmp", 2048, 2048, 1);
}

TEST_F(DataBmpTest, RealFiles)
{
	CheckCorpus("bmp", 37);
}

TEST_F(BmpTest, DetectsByContent)
{
	struct Case
	{
		const char* _name;
		UInt32 _headerSize;
		std::size_t _length;
		bool _isBmp;
	};
	const Case cases[] = {
		{"12 bytes", 12, 20, true},  {"40 bytes", 40, 20, true},    {"52 bytes", 52, 20, false},     {"56 bytes", 56, 20, true},
		{"64 bytes", 64, 20, false}, {"108 bytes", 108, 20, true},  {"124 bytes", 124, 20, true},    {"a short file", 40, 19, false},
		{"16 bytes", 16, 20, false}, {"125 bytes", 125, 20, false}, {"an empty file", 40, 0, false},
	};
	const auto format = FindDeclared<FileFormatInterface>(ids::FILEFORMAT_BMP);
	ASSERT_TRUE(format);
	for (const Case& test : cases)
	{
		std::vector<Byte> bytes(20);
		bytes[0] = 'B';
		bytes[1] = 'M';
		PutUInt32(bytes, 14, test._headerSize);
		bytes.resize(test._length);
		const Url url = MakeMemoryUrl(bytes);
		const Result<Bool> detected = format->Detect(url, TORVI_MUST(url.OpenInputStream()));
		ASSERT_TRUE(detected.IsOk()) << test._name;
		EXPECT_EQ(detected.GetValue(), test._isBmp) << test._name;
	}
	const std::vector<Byte> bytes = GetGoodFile("rgb24.bmp");
	const Url failing = MakeFailingUrl(bytes, {._readErrorAt = 10});
	EXPECT_EQ(TextOf(format->Detect(failing, TORVI_MUST(failing.OpenInputStream())).GetError()), "net.torvi.error.io: The read failed.");
	EXPECT_EQ(format->Get<Array<String>>(ids::FILEFORMAT_COMMONSUFFIXES).GetValue(), Array<String>{MakeString("bmp")});
}

/// Sizes between the known layouts have the fields of the next smaller one; what follows them is skipped only between 56 and 107 bytes and
/// above 124.
TEST_F(BmpTest, ReadsHeadersOfAnySize)
{
	struct Case
	{
		UInt32 _headerSize;
		const char* _generation;
		UInt32 _pixelStart; ///< of a file without a pixel offset
	};
	const Case cases[] = {{40, "V3", 40},   {41, "V3", 40},   {55, "V3", 40},   {64, "V3", 64},  {107, "V3", 107},
						  {110, "V4", 108}, {123, "V4", 108}, {124, "V5", 124}, {130, "V5", 130}};
	const std::vector<Byte> source = GetGoodFile("rgb24.bmp");
	for (const Case& test : cases)
	{
		std::vector<Byte> bytes(source.begin(), source.begin() + 54);
		bytes.resize(14 + test._pixelStart);
		bytes.insert(bytes.end(), source.begin() + 54, source.end());
		PutUInt32(bytes, 10, 0);
		PutUInt32(bytes, 14, test._headerSize);
		const Result<MediaStreamFormat> format = DescribePicture(bytes);
		ASSERT_TRUE(format.IsOk()) << test._headerSize << ": " << TextOf(format.GetError());
		const auto settings = format.GetValue()->Get<DataDictionary>(ids::MEDIAFORMAT_EXPORTSETTINGS).GetValue();
		EXPECT_EQ(settings.Get<Id>(ids::BMPEXPORT_BITMAPINFOHEADER).GetValue().GetText(), test._generation) << test._headerSize;
	}
	for (const UInt32 size : {13u, 39u, 0u})
	{
		std::vector<Byte> bytes = source;
		PutUInt32(bytes, 14, size);
		EXPECT_EQ(TextOf(DescribePicture(bytes).GetError()), "net.torvi.image.error.mediasessionwrongtype: Invalid image bit count: 0.");
	}
	EXPECT_FALSE(DescribePicture(GetGoodFile("core-rgb24.bmp")).GetValue()->Get<DataDictionary>(ids::MEDIAFORMAT_EXPORTSETTINGS).IsOk());
}

TEST_F(BmpTest, PublishesResolution)
{
	struct Case
	{
		Int32 _horizontal;
		Int32 _vertical;
		Float64 _dpi;    ///< 0: none
		Float64 _aspect; ///< 0: none
	};
	const Case cases[] = {
		{2834, 2834, 2834 * 300.0 / 11808.0, 0},
		{0, 0, 0, 0},
		{0, 100, 0, 0},
		{-1000, 1000, 1000 * 300.0 / 11808.0, 1.0},
		{1000, 9999, 1000 * 300.0 / 11808.0, 9.999},
		{1000, 10000, 1000 * 300.0 / 11808.0, 0},
		{39, 39, 0, 0},
		{40, 20, 40 * 300.0 / 11808.0, 0.5},
		{INT32_MIN, 7, 0, 0},
	};
	for (const Case& test : cases)
	{
		std::vector<Byte> bytes = GetGoodFile("rgb24.bmp");
		PutUInt32(bytes, 38, static_cast<UInt32>(test._horizontal));
		PutUInt32(bytes, 42, static_cast<UInt32>(test._vertical));
		const MediaStreamFormat format = DescribePicture(bytes).GetValue();
		EXPECT_EQ(format->GetOr<Float64>(ids::MEDIAFORMAT_DPI, 0), test._dpi) << test._horizontal;
		EXPECT_EQ(format->GetOr<Float64>(ids::MEDIAFORMAT_ASPECTRATIO, 0), test._aspect) << test._horizontal << ", " << test._vertical;
	}
}

TEST_F(BmpTest, FormatsAreTheRegisteredOnes)
{
	struct Case
	{
		const char* _file;
		Id _format;
		bool _hasAlpha;
	};
	const Case cases[] = {
		{"rgb32.bmp", ids::PIXELFORMAT_BGR_U8, true},
		{"rgb32-masks.bmp", ids::PIXELFORMAT_BGR_U8, false},
		{"rgba32-h56.bmp", ids::PIXELFORMAT_BGR_U8, true},
		{"xbgr32.bmp", ids::PIXELFORMAT_BGR_U8, false},
		{"rgb1555-h56.bmp", ids::PIXELFORMAT_ARGB_U1555, false},
		{"pal4.bmp", ids::PIXELFORMAT_INDEXED_U4BIT, false},
	};
	for (const Case& test : cases)
	{
		const std::vector<Byte> bytes = GetGoodFile(test._file);
		const PixelFormat format = DescribePicture(bytes).GetValue()->Get<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT).GetValue();
		EXPECT_EQ(format, GetPixelFormat(test._format)) << test._file;
		const ImageTextureRef texture = LoadFile(MakeMemoryUrl(bytes)).TakeValue();
		EXPECT_EQ(!GetImageChildren(*GetPicture(texture, 0), IMAGEHIERARCHY::ALPHA).empty(), test._hasAlpha) << test._file;
	}
}

TEST_F(BmpTest, EmptyPicturesLoad)
{
	for (const std::size_t field : {18u, 22u})
	{
		std::vector<Byte> bytes = GetGoodFile("rgb24.bmp");
		PutUInt32(bytes, field, 0);
		bytes.resize(54);
		const Result<ImageTextureRef> texture = LoadFile(MakeMemoryUrl(bytes));
		EXPECT_TRUE(texture.IsOk()) << TextOf(texture.GetError());
	}
}

SavedFile SaveBmp(const ImageTextureRef& texture, const DataDictionary& settings = {})
{
	return SaveToMemory(texture, ids::CLASS_BMPEXPORT, settings);
}

DataDictionary MakeSettings(const Id& generation)
{
	DataDictionary settings;
	TORVI_MUST(settings.Set<Id>(ids::BMPEXPORT_BITMAPINFOHEADER, generation));
	return settings;
}

constexpr Int WIDTH = 5;
constexpr Int HEIGHT = 3;

std::vector<Byte> MakeRgba()
{
	std::vector<Byte> pixels;
	for (Int i = 0; i < WIDTH * HEIGHT * 4; ++i)
		pixels.push_back(static_cast<Byte>(i * 37 + 5));
	return pixels;
}

TEST_F(BmpTest, WritesEachGeneration)
{
	struct Case
	{
		Id _generation;
		UInt32 _headerSize;
		bool _keepsAlpha;
		UInt32 _colorSpace;
	};
	const Case cases[] = {{"V3", 40, false, 0}, {"V4", 108, true, 0x73524742}, {"V5", 124, true, 0x4D424544}};
	for (const Case& test : cases)
	{
		const std::vector<Byte> pixels = MakeRgba();
		const ImageTextureRef texture = TORVI_MUST(MakeTexture(ids::PIXELFORMAT_RGBA_U8, WIDTH, HEIGHT, pixels));
		const SavedFile file = SaveBmp(texture, MakeSettings(test._generation));
		ASSERT_TRUE(file._result.IsOk()) << TextOf(file._result.GetError());
		const Block<const Byte> bytes = file._bytes;
		const UInt32 profileSize = test._headerSize == 124 ? GetUInt32(bytes, 14 + 116) : 0;
		const UInt32 imageSize = test._keepsAlpha ? 20 * 3 : 16 * 3;
		EXPECT_EQ(GetUInt32(bytes, 2), bytes.size());
		EXPECT_EQ(GetUInt32(bytes, 10), 14 + test._headerSize + profileSize);
		EXPECT_EQ(bytes.size(), 14 + test._headerSize + profileSize + imageSize);
		const UInt32 fields[] = {test._headerSize,
								 WIDTH,
								 HEIGHT,
								 test._keepsAlpha ? 0x200001u : 0x180001u,
								 test._keepsAlpha ? 3u : 0u,
								 imageSize,
								 2834,
								 2834,
								 0,
								 0};
		for (std::size_t i = 0; i < std::size(fields); ++i)
			EXPECT_EQ(GetUInt32(bytes, 14 + i * 4), fields[i]) << test._headerSize << ", field " << i;
		if (test._headerSize > 40)
		{
			EXPECT_EQ(GetUInt32(bytes, 14 + 40), 0xFF0000u);
			EXPECT_EQ(GetUInt32(bytes, 14 + 52), 0xFF000000u);
			EXPECT_EQ(GetUInt32(bytes, 14 + 56), test._colorSpace);
		}
		if (test._headerSize == 124)
		{
			EXPECT_GT(profileSize, 100u) << "sRGB is embedded too";
			EXPECT_EQ(GetUInt32(bytes, 14 + 108), 4u);
			EXPECT_EQ(GetUInt32(bytes, 14 + 112), 124u);
		}
		std::vector<Byte> wanted = pixels;
		for (std::size_t i = 3; i < wanted.size() && !test._keepsAlpha; i += 4)
			wanted[i] = 255;
		const Result<PixelArray> read = LoadPixels(MakeMemoryUrl(file._bytes));
		ASSERT_TRUE(read.IsOk()) << TextOf(read.GetError());
		EXPECT_EQ(read.GetValue()._bytes, wanted) << test._headerSize;
	}
}

TEST_F(BmpTest, AlphaStreamsGoIntoTheFourthByte)
{
	const std::vector<Byte> source = GetGoodFile("rgba32-alpha-inside.bmp");
	const ImageTextureRef texture = TORVI_MUST(LoadFile(MakeMemoryUrl(source)));
	const SavedFile file = SaveBmp(texture, MakeSettings("V4"));
	ASSERT_TRUE(file._result.IsOk()) << TextOf(file._result.GetError());
	EXPECT_EQ(LoadPixels(MakeMemoryUrl(file._bytes)).GetValue(), LoadPixels(MakeMemoryUrl(source)).GetValue());
}

TEST_F(BmpTest, DefaultsAndWrongSettings)
{
	const ImageTextureRef texture = TORVI_MUST(MakeTexture(ids::PIXELFORMAT_RGB_U8, WIDTH, HEIGHT, MakeRgba()));
	EXPECT_EQ(GetUInt32(SaveBmp(texture)._bytes, 14), 108u) << "V4 without settings";
	const SavedFile wrong = SaveBmp(texture, MakeSettings("V6"));
	EXPECT_EQ(TextOf(wrong._result.GetError()), "net.torvi.error.illegalargument: Invalid header type: V6.");
	EXPECT_TRUE(wrong._bytes.empty());
	const ImageTextureRef empty = TORVI_MUST(MakeTexture(ids::PIXELFORMAT_RGB_U8, 0, 3, {}));
	EXPECT_EQ(TextOf(SaveBmp(empty, MakeSettings("V6"))._result.GetError()), "net.torvi.error.illegalargument: Invalid header type: V6.");
	EXPECT_EQ(TextOf(SaveBmp(empty, MakeSettings("V3"))._result.GetError()), "net.torvi.error.illegalargument: resolution must not be 0.");
	const ImageTextureRef wide = TORVI_MUST(MakeTexture(ids::PIXELFORMAT_GREY_U8, 32001, 1, {}));
	EXPECT_EQ(TextOf(SaveBmp(wide)._result.GetError()), "net.torvi.error.illegalargument: Maximum resolution exceeded.");
	EXPECT_TRUE(
		TORVI_MUST(CreateObject<MediaOutputUrlInterface>(ids::CLASS_BMPEXPORT))->Get<Bool>(ids::MEDIAOUTPUT_EMBED_COLORPROFILE).GetValue());
}

TEST_F(BmpTest, ResolutionAndProfileSurviveARoundTrip)
{
	const ImageTextureRef texture = TORVI_MUST(MakeTexture(ids::PIXELFORMAT_RGB_U8, WIDTH, HEIGHT, MakeRgba()));
	const ImageBaseRef image = GetPicture(texture, 0);
	const ColorProfile linear = GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB);
	TORVI_MUST(image->Set<ColorProfile>(ids::IMAGE_COLORPROFILE, linear));
	TORVI_MUST(image->Set<Float64>(ids::IMAGE_DPI, 300.0));
	TORVI_MUST(image->Set<Float64>(ids::IMAGE_ASPECTRATIO, 0.5));
	const SavedFile file = SaveBmp(texture, MakeSettings("V5"));
	ASSERT_TRUE(file._result.IsOk()) << TextOf(file._result.GetError());
	EXPECT_EQ(GetUInt32(file._bytes, 38), 11808u);
	EXPECT_EQ(GetUInt32(file._bytes, 42), 5904u);
	const Result<MediaStreamFormat> format = DescribePicture(file._bytes);
	ASSERT_TRUE(format.IsOk()) << TextOf(format.GetError());
	EXPECT_EQ(format.GetValue()->Get<ColorProfile>(ids::MEDIAFORMAT_COLORPROFILE).GetValue(), linear);
	EXPECT_EQ(format.GetValue()->Get<Float64>(ids::MEDIAFORMAT_DPI).GetValue(), 300.0);
	EXPECT_EQ(format.GetValue()->Get<Float64>(ids::MEDIAFORMAT_ASPECTRATIO).GetValue(), 0.5);

	TORVI_MUST(image->Set<Float64>(ids::IMAGE_DPI, 1e300));
	EXPECT_EQ(GetUInt32(SaveBmp(texture, MakeSettings("V3"))._bytes, 38), static_cast<UInt32>(INT32_MAX));
}

TEST_F(BmpTest, GreyPicturesAreSavedWithAProfileForColours)
{
	const std::vector<Byte> grey(WIDTH * HEIGHT, 100);
	const SavedFile file = SaveBmp(TORVI_MUST(MakeTexture(ids::PIXELFORMAT_GREY_U8, WIDTH, HEIGHT, grey)), MakeSettings("V5"));
	ASSERT_TRUE(file._result.IsOk()) << TextOf(file._result.GetError());
	const Result<MediaStreamFormat> format = DescribePicture(file._bytes);
	ASSERT_TRUE(format.IsOk()) << TextOf(format.GetError());
	EXPECT_TRUE(format.GetValue()
					->Get<ColorProfile>(ids::MEDIAFORMAT_COLORPROFILE)
					.GetValue()
					.CheckCompatiblePixelFormat(*GetPixelFormat(ids::PIXELFORMAT_BGR_U8)));
}

/// Files without a profile hold sRGB, unless the settings say that the pixels stay as they are.
TEST_F(BmpTest, PixelsBecomeSrgbWhereNoProfileIsEmbedded)
{
	constexpr Byte LINEAR = 55, SRGB = 128; // the same grey
	struct Case
	{
		Id _generation;
		bool _isOff;
		Byte _value;
	};
	const Case cases[] = {{"V3", false, SRGB},  {"V3", true, LINEAR},  {"V4", false, SRGB},
						  {"V4", true, LINEAR}, {"V5", false, LINEAR}, {"V5", true, LINEAR}};
	const std::vector<Byte> grey(WIDTH * HEIGHT * 4, LINEAR);
	for (const Case& test : cases)
	{
		const ImageTextureRef texture = TORVI_MUST(MakeTexture(ids::PIXELFORMAT_RGB_U8, WIDTH, HEIGHT, grey));
		const ColorProfile linear = GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB);
		TORVI_MUST(GetPicture(texture, 0)->Set<ColorProfile>(ids::IMAGE_COLORPROFILE, linear));
		DataDictionary settings = MakeSettings(test._generation);
		TORVI_MUST(settings.Set<Bool>(ids::EXPORT_DISABLESRGBCONVERSION, test._isOff));
		const SavedFile file = SaveBmp(texture, settings);
		ASSERT_TRUE(file._result.IsOk()) << TextOf(file._result.GetError());
		EXPECT_NEAR(file._bytes[GetUInt32(file._bytes, 10)], test._value, 1) << test._generation.GetText() << test._isOff;
	}
	const SavedFile alpha = SaveBmp(TORVI_MUST(MakeTexture(ids::PIXELFORMAT_ALPHA_U8, WIDTH, HEIGHT, MakeRgba())));
	EXPECT_TRUE(alpha._result.IsOk()) << "there is no profile to convert from: " << TextOf(alpha._result.GetError());
}

/// A profile of rgb pixels that cannot be written.
class UnwritableRecord final : public ColorProfileRecordInterface
{
public:
	Result<Array<Byte>> WriteProfile() override { return IllegalStateError("no bytes"); }
	String GetInfo(ColorProfileInfo) const override { return {}; }
	UInt32 GetCrc() const override { return 1; }
	Bool HasProfile() const override { return true; }
	ColorSpace GetColorSpace() const override { return FindDeclared<ColorSpaceInterface>(ids::COLORSPACE_RGB); }
	OcioConfigRef GetOcioConfig() const override { return {}; }
	Bool IsOcio() const override { return false; }
	CString GetOcioName() const override { return ""; }
	CString GetOcioSecondName() const override { return ""; }
};

TEST_F(BmpTest, AnEarlierFileStaysWhereTheProfileCannotBeWritten)
{
	const ImageTextureRef texture = TORVI_MUST(MakeTexture(ids::PIXELFORMAT_RGB_U8, WIDTH, HEIGHT, MakeRgba()));
	TORVI_MUST(GetPicture(texture, 0)->Set<ColorProfile>(ids::IMAGE_COLORPROFILE, ColorProfile(TORVI_MUST(NewObject<UnwritableRecord>()))));
	TORVI_MUST(texture->Set<DataDictionary>(ids::IMAGE_EXPORTSETTINGS, MakeSettings("V5")));
	const auto memory = TORVI_MUST(NewObject<IoMemory>(Array<Byte>{1, 2, 3}));
	EXPECT_EQ(TextOf(SaveFile(texture, ids::CLASS_BMPEXPORT, TORVI_MUST(memory->GetUrl())).GetError()),
			  "net.torvi.error.illegalstate: no bytes");
	EXPECT_EQ(CountOf(memory->GetBytes()), 3);
}

TEST_F(BmpTest, TheDescriptionHoldsTheDefaultGeneration)
{
	const std::string_view json =
		R"({"net.torvi.mediasession.bmp.export": {"net.torvi.mediasession.bmp.export.bitmapinfoheader": {"type": "id", "default": "V5"}}})";
	const auto file = TORVI_MUST(NewObject<IoMemory>(Array<Byte>(json.begin(), json.end())));
	TORVI_MUST(DataDescriptionDatabase::RegisterDatabaseWithUrl("net.torvi.test.module", TORVI_MUST(file->GetUrl())));
	const ImageTextureRef texture = TORVI_MUST(MakeTexture(ids::PIXELFORMAT_RGB_U8, WIDTH, HEIGHT, MakeRgba()));
	EXPECT_EQ(GetUInt32(SaveBmp(texture)._bytes, 14), 124u);
	DataDescriptionDatabase::Clear();
}

/// What one stream of an importer was given: its lines in the order of coming, with their numbers.
struct TakenLines
{
	std::vector<Int> _rows;
	std::vector<Byte> _bytes;
};

Result<void> TakeLines(const MediaStreamRef& anyStream, TakenLines& taken)
{
	const auto stream = Cast<MediaStreamImageDataImportInterface>(anyStream);
	TORVI_TRY(stream->SubscribeStream(stream->GetSelectedFormat()));
	const auto nothing = [](const MediaStreamImageDataImportRef&, const MediaStreamProperties&) -> Result<void> { return OK; };
	const auto pixel = [&taken](const MediaStreamImageDataImportRef&, const MediaStreamProperties& properties, const ChannelOffsets&,
								SETPIXELHANDLERFLAGS) -> Result<SetPixelHandlerStruct>
	{
		const Int size = BytesOf(TORVI_TRY(properties->Get<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT))->GetBitsPerPixel());
		SetPixelHandlerStruct record;
		record._setLine = [&taken, size](const ImagePos& pos, const PixelBuffer& source, UInt32) -> Result<void>
		{
			taken._rows.push_back(pos._y);
			for (Int x = 0; x < pos._count; ++x)
			{
				const Byte* first = source._pixel + x * source._stride / 8;
				taken._bytes.insert(taken._bytes.end(), first, first + size);
			}
			return OK;
		};
		return record;
	};
	return stream->SetCallbackHandler(nothing, pixel, nothing);
}

/// Picture and alpha come alone and together, from the same bytes of each pixel.
TEST_F(BmpTest, DeliversEverySubsetOfItsStreams)
{
	const std::vector<Byte> bytes = GetGoodFile("rgba32-alpha-inside.bmp");
	TakenLines whole[2];
	for (const UInt32 subset : {3u, 0u, 1u, 2u})
	{
		const auto importer = TORVI_MUST(CreateObject<UrlImporterInterface>(ids::CLASS_BMPIMPORT));
		importer->SetUrl(MakeMemoryUrl(bytes));
		TORVI_MUST(importer->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE));
		const Array<MediaStreamRef> streams = TORVI_MUST(importer->GetOutputStreams(true));
		ASSERT_EQ(streams.size(), 2u);
		TakenLines taken[2];
		for (std::size_t i = 0; i < 2; ++i)
		{
			if ((subset >> i & 1) != 0)
				TORVI_MUST(TakeLines(streams[i], taken[i]));
		}
		TORVI_MUST(importer->PrepareExecute({}, TimeValue(), MEDIASESSIONFLAGS::NONE));
		const Result<void> result = importer->Execute({}, TimeValue(), MEDIASESSIONFLAGS::NONE);
		ASSERT_TRUE(result.IsOk()) << TextOf(result.GetError());
		EXPECT_EQ(importer->Execute({}, TimeValue(), MEDIASESSIONFLAGS::NONE).GetError().GetId(), errorids::MEDIASTREAMEOF);
		for (std::size_t i = 0; i < 2; ++i)
		{
			if (subset == 3)
				whole[i] = taken[i];
			const bool isWanted = (subset >> i & 1) != 0;
			EXPECT_EQ(taken[i]._bytes, isWanted ? whole[i]._bytes : std::vector<Byte>()) << subset << ", " << i;
			EXPECT_EQ(taken[i]._rows, isWanted ? whole[i]._rows : std::vector<Int>()) << subset << ", " << i;
		}
		EXPECT_TRUE(importer->Close({}).IsOk());
		EXPECT_TRUE(subset == 0 || !importer->Execute({}, TimeValue(), MEDIASESSIONFLAGS::NONE).IsOk()) << "the file is closed";
	}
	EXPECT_FALSE(whole[0]._bytes.empty());
	EXPECT_EQ(whole[0]._bytes.size(), 4 * whole[1]._bytes.size());
}

/// Another program's view of a file, as rgba.u8; empty if it cannot read it.
std::vector<Byte> ReadWithOtherProgram(const std::string& program, const std::filesystem::path& file)
{
	const std::filesystem::path raw = file.string() + ".rgba";
	const std::string command = program + " '" + file.string() + "' -depth 8 'rgba:" + raw.string() + "'";
	return std::system(command.c_str()) == 0 ? ReadWholeFile(raw) : std::vector<Byte>();
}

TEST_F(BmpTest, AnotherProgramReadsWhatWeWrite)
{
	const std::string program = "/usr/bin/convert-im6.q16";
	if (!std::filesystem::exists(program))
		GTEST_SKIP() << program << " is not here (Debian package imagemagick).";
	for (const Id& generation : {BMP_GENERATION_V3, BMP_GENERATION_V4, BMP_GENERATION_V5})
	{
		for (const Id& pixelFormat : {ids::PIXELFORMAT_RGBA_U8, ids::PIXELFORMAT_RGBX_U8})
		{
			const SavedFile saved = SaveBmp(TORVI_MUST(MakeTexture(pixelFormat, WIDTH, HEIGHT, MakeRgba())), MakeSettings(generation));
			ASSERT_TRUE(saved._result.IsOk()) << TextOf(saved._result.GetError());
			std::vector<Byte> bytes = saved._bytes;
			if (generation == BMP_GENERATION_V5)
				PutUInt32(bytes, 14 + 56,
						  BMP_COLORSPACE_SRGB); // that program takes profiles behind the pixels only; with this tag it steps over ours
			const std::filesystem::path file = std::filesystem::path(testing::TempDir()) / (std::string(generation.GetText()) + ".bmp");
			std::ofstream(file, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), CountOf(bytes));
			const Result<PixelArray> ours = LoadPixels(MakeMemoryUrl(saved._bytes));
			ASSERT_TRUE(ours.IsOk()) << TextOf(ours.GetError());
			EXPECT_EQ(ReadWithOtherProgram(program, file), ours.GetValue()._bytes) << generation.GetText() << ", " << pixelFormat.GetText();
		}
	}
}

TEST_F(BmpTest, Faults)
{
	CheckLoadFaults("bmp", ids::CLASS_BMPIMPORT, {"pal4.bmp", "rle8.bmp", "rgba32-h124.bmp", "gap-before-pixels.bmp", "pal2-alpha.bmp"});
	CheckSaveFaults(ids::CLASS_BMPEXPORT, TORVI_MUST(MakeTexture(ids::PIXELFORMAT_RGBA_U8, WIDTH, HEIGHT, MakeRgba())));
}

} // namespace

} // namespace torvi::test
