// Which colour spaces of a configuration are sRGB and its linear light.
#pragma once

#include "platform/ocio/ocio_library.h"

namespace torvi
{

struct OcioSrgbSpaces
{
	ocio::ConstConfigRcPtr _config; ///< the configuration, or a copy of it with spaces that it lacked
	String _srgb;                   ///< empty where the configuration gives no way to it
	String _linear;
};

/// By names that are in use, by conversion of sample colours, and by the roles of the configuration; see docs/color-ocio.md. May throw what
/// the library throws.
OcioSrgbSpaces FindOcioSrgbSpaces(const ocio::ConstConfigRcPtr& config);

} // namespace torvi
