// Blend modes: named objects that hand out functions which blend a run of foreground pixels over a run of background pixels. Colours are
// not multiplied with alpha, neither in nor out, and nothing is clamped but where the formula of a mode says so.
#pragma once

#include "torvi/gfx_image_pixelformat.h"

namespace torvi
{

/// Blends `count` pixels into the destination, which has the background's format and layout. The destination may be the background or the
/// foreground itself; otherwise the runs must not overlap. Only pixel pointers and strides of the buffers are read: formats and offsets
/// were fixed when the function was made. A count of 0 or less does nothing and succeeds. Fails only where a conversion fails.
using BlendPixelFunc =
	Delegate<Result<void>(const PixelBuffer& destination, const PixelBuffer& background, const PixelBuffer& foreground, Int count)>;

struct BlendPixelHandler
{
	BlendPixelFunc _blend;
	BlendPixelFunc _nativeBlend; ///< the same function where no conversion is needed, else empty
};

/// A handler as a value of the host's data system. Copies share it.
class TORVI_EXPORT BlendPixelHandlerObject final : public ObjectInterface
{
public:
	explicit BlendPixelHandlerObject(const BlendPixelHandler& handler) noexcept : _handler(handler) {}
	const BlendPixelHandler& GetHandler() const noexcept { return _handler; }

private:
	BlendPixelHandler _handler;
};

using BlendPixelHandlerRef = Ref<BlendPixelHandlerObject>;

/// A blend mode. Modes have no state; any thread may use them.
class TORVI_EXPORT ImagePixelBlendInterface : public virtual ObjectInterface
{
public:
	/// A function for these formats and layouts. With RGBA::F32 or RGBA::F64 on both sides, in their own layouts, it works on the pixels
	/// themselves and may run on any number of threads at once. Otherwise it converts to RGBA::F64 and back, 64 pixels at a time, and it
	/// and its copies belong to one thread at a time. `opacity` is multiplied into the foreground's alpha, and is 0 to 1: at 0 the
	/// background is the result, whatever the foreground holds. The mode `applyalpha` ignores it; its foreground is a mask, and works
	/// without conversions as ALPHA::F32 or ALPHA::F64. The errors are those of the conversions, and out of memory.
	virtual Result<BlendPixelHandler> GetBlendPixelHandler(const PixelFormat& backgroundFormat, const ChannelOffsets& backgroundOffsets,
														   const PixelFormat& foregroundFormat, const ChannelOffsets& foregroundOffsets,
														   Float64 opacity) const = 0;
};

using ImagePixelBlend = Ref<ImagePixelBlendInterface>;

/// Static: declared under ids::INTERFACE_IMAGEPIXELBLEND.
class TORVI_EXPORT ImagePixelBlendStaticInterface : public virtual ObjectInterface
{
public:
	/// The format in which to blend pixels of all these: RGBA::F64 if the first channel of one of them is a float64, else RGBA::F32, also
	/// for an empty list. NullptrError for a null format.
	virtual Result<PixelFormat> GetOptimalPixelFormat(Block<const PixelFormat> formats) const = 0;
};

namespace ids
{
inline constexpr Id INTERFACE_IMAGEPIXELBLEND = "net.torvi.image.interface.imagepixelblend";

/// All modes in the order below. Each has a class and an object of the same id.
inline constexpr Id REGISTRY_BLENDMODES = "net.torvi.render.registry.blendmodeclasses";

inline constexpr Id BLENDMODE_OVER = "net.torvi.render.blendmode.over";
inline constexpr Id BLENDMODE_DARKEN = "net.torvi.render.blendmode.darken";
inline constexpr Id BLENDMODE_LIGHTEN = "net.torvi.render.blendmode.lighten";
inline constexpr Id BLENDMODE_MULTIPLY = "net.torvi.render.blendmode.multiply";
inline constexpr Id BLENDMODE_SCREEN = "net.torvi.render.blendmode.screen";
inline constexpr Id BLENDMODE_LINEARDODGE = "net.torvi.render.blendmode.lineardodge";
inline constexpr Id BLENDMODE_ADD = "net.torvi.render.blendmode.add";
inline constexpr Id BLENDMODE_DISSOLVE = "net.torvi.render.blendmode.dissolve"; ///< as over
inline constexpr Id BLENDMODE_DIFFERENCE = "net.torvi.render.blendmode.difference";
inline constexpr Id BLENDMODE_PASSFOLDER = "net.torvi.render.blendmode.passfolder"; ///< as over
inline constexpr Id BLENDMODE_HUE = "net.torvi.render.blendmode.hue";
inline constexpr Id BLENDMODE_SATURATION = "net.torvi.render.blendmode.saturation";
inline constexpr Id BLENDMODE_COLOR = "net.torvi.render.blendmode.color";
inline constexpr Id BLENDMODE_LUMINANCE = "net.torvi.render.blendmode.luminance";
inline constexpr Id BLENDMODE_OVERLAY = "net.torvi.render.blendmode.overlay";
inline constexpr Id BLENDMODE_HARDLIGHT = "net.torvi.render.blendmode.hardlight";
inline constexpr Id BLENDMODE_SOFTLIGHT = "net.torvi.render.blendmode.softlight";
inline constexpr Id BLENDMODE_COLORBURN = "net.torvi.render.blendmode.colorburn";
inline constexpr Id BLENDMODE_COLORDODGE = "net.torvi.render.blendmode.colordodge";
inline constexpr Id BLENDMODE_EXCLUSION = "net.torvi.render.blendmode.exclusion";
inline constexpr Id BLENDMODE_STAMP = "net.torvi.render.blendmode.stamp";
inline constexpr Id BLENDMODE_LINEARBURN = "net.torvi.render.blendmode.linearburn";
inline constexpr Id BLENDMODE_PINLIGHT = "net.torvi.render.blendmode.pinlight";
inline constexpr Id BLENDMODE_HARDMIX = "net.torvi.render.blendmode.hardmix";
inline constexpr Id BLENDMODE_AVERAGE = "net.torvi.render.blendmode.average";
inline constexpr Id BLENDMODE_DARKER = "net.torvi.render.blendmode.darker";
inline constexpr Id BLENDMODE_DIVIDE = "net.torvi.render.blendmode.divide";
inline constexpr Id BLENDMODE_FREEZE = "net.torvi.render.blendmode.freeze";
inline constexpr Id BLENDMODE_GLOW = "net.torvi.render.blendmode.glow";
inline constexpr Id BLENDMODE_HEAT = "net.torvi.render.blendmode.heat";
inline constexpr Id BLENDMODE_HYPOT = "net.torvi.render.blendmode.hypot";
inline constexpr Id BLENDMODE_LEVR = "net.torvi.render.blendmode.levr";
inline constexpr Id BLENDMODE_LIGHTER = "net.torvi.render.blendmode.lighter";
inline constexpr Id BLENDMODE_REFLECT = "net.torvi.render.blendmode.reflect";
inline constexpr Id BLENDMODE_SUBTRACT = "net.torvi.render.blendmode.subtract";
inline constexpr Id BLENDMODE_VIVIDLIGHT = "net.torvi.render.blendmode.vividlight";
inline constexpr Id BLENDMODE_XOR = "net.torvi.render.blendmode.xor";
inline constexpr Id BLENDMODE_APPLYALPHA = "net.torvi.render.blendmode.applyalpha"; ///< multiplies the background's alpha by a mask
} // namespace ids

/// GetOptimalPixelFormat of the declared object.
inline Result<PixelFormat> GetOptimalPixelFormat(Block<const PixelFormat> formats)
{
	const Ref<ImagePixelBlendStaticInterface> blend = FindDeclared<ImagePixelBlendStaticInterface>(ids::INTERFACE_IMAGEPIXELBLEND);
	TORVI_CHECK(blend, IllegalStateError("The module is not started."));
	return blend->GetOptimalPixelFormat(formats);
}

} // namespace torvi

TORVI_DATATYPE(torvi::ImagePixelBlend, "net.torvi.image.interface.imagepixelblend")
TORVI_DATATYPE(torvi::BlendPixelHandlerRef, "net.torvi.datatype.blendpixelhandlerref")
