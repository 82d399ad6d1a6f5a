// CRC-32C (Castagnoli, RFC 3720 appendix B.4): the identity of a colour profile's content.
#pragma once

#include "host/types.h"

namespace torvi
{

/// Initial value 0xFFFFFFFF, result inverted; 0 for no bytes.
UInt32 Crc32c(Block<const Byte> bytes) noexcept;

} // namespace torvi
