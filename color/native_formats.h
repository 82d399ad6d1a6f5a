// The pixel formats that lcms2 reads and writes directly.
#pragma once

#include "torvi/gfx_image_pixelformat.h"

#include <lcms2.h>

namespace torvi
{

/// The word that describes a format to lcms2. IllegalStateError "Unsupported color conversion pixel format @." for the others.
Result<cmsUInt32Number> GetLcmsFormat(const PixelFormat& format);

/// The format that comes closest among those: of the same model, with channels of the same size, with alpha where the format has alpha.
/// IllegalArgumentError "No compatible color profile conversion pixel format found for: @.".
Result<PixelFormat> FindNearestNativeFormat(const PixelFormat& format);

/// Whether lcms2 takes inks of this format in percent, where the format has 0 to 1.
Bool IsInkInFloats(cmsUInt32Number lcmsFormat) noexcept;

} // namespace torvi
