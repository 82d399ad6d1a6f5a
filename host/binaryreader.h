// The binary reader and writer of file formats: numbers in either byte order over a stream, and the reader over bytes in memory. Only
// these do arithmetic on positions of file bytes; all of them check before they touch.
#pragma once

#include "host/url.h"

namespace torvi
{

enum class ByteOrder
{
	BIGENDIAN = 1,
	LITTLEENDIAN = 2
};

/// Reads one chunk or packet in memory. It owns nothing. Every read behind the end is the read error and moves nothing.
class TORVI_EXPORT ByteReader
{
public:
	explicit ByteReader(Block<const Byte> bytes, ByteOrder order = ByteOrder::LITTLEENDIAN) noexcept : _bytes(bytes), _order(order) {}

	Int GetPosition() const noexcept { return _position; }
	Int GetRemaining() const noexcept { return CountOf(_bytes) - _position; }
	void SetByteOrder(ByteOrder order) noexcept { _order = order; }

	/// The next `count` bytes, in place.
	Result<Block<const Byte>> Take(Int count);
	/// A reader of the next `count` bytes that cannot leave them; this one is past them.
	Result<ByteReader> TakeChunk(Int count);
	Result<UChar> ReadUChar();
	Result<UInt16> ReadUInt16();
	Result<UInt32> ReadUInt32();
	Result<UInt64> ReadUInt64();
	Result<Int16> ReadInt16();
	Result<Int32> ReadInt32();

private:
	template <class T>
	Result<T> ReadNumber();

	Block<const Byte> _bytes;
	Int _position = 0;
	ByteOrder _order;
};

/// Reads a stream through a window of its own. Positions are absolute. Works on streams that cannot seek as long as nothing behind is
/// asked for.
class TORVI_EXPORT BinaryReader
{
public:
	BinaryReader() noexcept = default;

	/// Opens the Url, or takes the stream from where it stands. An earlier stream is dropped, not closed.
	Result<void> Open(const Url& url, ByteOrder order);
	Result<void> Open(InputStreamRef stream, ByteOrder order);
	Bool IsOpen() const noexcept { return static_cast<bool>(_stream); }
	/// Closes the stream and drops it; success if none is open.
	Result<void> Close();
	/// Whether any position can be sought, also behind.
	Bool CanSeek() const { return _stream && _stream->SeekSupported(); }

	void SetByteOrder(ByteOrder order) noexcept { _order = order; }
	ByteOrder GetByteOrder() const noexcept { return _order; }

	Int GetPosition() const noexcept { return _windowPosition + _windowOffset; }
	/// Bytes from here to the end. Where the stream does not know its length, the largest Int.
	Int GetRemaining() const;
	Result<void> Seek(Int position);
	/// Illegal-argument error for a negative count; skipping over the end is the read error.
	Result<void> Skip(Int count);

	Result<UChar> ReadUChar();
	Result<UInt16> ReadUInt16();
	Result<UInt32> ReadUInt32();
	Result<UInt64> ReadUInt64();
	Result<Int16> ReadInt16();
	Result<Int32> ReadInt32();
	/// The whole block, or the read error.
	Result<void> ReadBlock(Block<Byte> block);
	/// As many bytes as there are; the count read.
	Result<Int> ReadEOS(Block<Byte> block);
	/// `count` bytes in an array. Compares with what is left before it allocates.
	Result<Array<Byte>> ReadArray(Int count);

private:
	template <class T>
	Result<T> ReadNumber();
	Int TakeFromWindow(Block<Byte> block) noexcept;
	void DropWindow(Int position) noexcept;
	Result<void> MoveStreamTo(Int position);
	Result<void> FillWindow();
	Result<Int> ReadStraight(Block<Byte> block);

	InputStreamRef _stream;
	ByteOrder _order = ByteOrder::LITTLEENDIAN;
	Int _length = INT64_MAX;
	Array<Byte> _window;
	Int _windowPosition = 0; ///< position of the window's first byte in the stream
	Int _windowOffset = 0;   ///< next byte to read, from the window's start
	Int _windowSize = 0;
};

/// Writes to a stream through a buffer. What is still buffered when the writer goes is lost; only Flush and Close make sure of it, and
/// report failures. After a failed write all further writes, Flush and Close give its error again.
class TORVI_EXPORT BinaryWriter
{
public:
	BinaryWriter() noexcept = default;

	Result<void> Open(const Url& url, ByteOrder order);
	Result<void> Open(OutputStreamRef stream, ByteOrder order);
	Bool IsOpen() const noexcept { return static_cast<bool>(_stream); }
	/// Flushes and closes; the first failure of both. Success if none is open.
	Result<void> Close();
	Result<void> Flush();

	void SetByteOrder(ByteOrder order) noexcept { _order = order; }
	Int GetPosition() const noexcept;
	/// Writes what is buffered first.
	Result<void> Seek(Int position);

	Result<void> WriteUChar(UChar value);
	Result<void> WriteUInt16(UInt16 value);
	Result<void> WriteUInt32(UInt32 value);
	Result<void> WriteUInt64(UInt64 value);
	Result<void> WriteInt32(Int32 value);
	Result<void> WriteBlock(Block<const Byte> block);
	/// `count` bytes of 0.
	Result<void> WriteZeros(Int count);

private:
	template <class T>
	Result<void> WriteNumber(T value);
	Result<void> WriteThrough(Block<const Byte> block);
	Result<void> WriteBuffer();

	OutputStreamRef _stream;
	ByteOrder _order = ByteOrder::LITTLEENDIAN;
	Array<Byte> _buffer;
	Error _failure; ///< of the first write that went wrong
};

} // namespace torvi
