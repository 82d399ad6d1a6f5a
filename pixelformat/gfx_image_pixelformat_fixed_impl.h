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

/// The same, only if the channels lie where the packed layout has them.
std::optional<FixedFormat> FixedFormatInDefaultLayout(const PixelFormat& format, const ChannelOffsets& offsets);

Result<void> RegisterFixedFormats(Module& module);

} // namespace torvi
