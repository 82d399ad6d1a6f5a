// The copies: a block where pixels are contiguous, else pixel by pixel in the order that keeps what is still to be read. Every pixel is
// read whole before it is written, so that channels may change places within one buffer.
#include "pixelformat/kernel_copy.h"

#include "pixelformat/kernel_values.h"

namespace torvi
{

namespace
{

// Whether the pixels must be copied from the last to the first: the destination runs ahead of the source, in the direction of the run.
bool RunsBackwards(const KernelRun& run)
{
	if (run._destinationStride == 0)
		return false; // the last pixel stays
	const auto destination = reinterpret_cast<std::uintptr_t>(run._destination);
	const auto source = reinterpret_cast<std::uintptr_t>(run._source);
	const auto aheadAtStart = static_cast<Int>(destination - source);
	const Int aheadAtEnd = aheadAtStart + (run._count - 1) * (run._destinationStride - run._sourceStride);
	return run._sourceStride < 0 ? aheadAtStart < 0 || aheadAtEnd < 0 : aheadAtStart > 0 || aheadAtEnd > 0;
}

template <class CopyPixel>
void CopyInOrder(const KernelRun& run, CopyPixel copyPixel)
{
	const bool backwards = RunsBackwards(run);
	for (Int i = 0; i < run._count; ++i)
	{
		const Int pixel = backwards ? run._count - 1 - i : i;
		copyPixel(run._destination + pixel * run._destinationStride, run._source + pixel * run._sourceStride);
	}
}

// T stands for all values of its size.
template <class T, Int COUNT>
void CopyChannels(const KernelRun& run, const KernelOffsets& offsets)
{
	constexpr Int FIRST = COUNT == 0 ? 3 : 0; // alpha alone
	constexpr Int COLOURS = COUNT >= 3 ? 3 : 1;
	constexpr bool HAS_LAST = COUNT == 0 || COUNT == 2 || COUNT == 4;
	const KernelOffsets local = offsets;
	CopyInOrder(run,
				[&local](Byte* destination, const Byte* source)
				{
					std::array<T, MAXIMUM_CHANNELS> pixel;
					for (std::size_t i = FIRST; i < COLOURS; ++i)
						pixel[i] = LoadValue<T>(source + local._source[i]);
					if constexpr (HAS_LAST)
						pixel[3] = LoadValue<T>(source + local._source[3]);
					for (std::size_t i = FIRST; i < COLOURS; ++i)
						StoreValue(destination + local._destination[i], pixel[i]);
					if constexpr (HAS_LAST)
						StoreValue(destination + local._destination[3], pixel[3]);
				});
}

// By count of channels; 0 stands for alpha alone.
template <class T>
constexpr std::array<OffsetKernel, 5> CHANNEL_COPIES = {&CopyChannels<T, 0>, &CopyChannels<T, 1>, &CopyChannels<T, 2>, &CopyChannels<T, 3>,
														&CopyChannels<T, 4>};

} // namespace

void CopyPixels(const KernelRun& run, Int bytesPerPixel)
{
	if (run._count <= 0)
		return;
	if (run._destinationStride == bytesPerPixel && run._sourceStride == bytesPerPixel)
		std::memmove(run._destination, run._source, static_cast<std::size_t>(run._count * bytesPerPixel));
	else
		CopyInOrder(run, [size = static_cast<std::size_t>(bytesPerPixel)](Byte* destination, const Byte* source)
					{ std::memmove(destination, source, size); });
}

OffsetKernel ChannelCopyKernel(FixedFormat format)
{
	const FixedFormatInfo& info = InfoOf(format);
	const bool alphaAlone = info._family == FixedFamily::ALPHA;
	const auto index = static_cast<std::size_t>(alphaAlone ? 0 : info._channelCount);
	switch (SizeOf(info._type))
	{
	case 1:
		return CHANNEL_COPIES<UChar>[index];
	case 2:
		return CHANNEL_COPIES<UInt16>[index];
	case 4:
		return CHANNEL_COPIES<UInt32>[index];
	default:
		return CHANNEL_COPIES<UInt64>[index];
	}
}

} // namespace torvi
