// Conversions in stages: pixels that an engine does not take, or does not give, go through packed ones on the stack, chunk by chunk.
#pragma once

#include "color/conversion_run.h"
#include "torvi/gfx_image_colorprofile_convert.h"

namespace torvi
{

/// From the caller's pixels to packed ones before the engine, or the other way after it. Unset: the engine takes the caller's pixels.
struct PackingStage
{
	ConvertPixelFunc _convert;
	BITS _bits = 0; ///< of a packed pixel
};

/// UnsupportedOperationError for pixels that are too large for the stack.
Result<ConvertRunFunc> MakeStagedConversion(PackingStage before, ConvertRunFunc engine, PackingStage after);

/// A finished conversion as an engine.
inline ConvertRunFunc RunOf(const ColorProfileConvert& convert)
{
	return [convert](const PixelBuffer& source, const PixelBuffer& destination, Int count)
	{ return convert->Convert(source, destination, count); };
}

} // namespace torvi
