// Pixels with channels in planes and pixels with gaps between them, against the same conversion of packed pixels. Runs that stay in the
// cache.
#include "bench/measure.h"

namespace torvi::bench
{

namespace
{

constexpr Int RUN_LENGTH = 4096; // pixels

enum class Layout
{
	PACKED,
	PADDED,
	PLANES
};

struct LayoutPair
{
	const char* _name;
	Layout _destination;
	Layout _source;
};

constexpr LayoutPair LAYOUT_PAIRS[] = {
	{"from-planes", Layout::PACKED, Layout::PLANES},
	{"to-planes", Layout::PLANES, Layout::PACKED},
	{"from-padded", Layout::PACKED, Layout::PADDED},
	{"to-padded", Layout::PADDED, Layout::PACKED},
};

constexpr FormatPair FORMAT_PAIRS[] = {
	{"rgba.u8", "rgb.u8"},   {"rgb.u8", "rgba.u8"},   {"bgra.u8", "rgba.u8"}, {"grey.u8", "rgb.u8"},   {"rgb.u16", "rgba.u8"},
	{"rgba.u8", "rgba.u16"}, {"rgba.u8", "rgba.u32"}, {"rgba.u8", "rgb.f32"}, {"rgba.f32", "rgba.u8"}, {"argb.f32", "rgba.f32"},
};

/// Offsets and distance of RUN_LENGTH pixels in a layout. All fixed formats have channels of one size.
struct Placement
{
	Placement(const PixelFormatInterface& format, Layout layout)
	{
		const BITS channelBits = format.GetBitsPerPixel() / format.GetChannelCount();
		_offsets.assign(format.GetChannelOffsets().begin(), format.GetChannelOffsets().end());
		_distance = format.GetBitsPerPixel() + (layout == Layout::PADDED ? channelBits : 0);
		if (layout != Layout::PLANES)
			return;
		_distance = channelBits;
		for (BITS& offset : _offsets)
			offset *= RUN_LENGTH;
	}

	Array<BITS> _offsets;
	BITS _distance = 0;
};

/// A conversion between two layouts, and the memory that it works on: twice what packed pixels need, so that the gaps have room.
struct Conversion
{
	static Result<Conversion> Make(const PixelFormat& to, Layout toLayout, const PixelFormat& from, Layout fromLayout)
	{
		const Placement destination(*to, toLayout);
		const Placement source(*from, fromLayout);
		return Conversion{TORVI_TRY(FindKernel(to, from, destination._offsets, source._offsets)), destination._distance, source._distance,
						  MakeMemory(to, 2 * RUN_LENGTH), TORVI_TRY(MakePixels(from, 2 * RUN_LENGTH))};
	}

	Result<void> Run()
	{
		return _convert(PixelBuffer(_destination.data(), _destinationDistance), RUN_LENGTH, PixelBuffer(_source.data(), _sourceDistance),
						0);
	}

	ConvertPixelFunc _convert;
	BITS _destinationDistance;
	BITS _sourceDistance;
	Array<Byte> _destination;
	Array<Byte> _source;
};

/// Reports nanoseconds per pixel.
Result<void> CompareLayouts(benchmark::State& state, double seconds, const LayoutPair& layouts, const FormatPair& formats)
{
	const PixelFormat destination = TORVI_TRY(FindFormat(formats._destination));
	const PixelFormat source = TORVI_TRY(FindFormat(formats._source));
	Conversion packed = TORVI_TRY(Conversion::Make(destination, Layout::PACKED, source, Layout::PACKED));
	Conversion other = TORVI_TRY(Conversion::Make(destination, layouts._destination, source, layouts._source));
	const auto convertOther = [&]() { return other.Run(); };
	const auto convertPacked = [&]() { return packed.Run(); };
	return CompareByTurns(state, seconds, Task{convertOther, RUN_LENGTH}, Task{convertPacked, RUN_LENGTH});
}

} // namespace

void AddLayouts(const Options& options)
{
	for (const LayoutPair& layouts : LAYOUT_PAIRS)
	{
		for (const FormatPair& formats : FORMAT_PAIRS)
		{
			const auto compare = [&layouts, &formats](benchmark::State& state, double seconds)
			{ return CompareLayouts(state, seconds, layouts, formats); };
			AddRounds(std::string("layout/") + layouts._name + "/" + formats._destination + "/" + formats._source, options, 0.02, compare);
		}
	}
}

} // namespace torvi::bench
