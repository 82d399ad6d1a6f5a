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

	// The same for as many pixels as 16 bytes hold on both sides, as bytes: where each comes from (128 for a fill), and the fills.
	std::array<Byte, 16> _order = {};
	std::array<Byte, 16> _fills = {};

	Int GetSourceSize() const { return _valueSize * _sourceCount; }
	Int GetDestinationSize() const { return _valueSize * _destinationCount; }
};

ShuffleMap MakeShuffleMap(Int valueSize, Int sourceCount, Block<const ChannelPick> picks);

/// `count` pixels. The sides must not overlap and need no alignment.
void ShufflePixels(Byte* destination, const Byte* source, Int count, const ShuffleMap& map);

} // namespace torvi
