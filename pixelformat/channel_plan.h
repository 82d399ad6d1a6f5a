// The conversion of formats by their lists of channels: each destination channel is moved from the source channel of its type, or filled.
#pragma once

#include "torvi/gfx_image_pixelformat.h"

namespace torvi
{

/// The function of the plan; the empty function where the lists do not fit each other. FunctionNotImplementedError for a channel whose data
/// type is none of the nine. The offsets have one entry per channel and one more.
Result<ConvertPixelFunc> PlanByChannels(const PixelFormatInterface& srcFormat, const ChannelOffsets& srcOffsets,
										const PixelFormatInterface& dstFormat, const ChannelOffsets& dstOffsets);

} // namespace torvi
