// Reading and writing of JPEG files.
#include "host/ids.h"
#include "host/job.h"
#include "host/progress.h"
#include "media_io/jpg_mpf.h"
#include "media_io/media_io_jpg.h"
#include "media_io/registration.h"
#include "tests/media_io/fault_checks.h"
#include "tests/media_io/sample_files.h"
#include "tests/support/failing_url.h"
#include "torvi/exif.h"
#include "torvi/gfx_image.h"
#include "torvi/ids_formats.h"
#include "torvi/ids_keys.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace torvi::test
{

namespace
{

// Places in the EXIF data of the turned sample.
constexpr std::size_t DIRECTORY = 10;   ///< the highest byte of its offset
constexpr std::size_t ORIENTATION = 25; ///< the low byte of its value

/// A parsed block of the component below.
class TestExif final : public DataDictionaryObjectImpl, public virtual ExifInterface
{
public:
	Result<DataDictionary> GetExifDictionary() const override { return GetDictionary(); }
};

/// The component that parses EXIF data, as far as the turned sample needs it.
class TestExifStatic final : public virtual ExifStaticInterface
{
public:
	Result<ExifRef> OpenFromMemory(Block<const Byte> data) const override
	{
		TORVI_CHECK(data.size() > ORIENTATION && data[0] == 'E' && data[DIRECTORY] == 0, IllegalArgumentError());
		const auto exif = TORVI_TRY(NewObject<TestExif>());
		TORVI_TRY(exif->Set<UInt16>(EXIFTAG_ORIENTATION, data[ORIENTATION]));
		return ExifRef(exif);
	}
	Result<ExifRef> OpenJpgFromUrl(const Url&) const override { return FunctionNotImplementedError(); }
};

Result<void> RegisterFormatsAndExif(Module& module)
{
	TORVI_TRY(module.AddClass<TestExifStatic>(ids::CLASS_EXIFSTATIC));
	return RegisterMediaFormats(module);
}

using JpgTest = MediaTest<&RegisterMediaFormats>;
using SlowJpgTest = MediaTest<&RegisterFormatsAndExif>;
using DataJpgTest = MediaTest<&RegisterMediaFormats>; // without the component pictures stay as other programs decode them
using TurnedJpgTest = MediaTest<&RegisterFormatsAndExif>;

/// Where a text first stands in a file.
std::size_t Find(Block<const Byte> bytes, std::string_view text)
{
	const auto isEqual = [](Byte byte, char character) { return byte == static_cast<Byte>(character); };
	return static_cast<std::size_t>(std::search(bytes.begin(), bytes.end(), text.begin(), text.end(), isEqual) - bytes.begin());
}

TEST_F(JpgTest, SampleFiles)
{
	CheckSampleFiles("jpeg");
}

TEST_F(TurnedJpgTest, DamagedFiles)
{
	CheckCutAndFlippedFiles("jpeg", 700, 120, 4);
}

TEST_F(SlowJpgTest, DamagedFilesThroughout)
{
	CheckCutAndFlippedFiles("jpeg", 2048, 2048, 1);
}

TEST_F(DataJpgTest, RealFiles)
{
	CheckCorpus("jpeg", 45);
}

TEST_F(JpgTest, DetectsByContent)
{
	using namespace std::string_view_literals;
	struct Case
	{
		std::string_view _bytes;
		bool _isJpg;
	};
	const Case cases[] = {
		{"\xFF\xD8\xFF\xD9"sv, true},
		{"\xFF\xD8\xFF\xFE\0\2\xFF\xFE\0\3x\xFF"sv, true}, // nothing is read behind the start of the third
		{"\xFF\xD8\xFF\xFE\0\2\xFF\xFE\0\3x\xFE"sv, false},
		{"\xFF\xD8\xFF\xFE\0\2\xFF\xFE\0\3x"sv, false},
		{"\xFF\xD8\xFF\xFE\0\1\xFF\xFE\0\2\xFF"sv, false}, // a length that leads back
		{"\xFF\xD8\xFF\xFE\0\x09\xFF\xD9"sv, false},
		{"\xFF\xD8\xFF\xFF\xFE\0\2\xFF\xFE\0\2\xFF"sv, false}, // a fill byte is no marker here
		{"\xFF\xD8\xFF\xFE\0"sv, false},
		{"\xFF\xD8"sv, false},
		{"\xFF\xD9\xFF\xD9"sv, false},
		{""sv, false},
	};
	const auto format = FindDeclared<FileFormatInterface>(ids::FILEFORMAT_JPG);
	ASSERT_TRUE(format);
	for (const Case& test : cases)
	{
		const Url url = MakeMemoryUrl(std::vector<Byte>(test._bytes.begin(), test._bytes.end()));
		const Result<Bool> detected = format->Detect(url, TORVI_MUST(url.OpenInputStream()));
		ASSERT_TRUE(detected.IsOk()) << TextOf(detected.GetError());
		EXPECT_EQ(detected.GetValue(), test._isJpg) << &test - cases;
	}
	const Url failing = MakeFailingUrl(GetSampleFile("jpeg", "grey.jpg"), {._readErrorAt = 1});
	EXPECT_EQ(TextOf(format->Detect(failing, TORVI_MUST(failing.OpenInputStream())).GetError()), "net.torvi.error.io: The read failed.");
	const Url empty = MakeMemoryUrl({});
	const auto importer = TORVI_MUST(CreateObject<UrlImporterInterface>(ids::CLASS_JPGIMPORT));
	importer->SetUrl(empty);
	EXPECT_EQ(TextOf(importer->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE).GetError()),
			  "net.torvi.image.error.mediaconverter: Error loading jpg: Empty input file");
}

/// Every orientation puts the picture upright: the pixel of each place comes from the place that the public standard says.
TEST_F(TurnedJpgTest, OrientationsAreUndone)
{
	struct Case
	{
		int _orientation;
		bool _swapsSides;
		std::function<std::pair<Int, Int>(Int x, Int y, Int width, Int height)> _sourceOf; ///< width and height of the file
	};
	const Case cases[] = {
		{0, false, [](Int x, Int y, Int, Int) { return std::pair(x, y); }},
		{1, false, [](Int x, Int y, Int, Int) { return std::pair(x, y); }},
		{2, false, [](Int x, Int y, Int w, Int) { return std::pair(w - 1 - x, y); }},
		{3, false, [](Int x, Int y, Int w, Int h) { return std::pair(w - 1 - x, h - 1 - y); }},
		{4, false, [](Int x, Int y, Int, Int h) { return std::pair(x, h - 1 - y); }},
		{5, true, [](Int x, Int y, Int, Int) { return std::pair(y, x); }},
		{6, true, [](Int x, Int y, Int, Int h) { return std::pair(y, h - 1 - x); }},
		{7, true, [](Int x, Int y, Int w, Int h) { return std::pair(w - 1 - y, h - 1 - x); }},
		{8, true, [](Int x, Int y, Int w, Int) { return std::pair(w - 1 - y, x); }},
		{9, false, [](Int x, Int y, Int, Int) { return std::pair(x, y); }},
	};
	const PixelArray file = TORVI_MUST(LoadPixels(MakeMemoryUrl(GetSampleFile("jpeg", "rgb.jpg"))));
	std::vector<Byte> bytes = GetSampleFile("jpeg", "rgb-turned.jpg");
	const std::size_t place = Find(bytes, "Exif") + ORIENTATION;
	ASSERT_EQ(bytes.at(place), 6);
	for (const Case& test : cases)
	{
		bytes[place] = static_cast<Byte>(test._orientation);
		const ImageTextureRef texture = TORVI_MUST(LoadFile(MakeMemoryUrl(bytes)));
		EXPECT_TRUE(texture->Get<ExifRef>(ids::IMAGE_EXIFDATA).IsOk());
		const PixelArray pixels = TORVI_MUST(ReadPixels(GetPicture(texture, 0)));
		ASSERT_EQ(pixels._width, test._swapsSides ? file._height : file._width) << test._orientation;
		for (Int i = 0; i < pixels._width * pixels._height; ++i)
		{
			const auto [x, y] = test._sourceOf(i % pixels._width, i / pixels._width, file._width, file._height);
			const Byte* wanted = file._bytes.data() + (y * file._width + x) * 4;
			ASSERT_TRUE(std::equal(wanted, wanted + 4, pixels._bytes.data() + i * 4)) << test._orientation << ", pixel " << i;
		}
	}
	bytes.at(Find(bytes, "Exif") + DIRECTORY) = 200;
	const ImageTextureRef broken = TORVI_MUST(LoadFile(MakeMemoryUrl(bytes)));
	EXPECT_FALSE(broken->Get<ExifRef>(ids::IMAGE_EXIFDATA).IsOk());
	EXPECT_EQ(GetPicture(broken, 0)->GetWidth(), file._width);
}

TEST_F(JpgTest, WithoutTheComponentThereIsNoExifData)
{
	const ImageTextureRef texture = TORVI_MUST(LoadFile(MakeMemoryUrl(GetSampleFile("jpeg", "rgb-turned.jpg"))));
	EXPECT_FALSE(texture->Get<ExifRef>(ids::IMAGE_EXIFDATA).IsOk());
	EXPECT_EQ(ReadPixels(GetPicture(texture, 0)).GetValue(), LoadPixels(MakeMemoryUrl(GetSampleFile("jpeg", "rgb.jpg"))).GetValue());
}

/// The published pictures of a file, by the importer itself, without detection.
Result<Array<MediaStreamFormat>> DescribePictures(const Url& url)
{
	const auto importer = TORVI_TRY(CreateObject<UrlImporterInterface>(ids::CLASS_JPGIMPORT));
	importer->SetUrl(url);
	TORVI_TRY(importer->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE));
	Array<MediaStreamFormat> formats;
	for (const MediaStreamRef& stream : TORVI_TRY(importer->GetOutputStreams(false)))
		formats.push_back(stream->GetFormat(stream->GetSelectedFormat()));
	return formats;
}

