// Conversion between the eight fixed formats rgb and argb in "uchar", "uint16", "float32", "float64" and a format whose channels are
// known at run time only, as plans of channel steps.
#pragma once

#include "pixelformat/kernel_channel.h"

#include <optional>

namespace torvi
{

/// A list of channels by role. The first channel of a colour type has the role, all else, repeated ones too, are others.
struct DynamicLayout
{
	std::optional<ChannelPlace> _red;
	std::optional<ChannelPlace> _green;
	std::optional<ChannelPlace> _blue;
	std::optional<ChannelPlace> _alpha;
	std::optional<ChannelPlace> _grey;
	Block<const ChannelPlace> _others; // read only while a plan is made
};

/// Whether `format` is one of the eight.
bool IsDynamicPartner(FixedFormat format);

/// The steps that a plan to `layout` takes at most.
Int MostStepsToDynamic(const DynamicLayout& layout);

/// Writes the plan from `source`, one of the eight, to `layout` into `steps` and returns the count of steps. `sourceOffsets` are byte
/// offsets by role (`OffsetsByRole`). Grey gets the mean; alpha the source's, or full scale; others get zero bytes.
Int PlanToDynamic(Block<ChannelStep> steps, const DynamicLayout& layout, FixedFormat source,
				  const std::array<Int, MAXIMUM_CHANNELS>& sourceOffsets);

/// Writes the plan from `layout` to `destination`, one of the eight, into `steps`, at most four, and returns their count. A grey channel
/// feeds all colours; without it a missing colour is 0; missing alpha is full scale.
Int PlanFromDynamic(Block<ChannelStep> steps, const DynamicLayout& layout, FixedFormat destination,
					const std::array<Int, MAXIMUM_CHANNELS>& destinationOffsets);

} // namespace torvi
