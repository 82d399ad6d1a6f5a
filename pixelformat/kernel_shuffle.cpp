// Pixels of up to 16 bytes are shuffled several at a time in one vector; wider ones, of doubles, value by value.
#include "pixelformat/kernel_shuffle.h"

#include "pixelformat/kernel_simd.h"
#include "pixelformat/kernel_values.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr Int VECTOR = 16;
constexpr Byte NO_BYTE = 128;

/// One destination channel at a time of each pixel. A fill is read from the map again and again.
template <class T, Int COUNT>
void ShuffleValues(Byte* __restrict destination, const Byte* __restrict source, Int count, const ShuffleMap& map)
{
	std::array<const Byte*, MAXIMUM_CHANNELS> from;
	std::array<Int, MAXIMUM_CHANNELS> step;
	for (std::size_t i = 0; i < COUNT; ++i)
	{
		const ChannelPick& pick = map._picks[i];
		const bool isFill = pick._index == ChannelPick::FILL;
		from[i] = isFill ? reinterpret_cast<const Byte*>(&pick._fill) : source + pick._index * Int(sizeof(T));
		step[i] = isFill ? 0 : map._sourceCount * Int(sizeof(T));
	}
	for (Int pixel = 0; pixel < count; ++pixel)
		for (std::size_t i = 0; i < COUNT; ++i)
			StoreValue(destination + (pixel * COUNT + Int(i)) * Int(sizeof(T)), LoadValue<T>(from[i] + pixel * step[i]));
}

template <class T>
void ShuffleValues(Byte* destination, const Byte* source, Int count, const ShuffleMap& map)
{
	constexpr std::array FUNCTIONS = {&ShuffleValues<T, 1>, &ShuffleValues<T, 2>, &ShuffleValues<T, 3>, &ShuffleValues<T, 4>};
	FUNCTIONS[static_cast<std::size_t>(map._destinationCount - 1)](destination, source, count, map);
}

void ShuffleOneByOne(Byte* destination, const Byte* source, Int count, const ShuffleMap& map)
{
	switch (map._valueSize)
	{
	case 1:
		return ShuffleValues<UChar>(destination, source, count, map);
	case 2:
		return ShuffleValues<UInt16>(destination, source, count, map);
	case 4:
		return ShuffleValues<UInt32>(destination, source, count, map);
	default:
		return ShuffleValues<UInt64>(destination, source, count, map);
	}
}

#if TORVI_HAS_VECTORS

constexpr simd::FixedTag<UChar, VECTOR> TAG;
using Vector = simd::VFromD<decltype(TAG)>;

/// Shuffles the pixels below `end`, some at a time, reading and writing 16 bytes each time, of which the last may belong to pixels behind.
/// Returns the pixel it came to.
TORVI_KERNEL_INLINE Int ShuffleVectors(Byte* __restrict destination, const Byte* __restrict source, Int end, const ShuffleMap& map, Vector order,
									   Vector fills)
{
	const Int step = map._pixelsPerVector, from = step * map.GetSourceSize(), to = step * map.GetDestinationSize();
	Int pixel = 0;
#if HWY_TARGET <= HWY_AVX2
	const simd::FixedTag<UChar, 2 * VECTOR> pairTag;
	const auto orders = simd::Combine(pairTag, order, order), fillPairs = simd::Combine(pairTag, fills, fills);
	for (; pixel + step < end; pixel += 2 * step, source += 2 * from, destination += 2 * to)
	{
		const auto pixels = simd::Combine(pairTag, simd::LoadU(TAG, source + from), simd::LoadU(TAG, source));
		const auto shuffled = simd::Or(simd::TableLookupBytesOr0(pixels, orders), fillPairs);
		if (to == VECTOR)
			simd::StoreU(shuffled, pairTag, destination);
		else
		{
			simd::StoreU(simd::LowerHalf(TAG, shuffled), TAG, destination);
			simd::StoreU(simd::UpperHalf(TAG, shuffled), TAG, destination + to);
		}
	}
#endif
	for (; pixel < end; pixel += step, source += from, destination += to)
		simd::StoreU(simd::Or(simd::TableLookupBytesOr0(simd::LoadU(TAG, source), order), fills), TAG, destination);
	return pixel;
}

