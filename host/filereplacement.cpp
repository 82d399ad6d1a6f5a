// Replacing by rename, which the system does in one step within a folder.
#include "host/filereplacement.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace torvi
{

namespace
{

/// A name in the folder of `path` that no other writer of this system chooses.
String MakeNameBeside(std::string_view path)
{
	static std::atomic<Int> s_count{0};
	const std::size_t slash = path.rfind('/');
	const std::string_view folder = slash == std::string_view::npos ? std::string_view() : path.substr(0, slash + 1);
	return Format("@.torvi-@-@.part", folder, Int(getpid()), s_count++);
}

} // namespace

FileReplacement::FileReplacement(FileReplacement&& other) noexcept
	: _target(std::move(other._target)), _part(std::exchange(other._part, String()))
{
}

FileReplacement::~FileReplacement()
{
	Discard();
}

Result<void> FileReplacement::Begin(std::string_view path)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			_target = MakeString(path);
			struct stat status;
			const Bool exists = lstat(_target.c_str(), &status) == 0;
			if (exists && S_ISLNK(status.st_mode))
				ResolveTarget();
			if (!exists)
				CreatePart();
			else if (stat(_target.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(_target.c_str(), W_OK) == 0 && CreatePart())
				chmod(_part.c_str(), status.st_mode & 07777);
			return OK;
		});
}

/// A link that leads nowhere stays what it is.
void FileReplacement::ResolveTarget()
{
	char* resolved = realpath(_target.c_str(), nullptr);
	if (resolved != nullptr)
		_target = resolved;
	std::free(resolved);
}

Bool FileReplacement::CreatePart()
{
	int descriptor;
	do
	{
		_part = MakeNameBeside(_target);
		descriptor = open(_part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
	} while (descriptor < 0 && (errno == EEXIST || errno == EINTR));
	if (descriptor < 0)
		_part.clear();
	else
		close(descriptor);
	return descriptor >= 0;
}

Result<void> FileReplacement::PutInPlace()
{
	if (!IsBegun())
		return OK;
	const Bool isDone = std::rename(_part.c_str(), _target.c_str()) == 0;
	const int code = errno;
	if (isDone)
		_part.clear();
	else
		Discard();
	TORVI_CHECK(isDone, IoError("\"@\" can not be written: @.", _target, std::generic_category().message(code)));
	return OK;
}

void FileReplacement::Discard() noexcept
{
	if (IsBegun())
		unlink(_part.c_str());
	_part.clear();
}

} // namespace torvi
