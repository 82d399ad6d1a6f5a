// PackBits, the run-length scheme of bytes that many formats share, as pure functions on blocks. A control byte below 128 is followed by so
// many literal bytes and one more; above 128, 257 less the control byte is how often the next byte stands; 128 does nothing.
#pragma once

#include "host/result.h"

namespace torvi
{

/// How far an expansion came.
struct PackBitsProgress
{
	Int _consumed = 0; ///< bytes of the packed block
	Int _written = 0;  ///< bytes of the row
};

/// Expands until the row is full or the packed bytes end. A run that is longer than the row is cut, and consumed whole as far as it is
/// there; one whose bytes are missing at the end gives those that are there. `packed` and `row` do not overlap.
PackBitsProgress ExpandPackBits(Block<const Byte> packed, Block<Byte> row) noexcept;

/// Expands bytes that hold exactly one row; only bytes of 128 may follow what fills it. IllegalStateError for a row that is not filled, and
/// for anything else behind it.
Result<void> ExpandPackBitsRow(Block<const Byte> packed, Block<Byte> row);

} // namespace torvi
