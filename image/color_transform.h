// Rewriting the pixels of an image from one profile to another.
#pragma once

#include "torvi/gfx_image.h"

namespace torvi
{

/// Converts all lines of an image in place. Only its colours change: alpha and every other channel keep their bytes. The image's stored
/// profile is the caller's to change. An image that shows its layers has nothing to convert. Bit 0 of `flags` exchanges the profiles.
/// IllegalStateError without colour conversion; the errors of the conversion and of the image's handlers, after which the lines above are
/// converted already.
Result<void> TransformImageColors(ImageBaseInterface& image, const ColorProfile& srcProfile, const ColorProfile& dstProfile, UInt32 flags);

} // namespace torvi
