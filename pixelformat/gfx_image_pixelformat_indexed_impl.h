// Registration of the nine indexed formats, whose objects are templates with an empty table.
#pragma once

#include "host/module.h"

namespace torvi
{

Result<void> RegisterIndexedFormats(Module& module);

} // namespace torvi
