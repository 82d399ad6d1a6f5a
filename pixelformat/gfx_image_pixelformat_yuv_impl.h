// Registration of the two YUV formats.
#pragma once

#include "host/module.h"

namespace torvi
{

Result<void> RegisterYuvFormats(Module& module);

} // namespace torvi
