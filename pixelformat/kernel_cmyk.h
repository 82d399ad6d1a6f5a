// CMYK without a colour profile. Between its formats inks are moved from type to type, where the polarity changes as their complement, ~v
// or 1 - v in the source's type. From and to RGB values enter as float32, are computed in float32 in the order in which the steps are
// written, and leave as between fixed formats:
//   K = 1 - max(r, g, b), w = 1 - K, C = (1 - r - K) / w and so on, or 0 where w is 0
//   r = (1 - C) * (1 - K) and so on
// Inverted formats hold 1 minus each of these. Alpha goes from type to type as between fixed formats.
#pragma once

#include "pixelformat/fixed_plan.h"

namespace torvi
{

/// The plans from and to a fixed format. Empty but for the fourteen partners, which have red, green and blue.
std::optional<ConversionPlan> CmykPlanFrom(const CmykPlaces& destination, const FixedPlaces& source);
std::optional<ConversionPlan> CmykPlanTo(const FixedPlaces& destination, const CmykPlaces& source);

/// The plan of a change of polarity. Both formats have alpha, or none has.
ConversionPlan CmykComplementPlan(const CmykPlaces& destination, const CmykPlaces& source);

/// The conversion in one polarity. Both formats have alpha, or none has.
ChannelProgram CmykProgramBetween(const CmykPlaces& destination, const CmykPlaces& source);

} // namespace torvi
