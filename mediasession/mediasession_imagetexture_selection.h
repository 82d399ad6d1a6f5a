// Which streams a load into a texture takes.
#pragma once

#include "torvi/mediasession_session.h"

namespace torvi
{

/// A handler for a load with this storage class and this layer set, which may be null and is copied. No-data storage takes structure and
/// EXIF alone. A layer set takes the one picture that it names, by name or as "#1", "#2" and so on without regard to case; one that names
/// none takes the first.
Result<MediaSelectionHandler> MakeTextureSelectionHandler(const Class& storageClass, const LayerSet* layerSet);

} // namespace torvi
