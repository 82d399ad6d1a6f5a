// Expansion of PackBits. Where a longest run fits on both sides, runs are moved in whole pieces that may write behind their end, which the
// next run overwrites; the last bytes of a row go run by run.
#include "media_io/packbits.h"

#include <algorithm>
#include <cstring>

namespace torvi
{

namespace
{

constexpr Byte NO_OPERATION = 128;
constexpr Int LONGEST_RUN = 128;
constexpr Int PIECE = 32; ///< bytes that are moved at once

constexpr Int LiteralLength(Byte control)
{
	return control + 1;
}

constexpr Int RepeatLength(Byte control)
{
	return 257 - control;
}

/// Copies `length` bytes, up to LONGEST_RUN, and up to a piece more.
void CopyPieces(Byte* to, const Byte* from, Int length) noexcept
{
	for (Int done = 0; done < length; done += PIECE)
		std::memcpy(to + done, from + done, PIECE);
}

void FillPieces(Byte* to, Byte value, Int length) noexcept
{
	for (Int done = 0; done < length; done += PIECE)
		std::memset(to + done, value, PIECE);
}

/// The runs for which whole pieces fit.
PackBitsProgress ExpandPieces(Block<const Byte> packed, Block<Byte> row) noexcept
{
	const Byte* from = packed.data();
	const Byte* const lastFrom = from + packed.size() - (1 + LONGEST_RUN);
	Byte* to = row.data();
	Byte* const lastTo = to + row.size() - LONGEST_RUN;
	while (from <= lastFrom && to <= lastTo)
	{
		const Byte control = *from++;
		if (control < NO_OPERATION)
		{
			CopyPieces(to, from, LiteralLength(control));
			from += LiteralLength(control);
			to += LiteralLength(control);
		}
		else if (control > NO_OPERATION)
		{
			FillPieces(to, *from++, RepeatLength(control));
			to += RepeatLength(control);
		}
	}
	return {from - packed.data(), to - row.data()};
}

} // namespace

PackBitsProgress ExpandPackBits(Block<const Byte> packed, Block<Byte> row) noexcept
{
	const Int packedSize = CountOf(packed);
	const Int rowSize = CountOf(row);
	PackBitsProgress done;
	if (packedSize > LONGEST_RUN && rowSize >= LONGEST_RUN)
		done = ExpandPieces(packed, row);
	while (done._consumed < packedSize && done._written < rowSize)
	{
		const Byte control = packed[static_cast<std::size_t>(done._consumed++)];
		if (control == NO_OPERATION)
			continue;
		const Bool isLiteral = control < NO_OPERATION;
		const Int taken = std::min(isLiteral ? LiteralLength(control) : 1, packedSize - done._consumed);
		const Int length = std::min(isLiteral ? taken : taken * RepeatLength(control), rowSize - done._written);
		Byte* const to = row.data() + done._written;
		const Byte* const from = packed.data() + done._consumed;
		if (isLiteral)
			std::copy_n(from, length, to);
		else if (length > 0)
			std::fill_n(to, length, *from);
		done._consumed += taken;
		done._written += length;
	}
	return done;
}

Result<void> ExpandPackBitsRow(Block<const Byte> packed, Block<Byte> row)
{
	const PackBitsProgress done = ExpandPackBits(packed, row);
	TORVI_CHECK(done._written == CountOf(row), IllegalStateError("A packed row ends @ bytes too early.", CountOf(row) - done._written));
	for (const Byte rest : packed.subspan(static_cast<std::size_t>(done._consumed)))
		TORVI_CHECK(rest == NO_OPERATION, IllegalStateError("A packed row goes on behind its last pixel."));
	return OK;
}

} // namespace torvi
