// What a layer set selects below one image.
#pragma once

#include "torvi/gfx_image.h"

namespace torvi
{

/// In mode LAYERS the children of the image that hold a selected layer, bottom first; in the other modes the one alpha channel or mask,
/// with the first one in the place of a name that is not found. Empty: the image as a whole. The errors are those of reading names. May
/// throw std::bad_alloc.
Result<Array<ImageBaseRef>> SelectFromImage(const ImageBaseInterface& image, const LayerSet& layerSet);

} // namespace torvi
