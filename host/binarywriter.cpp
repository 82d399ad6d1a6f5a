// The writer to streams. Small writes gather in a buffer; a block of the buffer's size and more goes straight to the stream.
#include "host/byteorder.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr Int BUFFER_SIZE = 65536;

} // namespace

Result<void> BinaryWriter::Open(const Url& url, ByteOrder order)
{
	return Open(TORVI_TRY(url.OpenOutputStream()), order);
}

Result<void> BinaryWriter::Open(OutputStreamRef stream, ByteOrder order)
{
	TORVI_CHECK(stream, NullptrError("There is no stream to write to."));
	_stream = std::move(stream);
	_order = order;
	_buffer.clear();
	_failure = Error();
	return OK;
}

Result<void> BinaryWriter::Close()
{
	if (!_stream)
		return OK;
	Result<void> written = WriteBuffer();
	const OutputStreamRef stream = std::move(_stream);
	_buffer.clear();
	return written.IsOk() ? stream->Close() : std::move(written); // an incomplete file is left, not closed
}

Result<void> BinaryWriter::Flush()
{
	TORVI_TRY(WriteBuffer());
	return _stream->Flush();
}

Int BinaryWriter::GetPosition() const noexcept
{
	return _stream ? _stream->GetPosition() + CountOf(_buffer) : 0;
}

Result<void> BinaryWriter::Seek(Int position)
{
	TORVI_TRY(WriteBuffer());
	return _stream->Seek(position);
}

/// Writes to the stream and remembers the first failure: what follows a gap must not look like success.
Result<void> BinaryWriter::WriteThrough(Block<const Byte> block)
{
	TORVI_CHECK(_stream, IllegalStateError("The writer has no stream."));
	TORVI_CHECK(!_failure, _failure.Share());
	Result<void> written = _stream->Write(block);
	if (!written.IsOk())
		_failure = written.GetError().Share();
	return written;
}

Result<void> BinaryWriter::WriteBuffer()
{
	TORVI_TRY(WriteThrough(_buffer));
	_buffer.clear();
	return OK;
}

Result<void> BinaryWriter::WriteBlock(Block<const Byte> block)
{
	TORVI_CHECK(_stream, IllegalStateError("The writer has no stream."));
	TORVI_CHECK(!_failure, _failure.Share());
	if (CountOf(_buffer) + CountOf(block) > BUFFER_SIZE)
		TORVI_TRY(WriteBuffer());
	if (CountOf(block) >= BUFFER_SIZE)
		return WriteThrough(block);
	return NoThrow(
		[&]() -> Result<void>
		{
			_buffer.reserve(BUFFER_SIZE);
			_buffer.insert(_buffer.end(), block.begin(), block.end());
			return OK;
		});
}

Result<void> BinaryWriter::WriteZeros(Int count)
{
	TORVI_CHECK(count >= 0, IllegalArgumentError("@ bytes can not be written.", count));
	static constexpr Byte ZEROS[4096] = {};
	for (Int left = count; left > 0; left -= Int(sizeof(ZEROS)))
		TORVI_TRY(WriteBlock(Block<const Byte>(ZEROS, static_cast<std::size_t>(std::min<Int>(left, sizeof(ZEROS))))));
	return OK;
}

template <class T>
Result<void> BinaryWriter::WriteNumber(T value)
{
	Byte bytes[sizeof(T)];
	StoreNumber(value, bytes, _order);
	return WriteBlock(bytes);
}

Result<void> BinaryWriter::WriteUChar(UChar value)
{
	return WriteNumber(value);
}

Result<void> BinaryWriter::WriteUInt16(UInt16 value)
{
	return WriteNumber(value);
}

Result<void> BinaryWriter::WriteUInt32(UInt32 value)
{
	return WriteNumber(value);
}

Result<void> BinaryWriter::WriteUInt64(UInt64 value)
{
	return WriteNumber(value);
}

Result<void> BinaryWriter::WriteInt32(Int32 value)
{
	return WriteNumber(value);
}

} // namespace torvi
