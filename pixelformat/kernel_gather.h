// Pixels that do not lie side by side - wider strides, channels with gaps between them, a channel per plane - brought together into packed
// ones, and packed ones spread.
#pragma once

#include "pixelformat/kernel_planes.h"

namespace torvi
{

/// How the channels of one side lie: values of one size at byte offsets from the pixel, in ascending order.
struct PlacedChannels
{
	Int _valueSize = 1;
	Int _count = 0;
	std::array<Int, MAXIMUM_CHANNELS> _offsets = {};

	Int GetPixelSize() const { return _valueSize * _count; }
	/// Whether the channels of a pixel lie side by side.
	bool IsContiguous() const;
	/// Whether whole pixels lie side by side at this stride, beginning at the first offset.
	bool IsPacked(Int stride) const { return stride == GetPixelSize() && IsContiguous(); }
	/// Whether each channel is a run of its own at this stride.
	bool IsPlanar(Int stride) const { return stride == _valueSize && !IsContiguous(); }
};

/// Writes `pixels` pixels side by side in the order of the offsets. Any stride; the sides must not overlap.
void GatherPixels(Byte* packed, const Byte* source, Int stride, Int pixels, const PlacedChannels& channels);

/// The other way round; nothing between the channels is touched.
void SpreadPixels(Byte* destination, Int stride, const Byte* packed, Int pixels, const PlacedChannels& channels);

} // namespace torvi
