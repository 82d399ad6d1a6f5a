// The library that takes EXIF blocks apart, with its memory.
#pragma once

#include "host/result.h"

#include <libexif/exif-data.h>

namespace torvi
{

/// The longest block, a little more than a segment of a JPEG file holds. The library reads no byte behind it.
inline constexpr Int LONGEST_EXIF_BLOCK = 65534;

/// One run of the library. It gets the host's memory, and only so much of it: each of some five thousand entries may claim the same 64 KiB
/// as its value. All of it goes with this object, also what the library forgets where it runs out of memory.
class ExifLibraryRun
{
public:
	ExifLibraryRun() noexcept = default;
	ExifLibraryRun(const ExifLibraryRun&) = delete;
	ExifLibraryRun& operator=(const ExifLibraryRun&) = delete;
	~ExifLibraryRun();

	/// Takes a block apart that begins with "Exif" and two zero bytes; called once. Nothing in it is added to or mended, and what cannot be
	/// read is left out. File-format error for a block that takes many times the memory that it fills itself.
	Result<ExifData*> Load(Block<const Byte> block);

	/// The library's calls.
	void* Allocate(Int size) noexcept;
	void* Reallocate(void* memory, Int size) noexcept;
	void Release(void* memory) noexcept;

private:
	/// In front of each piece of memory.
	struct alignas(std::max_align_t) Piece
	{
		Piece* _previous;
		Piece* _next;
		Int _size; ///< with this head
	};

	/// The head of a list that ends where it began.
	Piece _pieces = {&_pieces, &_pieces, 0};
	Int _size = 0; ///< of all pieces
	Bool _isAboveLimit = false;
	Bool _isOutOfMemory = false;
};

} // namespace torvi
