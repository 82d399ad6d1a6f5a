// Conversion channel by channel: movers, means and fills that each serve one channel of a run, and plans of such steps. This is how
// formats meet whose lists of channels are known at run time only.
#pragma once

#include "pixelformat/kernel_run.h"

namespace torvi
{

/// Where a channel lies in its pixel, in bytes, and how it is stored.
struct ChannelPlace
{
	Int _offset = 0;
	ValueType _type = ValueType::U8;
};

/// One step of a plan: a plain value that may be copied and kept.
struct ChannelStep
{
	using Function = void (*)(const KernelRun& run, const ChannelStep& step);

	Function _function = nullptr;
	Int _destinationOffset = 0;
	std::array<Int, 3> _sourceOffsets = {}; // a mover uses the first
	UInt64 _fill = 0;                       // the bits of a fill, from the lowest byte
};

/// Copies one channel and converts it; there is one mover for each of the 81 pairs of data types.
ChannelStep MoverStep(const ChannelPlace& destination, const ChannelPlace& source);

/// Writes the mean of three channels of `sourceType`, which must be "uchar", "uint16", "float32" or "float64".
ChannelStep MeanStep(const ChannelPlace& destination, ValueType sourceType, const std::array<Int, 3>& sourceOffsets);

/// Writes a constant: an 8-bit value on the unsigned scale, converted to the channel's type. 255 is full scale.
ChannelStep FillStep(const ChannelPlace& destination, UChar value);

/// Writes zero bytes, which in signed types is the middle of the scale.
ChannelStep ZeroStep(const ChannelPlace& destination);

/// Runs all steps over all pixels, some pixels at a time so that they stay in the cache.
void RunSteps(Block<const ChannelStep> steps, const KernelRun& run);

} // namespace torvi
