// Conversion kernels against memcpy of as many bytes: all pairs of fixed formats on runs that stay in the cache, and some on large
// pictures.
#include "bench/measure.h"
#include "torvi/ids_formats.h"

#include <cstring>

namespace torvi::bench
{

namespace
{

constexpr Int RUN_LENGTH = 4096; // pixels

constexpr Id FIXED_REGISTRIES[] = {
	ids::REGISTRY_RGB,   ids::REGISTRY_RGBA,  ids::REGISTRY_ARGB,  ids::REGISTRY_RGBX, ids::REGISTRY_XRGB,
	ids::REGISTRY_BGR,   ids::REGISTRY_BGRA,  ids::REGISTRY_BGRX,  ids::REGISTRY_ABGR, ids::REGISTRY_GREY,
	ids::REGISTRY_GREYA, ids::REGISTRY_AGREY, ids::REGISTRY_ALPHA,
};

struct NamedFormat
{
	std::string _name;
	PixelFormat _format;
};

// What loading, saving and showing of pictures does: channels in another order, more or fewer channels, and changes of the data type.
constexpr FormatPair PICTURE_PAIRS[] = {
	{"rgba.u8", "rgba.u8"},   {"bgra.u8", "rgba.u8"},   {"rgba.u8", "rgb.u8"},   {"rgb.u8", "rgba.u8"},   {"bgr.u8", "rgb.u8"},
	{"rgb.u8", "grey.u8"},    {"grey.u8", "rgb.u8"},    {"rgba.u16", "rgba.u8"}, {"rgba.u8", "rgba.u16"}, {"bgra.u16", "rgba.u16"},
	{"grey.u16", "rgb.u16"},  {"rgb.u16", "rgb.u32"},   {"rgb.u32", "rgb.u16"},  {"rgba.u32", "rgb.u32"}, {"rgb.s32", "rgb.u32"},
	{"rgba.f32", "rgba.u8"},  {"rgba.u8", "rgba.f32"},  {"rgb.u8", "rgba.f32"},  {"rgb.u16", "rgba.f32"}, {"rgba.f32", "rgba.u32"},
	{"rgba.u32", "rgba.f32"}, {"argb.f32", "rgba.f32"}, {"rgb.f32", "grey.f32"}, {"grey.f32", "rgb.f32"},
};

Result<void> ConvertInCache(benchmark::State& state, const PixelFormat& destination, const PixelFormat& source)
{
	const ConvertPixelFunc convert = TORVI_TRY(FindKernel(destination, source));
	const Array<Byte> from = TORVI_TRY(MakePixels(source, RUN_LENGTH));
	Array<Byte> to = MakeMemory(destination, RUN_LENGTH);
	const PixelBuffer toBuffer(to.data(), destination->GetBitsPerPixel());
	const PixelBuffer fromBuffer(from.data(), source->GetBitsPerPixel());
	for (auto _ : state)
	{
		TORVI_TRY(convert(toBuffer, RUN_LENGTH, fromBuffer, 0));
		benchmark::ClobberMemory();
	}
	state.SetBytesProcessed(state.iterations() * static_cast<Int>(from.size() + to.size()));
	return OK;
}

/// memcpy works in the same two blocks and moves as many bytes, read plus written.
Result<void> ConvertPicture(benchmark::State& state, const FormatPair& pair, Int side)
{
	const PixelFormat destination = TORVI_TRY(FindFormat(pair._destination));
	const PixelFormat source = TORVI_TRY(FindFormat(pair._source));
	const ConvertPixelFunc convert = TORVI_TRY(FindKernel(destination, source));
	Array<Byte> from = TORVI_TRY(MakePixels(source, side * side));
	Array<Byte> to = MakeMemory(destination, side * side);
	const std::size_t half = (from.size() + to.size()) / 2;
	from.resize(std::max(from.size(), half));
	to.resize(std::max(to.size(), half));
	const PixelBuffer toBuffer(to.data(), destination->GetBitsPerPixel());
	const PixelBuffer fromBuffer(from.data(), source->GetBitsPerPixel());
	const auto copy = [&]() -> Result<void>
	{
		std::memcpy(to.data(), from.data(), half);
		benchmark::ClobberMemory();
		return OK;
	};
	return CompareByTurns(
		state, 1, [&]() { return convert(toBuffer, side * side, fromBuffer, 0); }, copy);
}

/// The fixed formats that have channels in memory, which leaves out those packed into 16 bits.
Result<Array<NamedFormat>> FindFixedFormats()
{
	Array<NamedFormat> formats;
	for (const Id& registry : FIXED_REGISTRIES)
	{
		for (Registry::Iterator it = TORVI_TRY(g_torvi->GetRegistry(registry))->CreateIterator(); it.HasValue(); it.MoveToNext())
		{
			const PixelFormat format = Cast<PixelFormatInterface>(it.GetEntry());
			if (format && !format->GetChannels().empty())
				formats.push_back({std::string(it.GetEntryId().GetText().substr(PIXELFORMAT_PREFIX.size())), format});
		}
	}
	return formats;
}

/// Two formats are destinations only.
Bool IsSource(const PixelFormat& format)
{
	return format != GetPixelFormat(ids::PIXELFORMAT_ABGR_F32) && format != GetPixelFormat(ids::PIXELFORMAT_ALPHA_F16);
}

/// One destination's pairs. Its own memcpy stands in front of them, so that both see the same state of the machine.
void AddPairs(const Options& options, const NamedFormat& destination, const Array<NamedFormat>& formats)
{
	const std::string name = "pair/" + destination._name + "/";
	Add(name + "copy", options, 0.01, [](benchmark::State& state) { return MeasureMemoryCopy(state, CACHED_COPY_BYTES); });
	for (const NamedFormat& source : formats)
	{
		if (IsSource(source._format))
			Add(name + source._name, options, 0.005,
				[to = destination._format, from = source._format](benchmark::State& state) { return ConvertInCache(state, to, from); });
	}
}

} // namespace

void AddConversions(const Options& options)
{
	for (const FormatPair& pair : PICTURE_PAIRS)
	{
		Add(std::string("picture/") + pair._destination + "/" + pair._source, options, 0.4,
			[pair, side = options._pictureSide](benchmark::State& state) { return ConvertPicture(state, pair, side); })
			->UseManualTime();
	}
	const Array<NamedFormat> formats = FindFixedFormats().ValueOr(Array<NamedFormat>());
	for (const NamedFormat& destination : formats)
		AddPairs(options, destination, formats);
}

} // namespace torvi::bench