TEST_F(JpgTest, PublishesFormatAndResolution)
{
	struct Case
	{
		const char* _file;
		Id _format;
		Byte _unit;
		UInt16 _x, _y;
		Float64 _dpi, _aspect; ///< 0: none
	};
	const Case cases[] = {
		{"grey.jpg", ids::PIXELFORMAT_GREY_U8, 1, 300, 300, 300, 0}, {"ycc.jpg", ids::PIXELFORMAT_RGB_U8, 1, 100, 50, 100, 0.5},
		{"grey.jpg", ids::PIXELFORMAT_GREY_U8, 2, 100, 0, 254, 0},   {"ycc.jpg", ids::PIXELFORMAT_RGB_U8, 0, 2, 3, 0, 1.5},
		{"grey.jpg", ids::PIXELFORMAT_GREY_U8, 1, 0, 72, 0, 0},      {"grey.jpg", ids::PIXELFORMAT_GREY_U8, 1, 72, 1, 72, 0},
		{"grey.jpg", ids::PIXELFORMAT_GREY_U8, 0, 0, 0, 0, 0},       {"grey.jpg", ids::PIXELFORMAT_GREY_U8, 3, 1, 10, 0, 0},
	};
	for (const Case& test : cases)
	{
		std::vector<Byte> bytes = GetSampleFile("jpeg", test._file);
		const std::size_t place = Find(bytes, "JFIF") + 7;
		bytes.at(place) = test._unit;
		for (std::size_t i = 0; i < 2; ++i)
		{
			bytes.at(place + 1 + i) = static_cast<Byte>(test._x >> (8 - 8 * i));
			bytes.at(place + 3 + i) = static_cast<Byte>(test._y >> (8 - 8 * i));
		}
		const MediaStreamFormat format = TORVI_MUST(DescribePictures(MakeMemoryUrl(bytes))).at(0);
		EXPECT_EQ(format->GetOr<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT, {}), GetPixelFormat(test._format));
		EXPECT_EQ(format->GetOr<Float64>(ids::MEDIAFORMAT_DPI, 0), test._dpi) << &test - cases;
		EXPECT_EQ(format->GetOr<Float64>(ids::MEDIAFORMAT_ASPECTRATIO, 0), test._aspect) << &test - cases;
		EXPECT_TRUE(format->Get<ColorProfile>(ids::MEDIAFORMAT_COLORPROFILE).GetValue().IsEmpty());
	}
	const MediaStreamFormat inks = TORVI_MUST(DescribePictures(MakeMemoryUrl(GetSampleFile("jpeg", "ycck.jpg")))).at(0);
	EXPECT_EQ(inks->GetOr<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT, {}), GetPixelFormat(ids::PIXELFORMAT_CMYK_INV_U8));
	const auto information = FindDeclared<DataDictionaryObjectInterface>(ids::MODULEINFO_JPEGLIB);
	ASSERT_TRUE(information);
	EXPECT_EQ(information->GetOr<String>(ids::MODULEVERSIONINFO_MODULENAME, {}), MakeString("jpeglib"));
}

