// Pixels whose colours become other colours: they are taken apart into planes and computed there, in a data type that may be that of
// neither side. Alpha goes beside them, straight from type to type.
#pragma once

#include "pixelformat/kernel_run.h"

namespace torvi
{

/// Computes `count` values of each colour. The planes of a side lie one behind the other; the sides do not overlap.
using ColourKernel = void (*)(Byte* destination, const Byte* source, Int count);

/// One side: packed pixels of the colours and at most one channel more, which is alpha or takes its place.
struct ColourSide
{
	ValueType _type = ValueType::U8;
	Int _channelCount = 0;
	Int _colourCount = 0;
	std::array<Int, MAXIMUM_CHANNELS> _roles = {}; // of the channels in their order: the index of a colour, or `_colourCount`

	bool HasAlpha() const { return _channelCount > _colourCount; }
};

struct ColourMap
{
	ColourSide _destination;
	ColourSide _source;
	bool _readsAlpha = false; // else the destination's is full
	ValueType _computedType = ValueType::F32;
	ColourKernel _compute = nullptr;
};

/// `count` pixels. The sides must not overlap and need no alignment.
void ConvertColours(Byte* destination, const Byte* source, Int count, const ColourMap& map);

} // namespace torvi
