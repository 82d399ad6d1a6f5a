// What the module's start calls for this folder.
#pragma once

#include "host/module.h"

namespace torvi
{

/// Registers the blend modes.
Result<void> RegisterPixelBlend(Module& module);

} // namespace torvi
