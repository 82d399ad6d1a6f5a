// Streams over files, pipes and memory: the same rules for all, and the errors of the system.
#include "host/url.h"

#include "tests/support/allocation_failure.h"
#include "tests/support/failing_url.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <numeric>
#include <string>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace torvi
{
namespace
{

/// A folder of its own for each test, removed with all that is in it.
class TemporaryFolder
{
public:
	TemporaryFolder() { _path = mkdtemp(_path.data()); }
	~TemporaryFolder() { std::filesystem::remove_all(_path); }
	std::string At(const std::string& name) const { return _path + "/" + name; }

private:
	std::string _path = ::testing::TempDir() + "torvi_stream_XXXXXX";
};

Url FileUrl(const std::string& path)
{
	return TORVI_MUST(Url::FromSystemPath(path));
}

Array<Byte> CountingBytes(std::size_t count)
{
	Array<Byte> bytes(count);
	std::iota(bytes.begin(), bytes.end(), Byte(0));
	return bytes;
}

Result<void> WriteAll(const Url& url, Block<const Byte> bytes)
{
	const OutputStreamRef stream = TORVI_TRY(url.OpenOutputStream());
	TORVI_TRY(stream->Write(bytes));
	return stream->Close();
}

Array<Byte> ReadAll(const Url& url)
{
	Array<Byte> bytes(100000);
	bytes.resize(static_cast<std::size_t>(TORVI_MUST(TORVI_MUST(url.OpenInputStream())->ReadEOS(bytes))));
	return bytes;
}

/// The rules that hold for files and memory alike.
void CheckSeekableStreams(const Url& url)
{
	ASSERT_TRUE(WriteAll(url, CountingBytes(200)).IsOk());
	const InputStreamRef input = TORVI_MUST(url.OpenInputStream());
	EXPECT_TRUE(input->SeekSupported());
	EXPECT_EQ(TORVI_MUST(input->GetStreamLength()), 200);
	Byte bytes[16] = {};
	ASSERT_TRUE(input->Skip(190).IsOk());
	EXPECT_EQ(input->Skip(11).GetError().GetMessage(), "The data ends 1 bytes too early.");
	EXPECT_EQ(input->Skip(INT64_MAX).GetError().GetId(), errorids::IO);
	EXPECT_EQ(input->Skip(-1).GetError().GetId(), errorids::ILLEGALARGUMENT);
	EXPECT_EQ(input->GetPosition(), 190);
	EXPECT_EQ(TORVI_MUST(input->ReadEOS(bytes)), 10);
	EXPECT_EQ(bytes[9], 199);
	ASSERT_TRUE(input->Seek(195).IsOk());
	EXPECT_EQ(input->ReadBlock(Block<Byte>(bytes, 8)).GetError().GetMessage(), "The data ends 3 bytes too early.");
	for (const Int behind : {Int(200), Int(5000), INT64_MAX})
	{
		ASSERT_TRUE(input->Seek(behind).IsOk());
		EXPECT_EQ(TORVI_MUST(input->ReadEOS(bytes)), 0);
		EXPECT_EQ(input->GetPosition(), behind);
	}
	EXPECT_EQ(input->Seek(-1).GetError().GetId(), errorids::ILLEGALARGUMENT);
	ASSERT_TRUE(input->Close().IsOk());
	ASSERT_TRUE(input->Close().IsOk());
	EXPECT_EQ(input->ReadEOS(bytes).GetError().GetId(), errorids::ILLEGALSTATE);
	EXPECT_EQ(input->Seek(0).GetError().GetId(), errorids::ILLEGALSTATE);
	EXPECT_EQ(input->GetStreamLength().GetError().GetId(), errorids::ILLEGALSTATE);

	const OutputStreamRef output = TORVI_MUST(url.OpenOutputStream()); // cuts to 0
	ASSERT_TRUE(output->Seek(3).IsOk());
	ASSERT_TRUE(output->Write(CountingBytes(3)).IsOk());
	ASSERT_TRUE(output->Seek(4).IsOk());
	ASSERT_TRUE(output->Write(Array<Byte>{9}).IsOk());
	EXPECT_EQ(TORVI_MUST(output->GetStreamLength()), 6);
	ASSERT_TRUE(output->Flush().IsOk());
	ASSERT_TRUE(output->Close().IsOk());
	EXPECT_EQ(output->Write(Array<Byte>{9}).GetError().GetId(), errorids::ILLEGALSTATE);
	EXPECT_EQ(ReadAll(url), (Array<Byte>{0, 0, 0, 0, 9, 2}));
}

TEST(Stream, FileFollowsTheRules)
{
	const TemporaryFolder folder;
	CheckSeekableStreams(FileUrl(folder.At("file")));
}

TEST(Stream, MemoryFollowsTheRules)
{
	CheckSeekableStreams(TORVI_MUST(TORVI_MUST(NewObject<IoMemory>())->GetUrl()));
}

TEST(Stream, FileErrorsNamePathAndReason)
{
	const TemporaryFolder folder;
	const std::string missing = folder.At("no/such");
	for (const Error& error : {FileUrl(missing).OpenInputStream().TakeError(), FileUrl(missing).OpenOutputStream().TakeError()})
	{
		EXPECT_EQ(error.GetId(), errorids::IO);
		EXPECT_EQ(error.GetMessage(), "\"" + missing + "\" can not be opened: No such file or directory.");
	}
	const Error isFolder = FileUrl(folder.At("")).OpenInputStream().TakeError();
	EXPECT_NE(isFolder.GetMessage().find("Is a directory"), std::string_view::npos) << isFolder.ToString();
	EXPECT_EQ(FileUrl(folder.At("")).OpenOutputStream().GetError().GetId(), errorids::IO);
}

/// What a folder holds: names and bytes of its files.
std::map<std::string, std::string> FilesOf(const std::string& folder)
{
	std::map<std::string, std::string> files;
	for (const auto& entry : std::filesystem::directory_iterator(folder))
	{
		std::ifstream stream(entry.path(), std::ios::binary);
		files[entry.path().filename()] = std::string(std::istreambuf_iterator<char>(stream), {});
	}
	return files;
}

TEST(Stream, FilesAppearWholeOrNotAtAll)
{
	const TemporaryFolder folder;
	const std::string path = folder.At("file");
	const Array<Byte> early = {'o', 'l', 'd'}, late = {'n', 'e', 'w'};
	ASSERT_TRUE(TORVI_MUST(FileUrl(path).OpenOutputStream())->Write(early).IsOk());
	EXPECT_TRUE(FilesOf(folder.At("")).empty()) << "not closed";
	ASSERT_TRUE(WriteAll(FileUrl(path), early).IsOk());
	ASSERT_EQ(chmod(path.c_str(), 0640), 0);
	std::filesystem::create_symlink("file", folder.At("link"));
	{
		const InputStreamRef reader = TORVI_MUST(FileUrl(path).OpenInputStream());
		const OutputStreamRef stream = TORVI_MUST(FileUrl(folder.At("link")).OpenOutputStream());
		ASSERT_TRUE(stream->Write(late).IsOk());
		EXPECT_EQ(FilesOf(folder.At(""))["file"], "old");
		ASSERT_TRUE(stream->Close().IsOk());
		ASSERT_TRUE(stream->Close().IsOk());
		Array<Byte> read(3);
		ASSERT_TRUE(reader->ReadBlock(read).IsOk());
		EXPECT_EQ(read, early) << "the file that was opened before";
	}
	EXPECT_EQ(FilesOf(folder.At("")), (std::map<std::string, std::string>{{"file", "new"}, {"link", "new"}}));
	EXPECT_TRUE(std::filesystem::is_symlink(folder.At("link")));
	EXPECT_EQ(static_cast<int>(std::filesystem::status(path).permissions()), 0640);
}

TEST(Stream, FullDiskIsReported)
{
	if (access("/dev/full", W_OK) != 0)
		GTEST_SKIP() << "no /dev/full";
	const OutputStreamRef stream = TORVI_MUST(FileUrl("/dev/full").OpenOutputStream());
	EXPECT_EQ(stream->Write(Array<Byte>{1}).GetError().GetMessage(), "\"/dev/full\" can not be written: No space left on device.");
}

TEST(Stream, NamedPipeNeitherHangsNorSeeks)
{
	const TemporaryFolder folder;
	const std::string path = folder.At("pipe");
	ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
	EXPECT_EQ(FileUrl(path).OpenOutputStream().GetError().GetId(), errorids::IO); // nobody reads
	EXPECT_TRUE(ReadAll(FileUrl(path)).empty());                                  // nobody writes

	const InputStreamRef input = TORVI_MUST(FileUrl(path).OpenInputStream());
	EXPECT_FALSE(input->SeekSupported());
	EXPECT_EQ(input->Seek(0).GetError().GetId(), errorids::UNSUPPORTEDOPERATION);
	EXPECT_EQ(input->GetStreamLength().GetError().GetId(), errorids::UNSUPPORTEDOPERATION);
	std::thread writer([&]() { EXPECT_TRUE(WriteAll(FileUrl(path), CountingBytes(100000)).IsOk()); }); // more than the pipe holds
	Array<Byte> bytes(99000);
	const int keepOpen = open(path.c_str(), O_WRONLY | O_NONBLOCK); // so that the read waits for the thread
	EXPECT_TRUE(input->ReadBlock(bytes).IsOk());
	EXPECT_EQ(bytes, CountingBytes(99000));
	close(keepOpen);
	EXPECT_TRUE(input->Skip(900).IsOk());
	EXPECT_EQ(input->Skip(101).GetError().GetMessage(), "The data ends 1 bytes too early.");
	EXPECT_EQ(input->GetPosition(), 100000);
	writer.join();
}

TEST(Stream, BrokenPipeIsAnErrorAndNoSignal)
{
	const TemporaryFolder folder;
	const std::string path = folder.At("pipe");
	ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
	InputStreamRef input = TORVI_MUST(FileUrl(path).OpenInputStream());
	const OutputStreamRef output = TORVI_MUST(FileUrl(path).OpenOutputStream());
	input = nullptr;
	EXPECT_EQ(output->Write(Array<Byte>{1}).GetError().GetId(), errorids::IO); // the signal would have ended the test
	sigset_t pending;
	sigpending(&pending);
	EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
}

TEST(Stream, HoldsWithoutMemory)
{
	const TemporaryFolder folder;
	const std::string path = folder.At("file");
	const Array<Byte> bytes = CountingBytes(3000);
	const auto operation = [&]() -> Result<void>
	{
		TORVI_TRY(WriteAll(TORVI_TRY(Url::FromSystemPath(path)), bytes));
		const Ref<IoMemory> memory = TORVI_TRY(NewObject<IoMemory>());
		TORVI_TRY(WriteAll(TORVI_TRY(memory->GetUrl()), bytes));
		const InputStreamRef stream = TORVI_TRY(TORVI_TRY(Url::FromSystemPath(path)).OpenInputStream());
		return stream->Skip(3000);
	};
	const Int count = test::ForEachAllocationFailure(operation,
													 [](const Result<void>& result, Bool hasFailed)
													 {
														 EXPECT_EQ(result.IsOk(), !hasFailed);
														 EXPECT_TRUE(result.IsOk() || result.GetError().GetId() == errorids::OUTOFMEMORY);
													 });
	EXPECT_GT(count, 5);
}

} // namespace
} // namespace torvi
