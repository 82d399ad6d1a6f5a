// What all streams share: the errors, reading of whole blocks, and skipping.
#include "host/stream.h"

#include <algorithm>

namespace torvi
{

namespace
{

/// The way of streams that cannot seek.
Result<void> SkipByReading(InputStreamInterface& stream, Int count)
{
	Byte scratch[4096];
	while (count > 0)
	{
		const Int wanted = std::min<Int>(count, sizeof(scratch));
		const Int read = TORVI_TRY(stream.ReadEOS(Block<Byte>(scratch, static_cast<std::size_t>(wanted))));
		TORVI_CHECK(read == wanted, EndOfDataError(count - read));
		count -= read;
	}
	return OK;
}

} // namespace

Error EndOfDataError(Int missingBytes, SourceLocation location)
{
	return IoError(ErrorMessage("The data ends @ bytes too early.", location), missingBytes);
}

Error ClosedStreamError(SourceLocation location)
{
	return IllegalStateError(ErrorMessage("The stream is closed.", location));
}

Result<Int> BaseStreamInterface::GetStreamLength() const
{
	return UnsupportedOperationError("The length of the stream is not known.");
}

Result<void> BaseStreamInterface::Seek(Int)
{
	return UnsupportedOperationError("The stream can not seek.");
}

Result<void> InputStreamInterface::Skip(Int count)
{
	TORVI_CHECK(count >= 0, IllegalArgumentError("@ bytes can not be skipped.", count));
	if (!SeekSupported())
		return SkipByReading(*this, count);
	const Int left = std::max<Int>(0, TORVI_TRY(GetStreamLength()) - GetPosition());
	TORVI_CHECK(count <= left, EndOfDataError(count - left));
	return Seek(GetPosition() + count);
}

Result<void> InputStreamInterface::ReadBlock(Block<Byte> block)
{
	const Int read = TORVI_TRY(ReadEOS(block));
	TORVI_CHECK(read == CountOf(block), EndOfDataError(CountOf(block) - read));
	return OK;
}

} // namespace torvi
