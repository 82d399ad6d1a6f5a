// The faults, one after the other.
#include "tests/media_io/fault_checks.h"

#include "mediasession/image_import.h"
#include "tests/media_io/sample_files.h"
#include "tests/media_io/sha256.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/failing_url.h"
#include "torvi/gfx_image.h"
#include "torvi/ids_formats.h"
#include "torvi/ids_keys.h"
#include "torvi/mediasession_fileformats.h"

#include <fstream>
#include <functional>

namespace torvi::test
{

namespace
{

namespace fs = std::filesystem;

/// Where streams are failed: at each of the first bytes, then at so many places of the rest.
constexpr Int DENSE = 200;
constexpr Int PLACES = 100;

Int NextPlace(Int at, Int size)
{
	return at < DENSE ? at + 1 : at + 1 + size / PLACES;
}

constexpr const char* REFUSAL = "net.torvi.error.illegalstate: The observer refuses.";

/// What the user does at one of the reports of progress.
enum class Interruption
{
	NONE,
	CANCEL,
	REFUSE
};

/// Interrupts the `at`-th report, from 1.
struct ProgressPlan
{
	Interruption _interruption = Interruption::NONE;
	Int _at = 0;
	Int _reports = 0; ///< seen so far
};

Result<void> AnswerReport(ProgressPlan& plan, const ProgressRef& progress)
{
	if (++plan._reports != plan._at)
		return OK;
	TORVI_CHECK(plan._interruption != Interruption::REFUSE, IllegalStateError("The observer refuses."));
	progress->Cancel();
	return OK;
}

/// Runs a session of two converters whose every report of progress is seen.
Result<void> RunSession(const MediaConverterRef& input, const MediaConverterRef& output, ProgressPlan* plan)
{
	const auto session = TORVI_TRY(CreateObject<MediaSessionInterface>(ids::CLASS_MEDIASESSIONOBJECT));
	TORVI_TRY(session->ConnectMediaConverter(input, output));
	if (plan != nullptr)
	{
		const auto observable = TORVI_TRY(session->GetProgress()->ObservableProgressNotification());
		TORVI_TRY(observable->AddObserver([plan](const ProgressRef& progress) { return AnswerReport(*plan, progress); }));
	}
	Result<void> converted = session->Convert(TimeValue(), MEDIASESSIONFLAGS::NONE);
	Result<void> closed = session->Close();
	return converted.IsOk() ? std::move(closed) : std::move(converted);
}

/// Adds an image and all below it: size, format, what is said of it, and pixels.
Result<void> DescribeTree(const ImageBaseRef& image, std::string& text)
{
	const PixelFormat format = image->GetPixelFormat();
	const Int width = image->GetWidth();
	text += "\n" + std::to_string(width) + "x" + std::to_string(image->GetHeight()) + " " + format->ToString().c_str() + " ";
	for (const DataDictionary::Entry& entry : image->InitIterator())
		text += std::string(entry._key.GetText()) + "=" + entry._value.ToString().c_str() + " ";
	std::vector<Byte> bytes(static_cast<std::size_t>(format->GetBytesPerLine(width, 1) * image->GetHeight()));
	auto reader = image->GetPixelHandler(format, format->GetChannelOffsets(), ColorProfile(), GETPIXELHANDLERFLAGS::NOMASKS, nullptr);
	for (Int y = 0; y < image->GetHeight() && reader.IsOk(); ++y)
	{
		Byte* line = bytes.data() + y * format->GetBytesPerLine(width, 1);
		TORVI_TRY(reader.GetValue()._getLine({0, y, width}, PixelBuffer(line, format->GetBitsPerPixel()), 0));
	}
	text += reader.IsOk() ? Sha256(bytes) : TextOf(reader.GetError());
	for (const IMAGEHIERARCHY branch : {IMAGEHIERARCHY::ALPHA, IMAGEHIERARCHY::LAYER, IMAGEHIERARCHY::MASK})
	{
		for (const ImageBaseRef& child : GetImageChildren(*image, branch))
			TORVI_TRY(DescribeTree(child, text));
	}
	return OK;
}

/// One file that is loaded again and again.
class LoadUnderFaults
{
public:
	LoadUnderFaults(Id importer, std::vector<Byte> bytes) : _importer(std::move(importer)), _bytes(std::move(bytes)) {}

	void Run()
	{
		const Result<ImageTextureRef> texture = Load(MakeMemoryUrl(_bytes));
		ASSERT_TRUE(texture.IsOk()) << TextOf(texture.GetError());
		_perfect = Describe(texture);
		CheckMemory();
		CheckBytes();
		CheckFile();
		CheckProgress(Interruption::CANCEL, errorids::OPERATIONCANCELLED.GetText());
		CheckProgress(Interruption::REFUSE, REFUSAL);
	}

private:
	Result<ImageTextureRef> Load(const Url& url, ProgressPlan* plan = nullptr) const
	{
		const auto importer = TORVI_TRY(CreateObject<UrlImporterInterface>(_importer));
		importer->SetUrl(url);
		const auto texture = TORVI_TRY(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
		const auto output = TORVI_TRY(CreateObject<MediaOutputTextureInterface>(ids::CLASS_MEDIAOUTPUTTEXTURE));
		TORVI_TRY(output->SetOutputTexture(texture, TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL))));
		TORVI_TRY(RunSession(importer, output, plan));
		return texture;
	}

