// Walks over sample files. Dropping a file into a folder, and its line into the list, is writing a test.
#include "tests/media_io/sample_files.h"

#include "host/memory.h"
#include "tests/media_io/sha256.h"
#include "torvi/gfx_image.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <sstream>

namespace torvi::test
{

namespace fs = std::filesystem;

namespace
{

fs::path FolderOf(const std::string& format)
{
	return fs::path(TORVI_TEST_DATA) / format;
}

/// Digest of the pixels, or "id: message".
std::string OutcomeOf(const Result<PixelArray>& pixels)
{
	return pixels.IsOk() ? Sha256(pixels.GetValue()._bytes) : TextOf(pixels.GetError());
}

/// Watches for the largest block of memory that is asked for while it lives.
class AllocationCounter
{
public:
	AllocationCounter()
	{
		s_largest = 0;
		_previous = SetAllocationHook(&Count);
	}
	AllocationCounter(const AllocationCounter&) = delete;
	AllocationCounter& operator=(const AllocationCounter&) = delete;
	~AllocationCounter() { SetAllocationHook(_previous); }

	static Int GetLargest() noexcept { return s_largest; }

private:
	static Bool Count(Int size) noexcept
	{
		s_largest = std::max(s_largest.load(), size);
		return true;
	}

	static inline std::atomic<Int> s_largest = 0;
	AllocationHook _previous;
};

/// Bytes of the first picture's storage; 0 without one.
Int PictureBytes(const Result<ImageTextureRef>& texture)
{
	const ImageBaseRef image = texture.IsOk() ? GetPicture(texture.GetValue(), 0) : ImageBaseRef();
	return image ? image->GetPixelFormat()->GetBytesPerLine(image->GetWidth(), 1) * image->GetHeight() : 0;
}

void CheckDamagedFile(Block<const Byte> bytes, const std::string& what)
{
	constexpr Int SLACK = Int(16) << 20;
	constexpr Int ALWAYS_FINE =
		Int(1) << 30; // what a scheme without a ratio may begin: fresh pages, which take no memory until they are written
	Int largest = 0;
	Int picture = 0;
	{
		const AllocationCounter counter;
		const Result<ImageTextureRef> texture = LoadFile(MakeMemoryUrl(bytes));
		largest = AllocationCounter::GetLargest();
		picture = PictureBytes(texture);
		EXPECT_TRUE(texture.IsOk() || !texture.GetError().GetId().IsEmpty()) << what;
	}
	EXPECT_LE(largest, std::max(picture, ALWAYS_FINE) + SLACK) << what;
}

/// Lengths to cut at: all up to `dense`, then about a hundred more.
std::vector<std::size_t> CutsOf(std::size_t size, Int dense)
{
	std::vector<std::size_t> cuts;
	const std::size_t step = std::max<std::size_t>(1, size / 100);
	for (std::size_t length = 0; length < size; length += length < static_cast<std::size_t>(dense) ? 1 : step)
		cuts.push_back(length);
	return cuts;
}

std::map<std::string, std::string> ReadDigests(const std::string& format)
{
	std::map<std::string, std::string> digests;
	for (const auto& row : ReadTable(FolderOf(format) / "digests.tsv"))
		digests[row.at(0)] = row.at(1) + "x" + row.at(2) + " " + row.at(3);
	return digests;
}

} // namespace

std::vector<Byte> ReadWholeFile(const fs::path& path)
{
	std::ifstream stream(path, std::ios::binary);
	EXPECT_TRUE(stream.good()) << path;
	return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<SampleFile> GetSampleFiles(const std::string& format, const std::string& folder)
{
	std::vector<SampleFile> files;
	const fs::path path = FolderOf(format) / folder;
	if (!fs::is_directory(path))
		return files;
	for (const fs::directory_entry& entry : fs::directory_iterator(path))
		files.push_back({entry.path().filename().string(), ReadWholeFile(entry.path())});
	std::sort(files.begin(), files.end(), [](const SampleFile& a, const SampleFile& b) { return a._name < b._name; });
	return files;
}

std::vector<Byte> GetSampleFile(const std::string& format, const std::string& name)
{
	return ReadWholeFile(FolderOf(format) / "good" / name);
}

std::vector<std::vector<std::string>> ReadTable(const fs::path& path)
{
	std::vector<std::vector<std::string>> rows;
	std::ifstream stream(path);
	EXPECT_TRUE(stream.good()) << path;
	for (std::string line; std::getline(stream, line);)
	{
		std::istringstream fields(line);
		rows.emplace_back();
		for (std::string field; std::getline(fields, field, '\t');)
			rows.back().push_back(field);
		if (line.ends_with('\t'))
			rows.back().emplace_back();
	}
	return rows;
}

void CheckSampleFiles(const std::string& format)
{
	std::map<std::string, std::string> digests = ReadDigests(format);
	EXPECT_FALSE(digests.empty());
	for (const SampleFile& file : GetSampleFiles(format, "good"))
	{
		const Result<PixelArray> pixels = LoadPixels(MakeMemoryUrl(file._bytes));
		ASSERT_TRUE(pixels.IsOk()) << file._name << ": " << TextOf(pixels.GetError());
		const PixelArray& array = pixels.GetValue();
		EXPECT_EQ(std::to_string(array._width) + "x" + std::to_string(array._height) + " " + Sha256(array._bytes), digests[file._name])
			<< file._name;
		digests.erase(file._name);
	}
	for (const auto& [name, digest] : digests)
		ADD_FAILURE() << "There is no file " << name;

	std::map<std::string, std::pair<std::string, std::string>> errors;
	for (const auto& row : ReadTable(FolderOf(format) / "errors.tsv"))
		errors[row.at(0)] = {row.at(1), row.at(2)};
	for (const SampleFile& file : GetSampleFiles(format, "bad"))
	{
		const Result<PixelArray> pixels = LoadPixels(MakeMemoryUrl(file._bytes));
		const Error& cause = pixels.GetError().GetInnermostCause();
		const auto& [id, message] = errors[file._name];
		EXPECT_EQ(cause.GetId().GetText(), id) << file._name;
		EXPECT_EQ(cause.GetMessage(), message == "*" ? cause.GetMessage() : message) << file._name;
		errors.erase(file._name);
	}
	for (const auto& [name, error] : errors)
		ADD_FAILURE() << "There is no file " << name;

	for (const SampleFile& file : GetSampleFiles(format, "crash"))
		CheckDamagedFile(file._bytes, file._name);
}

void CheckCutAndFlippedFiles(const std::string& format, Int denseCuts, Int flippedBytes, std::size_t fileStep)
{
	const std::vector<SampleFile> files = GetSampleFiles(format, "good");
	EXPECT_FALSE(files.empty());
	for (std::size_t n = 0; n < files.size(); n += fileStep)
	{
		const SampleFile& file = files[n];
		const Block<const Byte> bytes = file._bytes;
		for (const std::size_t length : CutsOf(bytes.size(), denseCuts))
			CheckDamagedFile(bytes.first(length), file._name + " cut at " + std::to_string(length));
		std::vector<Byte> changed = file._bytes;
		for (std::size_t i = 0; i < std::min(changed.size(), static_cast<std::size_t>(flippedBytes)); ++i)
		{
			for (const int value : {0, 1, 127, 128, 255})
			{
				changed[i] = static_cast<Byte>(value);
				CheckDamagedFile(changed, file._name + " with byte " + std::to_string(i) + " set to " + std::to_string(value));
			}
			changed[i] = bytes[i];
		}
	}
}

void CheckCorpus(const std::string& format, int minimum)
{
	const fs::path corpus = TORVI_CORPUS;
	if (!fs::exists(corpus / "MANIFEST.tsv"))
		GTEST_SKIP() << "There are no real sample files; TORVI_CORPUS is not set.";
	std::map<std::string, std::string> expected;
	for (const auto& row : ReadTable(corpus / "EXPECTED.tsv"))
	{
		if (row.size() > 6 && row[4] == "rgba8" && row[6].starts_with("primary") && row[6].find("DISPUTED") == std::string::npos)
			expected[row[0]] = row[5];
	}
	std::map<std::string, std::string> differences; // path to outcome
	for (const auto& row : ReadTable(FolderOf(format) / "differences.tsv"))
		differences[row.at(0)] = row.at(1);
	differences.erase("path"); // the heads of the columns
	int checked = 0;
	int skipped = 0;
	std::set<std::string> different;
	for (const auto& row : ReadTable(corpus / "MANIFEST.tsv"))
	{
		const std::string& path = row.at(0);
		const std::string& verdict = row.back();
		if (!path.starts_with(format + "/"))
			continue;
		const Result<PixelArray> pixels = LoadPixels(MakeMemoryUrl(ReadWholeFile(corpus / path)));
		const std::string outcome = OutcomeOf(pixels);
		if (const auto known = differences.find(path); known != differences.end())
		{
			const std::string& wanted = known->second;
			EXPECT_TRUE(wanted.empty() ? pixels.IsOk() : outcome == wanted || outcome.starts_with(wanted + ": "))
				<< path << " gives " << outcome << "\nin place of " << wanted;
			different.insert(path);
		}
		else if (verdict == "ok" && !expected.contains(path))
		{
			EXPECT_TRUE(pixels.IsOk()) << path << ": " << outcome;
			++skipped;
			continue;
		}
		else if (verdict == "ok")
			EXPECT_EQ(outcome, expected[path]) << path;
		else if (verdict == "error")
			EXPECT_FALSE(pixels.IsOk()) << path << " was to be refused";
		else
			EXPECT_TRUE(pixels.IsOk() || !TextOf(pixels.GetError()).empty()) << path;
		++checked;
	}
	for (const auto& [path, outcome] : differences)
		EXPECT_TRUE(different.contains(path)) << path << " is not in the corpus";
	std::cout << format << ": " << checked << " real files checked (" << different.size() << " known differences), " << skipped
			  << " without agreed pixels, which were loaded only\n";
	EXPECT_GE(checked, minimum);
}

} // namespace torvi::test
