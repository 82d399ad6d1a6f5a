// The pixels of a cell of a contact sheet, read through the library line by line and made small at once.
#pragma once

#include "tools/sheet_cells.h"

namespace torvi::tool
{

/// A thumbnail of the cell's whole frame, in sRGB, of the size that is asked for: none larger than the frame's. Folders are composed. Masks
/// and alpha channels are opaque grey, masks with the value that holds around them. A filter, or a frame without pixels, gives an empty
/// one. The errors are those of reading; operation-cancelled after Ctrl-C.
Result<Thumbnail> ReadThumbnail(const Cell& cell, const DrawDimensionInt& size);

} // namespace torvi::tool
