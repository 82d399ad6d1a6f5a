// What the image folder enters in the host, in order.
#pragma once

#include "host/module.h"

namespace torvi
{

/// Storages, image classes and the data types of images. Pixel formats may come earlier or later.
Result<void> RegisterImages(Module& module);

// The steps of RegisterImages.
Result<void> RegisterImageDataTypes(Module& module);
Result<void> RegisterNormalStorage(Module& module);
Result<void> RegisterNoDataStorage(Module& module);
Result<void> RegisterImageBase(Module& module);
Result<void> RegisterImage(Module& module);
Result<void> RegisterImageLayer(Module& module);
Result<void> RegisterImageTexture(Module& module);

} // namespace torvi
