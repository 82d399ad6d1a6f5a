// The table of blend modes: what each is called, and the kernels that blend by its formula.
#pragma once

#include "torvi/gfx_image_pixelblend.h"

namespace torvi
{

/// Where pixel `index` of a run lies.
inline Byte* PixelAddress(const PixelBuffer& run, Int index)
{
	return run._pixel + BytesOf(index * run._stride);
}

/// Blends runs of pixels of one kind. Strides may be anything, and nothing needs alignment; nothing happens for counts of 0 and below.
/// Destination and background may be the same. `opacity` is read by kernels for any opacity only.
using BlendKernel = void (*)(const PixelBuffer& destination, const PixelBuffer& background, const PixelBuffer& foreground, Int count,
							 Float64 opacity);

struct BlendKernels
{
	BlendKernel _full;       ///< for opacity 1
	BlendKernel _anyOpacity; ///< null where the mode ignores opacity
};

struct BlendMode
{
	Id _id;
	BlendKernels _float32; ///< for pixels of RGBA::F32
	BlendKernels _float64; ///< for pixels of RGBA::F64

	/// Whether the foreground is one number for each pixel in place of colours.
	constexpr Bool IsMask() const { return _float32._anyOpacity == nullptr; }
};

/// All modes in the order of their registry.
Block<const BlendMode> GetBlendModes();

} // namespace torvi
