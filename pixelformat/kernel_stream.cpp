// Streaming stores.
#include "pixelformat/kernel_stream.h"

#include "pixelformat/kernel_simd.h"

#include <cstring>
#include <hwy/cache_control.h>

namespace torvi
{

void StreamCopy(Byte* __restrict destination, const Byte* __restrict source, Int bytes)
{
	Int i = 0;
#if TORVI_HAS_VECTORS
	const simd::ScalableTag<UChar> tag;
	for (constexpr Int WIDTH = HWY_LANES(UChar); i + WIDTH <= bytes; i += WIDTH)
		simd::Stream(simd::LoadU(tag, source + i), tag, destination + i);
#endif
	std::memcpy(destination + i, source + i, static_cast<std::size_t>(bytes - i));
}

void EndStream()
{
	hwy::FlushStream();
}

void FetchAhead(const Byte* source, Int bytes)
{
	constexpr Int LINE = 64;
	for (Int i = 0; i < bytes; i += LINE)
		hwy::Prefetch(source + i);
}

} // namespace torvi