TEST_F(JpgTest, FilesOfSeveralPictures)
{
	const PixelArray second = TORVI_MUST(LoadPixels(MakeMemoryUrl(GetSampleFile("jpeg", "grey.jpg"))));
	for (const char* name : {"pictures-big-endian.jpg", "pictures-little-endian.jpg"})
	{
		const Url url = MakeMemoryUrl(GetSampleFile("jpeg", name));
		const Array<MediaStreamFormat> formats = TORVI_MUST(DescribePictures(url));
		ASSERT_EQ(formats.size(), 2u) << name;
		EXPECT_EQ(formats[1]->GetOr<Int>(ids::MEDIAFORMAT_SUBIMAGEINDEX, -1), 1);
		EXPECT_EQ(formats[1]->GetOr<Float64>(ids::MEDIAFORMAT_DPI, 0), 254.0);
		EXPECT_EQ(ReadPixels(GetPicture(TORVI_MUST(LoadFile(url)), 1)).GetValue(), second) << name;
		const Url pipe = MakeFailingUrl(GetSampleFile("jpeg", name), {._canSeek = false});
		EXPECT_EQ(TORVI_MUST(DescribePictures(pipe)).size(), 1u) << "others cannot be reached";
		EXPECT_EQ(LoadPixels(pipe).GetValue(), LoadPixels(url).GetValue()) << name;
	}
	EXPECT_EQ(TORVI_MUST(DescribePictures(MakeMemoryUrl(GetSampleFile("jpeg", "picture-gone.jpg")))).size(), 1u);
}

