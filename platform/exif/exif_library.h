// The library that takes EXIF blocks apart, with its memory.
#pragma once

#include "host/result.h"

#include <libexif/exif-data.h>

#include <memory>

namespace torvi
{

struct ExifDataDeleter
{
	void operator()(ExifData* data) const noexcept { exif_data_unref(data); }
};

using ExifDataPtr = std::unique_ptr<ExifData, ExifDataDeleter>;

/// The longest block: that of a segment of a JPEG file. The library reads no byte behind it.
inline constexpr Int LONGEST_EXIF_BLOCK = 65534;

/// Takes a block apart that begins with "Exif" and two zero bytes. Nothing in it is added to or mended, and what cannot be read is left
/// out. File-format error for a block that would take many times the memory that it fills itself.
Result<ExifDataPtr> LoadExifData(Block<const Byte> block);

} // namespace torvi
