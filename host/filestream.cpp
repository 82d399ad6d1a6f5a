// File streams over the calls of POSIX. Regular files and block devices are read and written at a position of our own, so that seeking
// is only a number; all else is read and written in order.
#include "host/filestream.h"

#include "host/filereplacement.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace torvi
{

static_assert(sizeof(off_t) == sizeof(Int), "files beyond 2 GiB need 64-bit offsets");

namespace
{

/// Repeats a system call that a signal interrupted.
template <class Call>
auto RetryInterrupted(Call&& call)
{
	decltype(call()) result;
	do
		result = call();
	while (result < 0 && errno == EINTR);
	return result;
}

/// Holds back the signal that writing to a pipe without a reader raises, so that only the error remains.
class PipeSignalGuard
{
public:
	PipeSignalGuard() noexcept
	{
		sigemptyset(&_pipeSignal);
		sigaddset(&_pipeSignal, SIGPIPE);
		sigset_t pending;
		sigpending(&pending);
		_wasPending = sigismember(&pending, SIGPIPE) == 1;
		pthread_sigmask(SIG_BLOCK, &_pipeSignal, &_previous);
	}
	PipeSignalGuard(const PipeSignalGuard&) = delete;
	PipeSignalGuard& operator=(const PipeSignalGuard&) = delete;
	~PipeSignalGuard()
	{
		const int savedError = errno;
		if (!_wasPending)
		{
			const timespec noWait{};
			RetryInterrupted([&]() { return sigtimedwait(&_pipeSignal, nullptr, &noWait); });
		}
		pthread_sigmask(SIG_SETMASK, &_previous, nullptr);
		errno = savedError;
	}

private:
	sigset_t _pipeSignal;
	sigset_t _previous;
	Bool _wasPending;
};

/// An open file, the path it was opened by, and the position in it.
class FileHandle
{
public:
	FileHandle() noexcept = default;
	FileHandle(FileHandle&& other) noexcept
		: _path(std::move(other._path)), _descriptor(std::exchange(other._descriptor, -1)), _position(other._position),
		  _isSeekable(other._isSeekable)
	{
	}
	FileHandle& operator=(FileHandle&&) = delete;
	~FileHandle() { (void)Close(); }

	/// Errors tell of `path`, also where another file is opened in its place.
	static Result<FileHandle> Open(std::string_view path, int flags, const String& inPlace = {})
	{
		FileHandle file;
		file._path = MakeString(path);
		const String& opened = inPlace.empty() ? file._path : inPlace;
		// Without O_NONBLOCK, opening a named pipe waits for its other end.
		file._descriptor = RetryInterrupted([&]() { return open(opened.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0666); });
		TORVI_CHECK(file._descriptor >= 0, file.SystemFailure("\"@\" can not be opened: @.", errno));
		TORVI_TRY(file.Prepare());
		return file;
	}

	Bool IsOpen() const noexcept { return _descriptor >= 0; }
	Bool IsSeekable() const noexcept { return _isSeekable; }
	Int GetPosition() const noexcept { return _position; }

	Result<Int> GetLength() const
	{
		struct stat status;
		TORVI_CHECK(fstat(_descriptor, &status) == 0, SystemFailure("The length of \"@\" can not be read: @.", errno));
		return S_ISBLK(status.st_mode) ? Int(lseek(_descriptor, 0, SEEK_END)) : Int(status.st_size);
	}

	Result<void> Seek(Int position)
	{
		TORVI_CHECK(position >= 0, IllegalArgumentError("A stream has no position @.", position));
		_position = position;
		return OK;
	}

	Result<Int> Read(Block<Byte> block)
	{
		Int done = 0;
		const Int wanted = std::min(CountOf(block), INT64_MAX - _position);
		while (done < wanted)
		{
			const ssize_t count = ReadSome(block.data() + done, static_cast<std::size_t>(wanted - done));
			TORVI_CHECK(count >= 0, SystemFailure("\"@\" can not be read: @.", errno));
			if (count == 0)
				break;
			done += count;
			_position += count;
		}
		return done;
	}

	Result<void> Write(Block<const Byte> block)
	{
		while (!block.empty())
		{
			const ssize_t count = WriteSome(block);
			TORVI_CHECK(count >= 0, SystemFailure("\"@\" can not be written: @.", errno));
			_position += count;
			block = block.subspan(static_cast<std::size_t>(count));
		}
		return OK;
	}

	Result<void> Close()
	{
		if (!IsOpen())
			return OK;
		// The descriptor is gone even when close reports an error, and an interrupted close is done.
		const int result = close(std::exchange(_descriptor, -1));
		TORVI_CHECK(result == 0 || errno == EINTR, SystemFailure("\"@\" can not be closed: @.", errno));
		return OK;
	}

private:
	Result<void> Prepare()
	{
		struct stat status;
		TORVI_CHECK(fstat(_descriptor, &status) == 0, SystemFailure("\"@\" can not be opened: @.", errno));
		TORVI_CHECK(!S_ISDIR(status.st_mode), SystemFailure("\"@\" can not be opened: @.", EISDIR));
		_isSeekable = S_ISREG(status.st_mode) || S_ISBLK(status.st_mode);
		const int flags = fcntl(_descriptor, F_GETFL);
		TORVI_CHECK(flags >= 0 && fcntl(_descriptor, F_SETFL, flags & ~O_NONBLOCK) == 0,
					SystemFailure("\"@\" can not be opened: @.", errno));
		return OK;
	}

	ssize_t ReadSome(Byte* target, std::size_t count)
	{
		return RetryInterrupted([&]()
								{ return _isSeekable ? pread(_descriptor, target, count, _position) : read(_descriptor, target, count); });
	}

	ssize_t WriteSome(Block<const Byte> block)
	{
		if (_isSeekable)
			return RetryInterrupted([&]() { return pwrite(_descriptor, block.data(), block.size(), _position); });
		const PipeSignalGuard guard;
		return RetryInterrupted([&]() { return write(_descriptor, block.data(), block.size()); });
	}

	Error SystemFailure(const char* text, int code, SourceLocation location = SourceLocation::current()) const
	{
		return IoError(ErrorMessage(text, location), _path, std::generic_category().message(code));
	}

	String _path;
	int _descriptor = -1;
	Int _position = 0;
	Bool _isSeekable = false;
};

/// What both directions have in common.
template <class Interface>
class FileStream : public Interface
{
public:
	explicit FileStream(FileHandle file) noexcept : _file(std::move(file)) {}

	Result<Int> GetStreamLength() const override
	{
		return NoThrow(
			[&]() -> Result<Int>
			{
				TORVI_CHECK(_file.IsOpen(), ClosedStreamError());
				return _file.IsSeekable() ? _file.GetLength() : Interface::GetStreamLength();
			});
	}
	Int GetPosition() const override { return _file.GetPosition(); }
	Result<void> Close() override
	{
		return NoThrow([&]() { return _file.Close(); });
	}
	Bool SeekSupported() const override { return _file.IsSeekable(); }
	Result<void> Seek(Int position) override
	{
		TORVI_CHECK(_file.IsOpen(), ClosedStreamError());
		return _file.IsSeekable() ? _file.Seek(position) : Interface::Seek(position);
	}

protected:
	FileHandle _file;
};

class FileInputStream final : public FileStream<InputStreamInterface>
{
public:
	using FileStream::FileStream;
	Result<Int> ReadEOS(Block<Byte> block) override
	{
		TORVI_CHECK(_file.IsOpen(), ClosedStreamError());
		return NoThrow([&]() { return _file.Read(block); });
	}
};

class FileOutputStream final : public FileStream<OutputStreamInterface>
{
public:
	FileOutputStream(FileHandle file, FileReplacement replacement) noexcept
		: FileStream(std::move(file)), _replacement(std::move(replacement))
	{
	}

	Result<void> Write(Block<const Byte> block) override
	{
		TORVI_CHECK(_file.IsOpen(), ClosedStreamError());
		return NoThrow([&]() { return _file.Write(block); });
	}
	/// Nothing is held back here: what was written is the system's.
	Result<void> Flush() override
	{
		TORVI_CHECK(_file.IsOpen(), ClosedStreamError());
		return OK;
	}
	Result<void> Close() override
	{
		TORVI_TRY(FileStream::Close());
		return NoThrow([&]() { return _replacement.PutInPlace(); });
	}

private:
	FileReplacement _replacement;
};

Result<void> CheckPath(std::string_view path)
{
	TORVI_CHECK(path.find('\0') == std::string_view::npos, IllegalArgumentError("A path can not hold a character of value 0."));
	return OK;
}

} // namespace

Result<InputStreamRef> OpenFileForReading(std::string_view path)
{
	TORVI_TRY(CheckPath(path));
	return NoThrow([&]() -> Result<InputStreamRef> { return NewObject<FileInputStream>(TORVI_TRY(FileHandle::Open(path, O_RDONLY))); });
}

Result<OutputStreamRef> OpenFileForWriting(std::string_view path)
{
	TORVI_TRY(CheckPath(path));
	return NoThrow(
		[&]() -> Result<OutputStreamRef>
		{
			FileReplacement replacement;
			TORVI_TRY(replacement.Begin(path));
			FileHandle file = TORVI_TRY(FileHandle::Open(path, O_WRONLY | O_CREAT | O_TRUNC, replacement.GetPartPath()));
			return NewObject<FileOutputStream>(std::move(file), std::move(replacement));
		});
}

} // namespace torvi
