// Registration of everything in this folder.
#pragma once

#include "host/module.h"

namespace torvi
{

/// Data types, colour spaces, channels, groups, formats and the map of channel lists. g_torvi must point at the module's host; profiles are
/// looked up when they are asked for and may be registered before or after.
Result<void> RegisterPixelFormats(Module& module);

} // namespace torvi
