// The library gets the host's memory, and only so much of it: each of some five thousand entries may claim the same 64 KiB as its value.
#include "platform/exif/exif_library.h"

#include "host/memory.h"

namespace torvi
{

namespace
{

/// All that one block may take. Those of cameras need their own length up to three times (values, a copy of the maker's notes, the
/// thumbnail) and a hundred bytes an entry.
constexpr Int MEMORY_LIMIT = 8 * 65536;

/// What became of the library's wishes while it loads a block on this thread; its calls have no argument for that.
struct MemoryUse
{
	Int _left = MEMORY_LIMIT;
	Bool _isAboveLimit = false;
	Bool _isOutOfMemory = false;
};

thread_local MemoryUse s_memoryUse;

Bool TakeMemory(Int size) noexcept
{
	s_memoryUse._isAboveLimit = s_memoryUse._isAboveLimit || size > s_memoryUse._left;
	if (s_memoryUse._isAboveLimit)
		return false;
	s_memoryUse._left -= size;
	return true;
}

void* NoteResult(void* memory) noexcept
{
	s_memoryUse._isOutOfMemory = s_memoryUse._isOutOfMemory || memory == nullptr;
	return memory;
}

void* AllocForLibrary(ExifLong size) noexcept
{
	return TakeMemory(size) ? NoteResult(AllocClear(size)) : nullptr;
}

/// What grows are lists with a pointer for each entry, an eighth of the entry itself, which has been counted.
void* ReallocForLibrary(void* memory, ExifLong size) noexcept
{
	return NoteResult(Realloc(memory, size));
}

struct ExifMemDeleter
{
	void operator()(ExifMem* memory) const noexcept { exif_mem_unref(memory); }
};

} // namespace

Result<ExifDataPtr> LoadExifData(Block<const Byte> block)
{
	s_memoryUse = {};
	const std::unique_ptr<ExifMem, ExifMemDeleter> memory(exif_mem_new(&AllocForLibrary, &ReallocForLibrary, &Free));
	TORVI_CHECK(memory, OutOfMemoryError());
	ExifDataPtr data(exif_data_new_mem(memory.get()));
	TORVI_CHECK(data, OutOfMemoryError());
	exif_data_unset_option(data.get(), EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
	exif_data_unset_option(data.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
	exif_data_load_data(data.get(), block.data(), static_cast<unsigned int>(block.size()));
	TORVI_CHECK(!s_memoryUse._isOutOfMemory, OutOfMemoryError());
	TORVI_CHECK(!s_memoryUse._isAboveLimit, FileFormatError("The EXIF data needs more than @ bytes of memory.", MEMORY_LIMIT));
	return data;
}

} // namespace torvi
