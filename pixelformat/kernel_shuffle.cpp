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
	constexpr std::array<decltype(&ShuffleValues<T, 1>), MAXIMUM_CHANNELS> FUNCTIONS = {
		&ShuffleValues<T, 1>, &ShuffleValues<T, 2>, &ShuffleValues<T, 3>, &ShuffleValues<T, 4>, &ShuffleValues<T, 5>};
	FUNCTIONS[static_cast<std::size_t>(map._destinationCount - 1)](destination, source, count, map);
}

#if TORVI_HAS_VECTORS

constexpr simd::FixedTag<UChar, VECTOR> TAG;
using Vector = simd::VFromD<decltype(TAG)>;

#if HWY_TARGET <= HWY_AVX2
constexpr simd::FixedTag<UChar, 2 * VECTOR> PAIR_TAG;
#endif

/// Full vectors of pixels that become so many full vectors. Fewer than fit into a vector at the end are converted together with some before
/// them.
template <std::size_t OUTPUTS, bool FILLS>
void ExpandPixels(Byte* __restrict destination, const Byte* __restrict source, Int count, const ShuffleMap& map)
{
	std::array<Vector, OUTPUTS> orders, fills;
	for (std::size_t i = 0; i < OUTPUTS; ++i)
	{
		orders[i] = simd::LoadU(TAG, map._vectors[i]._order.data());
		fills[i] = simd::LoadU(TAG, map._vectors[i]._fills.data());
	}
	const auto expand = [&](Byte* to, const Byte* from)
	{
		std::size_t i = 0;
#if HWY_TARGET <= HWY_AVX2
		const auto twice = simd::LoadDup128(PAIR_TAG, from);
		for (; i + 1 < OUTPUTS; i += 2)
		{
			auto pair = simd::TableLookupBytesOr0(twice, simd::Combine(PAIR_TAG, orders[i + 1], orders[i]));
			if constexpr (FILLS)
				pair = simd::Or(pair, simd::Combine(PAIR_TAG, fills[i + 1], fills[i]));
			simd::StoreU(pair, PAIR_TAG, to + Int(i) * VECTOR);
		}
#endif
		for (; i < OUTPUTS; ++i)
		{
			auto pixels = simd::TableLookupBytesOr0(simd::LoadU(TAG, from), orders[i]);
			if constexpr (FILLS)
				pixels = simd::Or(pixels, fills[i]);
			simd::StoreU(pixels, TAG, to + Int(i) * VECTOR);
		}
	};
	constexpr Int OUTPUT_BYTES = VECTOR * Int(OUTPUTS);
	const Int bytes = count * map.GetSourceSize(); // becomes OUTPUTS times as many
	Int done = 0;
#if HWY_TARGET <= HWY_AVX2
	if constexpr (OUTPUTS == 1)
	{
		const auto orderPair = simd::Combine(PAIR_TAG, orders[0], orders[0]), fillPair = simd::Combine(PAIR_TAG, fills[0], fills[0]);
#pragma GCC unroll 4
		for (; done + 2 * VECTOR <= bytes; done += 2 * VECTOR)
		{
			const auto pixels = simd::TableLookupBytesOr0(simd::LoadU(PAIR_TAG, source + done), orderPair);
			simd::StoreU(FILLS ? simd::Or(pixels, fillPair) : pixels, PAIR_TAG, destination + done);
		}
	}
#endif
#pragma GCC unroll 4
	for (; done + VECTOR <= bytes; done += VECTOR)
		expand(destination + done * Int(OUTPUTS), source + done);
	if (done < bytes)
		expand(destination + bytes * Int(OUTPUTS) - OUTPUT_BYTES, source + bytes - VECTOR);
}

