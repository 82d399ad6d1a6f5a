// The registration of the host's own data types, classes and services, which comes before that of all other folders.
#pragma once

#include "host/module.h"

namespace torvi
{

/// Enters everything of this folder, and what it undoes at the end of the module.
TORVI_EXPORT Result<void> RegisterHost(Module& module);

} // namespace torvi
