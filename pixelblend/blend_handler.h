// How a mode meets formats: the function that blends pixels of a background and a foreground format.
#pragma once

#include "pixelblend/blend_modes.h"

namespace torvi
{

/// See ImagePixelBlendInterface::GetBlendPixelHandler.
Result<BlendPixelHandler> MakeBlendPixelHandler(const BlendMode& mode, const PixelFormat& backgroundFormat,
												const ChannelOffsets& backgroundOffsets, const PixelFormat& foregroundFormat,
												const ChannelOffsets& foregroundOffsets, Float64 opacity);

} // namespace torvi
