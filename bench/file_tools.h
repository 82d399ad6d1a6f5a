// Files for the measurements: names, loading and saving, and the memory that work on them takes at most.
#pragma once

#include "bench/picture.h"

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

namespace torvi::bench
{

/// Saves through an exporter of that class.
Result<void> Save(const ImageTextureRef& texture, const Id& exporter, const std::string& path);
Result<ImageTextureRef> Load(const std::string& path);

/// A name for a file that goes away with this object.
class TemporaryFile
{
public:
	explicit TemporaryFile(const std::string& suffix);
	TemporaryFile(const TemporaryFile&) = delete;
	TemporaryFile& operator=(const TemporaryFile&) = delete;
	~TemporaryFile();

	const std::string& GetPath() const { return _path; }

private:
	std::string _path;
};

/// Memory that no page of is there before it is written.
class FreshMemory
{
public:
	explicit FreshMemory(Int size) : _bytes(static_cast<Byte*>(Alloc(size))) {}
	FreshMemory(FreshMemory&& other) noexcept : _bytes(std::exchange(other._bytes, nullptr)) {}
	FreshMemory& operator=(FreshMemory&& other) noexcept
	{
		std::swap(_bytes, other._bytes);
		return *this;
	}
	~FreshMemory() { Free(_bytes); }

	Byte* GetBytes() const { return _bytes; }

private:
	Byte* _bytes = nullptr;
};

/// Bytes of memory that this process holds, or held at most since it was forked.
Int GetResidentBytes();
Int GetPeakBytes();

/// The bytes by which the work raises the memory of a process at most. It runs in a child, which starts with what this process holds.
template <class Work>
Result<Int> MeasurePeak(Work work)
{
	int ends[2] = {};
	TORVI_CHECK(pipe(ends) == 0, IoError("There is no pipe."));
	malloc_trim(0); // what is free already would hide what the work takes
	const pid_t child = fork();
	if (child == 0)
	{
		const Int before = GetResidentBytes();
		const Bool isDone = work().IsOk();
		const Int growth = GetPeakBytes() - before;
		const Bool isWritten = write(ends[1], &growth, sizeof(growth)) == sizeof(growth);
		_exit(isDone && isWritten ? 0 : 1);
	}
	close(ends[1]);
	Int growth = 0;
	const Bool isRead = child > 0 && read(ends[0], &growth, sizeof(growth)) == sizeof(growth);
	close(ends[0]);
	int status = 1;
	const Bool hasEnded = child > 0 && waitpid(child, &status, 0) == child && status == 0;
	TORVI_CHECK(isRead && hasEnded, IllegalStateError("The work in the child process failed."));
	return growth;
}

/// Reports the growth during the work and the size of a square picture's storage.
template <class Work>
Result<void> ReportPeak(benchmark::State& state, const PixelFormat& format, Int side, Work work)
{
	state.counters["peak_bytes"] = static_cast<double>(TORVI_TRY(MeasurePeak(work)));
	state.counters["picture_bytes"] = static_cast<double>(side * format->GetBytesPerLine(side, 1));
	return OK;
}

/// Reports the growth while the square picture of a file is loaded.
Result<void> ReportPeakOfLoad(benchmark::State& state, const std::string& path, Int side);

} // namespace torvi::bench
