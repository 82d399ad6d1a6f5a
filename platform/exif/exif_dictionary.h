// From the bytes of an EXIF block to a dictionary of its tags; docs/exif.md tells what stands in it.
#pragma once

#include "host/data.h"

namespace torvi
{

/// The four letters that a segment or a block begins with, and two more bytes.
Bool HasExifHead(Block<const Byte> data) noexcept;

/// Adds the tags of a block to an empty dictionary. `data` is a TIFF structure, with or without "Exif" and two bytes before it; what lies
/// behind 64 KiB is not read. File-format error for other data, for a block without one readable tag, and for one that takes far more
/// memory than its length.
Result<void> ReadExifTags(Block<const Byte> data, DataDictionaryObjectImpl& tags);

} // namespace torvi
