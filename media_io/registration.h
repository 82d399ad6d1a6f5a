// The start of the media formats.
#pragma once

#include "host/module.h"

namespace torvi
{

/// Registers all file formats with their importers and exporters.
Result<void> RegisterMediaFormats(Module& module);

} // namespace torvi
