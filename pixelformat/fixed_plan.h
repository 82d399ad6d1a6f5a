// Conversion plans between fixed formats: every one of the 50 to every one of them, in any layout.
#pragma once

#include "pixelformat/format_places.h"
#include "pixelformat/kernel_copy.h"

namespace torvi
{

/// The rules from one fixed format to another, by channel of the destination. An unused channel becomes zero, also in the same format.
std::array<ChannelRule, MAXIMUM_CHANNELS> RulesBetween(FixedFormat destination, FixedFormat source);

/// The conversion between two formats, or between two layouts of one. The sides must not overlap.
ChannelProgram ProgramBetween(const FixedPlaces& destination, const FixedPlaces& source);

/// The same as a plan only, for those who add steps to it.
ConversionPlan PlanBetween(const FixedPlaces& destination, const FixedPlaces& source);

/// The copy of all channels, the unused one too, between two layouts of one format.
ChannelCopy CopyBetween(const FixedPlaces& destination, const FixedPlaces& source);

} // namespace torvi
