// One loop per size of value and count of channels.
#include "pixelformat/kernel_gather.h"

#include "pixelformat/kernel_values.h"

namespace torvi
{

namespace
{

using Offsets = std::array<Int, MAXIMUM_CHANNELS>;

template <class T, Int COUNT>
void GatherChannels(Byte* __restrict packed, const Byte* __restrict source, Int stride, Int pixels, const Offsets& places)
{
	const Offsets offsets = places;
	for (Int pixel = 0; pixel < pixels; ++pixel)
		for (std::size_t i = 0; i < COUNT; ++i)
			StoreValue(packed + (pixel * COUNT + Int(i)) * Int(sizeof(T)), LoadValue<T>(source + pixel * stride + offsets[i]));
}

template <class T, Int COUNT>
void SpreadChannels(Byte* __restrict destination, Int stride, const Byte* __restrict packed, Int pixels, const Offsets& places)
{
	const Offsets offsets = places;
	for (Int pixel = 0; pixel < pixels; ++pixel)
		for (std::size_t i = 0; i < COUNT; ++i)
			StoreValue(destination + pixel * stride + offsets[i], LoadValue<T>(packed + (pixel * COUNT + Int(i)) * Int(sizeof(T))));
}

/// Pixels whose channels lie side by side, with gaps between the pixels.
template <class T, Int COUNT>
void CopyPixels(Byte* __restrict destination, Int destinationStride, const Byte* __restrict source, Int sourceStride, Int pixels)
{
	for (Int pixel = 0; pixel < pixels; ++pixel)
		std::memcpy(destination + pixel * destinationStride, source + pixel * sourceStride, COUNT * sizeof(T));
}

struct Movers
{
	decltype(&GatherChannels<UChar, 1>) _gather;
	decltype(&SpreadChannels<UChar, 1>) _spread;
	decltype(&CopyPixels<UChar, 1>) _copy;
};

template <class T, Int COUNT>
constexpr Movers MOVERS_OF = {&GatherChannels<T, COUNT>, &SpreadChannels<T, COUNT>, &CopyPixels<T, COUNT>};

template <class T>
constexpr std::array<Movers, MAXIMUM_CHANNELS> MOVERS = {MOVERS_OF<T, 1>, MOVERS_OF<T, 2>, MOVERS_OF<T, 3>, MOVERS_OF<T, 4>,
														 MOVERS_OF<T, 5>};

const Movers& MoversFor(const PlacedChannels& channels)
{
	return *WithValueOfSize(channels.GetValueSize(),
							[&](auto value) { return &MOVERS<decltype(value)>[static_cast<std::size_t>(channels.GetCount() - 1)]; });
}

template <class Pointers, class Pointer>
Pointers PlanesOf(Pointer first, const PlacedChannels& channels)
{
	Pointers planes = {};
	for (std::size_t i = 0; i < static_cast<std::size_t>(channels.GetCount()); ++i)
		planes[i] = first + channels.GetOffsets()[i];
	return planes;
}

} // namespace

PlacedChannels::PlacedChannels(Int valueSize, Block<const Int> offsets)
	: _valueSize(valueSize), _count(CountOf(offsets)), _pixelSize(valueSize * _count)
{
	for (std::size_t i = 0; i < offsets.size(); ++i)
	{
		_offsets[i] = offsets[i];
		_isContiguous = _isContiguous && offsets[i] == offsets[0] + static_cast<Int>(i) * valueSize;
	}
}

void GatherPixels(Byte* packed, const Byte* source, Int stride, Int pixels, const PlacedChannels& channels)
{
	if (channels.IsContiguous())
		MoversFor(channels)._copy(packed, channels.GetPixelSize(), source + channels.GetFirstOffset(), stride, pixels);
	else if (channels.IsPlanar(stride))
		InterleaveKernelFor(channels.GetValueSize(), channels.GetCount())(packed, PlanesOf<ConstPlanePointers>(source, channels), pixels);
	else
		MoversFor(channels)._gather(packed, source, stride, pixels, channels.GetOffsets());
}

void SpreadPixels(Byte* destination, Int stride, const Byte* packed, Int pixels, const PlacedChannels& channels)
{
	if (channels.IsContiguous())
		MoversFor(channels)._copy(destination + channels.GetFirstOffset(), stride, packed, channels.GetPixelSize(), pixels);
	else if (channels.IsPlanar(stride))
		DeinterleaveKernelFor(channels.GetValueSize(), channels.GetCount())(PlanesOf<PlanePointers>(destination, channels), packed, pixels);
	else
		MoversFor(channels)._spread(destination, stride, packed, pixels, channels.GetOffsets());
}

} // namespace torvi
