// What the module's start calls for this folder.
#pragma once

#include "host/module.h"

namespace torvi
{

/// Starts lcms2 and registers colour profiles.
Result<void> RegisterColor(Module& module);

} // namespace torvi
