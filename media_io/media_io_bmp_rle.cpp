// Run-length decoding of BMP rows. A pair of bytes is a run, or begins a mark, a move or a list of literal pixels.
#include "media_io/media_io_bmp_rle.h"

#include "torvi/mediasession_errors.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr Byte END_OF_ROW = 0;
constexpr Byte END_OF_BITMAP = 1;
constexpr Byte DELTA = 2;

} // namespace

Result<Byte> BmpRleDecoder::Read()
{
	TORVI_CHECK(_position < CountOf(_data), MediaSessionWrongTypeError("Illegal RLE compression (cropped data)."));
	return _data[static_cast<std::size_t>(_position++)];
}

/// Literals fill whole 16-bit words; a pad behind the end of the block is not missed.
void BmpRleDecoder::SkipPad() noexcept
{
	_position = std::min(_position + 1, CountOf(_data));
}

/// Writes one pixel; false if it lies behind the row.
Bool BmpRleDecoder::Put(Block<Byte> row, Byte value) noexcept
{
	const Int index = _scheme == BmpRleScheme::BYTES ? _x : _x >> 1;
	if (index >= CountOf(row))
		return false;
	Byte& target = row[static_cast<std::size_t>(index)];
	if (_scheme == BmpRleScheme::BYTES)
		target = value;
	else
		target = static_cast<Byte>((_x & 1) != 0 ? (target & 0xF0) | (value & 0x0F) : (target & 0x0F) | (value << 4));
	++_x;
	return true;
}

/// The pixels of a run, and below those of literals: false when the row is over.
Result<Bool> BmpRleDecoder::Run(Block<Byte> row, Int count)
{
	const Byte value = TORVI_TRY(Read());
	for (Int i = 0; i < count; ++i)
	{
		const Bool isHighNibble = _scheme == BmpRleScheme::NIBBLES && (i & 1) == 0;
		if (!Put(row, isHighNibble ? static_cast<Byte>(value >> 4) : value))
			return false;
	}
	return true;
}

Result<Bool> BmpRleDecoder::Literals(Block<Byte> row, Int count)
{
	return _scheme == BmpRleScheme::BYTES ? LiteralBytes(row, count) : LiteralNibbles(row, count);
}

Result<Bool> BmpRleDecoder::LiteralBytes(Block<Byte> row, Int count)
{
	for (Int i = 0; i < count; ++i)
	{
		if (!Put(row, TORVI_TRY(Read())))
			return false;
	}
	if ((count & 1) != 0)
		SkipPad();
	return true;
}

/// Takes two bytes, four pixels, at a time.
Result<Bool> BmpRleDecoder::LiteralNibbles(Block<Byte> row, Int count)
{
	for (Int done = 0; done < count; done += 4)
	{
		const Int left = std::min<Int>(count - done, 4);
		const Byte first = TORVI_TRY(Read());
		const Byte second = left > 2 ? TORVI_TRY(Read()) : Byte(0);
		const Byte pixels[] = {static_cast<Byte>(first >> 4), first, static_cast<Byte>(second >> 4), second};
		for (Int i = 0; i < left; ++i)
		{
			if (!Put(row, pixels[i]))
				return false;
		}
		if (left <= 2)
			SkipPad();
	}
	return true;
}

Result<Int> BmpRleDecoder::DecodeRow(Block<Byte> row, Bool isLastRow)
{
	_x = 0;
	Bool isInside = true;
	while (isInside)
	{
		const Byte count = TORVI_TRY(Read());
		if (count != 0)
		{
			isInside = TORVI_TRY(Run(row, count));
			continue;
		}
		const Byte code = TORVI_TRY(Read());
		if (code == END_OF_ROW)
			break;
		if (code == END_OF_BITMAP)
		{
			TORVI_CHECK(isLastRow, MediaSessionWrongTypeError("Illegal RLE compression (missing data)."));
			break;
		}
		if (code == DELTA)
		{
			_x += TORVI_TRY(Read());
			const Int rows = TORVI_TRY(Read());
			if (rows != 0)
				return rows;
			continue;
		}
		isInside = TORVI_TRY(Literals(row, code));
	}
	return 1;
}

} // namespace torvi
