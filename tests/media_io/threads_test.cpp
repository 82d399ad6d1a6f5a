// Files of all formats that are loaded, read, saved and cancelled on several threads at once: each thread gets what one alone gets.
#include "media_io/registration.h"
#include "mediasession/image_import.h"
#include "tests/media_io/sample_files.h"
#include "tests/support/together.h"
#include "torvi/gfx_image.h"
#include "torvi/gfx_image_colorprofile.h"
#include "torvi/ids_formats.h"
#include "torvi/mediasession_fileformats.h"

#include <latch>
#include <limits>
#include <utility>

namespace torvi::test
{

namespace
{

constexpr std::size_t THREADS = 4;

using MediaThreads = MediaTest<&RegisterMediaFormats>;

/// What a load gives: its error, or the pixels of all pictures, layers, masks and alpha channels, one behind the other.
struct Outcome
{
	std::string _errors;
	std::vector<Byte> _pixels;

	friend bool operator==(const Outcome&, const Outcome&) = default;
};

void ReadTree(const HierarchyObjectInterface& parent, Outcome& outcome)
{
	for (const Int32 branch : parent.GetBranches())
	{
		for (const ImageBaseRef& image : GetImageChildren(parent, static_cast<IMAGEHIERARCHY>(branch)))
		{
			const Result<PixelArray> pixels = ReadPixels(image);
			outcome._errors += TextOf(pixels.GetError());
			if (pixels.IsOk())
				outcome._pixels.insert(outcome._pixels.end(), pixels.GetValue()._bytes.begin(), pixels.GetValue()._bytes.end());
			ReadTree(*image, outcome);
		}
	}
}

Outcome Load(const Url& url)
{
	Outcome outcome;
	const Result<ImageTextureRef> texture = LoadFile(url);
	if (texture.IsOk())
		ReadTree(*texture.GetValue(), outcome);
	else
		outcome._errors = TextOf(texture.GetError());
	return outcome;
}

TEST_F(MediaThreads, LoadsOfAllFormats)
{
	std::vector<std::string> names;
	std::vector<Url> urls;
	for (const char* format : {"bmp", "png", "jpeg", "psd"})
	{
		for (const char* folder : {"good", "bad"})
		{
			for (const SampleFile& file : GetSampleFiles(format, folder))
			{
				names.push_back(file._name);
				urls.push_back(MakeMemoryUrl(file._bytes));
			}
		}
	}
	EXPECT_GT(urls.size(), 200u);
	// Each thread begins with another format. What one alone gets is asked for last, since it would fill the caches for the others.
	std::vector<std::vector<Outcome>> outcomes(THREADS, std::vector<Outcome>(urls.size()));
	RunTogether(THREADS,
				[&](std::size_t thread)
				{
					for (std::size_t i = 0; i < urls.size(); ++i)
					{
						const std::size_t n = (i + thread * urls.size() / THREADS) % urls.size();
						outcomes[thread][n] = Load(urls[n]);
					}
				});
	for (std::size_t n = 0; n < urls.size(); ++n)
	{
		const Outcome alone = Load(urls[n]);
		for (const std::vector<Outcome>& ofThread : outcomes)
			EXPECT_TRUE(ofThread[n] == alone) << names[n] << ": " << ofThread[n]._errors;
	}
}

TEST_F(MediaThreads, LoadsOfOneUrl)
{
	constexpr int LOADS = 40;
	const Url urls[] = {
		MakeMemoryUrl(GetSampleFile("psd", "layers-8.psd")),
		TORVI_MUST(Url::FromSystemPath(TORVI_TEST_DATA "/jpeg/good/rgb-progressive.jpg")),
	};
	for (const Url& url : urls)
	{
		const Outcome alone = Load(url);
		EXPECT_EQ(alone._errors, "");
		RunTogether(THREADS,
					[&](std::size_t)
					{
						for (int i = 0; i < LOADS; ++i)
							EXPECT_TRUE(Load(url) == alone);
					});
	}
}

TEST_F(MediaThreads, SavesOfOneTexture)
{
	constexpr int SAVES = 10;
	static constexpr Id EXPORTERS[] = {ids::CLASS_BMPEXPORT, ids::CLASS_PNGEXPORT, ids::CLASS_JPGEXPORT};
	constexpr std::size_t COUNT = std::size(EXPORTERS);
	const ImageTextureRef texture = TORVI_MUST(LoadFile(MakeMemoryUrl(GetSampleFile("psd", "layers-8.psd"))));
	std::vector<Byte> saved[2 * COUNT];
	RunTogether(2 * COUNT,
				[&](std::size_t thread)
				{
					const Id& exporter = EXPORTERS[thread % COUNT];
					const std::string path = testing::TempDir() + "threads-" + std::to_string(thread);
					for (int i = 0; i < SAVES; ++i)
					{
						saved[thread] = SaveToMemory(texture, exporter)._bytes;
						EXPECT_TRUE(SaveFile(texture, exporter, TORVI_MUST(Url::FromSystemPath(path))).IsOk());
						EXPECT_EQ(ReadWholeFile(path), saved[thread]);
					}
					std::filesystem::remove(path);
				});
	for (std::size_t thread = 0; thread < 2 * COUNT; ++thread)
	{
		const SavedFile alone = SaveToMemory(texture, EXPORTERS[thread % COUNT]);
		EXPECT_TRUE(alone._result.IsOk());
		EXPECT_TRUE(saved[thread] == alone._bytes) << thread;
	}
}

/// Formats that exist, and one that the first caller makes.
std::vector<PixelFormat> FindFormats()
{
	const ImageChannel channels[] = {
		GetImageChannel(CHANNELTYPE::BLUE, GetDataType<UInt16>()),
		GetImageChannel(CHANNELTYPE::RED, GetDataType<Float32>()),
		GetImageChannel(CHANNELTYPE::GREEN, GetDataType<UChar>()),
	};
	return {GetPixelFormat(ids::PIXELFORMAT_RGBA_U8), GetPixelFormat(ids::PIXELFORMAT_RGB_F32), GetPixelFormat(ids::PIXELFORMAT_BGRA_U16),
			TORVI_MUST(FindOrCreatePixelFormat(channels))};
}

/// All lines of an image in a format and profile.
std::vector<Byte> ReadAs(const ImageBaseRef& image, const PixelFormat& format, const ColorProfile& profile)
{
	const GetPixelHandlerStruct reader = TORVI_MUST(
		image->GetPixelHandler(format, format->GetChannelOffsets(), profile, GETPIXELHANDLERFLAGS::FORCECOLORPROFILECONVERSION, nullptr));
	const Int bytesPerLine = format->GetBytesPerLine(image->GetWidth(), 1);
	std::vector<Byte> bytes(static_cast<std::size_t>(bytesPerLine * image->GetHeight()));
	for (Int y = 0; y < image->GetHeight(); ++y)
		TORVI_MUST(reader._getLine({0, y, image->GetWidth()}, PixelBuffer(bytes.data() + y * bytesPerLine, format->GetBitsPerPixel()), 0));
	return bytes;
}

/// Reads the merged picture and its layers in all formats and profiles, `first` first. Formats are looked up and a profile is opened on
/// the way.
std::vector<std::vector<Byte>> ReadInAllWays(const ImageBaseRef& picture, Block<const Byte> profile, std::size_t first)
{
	Array<ImageBaseRef> images = GetImageChildren(*picture, IMAGEHIERARCHY::LAYER);
	images.push_back(picture);
	const std::vector<PixelFormat> formats = FindFormats();
	const ColorProfile profiles[] = {ColorProfile(), GetBuiltInColorProfile(ids::COLORPROFILE_SRGB),
									 TORVI_MUST(ColorProfile::OpenProfileFromMemory(profile))};
	const std::size_t count = images.size() * formats.size() * std::size(profiles);
	std::vector<std::vector<Byte>> read(count);
	for (std::size_t i = 0; i < count; ++i)
	{
		const std::size_t n = (first + i) % count;
		const std::size_t image = n / std::size(profiles) / formats.size();
		read[n] = ReadAs(images[image], formats[n / std::size(profiles) % formats.size()], profiles[n % std::size(profiles)]);
	}
	return read;
}

TEST_F(MediaThreads, ReadersOfOneTexture)
{
	constexpr int ROUNDS = 5;
	const ImageTextureRef texture = TORVI_MUST(LoadFile(MakeMemoryUrl(GetSampleFile("psd", "layers-16.psb"))));
	const ImageBaseRef picture = GetPicture(texture, 0);
	const Array<Byte> profile = TORVI_MUST(GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB).WriteProfileToMemory());
	std::vector<std::vector<std::vector<Byte>>> read(THREADS);
	RunTogether(THREADS,
				[&](std::size_t thread)
				{
					for (int round = 0; round < ROUNDS; ++round)
						read[thread] = ReadInAllWays(picture, profile, thread * 5);
				});
	const std::vector<std::vector<Byte>> alone = ReadInAllWays(picture, profile, 0);
	EXPECT_NE(alone[0], alone[2]) << "colours are converted";
	for (const auto& ofThread : read)
		EXPECT_TRUE(ofThread == alone);
}

/// Cancels a progress on a thread of its own, when it was reported for the n-th time or this object ends. The report may wait until that
/// is done.
class Canceller
{
public:
	Canceller(ProgressRef progress, int report, bool isAwaited)
		: _progress(std::move(progress)), _reportsLeft(report), _isAwaited(isAwaited)
	{
	}
	Canceller(const Canceller&) = delete;
	Canceller& operator=(const Canceller&) = delete;
	~Canceller() { Ask(); }

