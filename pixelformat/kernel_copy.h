// Copies of pixels and channels that change no value. Unlike all other kernels they take overlapping runs: the result is that of a copy
// through a buffer, if both strides are equal, or if one run lies ahead of the other, or both start together, in the whole overlap.
#pragma once

#include "pixelformat/kernel_channel.h"

namespace torvi
{

/// Copies whole pixels of `bytesPerPixel` bytes. Contiguous runs are one block.
void CopyPixels(const KernelRun& run, Int bytesPerPixel);

/// The copy of a format's channels from one layout to another.
class ChannelCopy
{
public:
	/// Both lists name the same channels in the same order, at most MAXIMUM_CHANNELS.
	ChannelCopy(Block<const ChannelPlace> destination, Block<const ChannelPlace> source);

	void Run(const KernelRun& run) const;

private:
	ChannelProgram _program; // for runs that do not overlap
	Array<ChannelPlace> _destination;
	Array<ChannelPlace> _source;
};

} // namespace torvi
