// What all engines of colour conversion share: the function that converts a run, and running in chunks with scratch on the stack.
#pragma once

#include "torvi/gfx_image_pixelformat.h"

#include <algorithm>

namespace torvi
{

/// Converts `count` pixels, at least one. Unset for a conversion that changes nothing.
using ConvertRunFunc = Delegate<Result<void>(const PixelBuffer& source, const PixelBuffer& destination, Int count)>;

constexpr Int CHUNK_PIXELS = 64;

/// Scratch for a chunk of pixels of at most `BITS_PER_PIXEL`.
template <BITS BITS_PER_PIXEL>
struct ChunkBuffer
{
	alignas(64) Byte _bytes[static_cast<std::size_t>(CHUNK_PIXELS * BITS_PER_PIXEL / 8)];
};

/// The run from pixel `start` on, which begins on a whole byte.
inline PixelBuffer PixelAt(const PixelBuffer& run, Int start)
{
	return PixelBuffer(run._pixel + run._stride * start / 8, run._stride);
}

/// Calls `convert`(source, destination, count) for chunks in order and stops at the first error.
template <class Convert>
Result<void> ConvertInChunks(const PixelBuffer& source, const PixelBuffer& destination, Int count, Int chunkPixels, const Convert& convert)
{
	for (Int start = 0; start < count; start += chunkPixels)
		TORVI_TRY(convert(PixelAt(source, start), PixelAt(destination, start), std::min(chunkPixels, count - start)));
	return OK;
}

/// The conversion between two formats without profiles; with no offsets those of the formats. It never comes back to colour conversion,
/// so that it may be looked up under a lock of it.
inline Result<ConvertPixelFunc> FindPlainConversion(const PixelFormatInterface& destination, const PixelFormat& source,
													ChannelOffsets destinationOffsets = {}, ChannelOffsets sourceOffsets = {})
{
	Bool isColorConverted = false;
	return destination.GetConvertPixelFunc(source, sourceOffsets.empty() ? source->GetChannelOffsets() : sourceOffsets,
										   destinationOffsets.empty() ? destination.GetChannelOffsets() : destinationOffsets, nullptr,
										   nullptr, false, isColorConverted);
}

} // namespace torvi
