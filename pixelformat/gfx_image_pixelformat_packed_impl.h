// Registration of the ten packed formats of 16 bits.
#pragma once

#include "host/module.h"

namespace torvi
{

Result<void> RegisterPackedFormats(Module& module);

} // namespace torvi
