// Registration of RGBE.
#pragma once

#include "host/module.h"

namespace torvi
{

Result<void> RegisterRgbeFormat(Module& module);

} // namespace torvi
