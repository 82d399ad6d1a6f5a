// Palettes of files: how an importer makes the indexed format of one picture.
#pragma once

#include "torvi/gfx_image_pixelformat.h"

namespace torvi
{

/// A format of the same class as the published `indexed` one, with `count` rows of `entryFormat` that lie `strideInBytes` apart in
/// `entries`. The read error if `entries` ends before.
Result<PixelFormat> MakePaletteFormat(const PixelFormat& indexed, const PixelFormat& entryFormat, Int count, Block<const Byte> entries,
									  Int strideInBytes);

} // namespace torvi
