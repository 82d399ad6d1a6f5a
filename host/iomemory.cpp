// Streams over bytes in memory.
#include "host/iomemory.h"

#include <algorithm>

namespace torvi
{

/// Both directions on the bytes of one IoMemory, which they keep alive. Named as the friend of IoMemory.
class MemoryStream
{
public:
	explicit MemoryStream(Ref<IoMemory> memory) noexcept : _memory(std::move(memory)) {}

	Result<Int> GetLength() const
	{
		TORVI_CHECK(_memory, ClosedStreamError());
		return CountOf(_memory->_bytes);
	}
	Int GetPosition() const noexcept { return _position; }
	void Close() noexcept { _memory = nullptr; }
	Result<void> Check() const
	{
		TORVI_CHECK(_memory, ClosedStreamError());
		return OK;
	}

	Result<void> Seek(Int position)
	{
		TORVI_TRY(Check());
		TORVI_CHECK(position >= 0, IllegalArgumentError("A stream has no position @.", position));
		_position = position;
		return OK;
	}

	Result<Int> Read(Block<Byte> block)
	{
		const Int left = std::max<Int>(0, TORVI_TRY(GetLength()) - _position);
		const Int count = std::min(left, CountOf(block));
		std::copy_n(_memory->_bytes.begin() + std::min(_position, CountOf(_memory->_bytes)), count, block.begin());
		_position += count;
		return count;
	}

	/// What lies between the end and a position behind it becomes 0.
	Result<void> Write(Block<const Byte> block)
	{
		TORVI_TRY(Check());
		TORVI_CHECK(CountOf(block) <= INT64_MAX - _position, OutOfMemoryError());
		return NoThrow(
			[&]() -> Result<void>
			{
				Array<Byte>& bytes = _memory->_bytes;
				bytes.resize(std::max(bytes.size(), static_cast<std::size_t>(_position) + block.size()));
				std::ranges::copy(block, bytes.begin() + _position);
				_position += CountOf(block);
				return OK;
			});
	}

private:
	Ref<IoMemory> _memory;
	Int _position = 0;
};

namespace
{

/// What both directions have in common.
template <class Interface>
class MemoryStreamBase : public Interface
{
public:
	explicit MemoryStreamBase(Ref<IoMemory> memory) noexcept : _stream(std::move(memory)) {}

	Result<Int> GetStreamLength() const override { return _stream.GetLength(); }
	Int GetPosition() const override { return _stream.GetPosition(); }
	Result<void> Close() override
	{
		_stream.Close();
		return OK;
	}
	Bool SeekSupported() const override { return true; }
	Result<void> Seek(Int position) override { return _stream.Seek(position); }

protected:
	MemoryStream _stream;
};

class MemoryInputStream final : public MemoryStreamBase<InputStreamInterface>
{
public:
	using MemoryStreamBase::MemoryStreamBase;
	Result<Int> ReadEOS(Block<Byte> block) override { return _stream.Read(block); }
};

class MemoryOutputStream final : public MemoryStreamBase<OutputStreamInterface>
{
public:
	using MemoryStreamBase::MemoryStreamBase;
	Result<void> Write(Block<const Byte> block) override { return _stream.Write(block); }
	Result<void> Flush() override { return _stream.Check(); }
};

} // namespace

Result<Url> IoMemory::GetUrl(std::string_view name)
{
	return Url::Make("memory", name, UrlProviderRef(this));
}

Result<InputStreamRef> IoMemory::OpenInputStream(std::string_view)
{
	return NewObject<MemoryInputStream>(Ref<IoMemory>(this));
}

Result<OutputStreamRef> IoMemory::OpenOutputStream(std::string_view)
{
	_bytes.clear();
	return NewObject<MemoryOutputStream>(Ref<IoMemory>(this));
}

} // namespace torvi
