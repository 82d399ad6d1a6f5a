// The reader over streams. Small reads come out of a window; a read of the window's size and more goes straight to its target.
#include "host/byteorder.h"

#include <algorithm>
#include <cstring>

namespace torvi
{

namespace
{

constexpr Int WINDOW_SIZE = 65536;
constexpr Int FIRST_ARRAY_STEP = 1 << 20; ///< where the length is unknown, arrays grow from here as data arrives

Error ClosedReaderError(SourceLocation location = SourceLocation::current())
{
	return IllegalStateError(ErrorMessage("The reader has no stream.", location));
}

} // namespace

Result<void> BinaryReader::Open(const Url& url, ByteOrder order)
{
	return Open(TORVI_TRY(url.OpenInputStream()), order);
}

Result<void> BinaryReader::Open(InputStreamRef stream, ByteOrder order)
{
	TORVI_CHECK(stream, NullptrError("There is no stream to read from."));
	Result<Int> length = stream->GetStreamLength();
	TORVI_CHECK(length.IsOk() || length.GetError().GetId() == errorids::UNSUPPORTEDOPERATION, length.TakeError());
	_length = std::move(length).ValueOr(INT64_MAX);
	_stream = std::move(stream);
	_order = order;
	DropWindow(_stream->GetPosition());
	return OK;
}

Result<void> BinaryReader::Close()
{
	if (!_stream)
		return OK;
	DropWindow(0);
	const InputStreamRef stream = std::move(_stream);
	return stream->Close();
}

Int BinaryReader::GetRemaining() const
{
	return _length == INT64_MAX ? INT64_MAX : std::max<Int>(0, _length - GetPosition());
}

Result<void> BinaryReader::Seek(Int position)
{
	TORVI_CHECK(_stream, ClosedReaderError());
	TORVI_CHECK(position >= 0, IllegalArgumentError("A stream has no position @.", position));
	const Int offset = position - _windowPosition;
	if (offset >= 0 && offset <= _windowSize)
	{
		_windowOffset = offset;
		return OK;
	}
	Result<void> moved = MoveStreamTo(position);
	DropWindow(_stream->GetPosition());
	return moved;
}

Result<void> BinaryReader::Skip(Int count)
{
	TORVI_CHECK(count >= 0, IllegalArgumentError("@ bytes can not be skipped.", count));
	const Int left = std::min(GetRemaining(), INT64_MAX - GetPosition());
	TORVI_CHECK(count <= left, EndOfDataError(count - left));
	return Seek(GetPosition() + count);
}

/// Copies what the window holds, up to the size of the block.
Int BinaryReader::TakeFromWindow(Block<Byte> block) noexcept
{
	const Int count = std::min(CountOf(block), _windowSize - _windowOffset);
	if (count > 0)
		std::memcpy(block.data(), _window.data() + _windowOffset, static_cast<std::size_t>(count));
	_windowOffset += count;
	return count;
}

/// An empty window at a position of the stream.
void BinaryReader::DropWindow(Int position) noexcept
{
	_windowPosition = position;
	_windowOffset = 0;
	_windowSize = 0;
}

Result<void> BinaryReader::MoveStreamTo(Int position)
{
	const Int current = _stream->GetPosition();
	if (position == current)
		return OK;
	if (position > current && !_stream->SeekSupported())
		return _stream->Skip(position - current);
	return _stream->Seek(position);
}

/// Reads on behind a window that is used up. The stream is moved first, since an earlier read may have ended half way with an error.
Result<void> BinaryReader::FillWindow()
{
	DropWindow(GetPosition());
	TORVI_TRY(NoThrow(
		[&]() -> Result<void>
		{
			_window.resize(WINDOW_SIZE);
			return OK;
		}));
	TORVI_TRY(MoveStreamTo(_windowPosition));
	_windowSize = TORVI_TRY(_stream->ReadEOS(_window));
	return OK;
}

Result<Int> BinaryReader::ReadStraight(Block<Byte> block)
{
	DropWindow(GetPosition());
	TORVI_TRY(MoveStreamTo(_windowPosition));
	const Int count = TORVI_TRY(_stream->ReadEOS(block));
	DropWindow(_windowPosition + count);
	return count;
}

Result<Int> BinaryReader::ReadEOS(Block<Byte> block)
{
	TORVI_CHECK(_stream, ClosedReaderError());
	const Int buffered = TakeFromWindow(block);
	const Block<Byte> rest = block.subspan(static_cast<std::size_t>(buffered));
	if (rest.empty())
		return buffered;
	if (CountOf(rest) >= WINDOW_SIZE)
		return buffered + TORVI_TRY(ReadStraight(rest));
	TORVI_TRY(FillWindow());
	return buffered + TakeFromWindow(rest);
}

Result<void> BinaryReader::ReadBlock(Block<Byte> block)
{
	const Int count = TORVI_TRY(ReadEOS(block));
	TORVI_CHECK(count == CountOf(block), EndOfDataError(CountOf(block) - count));
	return OK;
}

Result<Array<Byte>> BinaryReader::ReadArray(Int count)
{
	TORVI_CHECK(count >= 0, IllegalArgumentError("@ bytes can not be read.", count));
	const Int left = GetRemaining();
	TORVI_CHECK(count <= left, EndOfDataError(count - left));
	return NoThrow(
		[&]() -> Result<Array<Byte>>
		{
			Array<Byte> bytes;
			while (CountOf(bytes) < count)
			{
				const Int done = CountOf(bytes);
				const Int step = left == INT64_MAX ? std::min(count - done, std::max(done, FIRST_ARRAY_STEP)) : count;
				bytes.resize(static_cast<std::size_t>(done + step));
				const Int read = TORVI_TRY(ReadEOS(Block<Byte>(bytes).subspan(static_cast<std::size_t>(done))));
				TORVI_CHECK(read == step, EndOfDataError(count - done - read));
			}
			return bytes;
		});
}

template <class T>
Result<T> BinaryReader::ReadNumber()
{
	if (_windowSize - _windowOffset >= Int(sizeof(T))) [[likely]]
	{
		const Byte* bytes = _window.data() + _windowOffset;
		_windowOffset += Int(sizeof(T));
		return LoadNumber<T>(bytes, _order);
	}
	Byte bytes[sizeof(T)];
	TORVI_TRY(ReadBlock(bytes));
	return LoadNumber<T>(bytes, _order);
}

Result<UChar> BinaryReader::ReadUChar()
{
	return ReadNumber<UChar>();
}

Result<UInt16> BinaryReader::ReadUInt16()
{
	return ReadNumber<UInt16>();
}

Result<UInt32> BinaryReader::ReadUInt32()
{
	return ReadNumber<UInt32>();
}

Result<UInt64> BinaryReader::ReadUInt64()
{
	return ReadNumber<UInt64>();
}

Result<Int16> BinaryReader::ReadInt16()
{
	return ReadNumber<Int16>();
}

Result<Int32> BinaryReader::ReadInt32()
{
	return ReadNumber<Int32>();
}

} // namespace torvi
