// The measurements of one library's files.
#include "bench/codec.h"

namespace torvi::bench
{

namespace
{

Error LibraryError()
{
	return UnknownError("The plain loop failed.");
}

/// The lines of a texture's picture, one after the other.
Result<FreshMemory> CopyPixels(const ImageTextureRef& texture, Int side)
{
	const PixelFormat format = texture->GetPixelFormat();
	const Int bytesPerLine = format->GetBytesPerLine(side, 1);
	FreshMemory pixels(bytesPerLine * side);
	TORVI_CHECK(pixels.GetBytes() != nullptr, OutOfMemoryError());
	const GetPixelHandlerStruct reader =
		TORVI_TRY(texture->GetPixelHandler(format, format->GetChannelOffsets(), ColorProfile(), GETPIXELHANDLERFLAGS::NONE, nullptr));
	for (Int y = 0; y < side; ++y)
		TORVI_TRY(reader._getLine({0, y, side}, PixelBuffer(pixels.GetBytes() + y * bytesPerLine, format->GetBitsPerPixel()), 0));
	return pixels;
}

Result<void> LoadAgainstLibrary(benchmark::State& state, double seconds, Int side, const Codec& codec)
{
	const TemporaryFile file("." + codec._name);
	TORVI_TRY(Save(TORVI_TRY(MakePhotograph(side)), codec._exporter, file.GetPath()));
	ImageTextureRef texture;
	FreshMemory pixels(0);
	const auto load = [&]() -> Result<void>
	{
		texture = TORVI_TRY(Load(file.GetPath()));
		return OK;
	};
	const auto read = [&]() -> Result<void>
	{
		pixels = FreshMemory(side * side * 3);
		TORVI_CHECK(pixels.GetBytes() != nullptr && codec._read(file.GetPath().c_str(), pixels.GetBytes()), LibraryError());
		return OK;
	};
	const auto giveBack = [&]()
	{
		texture = {};
		pixels = FreshMemory(0);
	};
	const auto count = static_cast<double>(side * side);
	return CompareByTurns(state, seconds, Task{load, count}, Task{read, count}, giveBack);
}

Result<void> SaveAgainstLibrary(benchmark::State& state, double seconds, Int side, const Codec& codec)
{
	const TemporaryFile file("." + codec._name);
	const ImageTextureRef texture = TORVI_TRY(MakePhotograph(side));
	const FreshMemory pixels = TORVI_TRY(CopyPixels(texture, side));
	const auto save = [&]() { return Save(texture, codec._exporter, file.GetPath()); };
	const auto write = [&]() -> Result<void>
	{
		TORVI_CHECK(codec._write(file.GetPath().c_str(), pixels.GetBytes(), side), LibraryError());
		return OK;
	};
	const auto count = static_cast<double>(side * side);
	return CompareByTurns(state, seconds, Task{save, count}, Task{write, count});
}

Result<void> PeakOfLoad(benchmark::State& state, Int side, const Codec& codec)
{
	const TemporaryFile file("." + codec._name);
	TORVI_TRY(Save(TORVI_TRY(MakePhotograph(side)), codec._exporter, file.GetPath()));
	return ReportPeakOfLoad(state, file.GetPath(), side);
}

Result<void> PeakOfSave(benchmark::State& state, Int side, const Codec& codec)
{
	const TemporaryFile file("." + codec._name);
	const ImageTextureRef texture = TORVI_TRY(MakePhotograph(side));
	return ReportPeak(state, texture->GetPixelFormat(), side, [&]() { return Save(texture, codec._exporter, file.GetPath()); });
}

} // namespace

void AddCodec(const Options& options, const Codec& codec, Int side, double seconds)
{
	const std::string name = "file/" + codec._name;
	AddRounds(name + "-load", options, seconds,
			  [side, codec](benchmark::State& state, double limit) { return LoadAgainstLibrary(state, limit, side, codec); });
	AddRounds(name + "-save", options, 2.0 * seconds,
			  [side, codec](benchmark::State& state, double limit) { return SaveAgainstLibrary(state, limit, side, codec); });
	Add(name + "-peak-of-load", [side, codec](benchmark::State& state) { return PeakOfLoad(state, side, codec); });
	Add(name + "-peak-of-save", [side, codec](benchmark::State& state) { return PeakOfSave(state, side, codec); });
}

} // namespace torvi::bench