	void Report()
	{
		if (--_reportsLeft != 0)
			return;
		Ask();
		if (_isAwaited)
			_cancelled.wait();
	}

private:
	void Ask()
	{
		if (!std::exchange(_isAsked, true))
			_asked.count_down();
	}

	ProgressRef _progress;
	int _reportsLeft;
	bool _isAwaited;
	bool _isAsked = false;
	std::latch _asked{1};
	std::latch _cancelled{1};
	std::jthread _thread{[this]()
						 {
							 _asked.wait();
							 _progress->Cancel();
							 _cancelled.count_down();
						 }};
};

/// Loads a file in a session of its own, which is cancelled as a Canceller does.
Result<PixelArray> LoadCancelled(const Url& url, const Id& importerClass, int report, bool isAwaited)
{
	const auto importer = TORVI_TRY(CreateObject<UrlImporterInterface>(importerClass));
	importer->SetUrl(url);
	const auto texture = TORVI_TRY(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	const auto output = TORVI_TRY(CreateObject<MediaOutputTextureInterface>(ids::CLASS_MEDIAOUTPUTTEXTURE));
	TORVI_TRY(output->SetOutputTexture(texture, TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL))));
	const auto session = TORVI_TRY(CreateObject<MediaSessionInterface>(ids::CLASS_MEDIASESSIONOBJECT));
	TORVI_TRY(session->ConnectMediaConverter(importer, output));
	{
		Canceller canceller(session->GetProgress(), report, isAwaited);
		TORVI_TRY(TORVI_TRY(session->GetProgress()->ObservableProgressNotification())
					  ->AddObserver(
						  [&canceller](const ProgressRef&) -> Result<void>
						  {
							  canceller.Report();
							  return OK;
						  }));
		TORVI_TRY(session->Convert(TimeValue(), MEDIASESSIONFLAGS::NONE));
	}
	return ReadPixels(GetPicture(texture, 0));
}

