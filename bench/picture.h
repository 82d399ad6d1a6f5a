// Pictures for the measurements.
#pragma once

#include "bench/measure.h"
#include "torvi/gfx_image.h"

namespace torvi::bench
{

/// An image in normal storage, zero.
Result<ImageRef> MakeImage(const PixelFormat& format, Int width, Int height);

/// A texture of one image, with noise in it.
Result<ImageTextureRef> MakeTexture(const PixelFormat& format, Int width, Int height);

/// A square texture of one image in rgb.u8 that compresses as photographs do: smooth shapes, edges, and a little grain.
Result<ImageTextureRef> MakePhotograph(Int side);

} // namespace torvi::bench