/// Writes the first `bytes` bytes, 1 to 16, from 4 on in two parts that may overlap.
TORVI_KERNEL_INLINE void StoreFirstBytes(Byte* destination, Vector vector, Int bytes)
{
	alignas(VECTOR) std::array<Byte, VECTOR> all;
	simd::Store(vector, TAG, all.data());
	if (bytes >= 8)
	{
		std::memcpy(destination, all.data(), 8);
		std::memcpy(destination + bytes - 8, all.data() + bytes - 8, 8);
	}
	else if (bytes >= 4)
	{
		std::memcpy(destination, all.data(), 4);
		std::memcpy(destination + bytes - 4, all.data() + bytes - 4, 4);
	}
	else
		for (std::size_t i = 0; i < static_cast<std::size_t>(bytes); ++i)
			destination[i] = all[i];
}

/// Whole vectors for as long as they stay inside the run; then vectors that are read further ahead, so that they end with the source at
/// the latest, and of which only the pixels are written. Both sides have room for one vector's pixels, and the source for 16 bytes.
void ShuffleSmallPixels(Byte* destination, const Byte* source, Int count, const ShuffleMap& map)
{
	const Int from = map.GetSourceSize(), to = map.GetDestinationSize(), atATime = map._pixelsPerVector;
	const auto order = simd::LoadU(TAG, map._order.data()), fills = simd::LoadU(TAG, map._fills.data());
	for (Int pixel = ShuffleVectors(destination, source, count - map._reach, map, order, fills); pixel < count; pixel += atATime)
	{
		const Int start = std::min(pixel, count - atATime);
		const Int readFrom = std::min(start * from, count * from - VECTOR);
		const auto ahead = simd::Set(TAG, static_cast<UChar>(start * from - readFrom)); // leaves the top bit of bytes to fill
		const auto pixels = simd::TableLookupBytesOr0(simd::LoadU(TAG, source + readFrom), simd::Add(order, ahead));
		StoreFirstBytes(destination + start * to, simd::Or(pixels, fills), atATime * to);
	}
}

#endif

} // namespace

ShuffleMap MakeShuffleMap(Int valueSize, Int sourceCount, Block<const ChannelPick> picks)
{
	ShuffleMap map = {valueSize, CountOf(picks), sourceCount};
	std::copy(picks.begin(), picks.end(), map._picks.begin());
	map._pixelsPerVector = VECTOR / std::max(map.GetSourceSize(), map.GetDestinationSize());
	map._reach = (VECTOR - 1) / std::min(map.GetSourceSize(), map.GetDestinationSize());
	map._order.fill(NO_BYTE);
	for (Int pixel = 0; pixel < map._pixelsPerVector; ++pixel)
		for (Int channel = 0; channel < map._destinationCount; ++channel)
		{
			const ChannelPick& pick = picks[static_cast<std::size_t>(channel)];
			for (Int byte = 0; byte < valueSize; ++byte)
			{
				const auto at = static_cast<std::size_t>((pixel * map._destinationCount + channel) * valueSize + byte);
				if (pick._index == ChannelPick::FILL)
					map._fills[at] = reinterpret_cast<const Byte*>(&pick._fill)[byte];
				else
					map._order[at] = static_cast<Byte>((pixel * sourceCount + pick._index) * valueSize + byte);
			}
		}
	return map;
}

void ShufflePixels(Byte* destination, const Byte* source, Int count, const ShuffleMap& map)
{
#if TORVI_HAS_VECTORS
	if (map._pixelsPerVector > 0 && count * map.GetSourceSize() >= VECTOR && count >= map._pixelsPerVector)
		return ShuffleSmallPixels(destination, source, count, map);
#endif
	ShuffleOneByOne(destination, source, count, map);
}

} // namespace torvi