/// What ends the walk over the directories of the segment, and what counts on the way.
TEST(JpgMultiPicture, ReadsDirectories)
{
	using namespace std::literals;
	const auto count = "\xB0\1\0\4\0\0\0\1\0\0\0\1"sv; // one picture
	const auto list = [](char offset) { return "\xB0\2\0\7\0\0\0\x10\0\0\0"s + offset; };
	const auto entry = "\0\0\0\0\0\0\0\0\0\0\0\x07\0\0\0\0"sv;
	const auto other = [](char type) { return "\xB1\1\0"s + type + "\0\0\0\x63\0\0\0\0"s; }; // of any count
	struct Case
	{
		const char* _name;
		std::string _structure; ///< from the offset of the first directory on
		Array<Int> _offsets;
	};
	const auto directory = [](std::initializer_list<std::string_view> fields, std::string_view next)
	{
		std::string text("\0\0\0\x08\0"sv);
		text += static_cast<char>(fields.size());
		for (const std::string_view field : fields)
			text += field;
		return text.append(next);
	};
	const Case cases[] = {
		{"one entry", directory({count, list(38)}, "\0\0\0\0"sv).append(entry), {7}},
		{"next is 65535", directory({count, list(38)}, "\0\0\xFF\xFF"sv).append(entry), {7}},
		{"next lies outside", directory({count, list(38)}, "\1\0\0\0"sv).append(entry), {7}},
		{"next does not grow", directory({count, list(38)}, "\0\0\0\x08"sv).append(entry), {7}},
		{"no pictures", directory({"\xB0\1\0\4\0\0\0\1\0\0\0\0"sv, "\xB0\2\0\7\0\0\0\0\0\0\0\0"sv}, "\0\0\0\0"sv), {}},
		{"no directory", "\0\0\0\0"s, {}},
		{"other fields", directory({other(10), other(5), count, list(62)}, "\0\0\0\0"sv).append(entry), {7}},
		{"an unknown type ends it", directory({count, other(3), list(50)}, "\0\0\0\0"sv).append(entry), {}},
	};
	for (const Case& test : cases)
	{
		const std::string text = "MPF\0MM\0*"s + test._structure;
		const Result<Array<Int>> offsets = ReadMultiPictureOffsets(std::vector<Byte>(text.begin(), text.end()));
		ASSERT_TRUE(offsets.IsOk()) << test._name << ": " << TextOf(offsets.GetError());
		EXPECT_EQ(offsets.GetValue(), test._offsets) << test._name;
	}
}

