// Picture files in fuzz targets: loading those with small pictures, and saving what was loaded.
#pragma once

#include "torvi/gfx_image.h"
#include "torvi/mediasession_session.h"

namespace torvi::fuzz
{

/// Pictures above this many bytes are left out: they take time, not new roads.
inline constexpr Int LARGEST_PICTURE = Int(4) << 20;

/// All images below a parent, each before what hangs below it: pictures, alpha channels, layers and masks.
Array<ImageBaseRef> GetImagesBelow(const HierarchyObjectInterface& parent);

/// Loads a file of any format. Null if its pictures together are large.
Result<ImageTextureRef> LoadSmallPictures(const Url& url);

/// Saves to memory.
Result<void> SavePictures(const ImageTextureRef& texture, const MediaOutputUrlRef& exporter);

} // namespace torvi::fuzz
