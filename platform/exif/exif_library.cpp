// The library's memory, as a list of pieces.
#include "platform/exif/exif_library.h"

#include "host/memory.h"

#include <algorithm>
#include <cstring>

namespace torvi
{

namespace
{

/// All that one block may take. Those of cameras need their own length up to three times (values, a copy of the maker's notes, the
/// thumbnail) and about two hundred bytes an entry.
constexpr Int MEMORY_LIMIT = 8 * 65536;

/// The run on this thread; the library's calls for memory have no argument for it.
thread_local ExifLibraryRun* s_run = nullptr;

void* AllocForLibrary(ExifLong size) noexcept
{
	return s_run->Allocate(size);
}

void* ReallocForLibrary(void* memory, ExifLong size) noexcept
{
	return s_run->Reallocate(memory, size);
}

void FreeForLibrary(void* memory) noexcept
{
	s_run->Release(memory);
}

} // namespace

ExifLibraryRun::~ExifLibraryRun()
{
	while (_pieces._next != &_pieces)
		Release(_pieces._next + 1);
}

void* ExifLibraryRun::Allocate(Int size) noexcept
{
	size += Int(sizeof(Piece));
	_isAboveLimit = _isAboveLimit || size > MEMORY_LIMIT - _size;
	auto* const piece = static_cast<Piece*>(_isAboveLimit ? nullptr : AllocClear(size));
	_isOutOfMemory = _isOutOfMemory || (piece == nullptr && !_isAboveLimit);
	if (piece == nullptr)
		return nullptr;
	*piece = {&_pieces, _pieces._next, size};
	_pieces._next->_previous = piece;
	_pieces._next = piece;
	_size += size;
	return piece + 1;
}

void* ExifLibraryRun::Reallocate(void* memory, Int size) noexcept
{
	void* const copy = Allocate(size);
	if (copy == nullptr || memory == nullptr)
		return copy;
	const Int oldSize = (static_cast<Piece*>(memory) - 1)->_size - Int(sizeof(Piece));
	std::memcpy(copy, memory, static_cast<std::size_t>(std::min(oldSize, size)));
	Release(memory);
	return copy;
}

void ExifLibraryRun::Release(void* memory) noexcept
{
	if (memory == nullptr)
		return;
	Piece* const piece = static_cast<Piece*>(memory) - 1;
	piece->_previous->_next = piece->_next;
	piece->_next->_previous = piece->_previous;
	_size -= piece->_size;
	Free(piece);
}

Result<ExifData*> ExifLibraryRun::Load(Block<const Byte> block)
{
	s_run = this;
	ExifMem* const memory = exif_mem_new(&AllocForLibrary, &ReallocForLibrary, &FreeForLibrary);
	ExifData* const data = memory != nullptr ? exif_data_new_mem(memory) : nullptr;
	TORVI_CHECK(data != nullptr, OutOfMemoryError());
	exif_data_unset_option(data, EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
	exif_data_unset_option(data, EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
	exif_data_load_data(data, block.data(), static_cast<unsigned int>(block.size()));
	TORVI_CHECK(!_isOutOfMemory, OutOfMemoryError());
	TORVI_CHECK(!_isAboveLimit, FileFormatError("The EXIF data needs more than @ bytes of memory.", MEMORY_LIMIT));
	return data;
}

} // namespace torvi