/// Shuffles the pixels below `end`, some at a time, reading and writing 16 bytes each time, of which the last may belong to pixels behind.
/// Returns the pixel it came to.
template <bool FROM_FULL, bool TO_FULL, bool FILLS>
TORVI_KERNEL_INLINE Int ShuffleVectors(Byte* __restrict destination, const Byte* __restrict source, Int end, const ShuffleMap& map)
{
	const Int step = map._pixelsAtATime, from = FROM_FULL ? VECTOR : step * map.GetSourceSize();
	const Int to = TO_FULL ? VECTOR : step * map.GetDestinationSize();
	const auto order = simd::LoadU(TAG, map._vectors[0]._order.data()), fills = simd::LoadU(TAG, map._vectors[0]._fills.data());
	Int pixel = 0;
#if HWY_TARGET <= HWY_AVX2
	const auto orders = simd::Combine(PAIR_TAG, order, order), fillPairs = simd::Combine(PAIR_TAG, fills, fills);
#pragma GCC unroll 4
	for (; pixel + step < end; pixel += 2 * step, source += 2 * from, destination += 2 * to)
	{
		simd::VFromD<decltype(PAIR_TAG)> pixels;
		if constexpr (FROM_FULL)
			pixels = simd::LoadU(PAIR_TAG, source);
		else
			pixels = simd::Combine(PAIR_TAG, simd::LoadU(TAG, source + from), simd::LoadU(TAG, source));
		auto shuffled = simd::TableLookupBytesOr0(pixels, orders);
		if constexpr (FILLS)
			shuffled = simd::Or(shuffled, fillPairs);
		if constexpr (TO_FULL)
			simd::StoreU(shuffled, PAIR_TAG, destination);
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
/// the latest, and of which only the pixels are written. The source has 16 bytes and both sides the pixels of a vector.
template <bool FROM_FULL, bool TO_FULL, bool FILLS>
void ShuffleRun(Byte* destination, const Byte* source, Int count, const ShuffleMap& map)
{
	const Int from = map.GetSourceSize(), to = map.GetDestinationSize(), step = map._pixelsAtATime;
	const auto order = simd::LoadU(TAG, map._vectors[0]._order.data()), fills = simd::LoadU(TAG, map._vectors[0]._fills.data());
	Int pixel = ShuffleVectors<FROM_FULL, TO_FULL, FILLS>(destination, source, count - map._reach, map);
	for (; pixel < count; pixel += step)
	{
		const Int start = std::min(pixel, count - step);
		const Int readFrom = std::min(start * from, count * from - VECTOR);
		const auto ahead = simd::Set(TAG, static_cast<UChar>(start * from - readFrom)); // leaves the top bit of bytes to fill
		const auto pixels = simd::TableLookupBytesOr0(simd::LoadU(TAG, source + readFrom), simd::Add(order, ahead));
		StoreFirstBytes(destination + start * to, simd::Or(pixels, fills), step * to);
	}
}

/// The loop for a map whose pixels fit into vectors.
ShuffleMap::Function FunctionFor(const ShuffleMap& map)
{
	const std::size_t fills =
		std::ranges::all_of(map._vectors, [](const auto& vector) { return vector._fills == std::array<Byte, VECTOR>(); }) ? 0 : 1;
	const bool fromFull = map._pixelsAtATime * map.GetSourceSize() == VECTOR,
			   toFull = map._pixelsAtATime * map.GetDestinationSize() == VECTOR;
	constexpr std::array FULL = {&ExpandPixels<1, false>, &ExpandPixels<1, true>, &ExpandPixels<2, false>, &ExpandPixels<2, true>,
								 &ExpandPixels<3, false>, &ExpandPixels<3, true>, &ExpandPixels<4, false>, &ExpandPixels<4, true>};
	if (map._outputs > 1 || (fromFull && toFull))
		return FULL[static_cast<std::size_t>(map._outputs - 1) * 2 + fills];
	constexpr std::array OTHERS = {&ShuffleRun<false, false, false>, &ShuffleRun<false, false, true>, &ShuffleRun<false, true, false>,
								   &ShuffleRun<false, true, true>,   &ShuffleRun<true, false, false>, &ShuffleRun<true, false, true>};
	return OTHERS[(fromFull ? 4u : 0u) + (toFull ? 2u : 0u) + fills];
}

#endif

} // namespace

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

ShuffleMap MakeShuffleMap(Int valueSize, Int sourceCount, Block<const ChannelPick> picks)
{
	ShuffleMap map = {valueSize, CountOf(picks), sourceCount};
	std::copy(picks.begin(), picks.end(), map._picks.begin());
	const Int from = map.GetSourceSize(), to = map.GetDestinationSize();
	map._pixelsAtATime = VECTOR / std::max(from, to);
	map._reach = (VECTOR - 1) / std::min(from, to);
	if (to > from && to % from == 0 && VECTOR % from == 0 && to <= from * Int(ShuffleMap::MOST_OUTPUTS))
	{
		map._pixelsAtATime = VECTOR / from;
		map._outputs = to / from;
	}
	for (ShuffleMap::Vector& vector : map._vectors)
		vector._order.fill(NO_BYTE);
	for (Int byte = 0; byte < map._pixelsAtATime * to; ++byte)
	{
		const Int pixel = byte / to, byteOfValue = byte % valueSize;
		const ChannelPick& pick = picks[static_cast<std::size_t>(byte % to / valueSize)];
		ShuffleMap::Vector& vector = map._vectors[static_cast<std::size_t>(byte / VECTOR)];
		const auto at = static_cast<std::size_t>(byte % VECTOR);
		if (pick._index == ChannelPick::FILL)
			vector._fills[at] = reinterpret_cast<const Byte*>(&pick._fill)[byteOfValue];
		else
			vector._order[at] = static_cast<Byte>(pixel * from + pick._index * valueSize + byteOfValue);
	}
#if TORVI_HAS_VECTORS
	if (map._pixelsAtATime > 0)
	{
		map._function = FunctionFor(map);
		map._shortest = std::max(map._pixelsAtATime, (VECTOR + from - 1) / from);
	}
#endif
	return map;
}

} // namespace torvi
