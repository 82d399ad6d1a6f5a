// Registration of the five colour spaces.
#pragma once

#include "host/module.h"

namespace torvi
{

Result<void> RegisterColorSpaces(Module& module);

} // namespace torvi
