// SHA-256 (FIPS 180-4), for the digests that sample files are checked by.
#pragma once

#include "host/types.h"

#include <string>

namespace torvi::test
{

/// 64 lower-case hexadecimal digits.
std::string Sha256(Block<const Byte> bytes);

} // namespace torvi::test
