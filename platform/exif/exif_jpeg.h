// Where a JPEG file keeps its EXIF data.
#pragma once

#include "host/url.h"

namespace torvi
{

/// The data of the first APP1 segment that begins with "Exif". File-format error for a file that is no JPEG or has none, the read error
/// for one that ends before.
Result<Array<Byte>> ReadExifOfJpeg(const Url& url);

} // namespace torvi
