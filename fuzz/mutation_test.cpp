// Mutators: what they put together is what they took apart, and what they change is still a file.
#include "fuzz/mutation.h"

#include "fuzz/picture.h"
#include "fuzz/target.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <set>

/// Stands for libFuzzer's: puts a byte in, or changes one where there is no room.
extern "C" std::size_t LLVMFuzzerMutate(torvi::Byte* data, std::size_t size, std::size_t maxSize)
{
	static torvi::fuzz::Dice s_dice(1);
	const std::size_t position = s_dice.Below(size + 1);
	if (size < maxSize)
	{
		std::copy_backward(data + position, data + size, data + size + 1);
		++size;
	}
	data[std::min(position, size - 1)] = static_cast<torvi::Byte>(s_dice.Below(256));
	return size;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(torvi::Byte* data, std::size_t size, std::size_t maxSize, unsigned seed);

namespace torvi::fuzz
{

namespace
{

namespace fs = std::filesystem;

std::vector<std::pair<std::string, Bytes>> ReadFolder(const fs::path& folder)
{
	std::vector<std::pair<std::string, Bytes>> files;
	for (const fs::directory_entry& entry : fs::directory_iterator(folder))
	{
		std::ifstream stream(entry.path(), std::ios::binary);
		files.emplace_back(entry.path().filename().string(), Bytes{std::istreambuf_iterator<char>(stream), {}});
	}
	EXPECT_FALSE(files.empty()) << folder;
	return files;
}

TEST(Mutators, FilesComeBackAsTheyWere)
{
	const fs::path data = TORVI_TEST_DATA;
	const fs::path seeds = data.parent_path().parent_path() / "fuzz" / "seeds";
	// Picture data becomes one chunk, and a wrong check sum is put right.
	const std::set<std::string> DIFFERENT = {"pieces.png", "chunks-that-nobody-asks-for.png"};
	for (const fs::path& folder :
		 {data / "jpeg" / "good", data / "png" / "good", data / "psd" / "good", seeds / "layer_set", seeds / "storage"})
	{
		for (const auto& [name, file] : ReadFolder(folder))
		{
			const TakenApartPointer pieces = TakeApart(file);
			ASSERT_TRUE(pieces) << name;
			EXPECT_EQ(pieces->PutTogether() == file, !DIFFERENT.contains(name)) << name;
		}
	}
}

/// How many of a hundred mutations of each good file of a format still load.
double LoadedShare(const std::string& format, const std::function<Bytes(const Bytes& file, unsigned seed)>& mutate)
{
	int tried = 0;
	int loaded = 0;
	for (const auto& [name, file] : ReadFolder(fs::path(TORVI_TEST_DATA) / format / "good"))
	{
		for (unsigned seed = 1; seed <= 20; ++seed, ++tried)
		{
			PrepareModule();
			loaded += LoadSmallPictures(MakeFile(mutate(file, seed))).IsOk();
		}
	}
	return 100.0 * loaded / tried;
}

TEST(Mutators, ChangedFilesStillLoad)
{
	const auto structured = [](const Bytes& file, unsigned seed)
	{
		Bytes changed = file;
		changed.resize(2 * file.size() + 4096);
		changed.resize(LLVMFuzzerCustomMutator(changed.data(), file.size(), changed.size(), seed));
		return changed;
	};
	const auto plain = [](const Bytes& file, unsigned)
	{
		Bytes changed = file;
		MutateBytes(changed);
		return changed;
	};
	for (const std::string format : {"jpeg", "png", "psd"})
	{
		const double structuredShare = LoadedShare(format, structured);
		const double plainShare = LoadedShare(format, plain);
		EXPECT_GT(structuredShare, plainShare + 10.0) << format << ": percent of mutations that load";
	}
}

} // namespace

} // namespace torvi::fuzz
