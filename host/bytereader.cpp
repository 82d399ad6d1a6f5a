// The reader over bytes in memory.
#include "host/byteorder.h"

namespace torvi
{

Result<Block<const Byte>> ByteReader::Take(Int count)
{
	TORVI_CHECK(count >= 0, IllegalArgumentError("@ bytes can not be read.", count));
	TORVI_CHECK(count <= GetRemaining(), EndOfDataError(count - GetRemaining()));
	const Block<const Byte> taken = _bytes.subspan(static_cast<std::size_t>(_position), static_cast<std::size_t>(count));
	_position += count;
	return taken;
}

Result<ByteReader> ByteReader::TakeChunk(Int count)
{
	return ByteReader(TORVI_TRY(Take(count)), _order);
}

template <class T>
Result<T> ByteReader::ReadNumber()
{
	return LoadNumber<T>(TORVI_TRY(Take(sizeof(T))).data(), _order);
}

Result<UChar> ByteReader::ReadUChar()
{
	return ReadNumber<UChar>();
}

Result<UInt16> ByteReader::ReadUInt16()
{
	return ReadNumber<UInt16>();
}

Result<UInt32> ByteReader::ReadUInt32()
{
	return ReadNumber<UInt32>();
}

Result<UInt64> ByteReader::ReadUInt64()
{
	return ReadNumber<UInt64>();
}

Result<Int16> ByteReader::ReadInt16()
{
	return ReadNumber<Int16>();
}

Result<Int32> ByteReader::ReadInt32()
{
	return ReadNumber<Int32>();
}

} // namespace torvi