	static std::string Describe(const Result<ImageTextureRef>& texture)
	{
		if (!texture.IsOk())
			return TextOf(texture.GetError());
		std::string text;
		for (const ImageBaseRef& picture : GetImageChildren(*texture.GetValue(), IMAGEHIERARCHY::IMAGE))
			EXPECT_TRUE(DescribeTree(picture, text).IsOk());
		return text;
	}

	void ExpectPerfect() const { EXPECT_EQ(Describe(Load(MakeMemoryUrl(_bytes))), _perfect) << "the load after it"; }

	/// What only speeds things up, as caches do, may fail unseen.
	void CheckMemory() const
	{
		const Url url = MakeMemoryUrl(_bytes);
		const auto check = [&](const Result<ImageTextureRef>& texture, Bool hasFailed)
		{
			const bool isMemory = hasFailed && texture.GetError().GetInnermostCause().GetId() == errorids::OUTOFMEMORY;
			EXPECT_TRUE(isMemory || Describe(texture) == _perfect) << Describe(texture);
			ExpectPerfect();
		};
		EXPECT_GT(ForEachAllocationFailure([&]() { return Load(url); }, check), 20);
	}

	/// Loads a file that fails by plan.
	std::string LoadFailing(const FailurePlan& plan) const
	{
		const auto file = TORVI_MUST(NewObject<FailingFile>(Array<Byte>(_bytes.begin(), _bytes.end()), plan));
		const std::string text = Describe(Load(TORVI_MUST(file->GetUrl())));
		EXPECT_EQ(file->GetLivingCount(), 0) << "streams stay open";
		ExpectPerfect();
		return text;
	}

	/// Not every byte is needed: padding, or what follows the pixels.
	void CheckBytes() const
	{
		const Int size = CountOf(_bytes);
		Int failures = 0;
		Int places = 0;
		for (Int at = 0; at < size; at = NextPlace(at, size))
		{
			const std::string text = LoadFailing({._readErrorAt = at});
			EXPECT_TRUE(text == "net.torvi.error.io: The read failed." || text == _perfect) << "at byte " << at << ": " << text;
			failures += text == _perfect ? 0 : 1;
			++places;
			EXPECT_FALSE(LoadFailing({._endAt = at}).empty()) << "at byte " << at;
		}
		EXPECT_GT(failures, places / 2);
		const Url url = MakeFailingUrl(_bytes, {._readErrorAt = 0});
		EXPECT_EQ(TextOf(LoadFile(url).GetError()), "net.torvi.error.illegalargument: Image failing:file is not of a supported type.");
	}

	void CheckFile() const
	{
		EXPECT_EQ(LoadFailing({._failsOpen = true}), "net.torvi.error.io: The open failed.");
		const std::string unclosed = LoadFailing({._failsClose = true});
		EXPECT_TRUE(unclosed == "net.torvi.error.io: The close failed." || unclosed == _perfect) << unclosed;
		const std::string piped = LoadFailing({._canSeek = false});
		EXPECT_TRUE(_perfect.starts_with(piped)) << piped;
	}

	void CheckProgress(Interruption interruption, std::string_view error) const
	{
		for (ProgressPlan plan{interruption, 1}; true; plan = {interruption, plan._at + 1})
		{
			const auto file = TORVI_MUST(NewObject<FailingFile>(Array<Byte>(_bytes.begin(), _bytes.end()), FailurePlan()));
			const std::string text = Describe(Load(TORVI_MUST(file->GetUrl()), &plan));
			EXPECT_EQ(file->GetLivingCount(), 0) << "streams stay open";
			ExpectPerfect();
			if (plan._reports < plan._at)
			{
				EXPECT_EQ(text, _perfect);
				EXPECT_GT(plan._at, 1) << "there are reports";
				return;
			}
			EXPECT_TRUE(text.starts_with(error)) << "report " << plan._at << ": " << text;
		}
	}

	Id _importer;
	std::vector<Byte> _bytes;
	std::string _perfect; ///< the tree of a load without failure
};

/// One texture that is saved again and again.
class SaveUnderFaults
{
public:
	SaveUnderFaults(Id exporter, ImageTextureRef texture) : _exporter(std::move(exporter)), _texture(std::move(texture)) {}