TEST_F(MediaThreads, CancelledLoads)
{
	constexpr Int WIDTH = 30;
	constexpr Int HEIGHT = 300;
	constexpr int NEVER = std::numeric_limits<int>::max();
	std::vector<Byte> lines(3 * WIDTH * HEIGHT);
	for (std::size_t i = 0; i < lines.size(); ++i)
		lines[i] = static_cast<Byte>(i * i / 90);
	const ImageTextureRef texture = TORVI_MUST(MakeTexture(ids::PIXELFORMAT_RGB_U8, WIDTH, HEIGHT, lines));
	const struct
	{
		Id _importer;
		std::vector<Byte> _file;
	} cases[] = {
		{ids::CLASS_BMPIMPORT, SaveToMemory(texture, ids::CLASS_BMPEXPORT)._bytes},
		{ids::CLASS_PNGIMPORT, SaveToMemory(texture, ids::CLASS_PNGEXPORT)._bytes},
		{ids::CLASS_JPGIMPORT, SaveToMemory(texture, ids::CLASS_JPGEXPORT)._bytes},
		{ids::CLASS_PSDIMPORT, GetSampleFile("psd", "layers-8.psd")},
	};
	for (const auto& test : cases)
	{
		SCOPED_TRACE(test._importer.GetText());
		const Url url = MakeMemoryUrl(test._file);
		const PixelArray perfect = TORVI_MUST(LoadPixels(url));
		const Result<PixelArray> uncancelled = LoadCancelled(url, test._importer, NEVER, false);
		ASSERT_EQ(TextOf(uncancelled.GetError()), "");
		EXPECT_TRUE(uncancelled.GetValue() == perfect);
		EXPECT_EQ(LoadCancelled(url, test._importer, 2, true).GetError().GetId(), errorids::OPERATIONCANCELLED);
		for (int report = 1; report < HEIGHT; report += 1 + report / 4)
		{
			const Result<PixelArray> pixels = LoadCancelled(url, test._importer, report, false);
			if (pixels.IsOk())
				EXPECT_TRUE(pixels.GetValue() == perfect) << "cancelled at report " << report;
			else
				EXPECT_EQ(pixels.GetError().GetId(), errorids::OPERATIONCANCELLED) << TextOf(pixels.GetError());
		}
	}
}

} // namespace

} // namespace torvi::test
