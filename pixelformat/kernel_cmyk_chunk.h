// Runs in chunks that stay in the cache, and the loops over them that the conversions of CMYK share.
#pragma once

#include "pixelformat/kernel_layout.h"

#include <algorithm>

namespace torvi
{

constexpr Int CMYK_CHUNK_PIXELS = 128;

/// The pixels of a run from `start` on, at most CMYK_CHUNK_PIXELS.
inline KernelRun ChunkOf(const KernelRun& run, Int start)
{
	return {run._destination + start * run._destinationStride, run._destinationStride, run._source + start * run._sourceStride,
			run._sourceStride, std::min(CMYK_CHUNK_PIXELS, run._count - start)};
}

/// Converts one value of each pixel.
template <class D, class S>
void ConvertValues(const KernelRun& run)
{
	ForEachPixel<sizeof(D), sizeof(S)>(run, [](Byte* destination, const Byte* source)
									   { StoreValue(destination, ConvertValue<D>(LoadValue<S>(source))); });
}

/// Copies `SIZE` bytes of each pixel.
template <std::size_t SIZE>
void MoveBytes(const KernelRun& run)
{
	ForEachPixel<static_cast<Int>(SIZE), static_cast<Int>(SIZE)>(run, [](Byte* destination, const Byte* source)
																 { std::memcpy(destination, source, SIZE); });
}

} // namespace torvi
