// Channels of packed pixels put into another order, repeated, left out, or filled with a constant. The values themselves stay as they are.
#pragma once

#include "pixelformat/kernel_run.h"

namespace torvi
{

/// Which channel of the source, counted from the lowest offset, a destination channel takes; or a fill.
struct ChannelPick
{
	static constexpr Int FILL = -1;
	Int _index = FILL;
	UInt64 _fill = 0; // the bits of the value, from the lowest byte
};

/// A change of channels. All values have `_valueSize` bytes: 1, 2, 4 or 8. Both pixels are packed.
struct ShuffleMap
{
	Int _valueSize = 1;
	Int _destinationCount = 0;
	Int _sourceCount = 0;
	std::array<ChannelPick, MAXIMUM_CHANNELS> _picks = {};

	/// The same as bytes of one output vector: where each comes from in the input vector (128 for a fill), and the fills.
	struct Vector
	{
		std::array<Byte, 16> _order = {};
		std::array<Byte, 16> _fills = {};
	};
	static constexpr std::size_t MOST_OUTPUTS = 4;

	// The pixels that are shuffled at a time: as many as 16 bytes hold of the larger side, none where a pixel has more. Of a smaller source
	// whose pixels fill 16 bytes it is these, and they become several vectors, all of them full.
	using Function = void (*)(Byte* destination, const Byte* source, Int count, const ShuffleMap& map);
	Function _function = nullptr; // for runs of at least `_shortest` pixels
	Int _shortest = INT64_MAX;
	Int _pixelsAtATime = 0;
	Int _reach = 0; // a vector of 16 bytes at a pixel stays in the run while so many pixels follow
	Int _outputs = 1;
	std::array<Vector, MOST_OUTPUTS> _vectors = {};

	Int GetSourceSize() const { return _valueSize * _sourceCount; }
	Int GetDestinationSize() const { return _valueSize * _destinationCount; }
};

ShuffleMap MakeShuffleMap(Int valueSize, Int sourceCount, Block<const ChannelPick> picks);

/// As ShufflePixels, for runs that are too short for the map's function, and for maps without one.
void ShuffleOneByOne(Byte* destination, const Byte* source, Int count, const ShuffleMap& map);

/// `count` pixels. The sides must not overlap and need no alignment.
inline void ShufflePixels(Byte* destination, const Byte* source, Int count, const ShuffleMap& map)
{
	if (count >= map._shortest)
		map._function(destination, source, count, map);
	else
		ShuffleOneByOne(destination, source, count, map);
}

} // namespace torvi
