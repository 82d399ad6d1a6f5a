// Dynamic formats: the registration of their class and declared objects, and of the map of all lists of channels.
#pragma once

#include "host/module.h"

namespace torvi
{

/// The class and the sixteen declared formats.
Result<void> RegisterDynamicFormats(Module& module);

/// Declares FindOrCreatePixelFormat and enters all formats that are registered. Formats that are registered later are not found by their
/// channels.
Result<void> RegisterPixelFormatMap(Module& module);

} // namespace torvi
