// Writing of files that appear whole or not at all: what is written grows beside the file and takes its place at the end.
#pragma once

#include "host/result.h"
#include "host/string.h"

namespace torvi
{

/// A file that is to take the place of another, or of none. What was not put in place goes with this object. Someone who opened the earlier
/// file goes on reading that one.
class FileReplacement
{
public:
	FileReplacement() noexcept = default;
	FileReplacement(FileReplacement&& other) noexcept;
	FileReplacement& operator=(FileReplacement&&) = delete;
	~FileReplacement();

	/// Makes an empty file in the folder of `path`, with the permissions of the file that is there; a symbolic link stands for the file
	/// that it leads to. Does nothing where that is no way to write `path`: it is a device, a pipe, a folder or a link to nowhere, it may
	/// not be written, or its folder takes no new file.
	Result<void> Begin(std::string_view path);

	/// Whether there is a file beside the other.
	Bool IsBegun() const noexcept { return !_part.empty(); }
	/// Where to write.
	const String& GetPartPath() const noexcept { return _part; }
	/// Renames. An error, which names the path that was given, leaves the earlier file as it was. Nothing happens if none is begun.
	Result<void> PutInPlace();

private:
	void ResolveTarget();
	Bool CreatePart();
	void Discard() noexcept;

	String _target; ///< with links resolved
	String _part;   ///< empty if there is nothing to put in place
};

} // namespace torvi
