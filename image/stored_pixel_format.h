// The id under which a stored image names its pixel format, and the way back.
#pragma once

#include "torvi/gfx_image_pixelformat.h"

namespace torvi
{

/// The class id, which stands for one format; for formats of a list of channels, which share a class, the id in their registry. A colour
/// table is not part of the id. IllegalStateError "Illegal pixel format: @." for a format that no group lists.
Result<Id> GetStoredFormatId(const PixelFormat& format);

/// The format by class id, then by registry id, then by the list of channels in braces, from which a format is made if none has been yet.
/// IllegalStateError "Illegal pixel format: @.".
Result<PixelFormat> FindStoredFormat(const Id& id);

} // namespace torvi
