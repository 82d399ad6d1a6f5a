// What the module's start calls for this folder.
#pragma once

#include "host/module.h"

namespace torvi
{

/// Registers the services that this build has.
Result<void> RegisterPlatform(Module& module);

} // namespace torvi
