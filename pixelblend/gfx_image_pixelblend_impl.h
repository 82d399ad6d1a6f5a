// The objects of blend modes.
#pragma once

#include "host/module.h"

namespace torvi
{

/// Makes a class and an object of each mode and enters the objects in ids::REGISTRY_BLENDMODES.
Result<void> RegisterBlendModes(Module& module);

/// Declares the static functions of ImagePixelBlend.
Result<void> RegisterBlendStatic(Module& module);

} // namespace torvi
