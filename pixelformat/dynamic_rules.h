// Conversion between the eight fixed formats rgb and argb in "uchar", "uint16", "float32", "float64" and a format whose channels are
// known at run time only, as plans of channel steps.
#pragma once

#include "pixelformat/kernel_run.h"

namespace torvi
{

/// A list of channels by role: indices into the list, or NO_CHANNEL. The first channel of a colour type has the role; all else, repeated
/// ones too, have none.
struct DynamicRoles
{
	static constexpr Int NO_CHANNEL = -1;
	Int _red = NO_CHANNEL;
	Int _green = NO_CHANNEL;
	Int _blue = NO_CHANNEL;
	Int _alpha = NO_CHANNEL;
	Int _grey = NO_CHANNEL;
};

/// Whether `format` is one of the eight.
bool IsDynamicPartner(FixedFormat format);

/// The rule of each of the list's channels from `source`, one of the eight. Grey gets the mean; alpha the source's, or full scale; channels
/// without a role zero bytes. Writes `rules`, an entry per channel of the list.
void RulesToDynamic(Block<ChannelRule> rules, const DynamicRoles& roles, FixedFormat source);

/// The rule of each channel of `destination`, one of the eight. A grey channel feeds all colours; without it a missing colour is 0; missing
/// alpha is full scale.
std::array<ChannelRule, MAXIMUM_CHANNELS> RulesFromDynamic(FixedFormat destination, const DynamicRoles& roles);

} // namespace torvi
