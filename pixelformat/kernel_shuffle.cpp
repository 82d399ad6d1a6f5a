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

Int PixelsPerVector(const ShuffleMap& map)
{
	return VECTOR / std::max(map.GetSourceSize(), map.GetDestinationSize());
}

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
	constexpr std::array<decltype(&ShuffleValues<T, 1>), MAXIMUM_CHANNELS> FUNCTIONS = {
		&ShuffleValues<T, 1>, &ShuffleValues<T, 2>, &ShuffleValues<T, 3>, &ShuffleValues<T, 4>, &ShuffleValues<T, 5>};
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

/// Reads and writes 16 bytes per vector, some of which may lie behind its pixels.
void ShuffleVectors(Byte* __restrict destination, const Byte* __restrict source, Int vectors, const ShuffleMap& map)
{
	const simd::FixedTag<UChar, VECTOR> tag;
	const auto order = simd::LoadU(tag, map._order.data()), fills = simd::LoadU(tag, map._fills.data());
	const Int from = PixelsPerVector(map) * map.GetSourceSize(), to = PixelsPerVector(map) * map.GetDestinationSize();
#pragma GCC unroll 4
	for (Int i = 0; i < vectors; ++i)
	{
		const auto pixels = simd::LoadU(tag, source + i * from);
		simd::StoreU(simd::Or(simd::TableLookupBytesOr0(pixels, order), fills), tag, destination + i * to);
	}
}

/// Whole vectors for as long as they stay inside the run, then the rest by way of buffers with room behind it.
void ShuffleSmallPixels(Byte* destination, const Byte* source, Int count, const ShuffleMap& map)
{
	const Int from = map.GetSourceSize(), to = map.GetDestinationSize(), smaller = std::min(from, to);
	const Int atATime = PixelsPerVector(map);
	const Int inside = count - (VECTOR - 1) / smaller; // a vector may start at pixels below
	const Int vectors = inside > 0 ? (inside + atATime - 1) / atATime : 0;
	ShuffleVectors(destination, source, vectors, map);
	const Int done = vectors * atATime, rest = count - done;
	if (rest <= 0)
		return;
	// The rest is at most a vector of values, by pixels of the side with fewer channels.
	std::array<Byte, MAXIMUM_CHANNELS * VECTOR + VECTOR> restSource, restDestination;
	std::memcpy(restSource.data(), source + done * from, static_cast<std::size_t>(rest * from));
	ShuffleVectors(restDestination.data(), restSource.data(), (rest + atATime - 1) / atATime, map);
	std::memcpy(destination + done * to, restDestination.data(), static_cast<std::size_t>(rest * to));
}

#endif

} // namespace

ShuffleMap MakeShuffleMap(Int valueSize, Int sourceCount, Block<const ChannelPick> picks)
{
	ShuffleMap map = {valueSize, CountOf(picks), sourceCount, {}, {}, {}};
	std::copy(picks.begin(), picks.end(), map._picks.begin());
	map._order.fill(NO_BYTE);
	for (Int pixel = 0; pixel < PixelsPerVector(map); ++pixel)
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
	if (PixelsPerVector(map) > 0)
		return ShuffleSmallPixels(destination, source, count, map);
#endif
	ShuffleOneByOne(destination, source, count, map);
}

} // namespace torvi