SavedFile SaveJpg(const ImageTextureRef& texture, std::optional<Float64> quality = {}, bool isBaseline = false)
{
	DataDictionary settings;
	if (quality)
		TORVI_MUST(settings.Set<Float64>(ids::EXPORT_QUALITY, *quality));
	TORVI_MUST(settings.Set<Bool>(ids::JPGEXPORT_BASELINE, isBaseline));
	return SaveToMemory(texture, ids::CLASS_JPGEXPORT, settings);
}

constexpr Int SIDE = 40;

/// Soft in all directions; alpha, if there is one, is not.
ImageTextureRef MakeSoftTexture(const Id& pixelFormat, Int channels, Int side = SIDE)
{
	std::vector<Byte> pixels;
	for (Int i = 0; i < side * side; ++i)
	{
		const Int x = i % side, y = i / side;
		const Byte values[] = {static_cast<Byte>(x * 255 / side), static_cast<Byte>(y * 255 / side),
							   static_cast<Byte>(255 - x * 255 / side), static_cast<Byte>(i * 37)};
		pixels.insert(pixels.end(), values, values + channels);
	}
	return TORVI_MUST(MakeTexture(pixelFormat, side, side, pixels));
}

TEST_F(JpgTest, QualityChoosesTheSteps)
{
	struct Case
	{
		std::optional<Float64> _quality;
		bool _isBaseline;
		int _step; ///< of the first coefficient, which is 16 at quality 50
	};
	const Case cases[] = {
		{0.5, true, 16},    {0.8, true, 6},  {0.796, true, 6},  {2.0, true, 1},   {-1.0, true, 255},
		{-1.0, false, 800}, {1.0, false, 1}, {0.0, false, 800}, {{}, false, 800}, {std::nan(""), true, 255},
	};
	const ImageTextureRef texture = MakeSoftTexture(ids::PIXELFORMAT_RGB_U8, 3);
	for (const Case& test : cases)
	{
		const SavedFile file = SaveJpg(texture, test._quality, test._isBaseline);
		ASSERT_TRUE(file._result.IsOk()) << TextOf(file._result.GetError());
		const std::size_t ofBytes = Find(file._bytes, {"\xFF\xDB\0\x43", 4}), ofWords = Find(file._bytes, {"\xFF\xDB\0\x83", 4});
		const Byte* table = file._bytes.data() + std::min(ofBytes, ofWords) + 4; // a profile may stand in front
		EXPECT_EQ(*table >> 4 != 0 ? table[1] << 8 | table[2] : table[1], test._step) << &test - cases;
	}
}

TEST_F(JpgTest, PicturesSurviveARoundTrip)
{
	struct Case
	{
		Id _format;
		Int _channels;
		Id _writtenFormat;
	};
	const Case cases[] = {
		{ids::PIXELFORMAT_RGB_U8, 3, ids::PIXELFORMAT_RGB_U8},
		{ids::PIXELFORMAT_RGBA_U8, 4, ids::PIXELFORMAT_RGB_U8},
		{ids::PIXELFORMAT_GREY_U8, 1, ids::PIXELFORMAT_GREY_U8},
		{ids::PIXELFORMAT_GREYA_U8, 2, ids::PIXELFORMAT_GREY_U8},
	};
	for (const Case& test : cases)
	{
		const ImageTextureRef texture = MakeSoftTexture(test._format, test._channels);
		const SavedFile file = SaveJpg(texture, 1.0);
		ASSERT_TRUE(file._result.IsOk()) << TextOf(file._result.GetError());
		const ImageBaseRef read = GetPicture(TORVI_MUST(LoadFile(MakeMemoryUrl(file._bytes))), 0);
		EXPECT_EQ(read->GetPixelFormat(), GetPixelFormat(test._writtenFormat)) << test._format.GetText();
		EXPECT_TRUE(GetImageChildren(*read, IMAGEHIERARCHY::ALPHA).empty());
		const PixelArray before = TORVI_MUST(ReadPixels(GetPicture(texture, 0)));
		const PixelArray after = TORVI_MUST(ReadPixels(read));
		for (std::size_t i = 0; i < before._bytes.size(); ++i)
			ASSERT_LE(i % 4 == 3 ? 255 - after._bytes[i] : std::abs(before._bytes[i] - after._bytes[i]), 8) << test._format.GetText() << i;
	}
}

