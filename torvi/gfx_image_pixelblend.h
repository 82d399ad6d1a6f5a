// Blend modes: named objects that hand out functions which blend a run of foreground pixels over a run of background pixels.
#pragma once

#include "torvi/gfx_image_pixelformat.h"

namespace torvi
{

/// Blends `count` pixels into the destination, which has the background's format and may be the background itself.
using BlendPixelFunc =
	Delegate<Result<void>(const PixelBuffer& destination, const PixelBuffer& background, const PixelBuffer& foreground, Int count)>;

struct BlendPixelHandler
{
	BlendPixelFunc _blend;
	BlendPixelFunc _nativeBlend; ///< the same function where no conversion is needed, else empty
};

class TORVI_EXPORT ImagePixelBlendInterface : public virtual ObjectInterface
{
public:
	/// A handler for one thread at a time. `opacity` is 0 to 1. The errors are those of the conversions.
	virtual Result<BlendPixelHandler> GetBlendPixelHandler(const PixelFormat& backgroundFormat, const ChannelOffsets& backgroundOffsets,
														   const PixelFormat& foregroundFormat, const ChannelOffsets& foregroundOffsets,
														   Float64 opacity) const = 0;
};

using ImagePixelBlend = Ref<ImagePixelBlendInterface>;

namespace ids
{
inline constexpr Id REGISTRY_BLENDMODES = "net.torvi.render.registry.blendmodeclasses";
inline constexpr Id BLENDMODE_OVER = "net.torvi.render.blendmode.over";
} // namespace ids

} // namespace torvi

TORVI_DATATYPE(torvi::ImagePixelBlend, "net.torvi.image.interface.imagepixelblend")
