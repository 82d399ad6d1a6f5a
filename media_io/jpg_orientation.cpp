// Placing of rows.
#include "media_io/jpg_orientation.h"

#include <algorithm>
#include <cstring>

namespace torvi
{

namespace
{

/// Copies neighbours to the same place of one line after the other.
template <Int SIZE>
void SpreadPixels(const Byte* source, Byte* target, Int targetDistance, Int count)
{
	for (Int i = 0; i < count; ++i)
		std::memcpy(target + i * targetDistance, source + i * SIZE, SIZE);
}

} // namespace

JpgPlacement GetJpgPlacement(UInt16 orientation)
{
	static constexpr JpgPlacement PLACEMENTS[] = {
		{false, false, false}, // 1: upright
		{true, false, false},  // 2
		{true, true, false},   // 3: upside down
		{false, true, false},  // 4
		{false, false, true},  // 5
		{false, true, true},   // 6: turned to the right
		{true, true, true},    // 7
		{true, false, true},   // 8: turned to the left
	};
	return orientation >= 1 && orientation <= std::size(PLACEMENTS) ? PLACEMENTS[orientation - 1] : PLACEMENTS[0];
}

JpgOrientationWriter::JpgOrientationWriter(PixelSink& sink, const JpgPlacement& placement, Int width, Int height, Int bytesPerPixel)
	: _sink(sink), _placement(placement), _width(width), _height(height), _bytesPerPixel(bytesPerPixel)
{
	_rows.resize(static_cast<std::size_t>(GetBytesPerRow() * (_placement._isTransposed ? _height : BATCH)));
}

Block<Byte*> JpgOrientationWriter::PointAtRows(Int row)
{
	const Int count = std::min(BATCH, _height - row);
	Byte* first = _rows.data() + (_placement._isTransposed ? row * GetBytesPerRow() : 0);
	for (Int i = 0; i < count; ++i)
		_pointers[static_cast<std::size_t>(i)] = first + i * GetBytesPerRow();
	return Block<Byte*>(_pointers).first(static_cast<std::size_t>(count));
}

Result<void> JpgOrientationWriter::SetRows(Int row, Int count)
{
	for (Int i = 0; i < count && !_placement._isTransposed; ++i)
		TORVI_TRY(SetRow(row + i, _rows.data() + i * GetBytesPerRow()));
	return OK;
}

Result<void> JpgOrientationWriter::SetRow(Int row, const Byte* pixels)
{
	const Int y = _placement._isBottomUp ? _height - 1 - row : row;
	if (_placement._isMirrored)
		return _sink.SetLine(y, pixels + (_width - 1) * _bytesPerPixel, -8 * _bytesPerPixel);
	return _sink.SetLine(y, pixels, 8 * _bytesPerPixel);
}

/// Makes lines of `count` columns.
void JpgOrientationWriter::CopyColumns(Int first, Int count, Byte* lines, Int lineDistance) const
{
	const auto spread = _bytesPerPixel == 1 ? &SpreadPixels<1> : _bytesPerPixel == 3 ? &SpreadPixels<3> : &SpreadPixels<4>;
	for (Int row = 0; row < _height; ++row)
	{
		const Int x = _placement._isBottomUp ? _height - 1 - row : row;
		spread(_rows.data() + row * GetBytesPerRow() + first * _bytesPerPixel, lines + x * _bytesPerPixel, lineDistance, count);
	}
}

/// Columns become lines, some at once, since neighbours in a row lie in one piece of the cache. The lines do not begin a power of two
/// apart, where they would drive each other out of it.
Result<void> JpgOrientationWriter::Finish()
{
	constexpr Int GAP = 64;
	if (!_placement._isTransposed)
		return OK;
	const Int lineDistance = _height * _bytesPerPixel + GAP;
	Array<Byte> lines(static_cast<std::size_t>(BATCH * lineDistance));
	for (Int first = 0; first < _width; first += BATCH)
	{
		const Int count = std::min(BATCH, _width - first);
		CopyColumns(first, count, lines.data(), lineDistance);
		for (Int i = 0; i < count; ++i)
		{
			const Int y = _placement._isMirrored ? _width - 1 - (first + i) : first + i;
			TORVI_TRY(_sink.SetLine(y, lines.data() + i * lineDistance, 8 * _bytesPerPixel));
		}
	}
	return OK;
}

} // namespace torvi
