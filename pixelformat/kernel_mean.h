// Pixels in which a channel is the plain mean of three colours.
#pragma once

#include "pixelformat/kernel_planes.h"

namespace torvi
{

/// What one channel of the result is made of.
struct MeanPick
{
	enum class Kind : UChar
	{
		Channel,
		Mean,
		Fill
	};
	Kind _kind = Kind::Fill;
	std::array<UChar, 3> _sources = {}; // indices of source channels: one, or red, green and blue
	UInt64 _fill = 0;                   // the bits of the value, from the lowest byte
};

/// Both pixels are packed and of the same data type.
struct MeanMap
{
	Int _destinationCount = 0;
	Int _sourceCount = 0;
	std::array<MeanPick, MAXIMUM_CHANNELS> _picks = {};
};

using MeanKernel = void (*)(Byte* destination, const Byte* source, Int count, const MeanMap& map);

/// The kernel for a data type; empty for those that have no mean, "char" and "int16".
MeanKernel MeanKernelFor(ValueType type);

/// The means of three runs of values.
using PlaneMeanKernel = void (*)(Byte* destination, const Byte* red, const Byte* green, const Byte* blue, Int count);

/// As `MeanKernelFor`.
PlaneMeanKernel PlaneMeanKernelFor(ValueType type);

} // namespace torvi
