// The byte form of a profile that is a named transform of an OpenColorIO configuration: the configuration's path and two names.
//
//	0       12  "ocio_profile"
//	12      4   version, 1                       all numbers little-endian
//	16      4   P, the length of the path in bytes
//	20      1   character size of the path, 2
//	21      P   the path as the system writes it, UTF-16
//	21+P    4   A
//	25+P    A   the name, UTF-8
//	25+P+A  4   B
//	29+P+A  B   the second name, UTF-8
#pragma once

#include "host/result.h"

namespace torvi
{

struct OcioBlob
{
	String _path; ///< UTF-8; empty where the blob has none that can be read
	String _name;
	String _secondName;
};

Bool HasOcioMagic(Block<const Byte> bytes) noexcept;

/// Reads what starts with the magic. Names end at their first zero byte; a path of another character size is left out; bytes behind the
/// second name do not count. IllegalStateError "OCIO data corrupt" for short data, and for a version that is out of range.
Result<OcioBlob> ReadOcioBlob(Block<const Byte> bytes);

Array<Byte> WriteOcioBlob(const OcioBlob& blob);

} // namespace torvi