	void Run()
	{
		const SavedFile saved = SaveToMemory(_texture, _exporter);
		ASSERT_TRUE(saved._result.IsOk()) << TextOf(saved._result.GetError());
		_perfect = saved._bytes;
		CheckMemory();
		CheckBytes();
		CheckFile();
		CheckProgress(Interruption::CANCEL, errorids::OPERATIONCANCELLED.GetText());
		CheckProgress(Interruption::REFUSE, REFUSAL);
	}

private:
	Result<void> Save(const Url& url, ProgressPlan* plan = nullptr) const
	{
		const auto input = TORVI_TRY(CreateObject<MediaTextureExportInterface>(ids::CLASS_MEDIASTREAMEXPORTFROMIMAGETEXTURE));
		input->SetTexture(_texture);
		const auto output = TORVI_TRY(CreateObject<MediaOutputUrlInterface>(_exporter));
		TORVI_TRY(output->SetOutputUrl(url));
		return RunSession(input, output, plan);
	}

	Bool IsPerfect(Block<const Byte> bytes) const { return std::ranges::equal(bytes, _perfect); }

	void ExpectPerfect() const
	{
		const auto memory = TORVI_MUST(NewObject<IoMemory>());
		const Result<void> saved = Save(TORVI_MUST(memory->GetUrl()));
		EXPECT_TRUE(saved.IsOk() && IsPerfect(memory->GetBytes())) << "the save after it: " << TextOf(saved.GetError());
	}

	void CheckMemory() const
	{
		const auto memory = TORVI_MUST(NewObject<IoMemory>());
		const Url url = TORVI_MUST(memory->GetUrl());
		const auto check = [&](const Result<void>& result, Bool hasFailed)
		{
			const bool isMemory = hasFailed && result.GetError().GetInnermostCause().GetId() == errorids::OUTOFMEMORY;
			EXPECT_TRUE(isMemory || (result.IsOk() && IsPerfect(memory->GetBytes()))) << TextOf(result.GetError());
			ExpectPerfect();
		};
		EXPECT_GT(ForEachAllocationFailure([&]() { return Save(url); }, check), 20);
	}

	/// Saves into a file that fails by plan; gives the error, or nothing.
	std::string SaveFailing(const FailurePlan& plan) const
	{
		const auto file = TORVI_MUST(NewObject<FailingFile>(Array<Byte>(), plan));
		const Result<void> result = Save(TORVI_MUST(file->GetUrl()));
		EXPECT_EQ(file->GetLivingCount(), 0) << "streams stay open";
		EXPECT_TRUE(!result.IsOk() || IsPerfect(file->GetBytes())) << "a file that is not whole passes for one";
		ExpectPerfect();
		return TextOf(result.GetError());
	}

	void CheckBytes() const
	{
		const Int size = CountOf(_perfect);
		for (Int at = 0; at < size; at = NextPlace(at, size))
		{
			EXPECT_EQ(SaveFailing({._writeErrorAt = at}), "net.torvi.error.io: The write failed.") << at;
			EXPECT_EQ(SaveFailing({._diskSize = at}), "net.torvi.error.io: The disk is full.") << at;
		}
	}

	void CheckFile() const
	{
		EXPECT_EQ(SaveFailing({._failsOpen = true}), "net.torvi.error.io: The open failed.");
		EXPECT_EQ(SaveFailing({._failsClose = true}), "net.torvi.error.io: The close failed.");
		SaveFailing({._canSeek = false});
	}

	/// Into a real file, which holds something already.
	void CheckProgress(Interruption interruption, std::string_view error) const
	{
		const fs::path folder = fs::path(testing::TempDir()) / ("faults-" + std::to_string(getpid()));
		fs::create_directory(folder);
		const fs::path path = folder / "picture";
		const std::vector<Byte> earlier = {1, 2, 3};
		for (ProgressPlan plan{interruption, 1}; true; plan = {interruption, plan._at + 1})
		{
			std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(earlier.data()), CountOf(earlier));
			const Result<void> result = Save(TORVI_MUST(Url::FromSystemPath(path.string())), &plan);
			EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1) << "there is something beside it";
			const std::vector<Byte> bytes = ReadWholeFile(path);
			ExpectPerfect();
			if (plan._reports < plan._at)
			{
				EXPECT_TRUE(result.IsOk() && IsPerfect(bytes)) << TextOf(result.GetError());
				EXPECT_GT(plan._at, 1) << "there are reports";
				break;
			}
			EXPECT_TRUE(TextOf(result.GetError()).starts_with(error)) << "report " << plan._at << ": " << TextOf(result.GetError());
			EXPECT_EQ(bytes, earlier) << "report " << plan._at;
		}
		fs::remove_all(folder);
	}

	Id _exporter;
	ImageTextureRef _texture;
	std::vector<Byte> _perfect;
};

} // namespace

void CheckLoadFaults(const std::string& format, const Id& importer, std::initializer_list<const char*> names)
{
	for (const char* name : names)
	{
		SCOPED_TRACE(name);
		LoadUnderFaults(importer, GetSampleFile(format, name)).Run();
	}
}

void CheckSaveFaults(const Id& exporter, const ImageTextureRef& texture)
{
	SaveUnderFaults(exporter, texture).Run();
}

} // namespace torvi::test
