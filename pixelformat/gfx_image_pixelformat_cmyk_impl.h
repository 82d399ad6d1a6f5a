// Registration of the twelve CMYK formats.
#pragma once

#include "host/module.h"

namespace torvi
{

Result<void> RegisterCmykFormats(Module& module);

} // namespace torvi
