// Reading and writing for the commands.
#include "tools/files.h"

#include "tools/watch.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace torvi::tool
{

namespace
{

namespace fs = std::filesystem;

constexpr std::size_t READ_STEP = std::size_t(1) << 20;

/// All that `readSome` gives, up to its first empty answer.
Result<Array<Byte>> ReadToEnd(const std::function<Result<Int>(Block<Byte>)>& readSome)
{
	Array<Byte> bytes;
	std::size_t size = 0;
	for (;;)
	{
		if (bytes.size() == size)
			bytes.resize(size + std::max(READ_STEP, size / 2));
		const Int count = TORVI_TRY(readSome(Block<Byte>(bytes).subspan(size)));
		if (count == 0)
			break;
		size += static_cast<std::size_t>(count);
	}
	bytes.resize(size);
	return bytes;
}

Result<Int> ReadSome(int descriptor, const std::string& name, Block<Byte> block)
{
	for (;;)
	{
		TORVI_TRY(CheckInterrupt());
		const ssize_t count = read(descriptor, block.data(), block.size());
		if (count >= 0)
			return count;
		TORVI_CHECK(errno == EINTR, IoError("\"@\" can not be read: @.", name, std::strerror(errno)));
	}
}

/// A pipe is opened when somebody opens its other end; Url streams do not wait.
Result<Array<Byte>> ReadPipe(const std::string& name)
{
	const int descriptor = open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
	TORVI_TRY(CheckInterrupt());
	TORVI_CHECK(descriptor >= 0, IoError("\"@\" can not be opened: @.", name, std::strerror(errno)));
	Result<Array<Byte>> bytes = ReadToEnd([&](Block<Byte> block) { return ReadSome(descriptor, name, block); });
	close(descriptor);
	return bytes;
}

Result<void> WriteStandardOutput(Block<const Byte> bytes)
{
	ClearProgressLine();
	while (!bytes.empty())
	{
		const ssize_t count = write(STDOUT_FILENO, bytes.data(), bytes.size());
		if (count < 0 && errno == EINTR)
			TORVI_TRY(CheckInterrupt());
		else
			TORVI_CHECK(count >= 0, IoError("Standard output can not be written: @.", std::strerror(errno)));
		bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
	}
	return OK;
}

Bool IsStandardStream(const std::string& name)
{
	return name == "-";
}

/// What can be opened once only: pipes and devices.
Bool IsSpecialFile(const std::string& name)
{
	std::error_code code;
	const fs::file_status status = fs::status(name, code);
	return fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
}

} // namespace

Result<Url> OpenInput(const std::string& name)
{
	if (IsStandardStream(name) || IsSpecialFile(name))
		return TORVI_TRY(NewObject<IoMemory>(TORVI_TRY(ReadInput(name))))->GetUrl(IsStandardStream(name) ? "standard input" : name);
	return Url::FromSystemPath(name);
}

Result<Array<Byte>> ReadInput(const std::string& name)
{
	if (IsStandardStream(name))
		return ReadToEnd([&](Block<Byte> block) { return ReadSome(STDIN_FILENO, "standard input", block); });
	if (IsSpecialFile(name))
		return ReadPipe(name);
	const InputStreamRef stream = TORVI_TRY(TORVI_TRY(Url::FromSystemPath(name)).OpenInputStream());
	return ReadToEnd([&](Block<Byte> block) { return stream->ReadEOS(block); });
}

Result<void> WriteOutput(const std::string& name, const std::function<Result<void>(const Url&)>& write)
{
	if (IsStandardStream(name))
	{
		const Ref<IoMemory> memory = TORVI_TRY(NewObject<IoMemory>());
		TORVI_TRY(write(TORVI_TRY(memory->GetUrl("standard output"))));
		return WriteStandardOutput(memory->GetBytes());
	}
	return write(TORVI_TRY(Url::FromSystemPath(name)));
}

Result<void> WriteBytes(const std::string& name, const std::function<Result<void>(const ByteSink&)>& write)
{
	if (IsStandardStream(name))
		return write(&WriteStandardOutput);
	return WriteOutput(name,
					   [&](const Url& url) -> Result<void>
					   {
						   const OutputStreamRef stream = TORVI_TRY(url.OpenOutputStream());
						   TORVI_TRY(write([&](Block<const Byte> bytes) { return stream->Write(bytes); }));
						   TORVI_TRY(CheckInterrupt());
						   return stream->Close();
					   });
}

Result<void> Print(std::string_view text)
{
	return WriteStandardOutput({reinterpret_cast<const Byte*>(text.data()), text.size()});
}

} // namespace torvi::tool
