// What the templates of kernels share: a fixed format as the compiler sees it, and the loop over a run of pixels.
#pragma once

#include "pixelformat/kernel_run.h"
#include "pixelformat/kernel_values.h"

namespace torvi
{

/// A format as seen by the compiler.
template <FixedFormat FORMAT>
struct Layout
{
	static constexpr const FixedFormatInfo& INFO = InfoOf(FORMAT);
	using Value = ValueOf<INFO._type>;
	static constexpr Int VALUE_SIZE = sizeof(Value);
	static constexpr Int COUNT = INFO._channelCount;
	static constexpr Int PIXEL_SIZE = COUNT * VALUE_SIZE;
	static constexpr bool Has(Channel channel) { return INFO.Has(channel); }

	template <Channel CHANNEL>
	TORVI_KERNEL_INLINE static Value Load(const Byte* pixel)
	{
		constexpr Int INDEX = INFO.Find(CHANNEL);
		static_assert(INDEX >= 0);
		return LoadValue<Value>(pixel + INDEX * VALUE_SIZE);
	}

	template <Channel CHANNEL>
	TORVI_KERNEL_INLINE static void Store(Byte* pixel, Value value)
	{
		constexpr Int INDEX = INFO.Find(CHANNEL);
		static_assert(INDEX >= 0);
		StoreValue(pixel + INDEX * VALUE_SIZE, value);
	}
};

/// The loop that vectorises: pixels of both sides lie side by side and do not overlap.
template <Int DESTINATION_SIZE, Int SOURCE_SIZE, class Convert>
TORVI_KERNEL_INLINE void ForEachContiguous(Byte* __restrict destination, const Byte* __restrict source, Int count, Convert convert)
{
	for (Int i = 0; i < count; ++i)
		convert(destination + i * DESTINATION_SIZE, source + i * SOURCE_SIZE);
}

/// Calls `convert(destination, source)` for each pixel of a run.
template <Int DESTINATION_SIZE, Int SOURCE_SIZE, class Convert>
TORVI_KERNEL_INLINE void ForEachPixel(const KernelRun& run, Convert convert)
{
	const KernelRun local = run; // the stores below might alias `run`
	if (local._destinationStride == DESTINATION_SIZE && local._sourceStride == SOURCE_SIZE)
		ForEachContiguous<DESTINATION_SIZE, SOURCE_SIZE>(local._destination, local._source, local._count, convert);
	else
		for (Int i = 0; i < local._count; ++i)
			convert(local._destination + i * local._destinationStride, local._source + i * local._sourceStride);
}

} // namespace torvi
