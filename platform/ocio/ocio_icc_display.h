// ICC display profiles as displays of a configuration.
#pragma once

#include "platform/ocio/ocio_library.h"

namespace torvi
{

/// A copy of the configuration with a display, and a colour space of the same name, made from the ICC file at the absolute path.
/// `linear` is the colour space of linear sRGB, over which a configuration without display-referred spaces reaches the display.
/// Throws what the library throws, also for profiles that it cannot use: those that are not RGB, or have tables in place of curves.
ocio::ConstConfigRcPtr AddOcioIccDisplay(const ocio::ConstConfigRcPtr& config, const char* name, const char* iccPath, const char* linear);

} // namespace torvi
