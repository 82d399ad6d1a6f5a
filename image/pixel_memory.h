// Blocks of bytes for pixels, and the one behind a storage. Its new bytes are fresh zero pages that cost nothing until they are touched.
#pragma once

#include "host/memory.h"
#include "host/result.h"

#include <cstring>
#include <memory>

namespace torvi
{

/// Bytes of the host's allocator, as CreatePix gives them.
struct FreeBytes
{
	void operator()(Byte* bytes) const noexcept { Free(bytes); }
};
using OwnedBytes = std::unique_ptr<Byte, FreeBytes>;

class PixelMemory
{
public:
	PixelMemory() noexcept = default;
	/// Throws std::bad_alloc, as the copy of a container does.
	PixelMemory(const PixelMemory& other) : _bytes(static_cast<Byte*>(Alloc(other._size))), _size(other._size)
	{
		if (!_bytes)
			throw std::bad_alloc();
		if (_size > 0)
			std::memcpy(_bytes.get(), other._bytes.get(), static_cast<std::size_t>(_size));
	}
	PixelMemory(PixelMemory&& other) noexcept : _bytes(std::move(other._bytes)), _size(std::exchange(other._size, 0)) {}
	PixelMemory& operator=(PixelMemory other) noexcept
	{
		std::swap(_bytes, other._bytes);
		std::swap(_size, other._size);
		return *this;
	}

	/// Keeps the bytes inside the new size and adds zeros. On failure, the out-of-memory error, nothing has changed.
	Result<void> Resize(Int size)
	{
		Byte* bytes = static_cast<Byte*>(_bytes ? Realloc(_bytes.get(), size) : AllocClear(size));
		TORVI_CHECK(bytes != nullptr, OutOfMemoryError());
		if (_bytes && size > _size)
			std::memset(bytes + _size, 0, static_cast<std::size_t>(size - _size));
		(void)_bytes.release();
		_bytes.reset(bytes);
		_size = size;
		return OK;
	}

	Byte* GetBytes() noexcept { return _bytes.get(); }
	const Byte* GetBytes() const noexcept { return _bytes.get(); }
	Block<const Byte> GetBlock() const noexcept { return {_bytes.get(), static_cast<std::size_t>(_size)}; }

private:
	OwnedBytes _bytes;
	Int _size = 0;
};

} // namespace torvi