TEST_F(JpgTest, DensityIsWrittenInDotsPerInch)
{
	struct Case
	{
		Float64 _dpi;
		int _written;
	};
	const ImageTextureRef texture = MakeSoftTexture(ids::PIXELFORMAT_GREY_U8, 1);
	for (const Case& test : {Case{0.0, 0}, Case{72.9, 72}, Case{300.0, 300}, Case{-5.0, 0}, Case{1e300, 65535}, Case{std::nan(""), 0}})
	{
		if (test._dpi != 0.0)
			TORVI_MUST(GetPicture(texture, 0)->Set<Float64>(ids::IMAGE_DPI, test._dpi));
		const SavedFile file = SaveJpg(texture);
		const Byte* density = file._bytes.data() + Find(file._bytes, "JFIF") + 7;
		EXPECT_EQ(density[0], 1);
		EXPECT_EQ(density[1] << 8 | density[2], test._written) << test._dpi;
		EXPECT_EQ(density[3] << 8 | density[4], test._written) << test._dpi;
	}
}

/// A profile that fits is embedded, and the pixels stay. Others end in the colours that a file without a profile is taken for.
TEST_F(JpgTest, Profiles)
{
	struct Case
	{
		Id _format;
		Id _profile;
		bool _isEmbedded;
		int _written; ///< of 55 in all channels
	};
	const Case cases[] = {
		{ids::PIXELFORMAT_RGB_U8, ids::COLORPROFILE_LINEARRGB, true, 55},
		{ids::PIXELFORMAT_GREY_U8, ids::COLORPROFILE_LINEARGREY, true, 55},
		{ids::PIXELFORMAT_CMYK_INV_U8, ids::COLORPROFILE_NONE, false, 12}, // 55 x 55 / 255
	};
	for (const Case& test : cases)
	{
		const std::vector<Byte> pixels(SIDE * SIDE * 4, 55);
		const ImageTextureRef texture = TORVI_MUST(MakeTexture(test._format, SIDE, SIDE, pixels));
		const ColorProfile profile = GetBuiltInColorProfile(test._profile);
		TORVI_MUST(GetPicture(texture, 0)->Set<ColorProfile>(ids::IMAGE_COLORPROFILE, profile));
		const SavedFile file = SaveJpg(texture, 1.0);
		ASSERT_TRUE(file._result.IsOk()) << TextOf(file._result.GetError());
		const ImageTextureRef read = TORVI_MUST(LoadFile(MakeMemoryUrl(file._bytes)));
		const MediaStreamFormat stored = TORVI_MUST(DescribePicture(ids::CLASS_JPGIMPORT, file._bytes));
		EXPECT_EQ(stored->GetOr<ColorProfile>(ids::MEDIAFORMAT_COLORPROFILE, {}), test._isEmbedded ? profile : ColorProfile())
			<< &test - cases;
		EXPECT_NEAR(TORVI_MUST(ReadPixels(GetPicture(read, 0)))._bytes[1], test._written, 1) << &test - cases;
	}
}

