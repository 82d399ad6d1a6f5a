// What every pixel kernel is called with, and the kinds of kernels there are. A kernel is a plain function: it has no state, allocates
// nothing, cannot fail, and does nothing for counts of 0 and below. Any number of threads may run it on separate buffers.
#pragma once

#include "pixelformat/fixed_formats.h"

namespace torvi
{

/// One run of pixels on both sides. Strides are the bytes from one pixel to the next; they may be zero, negative or larger than the
/// pixel. Pointers need no alignment. Source and destination must not overlap, unless a kernel says otherwise.
struct KernelRun
{
	Byte* _destination = nullptr;
	Int _destinationStride = 0;
	const Byte* _source = nullptr;
	Int _sourceStride = 0;
	Int _count = 0;
};

/// `count` pixels of a run from pixel `start` on.
inline KernelRun PartOf(const KernelRun& run, Int start, Int count)
{
	return {run._destination + start * run._destinationStride, run._destinationStride, run._source + start * run._sourceStride,
			run._sourceStride, count};
}

/// A kernel that knows the layout of both sides.
using RunKernel = void (*)(const KernelRun& run);

/// Where a channel lies in its pixel, in bytes, and how it is stored.
struct ChannelPlace
{
	Int _offset = 0;
	ValueType _type = ValueType::U8;
};

/// What one channel of a destination becomes.
struct ChannelRule
{
	enum class Kind : UChar
	{
		Move, ///< the source's channel `_sources[0]`
		Mean, ///< the mean of three
		Fill, ///< `_fill`, an 8-bit value on the unsigned scale
		Zero  ///< zero bytes, which in signed types is the middle of the scale
	};
	Kind _kind = Kind::Zero;
	std::array<Int, 3> _sources = {}; // indices into the list of the source's channels
	UChar _fill = 0;

	constexpr Int GetSourceCount() const { return _kind == Kind::Move ? 1 : _kind == Kind::Mean ? 3 : 0; }

	static constexpr ChannelRule Move(Int source) { return {Kind::Move, {source, 0, 0}, 0}; }
	static constexpr ChannelRule Mean(Int red, Int green, Int blue) { return {Kind::Mean, {red, green, blue}, 0}; }
	static constexpr ChannelRule Fill(UChar value) { return {Kind::Fill, {}, value}; }
	static constexpr ChannelRule Zero() { return {}; }
};

} // namespace torvi
