// The channels of PSD and PSB files as rows of samples: plain, PackBits, and deflated with prediction. Channels lie one behind the other;
// each has a window of its own on the file, so that the rows of several can be read side by side.
#pragma once

#include "host/binaryreader.h"

namespace torvi
{

enum class PsdCompression : UInt16
{
	NONE = 0,
	PACKBITS = 1,
	ZIP = 2,
	ZIPWITHPREDICTION = 3
};

/// A stretch of a file with a position of its own. Where the file cannot seek, the whole stretch is read at once.
class PsdWindow
{
public:
	PsdWindow() = default;
	/// The bytes from `position` to `end`. The reader outlives the window.
	static Result<PsdWindow> Open(BinaryReader& reader, Int position, Int end);

	Int GetRemaining() const noexcept { return _end - _position; }
	/// The next `count` bytes, valid until the next call. The read error where the stretch or the file ends before.
	Result<Block<const Byte>> Take(Int count);
	Result<void> Skip(Int count);

private:
	Result<void> Fill(Int count);

	BinaryReader* _reader = nullptr;
	Int _position = 0; ///< of the next byte, in the file
	Int _end = 0;
	Array<Byte> _bytes;
	Int _first = 0; ///< in `_bytes`, of the byte at `_position`
	Int _count = 0; ///< bytes there
};

/// How the rows of a channel look once they are read.
struct PsdRowShape
{
	Int _rows = 0;
	Int _bytesPerRow = 0;
	Int _bytesPerSample = 1; ///< also for samples of one bit

	/// Bytes of all rows; the largest Int if they are more.
	Int GetBytes() const noexcept;
};

/// Reads `rows` packed sizes of two bytes, or of four. IllegalStateError for a row of more than twice its bytes; the read error, before
/// anything is allocated, for a table that the file has no room for.
Result<Array<UInt32>> ReadPsdRowSizes(BinaryReader& reader, Int end, const PsdRowShape& shape, Bool hasWideFields);

/// One channel, read row by row. Each way to open it checks that the file can hold the rows, before anything is made for them: the read
/// error, and IllegalStateError for a packed row that is too short.
class PsdPlane
{
public:
	/// Samples as they are, from `position` on.
	static Result<PsdPlane> OpenPlain(BinaryReader& reader, Int position, Int end, const PsdRowShape& shape);
	/// Packed rows, one behind the other.
	static Result<PsdPlane> OpenPackBits(BinaryReader& reader, Int position, Int end, const PsdRowShape& shape, Array<UInt32> rowSizes);
	/// A zip stream of rows of differences.
	static Result<PsdPlane> OpenZip(BinaryReader& reader, Int position, Int end, const PsdRowShape& shape);
	/// A channel of a layer: its compression, what that needs, and the rows. IllegalStateError for a compression that is not supported.
	static Result<PsdPlane> OpenChannel(BinaryReader& reader, Int position, Int end, const PsdRowShape& shape, Bool hasWideFields);

	/// The next row, samples in the machine's byte order. `row` has the bytes of one.
	Result<void> ReadRow(Block<Byte> row);
	/// Those of a zip stream are in memory meanwhile, so it is better to skip a few at a time.
	Result<void> SkipRows(Int count);

private:
	PsdPlane(PsdCompression compression, const PsdRowShape& shape, ByteOrder order)
		: _compression(compression), _shape(shape), _order(order)
	{
	}
	Result<void> ReadZip(Block<Byte> bytes);
	Result<void> ReadZipRow(Block<Byte> row);

	PsdCompression _compression;
	PsdRowShape _shape;
	ByteOrder _order;
	PsdWindow _window;
	Array<UInt32> _rowSizes; ///< of packed rows
	std::size_t _row = 0;    ///< the next of them
	InputStreamRef _zip;
	Array<Byte> _planes; ///< a row of floats, in planes of bytes
};

} // namespace torvi
