// Numbers from and to bytes in either order, without regard to the processor's own.
#pragma once

#include "host/binaryreader.h"

#include <type_traits>

namespace torvi
{

/// The number in the first sizeof(T) bytes.
template <class T>
T LoadNumber(const Byte* bytes, ByteOrder order) noexcept
{
	UInt64 value = 0;
	for (std::size_t i = 0; i < sizeof(T); ++i)
		value = value << 8 | bytes[order == ByteOrder::BIGENDIAN ? i : sizeof(T) - 1 - i];
	return static_cast<T>(value);
}

/// Stores into the first sizeof(T) bytes.
template <class T>
void StoreNumber(T number, Byte* bytes, ByteOrder order) noexcept
{
	UInt64 value = static_cast<std::make_unsigned_t<T>>(number);
	for (std::size_t i = 0; i < sizeof(T); ++i, value >>= 8)
		bytes[order == ByteOrder::BIGENDIAN ? sizeof(T) - 1 - i : i] = static_cast<Byte>(value);
}

} // namespace torvi
