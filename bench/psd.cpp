// Loading of PSD files with packed rows, in the page cache: the merged picture alone, layers, and the merged picture of a file that has
// layers.
#include "bench/file_tools.h"
#include "bench/measure.h"
#include "torvi/mediasession_session.h"

#include <fstream>
#include <random>

namespace torvi::bench
{

namespace
{

constexpr Int RGB_MODE = 3;
constexpr Int GREY_MODE = 1;
constexpr Int LAYER_COUNT = 4;

using Bytes = std::string;

void Put(Bytes& bytes, Int value, Int size)
{
	for (Int shift = 8 * (size - 1); shift >= 0; shift -= 8)
		bytes.push_back(static_cast<char>(value >> shift));
}

/// A row of runs and literals of all lengths, as pictures have them.
Bytes MakePackedRow(Int width, std::mt19937& random)
{
	Bytes row;
	for (Int x = 0; x < width;)
	{
		const Bool isRun = random() % 2 == 0;
		const Int length = std::min(width - x, static_cast<Int>(isRun ? 3 + random() % 40 : 1 + random() % 60));
		row.push_back(static_cast<char>(isRun ? 257 - length : length - 1));
		for (Int i = 0; i < (isRun ? 1 : length); ++i)
			row.push_back(static_cast<char>(random()));
		x += length;
	}
	return row;
}

/// The table of rows and the rows, of one or more channels; what stands behind the compression.
Bytes MakePackedChannels(Int side, Int channels, std::mt19937& random)
{
	Bytes table;
	Bytes rows;
	for (Int i = 0; i < channels * side; ++i)
	{
		const Bytes row = MakePackedRow(side, random);
		Put(table, CountOf(row), 2);
		rows += row;
	}
	return table + rows;
}

Bytes MakeLayers(Int side, std::mt19937& random)
{
	Bytes records;
	Bytes data;
	Put(records, LAYER_COUNT, 2);
	for (Int layer = 0; layer < LAYER_COUNT; ++layer)
	{
		for (const Int value : {Int(0), Int(0), side, side})
			Put(records, value, 4);
		Put(records, 4, 2);
		for (const Int channel : {-1, 0, 1, 2})
		{
			const Bytes packed = MakePackedChannels(side, 1, random);
			Put(records, channel, 2);
			Put(records, CountOf(packed) + 2, 4);
			Put(data, 1, 2);
			data += packed;
		}
		records += "8BIMnorm";
		Put(records, Int(0xFF000000), 4); // opacity, clipping, flags
		Put(records, 0, 4);
	}
	Bytes section;
	Put(section, CountOf(records) + CountOf(data) + 4, 4);
	Put(section, CountOf(records) + CountOf(data), 4);
	return section + records + data;
}

Result<void> WriteFile(const std::string& path, Int side, Int mode, Bool hasLayers)
{
	std::mt19937 random(3);
	const Int channels = mode == RGB_MODE ? 3 : 1;
	Bytes file = "8BPS";
	Put(file, 1, 2);
	file.append(6, '\0');
	Put(file, channels, 2);
	Put(file, side, 4);
	Put(file, side, 4);
	Put(file, 8, 2);
	Put(file, mode, 2);
	Put(file, 0, 8); // neither palette nor resources
	if (hasLayers)
		file += MakeLayers(side, random);
	else
		Put(file, 0, 4);
	Put(file, 1, 2);
	file += MakePackedChannels(side, channels, random);
	std::ofstream stream(path, std::ios::binary);
	stream.write(file.data(), static_cast<std::streamsize>(file.size()));
	TORVI_CHECK(stream.flush().good(), IoError("@ cannot be written.", path));
	return OK;
}

/// The merged picture of a file, without its layers.
Result<ImageTextureRef> LoadPicture(const std::string& path)
{
	const auto texture = TORVI_TRY(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	const auto output = TORVI_TRY(CreateObject<MediaOutputTextureInterface>(ids::CLASS_MEDIAOUTPUTTEXTURE));
	TORVI_TRY(output->SetOutputTexture(texture, TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL))));
	const auto select = [](const MediaStreamRef& stream, const MediaStreamFormat&) -> Result<MediaOutputSelectionResult>
	{ return stream->GetParent() ? MediaOutputSelectionResult::SELECTSTRUCTURE : MediaOutputSelectionResult::SELECTALL; };
	TORVI_TRY(MediaSessionImport(TORVI_TRY(Url::FromSystemPath(path)), TimeValue(), MEDIASESSIONFLAGS::NONE, output, select, {}, {}, {}));
	return texture;
}

using Loader = Result<ImageTextureRef> (*)(const std::string& path);

/// A file to load and how: a merged picture, with layers in front of it or without.
struct LoadCase
{
	const char* _name;
	Int _mode;
	Bool _hasLayers;
	Loader _load;
	Int _pictures; ///< of `side` squared pixels, that are decoded
	Int _bytesPerPixel;
};

constexpr LoadCase LOADS[] = {
	{"merged", RGB_MODE, false, &Load, 1, 3},
	{"merged-grey", GREY_MODE, false, &Load, 1, 1},
	{"layers", RGB_MODE, true, &Load, LAYER_COUNT, 4},
	{"merged-of-layers", RGB_MODE, true, &LoadPicture, 1, 3},
};

/// Nanoseconds per pixel that is decoded.
Result<void> MeasureLoad(benchmark::State& state, double seconds, Int side, const LoadCase& measured)
{
	const TemporaryFile file(".psd");
	TORVI_TRY(WriteFile(file.GetPath(), side, measured._mode, measured._hasLayers));
	ImageTextureRef texture;
	const auto load = [&]() -> Result<void>
	{
		texture = TORVI_TRY(measured._load(file.GetPath()));
		return OK;
	};
	const auto analyze = [&]() -> Result<void>
	{
		const ClassRef noData = TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NODATA));
		texture =
			TORVI_TRY(LoadTexture(TORVI_TRY(Url::FromSystemPath(file.GetPath())), TimeValue(), MEDIASESSIONFLAGS::NONE, noData, nullptr));
		return OK;
	};
	const auto pixels = static_cast<double>(side * side * measured._pictures);
	state.counters["bytes_per_pixel"] = static_cast<double>(measured._bytesPerPixel);
	return CompareByTurns(state, seconds, Task{load, pixels}, Task{analyze}, [&]() { texture = {}; });
}

