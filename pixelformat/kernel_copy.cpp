// The copies: a block where pixels are contiguous, else pixel by pixel in the order that keeps what is still to be read. Every pixel is
// read whole before it is written, so that channels may change places within one buffer.
#include "pixelformat/kernel_copy.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace torvi
{

namespace
{

// Whether the pixels must be copied from the last to the first: the destination runs ahead of the source, in the direction of the run.
bool RunsBackwards(const KernelRun& run)
{
	if (run._destinationStride == 0)
		return false; // the last pixel stays
	const auto destination = reinterpret_cast<std::uintptr_t>(run._destination);
	const auto source = reinterpret_cast<std::uintptr_t>(run._source);
	const auto aheadAtStart = static_cast<Int>(destination - source);
	const Int aheadAtEnd = aheadAtStart + (run._count - 1) * (run._destinationStride - run._sourceStride);
	return run._sourceStride < 0 ? aheadAtStart < 0 || aheadAtEnd < 0 : aheadAtStart > 0 || aheadAtEnd > 0;
}

template <class CopyPixel>
void CopyInOrder(const KernelRun& run, CopyPixel copyPixel)
{
	const bool backwards = RunsBackwards(run);
	for (Int i = 0; i < run._count; ++i)
	{
		const Int pixel = backwards ? run._count - 1 - i : i;
		copyPixel(run._destination + pixel * run._destinationStride, run._source + pixel * run._sourceStride);
	}
}

/// Each pixel is read whole before it is written. The usual sizes are known to the compiler.
template <std::size_t SIZE>
void CopyPixelsOfSize(const KernelRun& run)
{
	CopyInOrder(run,
				[](Byte* destination, const Byte* source)
				{
					std::array<Byte, SIZE> pixel;
					std::memcpy(pixel.data(), source, SIZE);
					std::memcpy(destination, pixel.data(), SIZE);
				});
}

void CopySpreadPixels(const KernelRun& run, std::size_t size)
{
	switch (size)
	{
	case 1:
		return CopyPixelsOfSize<1>(run);
	case 2:
		return CopyPixelsOfSize<2>(run);
	case 3:
		return CopyPixelsOfSize<3>(run);
	case 4:
		return CopyPixelsOfSize<4>(run);
	case 6:
		return CopyPixelsOfSize<6>(run);
	case 8:
		return CopyPixelsOfSize<8>(run);
	case 12:
		return CopyPixelsOfSize<12>(run);
	case 16:
		return CopyPixelsOfSize<16>(run);
	case 24:
		return CopyPixelsOfSize<24>(run);
	case 32:
		return CopyPixelsOfSize<32>(run);
	default:
		CopyInOrder(run, [size](Byte* destination, const Byte* source) { std::memmove(destination, source, size); });
	}
}

struct Extent
{
	Int _begin;
	Int _end;
};

/// The bytes that a run touches on one side, from its first pixel on.
Extent ExtentOf(Int count, Int stride, Block<const ChannelPlace> channels)
{
	const Int last = (count - 1) * stride;
	Extent extent = {std::numeric_limits<Int>::max(), std::numeric_limits<Int>::min()};
	for (const ChannelPlace& channel : channels)
	{
		extent._begin = std::min(extent._begin, std::min<Int>(last, 0) + channel._offset);
		extent._end = std::max(extent._end, std::max<Int>(last, 0) + channel._offset + SizeOf(channel._type));
	}
	return extent;
}

Array<ChannelRule> MoveAll(std::size_t count)
{
	Array<ChannelRule> rules;
	for (std::size_t i = 0; i < count; ++i)
		rules.push_back(ChannelRule::Move(static_cast<Int>(i)));
	return rules;
}

} // namespace

void CopyPixels(const KernelRun& run, Int bytesPerPixel)
{
	if (run._count <= 0)
		return;
	if (run._destinationStride == bytesPerPixel && run._sourceStride == bytesPerPixel)
		std::memmove(run._destination, run._source, static_cast<std::size_t>(run._count * bytesPerPixel));
	else
		CopySpreadPixels(run, static_cast<std::size_t>(bytesPerPixel));
}

ChannelCopy::ChannelCopy(Block<const ChannelPlace> destination, Block<const ChannelPlace> source)
	: _program(destination, source, MoveAll(destination.size())), _destination(destination.begin(), destination.end()),
	  _source(source.begin(), source.end())
{
}

void ChannelCopy::Run(const KernelRun& run) const
{
	if (run._count <= 0)
		return;
	const Extent to = ExtentOf(run._count, run._destinationStride, _destination);
	const Extent from = ExtentOf(run._count, run._sourceStride, _source);
	const auto ahead = static_cast<Int>(reinterpret_cast<std::uintptr_t>(run._destination) - reinterpret_cast<std::uintptr_t>(run._source));
	if (ahead + to._begin >= from._end || ahead + to._end <= from._begin)
		return _program.Run(run);
	CopyInOrder(run,
				[&](Byte* destination, const Byte* source)
				{
					std::array<std::array<Byte, sizeof(Float64)>, MAXIMUM_CHANNELS> pixel;
					const auto size = static_cast<std::size_t>(SizeOf(_source[0]._type));
					for (std::size_t i = 0; i < _source.size(); ++i)
						std::memcpy(pixel[i].data(), source + _source[i]._offset, size);
					for (std::size_t i = 0; i < _source.size(); ++i)
						std::memcpy(destination + _destination[i]._offset, pixel[i].data(), size);
				});
}

} // namespace torvi
