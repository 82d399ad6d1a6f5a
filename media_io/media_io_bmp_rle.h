// The run-length schemes of BMP files, as a pure function from the encoded block to rows of indices. Reading files stands in
// media_io_bmp.cpp.
#pragma once

#include "host/result.h"

namespace torvi
{

enum class BmpRleScheme
{
	NIBBLES, ///< 4 bits per pixel, the first pixel of a byte in its high nibble
	BYTES,   ///< 8 bits per pixel
};

/// Decodes one block row by row.
class BmpRleDecoder
{
public:
	BmpRleDecoder(Block<const Byte> data, BmpRleScheme scheme) noexcept : _data(data), _scheme(scheme) {}

	/// Decodes the next row into `row`, which must be all 0, and gives the number of rows that the file goes on by: 1, or more where it
	/// skips rows; the decoded row is the last of them. A row ends by its mark, by a move to another row, or by a pixel behind the end of
	/// `row`, of which the rest is dropped. MediaSessionWrongTypeError "Illegal RLE compression (cropped data)." where the block ends too
	/// early, and "Illegal RLE compression (missing data)." for the mark of the picture's end before the last row.
	Result<Int> DecodeRow(Block<Byte> row, Bool isLastRow);

private:
	Result<Byte> Read();
	Result<Bool> Run(Block<Byte> row, Int count);
	Result<Bool> Literals(Block<Byte> row, Int count);
	Result<Bool> LiteralBytes(Block<Byte> row, Int count);
	Result<Bool> LiteralNibbles(Block<Byte> row, Int count);
	Bool Put(Block<Byte> row, Byte value) noexcept;
	void SkipPad() noexcept;

	Block<const Byte> _data;
	BmpRleScheme _scheme;
	Int _position = 0; ///< next byte of the block
	Int _x = 0;        ///< next pixel of the row
};

} // namespace torvi
