// Loading and saving an uncompressed file in the page cache: time against read and one kernel pass, and the memory that it takes at most.
#include "bench/file_tools.h"
#include "bench/picture.h"
#include "torvi/ids_formats.h"
#include "torvi/mediasession_fileformats.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace torvi::bench
{

namespace
{

Result<void> Save(const ImageTextureRef& texture, const std::string& path)
{
	const auto exporter = TORVI_TRY(CreateObject<MediaOutputUrlInterface>(ids::CLASS_BMPEXPORT));
	TORVI_TRY(exporter->SetOutputUrl(TORVI_TRY(Url::FromSystemPath(path))));
	return texture->Save(exporter, MEDIASESSIONFLAGS::NONE, nullptr);
}

Result<ImageTextureRef> MakeSquare(Int side)
{
	return MakeTexture(GetPixelFormat(ids::PIXELFORMAT_RGB_U8), side, side);
}

/// Memory that no page of is there before it is written.
class FreshMemory
{
public:
	explicit FreshMemory(Int size) : _bytes(static_cast<Byte*>(Alloc(size))) {}
	FreshMemory(FreshMemory&& other) noexcept : _bytes(std::exchange(other._bytes, nullptr)) {}
	FreshMemory& operator=(FreshMemory&& other) noexcept
	{
		std::swap(_bytes, other._bytes);
		return *this;
	}
	~FreshMemory() { Free(_bytes); }

	Byte* GetBytes() const { return _bytes; }

private:
	Byte* _bytes = nullptr;
};

/// The bytes of a whole file, by plain system calls.
Result<FreshMemory> ReadFile(const std::string& path)
{
	const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
	TORVI_CHECK(file >= 0, IoError("@ cannot be opened.", path));
	struct stat status = {};
	fstat(file, &status);
	FreshMemory memory(status.st_size);
	Int size = 0;
	for (ssize_t count = 1; count > 0 && memory.GetBytes() != nullptr; size += count)
		count = std::max<ssize_t>(0, read(file, memory.GetBytes() + size, static_cast<std::size_t>(status.st_size - size)));
	close(file);
	TORVI_CHECK(size == status.st_size, IoError("@ cannot be read.", path));
	return memory;
}

Result<void> LoadAgainstRead(benchmark::State& state, double seconds, Int side)
{
	const TemporaryFile file(".bmp");
	TORVI_TRY(Save(TORVI_TRY(MakeSquare(side)), file.GetPath()));
	const PixelFormat format = TORVI_TRY(Load(file.GetPath()))->GetPixelFormat();
	const ConvertPixelFunc kernel = TORVI_TRY(FindKernel(format, format));
	const Int pictureBytes = side * format->GetBytesPerLine(side, 1);
	ImageTextureRef texture;
	FreshMemory fileBytes(0);
	FreshMemory pixels(0);
	const auto load = [&]() -> Result<void>
	{
		texture = TORVI_TRY(Load(file.GetPath()));
		return OK;
	};
	const auto readAndConvert = [&]() -> Result<void>
	{
		fileBytes = TORVI_TRY(ReadFile(file.GetPath()));
		pixels = FreshMemory(pictureBytes);
		TORVI_CHECK(pixels.GetBytes() != nullptr, OutOfMemoryError());
		const BITS stride = format->GetBitsPerPixel();
		return kernel(PixelBuffer(pixels.GetBytes(), stride), side * side, PixelBuffer(fileBytes.GetBytes(), stride), 0);
	};
	const auto giveBack = [&]()
	{
		texture = {};
		fileBytes = FreshMemory(0);
		pixels = FreshMemory(0);
	};
	return CompareByTurns(state, seconds, Task{load}, Task{readAndConvert}, giveBack);
}

/// Reports the growth and the size of the picture's storage.
template <class Work>
Result<void> ReportPeak(benchmark::State& state, const PixelFormat& format, Int side, Work work)
{
	state.counters["peak_bytes"] = static_cast<double>(TORVI_TRY(MeasurePeak(work)));
	state.counters["picture_bytes"] = static_cast<double>(side * format->GetBytesPerLine(side, 1));
	return OK;
}

Result<void> PeakOfLoad(benchmark::State& state, Int side)
{
	const TemporaryFile file(".bmp");
	TORVI_TRY(Save(TORVI_TRY(MakeSquare(side)), file.GetPath()));
	const PixelFormat format = TORVI_TRY(Load(file.GetPath()))->GetPixelFormat();
	return ReportPeak(state, format, side,
					  [&]() -> Result<void>
					  {
						  TORVI_TRY(Load(file.GetPath()));
						  return OK;
					  });
}

Result<void> PeakOfSave(benchmark::State& state, Int side)
{
	const TemporaryFile file(".bmp");
	const ImageTextureRef texture = TORVI_TRY(MakeSquare(side));
	return ReportPeak(state, texture->GetPixelFormat(), side, [&]() { return Save(texture, file.GetPath()); });
}

} // namespace

void AddFiles(const Options& options)
{
	const Int side = options._pictureSide;
	AddRounds("file/load", options, 1.0, [side](benchmark::State& state, double seconds) { return LoadAgainstRead(state, seconds, side); });
	Add("file/peak-of-load", [side](benchmark::State& state) { return PeakOfLoad(state, side); });
	Add("file/peak-of-save", [side](benchmark::State& state) { return PeakOfSave(state, side); });
}

} // namespace torvi::bench
