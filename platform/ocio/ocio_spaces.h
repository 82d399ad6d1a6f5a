// Adding colour spaces to a configuration that are defined by those it has.
#pragma once

#include "platform/ocio/ocio_library.h"

namespace torvi
{

/// sRGB (IEC 61966-2-1) to linear light; `TRANSFORM_DIR_INVERSE` for the way back. Goes on in a straight line below 0, as the curve above
/// 1.
ocio::TransformRcPtr MakeSrgbCurve(ocio::TransformDirection direction);

/// Between linear light of sRGB's primaries and what OpenColorIO's interchange spaces are: CIE XYZ, and the ACES2065-1 primaries.
ocio::TransformRcPtr MakeMatrixFromXyz();
ocio::TransformRcPtr MakeMatrixToAces();

/// Adds a colour space from which `toBase` leads to `base`.
void AddSpaceOver(ocio::Config& config, const char* name, const ocio::ColorSpace& base, const ocio::TransformRcPtr& toBase);

/// `name`, or with a number behind it where a colour space, role, transform or display has that name.
String MakeUniqueSpaceName(const ocio::Config& config, std::string_view name);

} // namespace torvi
