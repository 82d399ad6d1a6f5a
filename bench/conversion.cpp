// Conversion kernels against memcpy of as many bytes: all pairs of fixed formats, on short runs, on runs that stay in the cache, and on
// large pictures; and some pairs of CMYK.
#include "bench/measure.h"
#include "torvi/ids_formats.h"

#include <cstring>
#include <memory>

namespace torvi::bench
{

namespace
{

constexpr Id FIXED_REGISTRIES[] = {
	ids::REGISTRY_RGB,   ids::REGISTRY_RGBA,  ids::REGISTRY_ARGB,  ids::REGISTRY_RGBX, ids::REGISTRY_XRGB,
	ids::REGISTRY_BGR,   ids::REGISTRY_BGRA,  ids::REGISTRY_BGRX,  ids::REGISTRY_ABGR, ids::REGISTRY_GREY,
	ids::REGISTRY_GREYA, ids::REGISTRY_AGREY, ids::REGISTRY_ALPHA,
};

/// A length of run. With `_copyBytes` 0, memcpy copies half as many bytes as the conversion reads and writes.
struct RunSize
{
	const char* _name;
	Int _count;
	Int _copyBytes;
	double _seconds; ///< for one pair
};

constexpr RunSize RUN_SIZES[] = {
	{"64", 64, 0, 0.002},
	{"4096", 4096, 256 << 10, 0.003},
	{"16M", 16 << 20, 0, 0.08},
};

constexpr FormatPair CMYK_PAIRS[] = {
	{"rgb.u8", "cmyk.u8"},   {"cmyk.u8", "rgb.u8"},   {"rgba.u8", "acmyk.u8"},    {"acmyk.u8", "rgba.u8"},      {"rgb.u16", "cmyk.u16"},
	{"cmyk.u16", "rgb.u16"}, {"rgb.f32", "cmyk.f32"}, {"cmyk_inv.u8", "cmyk.u8"}, {"acmyk_inv.u8", "acmyk.u8"}, {"cmyk.u16", "cmyk.u8"},
};

struct NamedFormat
{
	std::string _name;
	PixelFormat _format;
};

/// The memory of all pairs of one size. It is made when the first of them runs, and filled again when the type of the source changes.
class PairMemory
{
public:
	PairMemory(Int pixelCount, Int copyBytes)
		: _size(static_cast<std::size_t>(std::max(pixelCount * LARGEST_PIXEL, copyBytes)) + CACHE_LINE)
	{
	}

	Result<void> Prepare(DataType sourceType)
	{
		if (_source.empty())
		{
			_destination.assign(_size, Byte(1));
			_source.assign(_size, Byte(1));
		}
		if (_filledType != sourceType)
			TORVI_TRY(FillWithNoise(_source, sourceType));
		_filledType = sourceType;
		return OK;
	}

	Byte* GetSource() { return Align(_source); }
	Byte* GetDestination() { return Align(_destination); }

private:
	static constexpr Int LARGEST_PIXEL = 4 * sizeof(Float64);
	static constexpr std::size_t CACHE_LINE = 64;

	/// Where the memory lies in its cache line changes what short runs take, of memcpy above all: it is the same in all runs of the
	/// program.
	static Byte* Align(Array<Byte>& bytes)
	{
		const std::size_t beyond = reinterpret_cast<std::uintptr_t>(bytes.data()) % CACHE_LINE;
		return bytes.data() + (CACHE_LINE - beyond) % CACHE_LINE;
	}

	std::size_t _size;
	Array<Byte> _source;
	Array<Byte> _destination;
	DataType _filledType;
};

/// Both sides work in the same memory.
Result<void> CompareWithCopy(benchmark::State& state, double seconds, const RunSize& run, PairMemory& memory,
							 const PixelFormat& destination, const PixelFormat& source)
{
	const ConvertPixelFunc function = TORVI_TRY(FindKernel(destination, source));
	TORVI_TRY(memory.Prepare(GetChannelDataType(source)));
	const PixelBuffer to(memory.GetDestination(), destination->GetBitsPerPixel());
	const PixelBuffer from(memory.GetSource(), source->GetBitsPerPixel());
	const Int pixelBytes = (destination->GetBitsPerPixel() + source->GetBitsPerPixel()) / 8; // read plus written
	const Int copyBytes = run._copyBytes > 0 ? run._copyBytes : run._count * pixelBytes / 2;
	const auto convert = [&]() -> Result<void>
	{
		TORVI_TRY(function(to, run._count, from, 0));
		benchmark::ClobberMemory();
		return OK;
	};
	const auto copy = [&]() -> Result<void>
	{
		std::memcpy(memory.GetDestination(), memory.GetSource(), static_cast<std::size_t>(copyBytes));
		benchmark::ClobberMemory();
		return OK;
	};
	state.counters["bytes"] = static_cast<double>(pixelBytes);
	return CompareByTurns(state, seconds, Task{convert, static_cast<double>(run._count)},
						  Task{copy, static_cast<double>(2 * copyBytes) / static_cast<double>(pixelBytes)});
}

/// The fixed formats that have channels in memory, which leaves out those packed into 16 bits. Those with one data type stand together.
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
	const auto getType = [](const NamedFormat& format) { return format._name.substr(format._name.find('.')); };
	std::stable_sort(formats.begin(), formats.end(), [&](const auto& a, const auto& b) { return getType(a) < getType(b); });
	return formats;
}

/// Two formats are destinations only.
Bool IsSource(const PixelFormat& format)
{
	return format != GetPixelFormat(ids::PIXELFORMAT_ABGR_F32) && format != GetPixelFormat(ids::PIXELFORMAT_ALPHA_F16);
}

/// All pairs of a size, source by source, so that the memory is filled once for each data type.
void AddPairs(const Options& options, const RunSize& run, const Array<NamedFormat>& formats)
{
	const auto memory = std::make_shared<PairMemory>(run._count, run._copyBytes);
	for (const NamedFormat& source : formats)
	{
		if (!IsSource(source._format))
			continue;
		for (const NamedFormat& destination : formats)
		{
			const auto compare = [=, to = destination._format, from = source._format](benchmark::State& state, double seconds)
			{ return CompareWithCopy(state, seconds, run, *memory, to, from); };
			AddRounds(std::string("pair/") + run._name + "/" + destination._name + "/" + source._name, options, run._seconds, compare);
		}
	}
}

void AddCmykPairs(const Options& options, const RunSize& run)
{
	const auto memory = std::make_shared<PairMemory>(run._count, run._copyBytes);
	for (const FormatPair& pair : CMYK_PAIRS)
	{
		const auto compare = [=](benchmark::State& state, double seconds) -> Result<void>
		{
			const PixelFormat to = TORVI_TRY(FindFormat(pair._destination)), from = TORVI_TRY(FindFormat(pair._source));
			return CompareWithCopy(state, seconds, run, *memory, to, from);
		};
		AddRounds(std::string("cmyk/") + run._name + "/" + pair._destination + "/" + pair._source, options, run._seconds, compare);
	}
}

} // namespace

void AddConversions(const Options& options)
{
	const Array<NamedFormat> formats = FindFixedFormats().ValueOr(Array<NamedFormat>());
	for (RunSize run : RUN_SIZES)
	{
		run._count = options._isQuick ? std::min<Int>(run._count, 256) : run._count;
		AddPairs(options, run, formats);
		AddCmykPairs(options, run);
	}
}

} // namespace torvi::bench
