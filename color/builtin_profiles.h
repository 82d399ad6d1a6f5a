// The profiles that every module has.
#pragma once

#include "torvi/gfx_image_colorprofile.h"

namespace torvi
{

class Module;

/// Makes the built-in profiles and enters them in ids::REGISTRY_COLORPROFILES. Out-of-memory error where lcms2 does not make one.
Result<void> RegisterBuiltInProfiles(Module& module);

} // namespace torvi
