// Values of EXIF entries as typed values of the host.
#pragma once

#include "host/binaryreader.h"
#include "host/data.h"

#include <libexif/exif-entry.h>

#include <optional>

namespace torvi
{

/// The value in the type that docs/exif.md gives for the format of the entry. Empty for an entry without one.
Result<Data> MakeExifValue(const ExifEntry& entry, ByteOrder order);

/// The first of the entry's whole numbers, whatever their width, if it fits.
std::optional<UInt16> GetFirstExifUInt16(const ExifEntry& entry, ByteOrder order);

} // namespace torvi