Result<void> MeasurePeakOfLoad(benchmark::State& state, Int side, const LoadCase& measured)
{
	const TemporaryFile file(".psd");
	TORVI_TRY(WriteFile(file.GetPath(), side, measured._mode, measured._hasLayers));
	const auto load = [&]() -> Result<void>
	{
		TORVI_TRY(measured._load(file.GetPath()));
		return OK;
	};
	constexpr Int MERGED_BYTES_PER_PIXEL = 3; // of the picture that comes with the layers
	state.counters["peak_bytes"] = static_cast<double>(TORVI_TRY(MeasurePeak(load)));
	state.counters["picture_bytes"] =
		static_cast<double>(side * side * (measured._pictures * measured._bytesPerPixel + MERGED_BYTES_PER_PIXEL));
	return OK;
}

} // namespace

void AddPsd(const Options& options)
{
	const Int side = options._pictureSide;
	for (const LoadCase& measured : LOADS)
	{
		AddRounds(std::string("psd/load/") + measured._name, options, 1.0,
				  [side, &measured](benchmark::State& state, double seconds) { return MeasureLoad(state, seconds, side, measured); });
	}
	Add("psd/peak-of-load", [side](benchmark::State& state) { return MeasurePeakOfLoad(state, side, LOADS[2]); });
}

} // namespace torvi::bench
