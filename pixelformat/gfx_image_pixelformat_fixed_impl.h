// The fixed interleaved formats as objects: which of them a format is, and their registration.
#pragma once

#include "host/module.h"
#include "pixelformat/fixed_formats.h"
#include "torvi/gfx_image_pixelformat.h"

#include <optional>

namespace torvi
{

/// Which fixed format this is; empty for all others.
std::optional<FixedFormat> FixedFormatOf(const PixelFormat& format);

Result<void> RegisterFixedFormats(Module& module);

} // namespace torvi