TEST_F(JpgTest, AnExporterThatIsUsedAgainRemembersNothing)
{
	const std::vector<Byte> pixels(SIDE * SIDE * 4, 55);
	const auto exporter = TORVI_MUST(CreateObject<MediaOutputUrlInterface>(ids::CLASS_JPGEXPORT));
	std::vector<std::size_t> sizes;
	for (const Id& format :
		 {ids::PIXELFORMAT_CMYK_INV_U8, ids::PIXELFORMAT_RGB_U8, ids::PIXELFORMAT_CMYK_INV_U8}) // the first has no profile
	{
		const ImageTextureRef texture = TORVI_MUST(MakeTexture(format, SIDE, SIDE, pixels));
		const auto memory = TORVI_MUST(NewObject<IoMemory>());
		TORVI_MUST(exporter->SetOutputUrl(TORVI_MUST(memory->GetUrl())));
		TORVI_MUST(texture->Save(exporter, MEDIASESSIONFLAGS::NONE, nullptr));
		sizes.push_back(memory->GetBytes().size());
	}
	EXPECT_GT(sizes[1], sizes[0]);
	EXPECT_EQ(sizes[2], sizes[0]);
}

TEST_F(JpgTest, SizesAndCapabilities)
{
	const auto save = [](Int width, Int height)
	{ return TextOf(SaveJpg(TORVI_MUST(MakeTexture(ids::PIXELFORMAT_GREY_U8, width, height, {})))._result.GetError()); };
	EXPECT_EQ(save(65000, 1), "");
	EXPECT_EQ(save(1, 65001), "net.torvi.error.illegalargument: Maximum resolution exceeded.");
	EXPECT_EQ(save(0, 65001), "net.torvi.error.illegalargument: resolution must not be 0.");
	const auto exporter = TORVI_MUST(CreateObject<MediaOutputUrlInterface>(ids::CLASS_JPGEXPORT));
	EXPECT_EQ(exporter->GetOr<Int>(ids::MEDIAOUTPUT_MAXIMALALPHACHANNELS, -1), 0);
	EXPECT_EQ(exporter->GetOr<Int>(ids::MEDIAOUTPUT_MAXIMALLAYERRESOLUTION, -1), 0);
	EXPECT_TRUE(exporter->GetOr<Bool>(ids::MEDIAOUTPUT_EMBED_COLORPROFILE, false));
}

TEST_F(TurnedJpgTest, Faults)
{
	std::vector<Byte> noise;
	for (UInt32 i = 0, value = 1; i < 300 * 300; ++i, value = value * 1664525 + 1013904223)
		noise.push_back(static_cast<Byte>(value >> 24));
	const ImageTextureRef texture = TORVI_MUST(MakeTexture(ids::PIXELFORMAT_GREY_U8, 300, 300, noise));
	ASSERT_GT(CountOf(SaveJpg(texture, 1.0)._bytes), 80000) << "the writer's buffer overflows while rows are encoded";
	CheckSaveFaults(ids::CLASS_JPGEXPORT, texture);
	CheckLoadFaults("jpeg", ids::CLASS_JPGIMPORT, {"rgb-turned.jpg", "rgb-progressive.jpg", "pictures-little-endian.jpg"});
	const Result<void> inside = SaveFile(texture, ids::CLASS_JPGEXPORT, MakeFailingUrl({}, {._diskSize = 0}));
	EXPECT_EQ(inside.GetError().GetId(), errorids::MEDIACONVERTER);
	EXPECT_EQ(inside.GetError().GetMessage(), "Error loading jpg: Output file write error --- out of disk space?");
}

/// The rows in front of the cut are right, and the load succeeds.
TEST_F(JpgTest, CutFilesGiveWhatIsThere)
{
	const ImageTextureRef texture = MakeSoftTexture(ids::PIXELFORMAT_RGB_U8, 3, 200);
	const std::vector<Byte> bytes = SaveJpg(texture, 0.9)._bytes;
	const PixelArray whole = TORVI_MUST(LoadPixels(MakeMemoryUrl(bytes)));
	const Result<PixelArray> cut = LoadPixels(MakeMemoryUrl(Block<const Byte>(bytes).first(bytes.size() * 3 / 4)));
	ASSERT_TRUE(cut.IsOk()) << TextOf(cut.GetError());
	const std::vector<Byte>& there = cut.GetValue()._bytes;
	EXPECT_TRUE(std::equal(there.begin(), there.begin() + 200 * 4 * 64, whole._bytes.begin()));
	EXPECT_FALSE(std::equal(there.end() - 200 * 4 * 16, there.end(), whole._bytes.end() - 200 * 4 * 16));
}

} // namespace

} // namespace torvi::test
