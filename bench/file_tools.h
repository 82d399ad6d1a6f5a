// What measurements of files share: files that go away, loading, and the memory that a piece of work takes at most.
#pragma once

#include "torvi/gfx_image.h"

#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace torvi::bench
{

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

/// All pictures of a file, with their layers.
Result<ImageTextureRef> Load(const std::string& path);

/// Bytes of memory that this process holds, or held at most since it was forked.
Int GetResidentBytes();
Int GetPeakBytes();

/// The bytes by which the work raises the memory of a process at most. It runs in a child, which starts with what this process holds.
template <class Work>
Result<Int> MeasurePeak(Work work)
{
	int ends[2] = {};
	TORVI_CHECK(pipe(ends) == 0, IoError("There is no pipe."));
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

} // namespace torvi::bench
