// Pixels that do not lie side by side - wider strides, channels with gaps between them, a channel per plane - brought together into packed
// ones, and packed ones spread.
#pragma once

#include "pixelformat/kernel_planes.h"

namespace torvi
{

/// How the channels of one side lie: values of one size at byte offsets from the pixel, in ascending order.
class PlacedChannels
{
public:
	PlacedChannels() = default;
	PlacedChannels(Int valueSize, Block<const Int> offsets);

	Int GetValueSize() const { return _valueSize; }
	Int GetCount() const { return _count; }
	const std::array<Int, MAXIMUM_CHANNELS>& GetOffsets() const { return _offsets; }
	Int GetFirstOffset() const { return _offsets[0]; }
	Int GetPixelSize() const { return _pixelSize; }
	/// Whether the channels of a pixel lie side by side.
	bool IsContiguous() const { return _isContiguous; }
	/// Whether whole pixels lie side by side at this stride, beginning at the first offset.
	bool IsPacked(Int stride) const { return stride == _pixelSize && _isContiguous; }
	/// Whether each channel is a run of its own at this stride.
	bool IsPlanar(Int stride) const { return stride == _valueSize && !_isContiguous; }

private:
	Int _valueSize = 1;
	Int _count = 0;
	Int _pixelSize = 0;
	bool _isContiguous = true;
	std::array<Int, MAXIMUM_CHANNELS> _offsets = {};
};

/// Writes `pixels` pixels side by side in the order of the offsets. Any stride; the sides must not overlap.
void GatherPixels(Byte* packed, const Byte* source, Int stride, Int pixels, const PlacedChannels& channels);

/// The other way round; nothing between the channels is touched.
void SpreadPixels(Byte* destination, Int stride, const Byte* packed, Int pixels, const PlacedChannels& channels);

} // namespace torvi
