// Loading and saving a PNG file in the page cache: time against the plain loop over libpng, and the memory that it takes at most.
#include "bench/file_tools.h"
#include "torvi/mediasession_fileformats.h"

#include <png.h>

namespace torvi::bench
{

namespace
{

Error LibraryError()
{
	return UnknownError("libpng failed.");
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

/// Reads an RGB file of 8 bits row by row into memory that holds it. Without a jump buffer the library ends the process on a failure.
Bool ReadPlainly(const char* path, Byte* pixels)
{
	std::FILE* file = std::fopen(path, "rb");
	if (file == nullptr)
		return false;
	png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
	png_infop info = png_create_info_struct(png);
	png_init_io(png, file);
	png_read_info(png, info);
	const std::size_t bytesPerRow = png_get_rowbytes(png, info);
	for (png_uint_32 row = 0; row < png_get_image_height(png, info); ++row)
		png_read_row(png, pixels + row * bytesPerRow, nullptr);
	png_read_end(png, info);
	png_destroy_read_struct(&png, &info, nullptr);
	return std::fclose(file) == 0;
}

Bool WritePlainly(const char* path, const Byte* pixels, Int side)
{
	std::FILE* file = std::fopen(path, "wb");
	if (file == nullptr)
		return false;
	png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
	png_infop info = png_create_info_struct(png);
	png_init_io(png, file);
	png_set_IHDR(png, info, static_cast<png_uint_32>(side), static_cast<png_uint_32>(side), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
				 PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
	png_write_info(png, info);
	for (Int row = 0; row < side; ++row)
		png_write_row(png, pixels + row * side * 3);
	png_write_end(png, info);
	png_destroy_write_struct(&png, &info);
	return std::fclose(file) == 0;
}

Result<void> LoadAgainstLibrary(benchmark::State& state, double seconds, Int side)
{
	const TemporaryFile file(".png");
	TORVI_TRY(Save(TORVI_TRY(MakePhotograph(side)), ids::CLASS_PNGEXPORT, file.GetPath()));
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
		TORVI_CHECK(pixels.GetBytes() != nullptr && ReadPlainly(file.GetPath().c_str(), pixels.GetBytes()), LibraryError());
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

Result<void> SaveAgainstLibrary(benchmark::State& state, double seconds, Int side)
{
	const TemporaryFile file(".png");
	const ImageTextureRef texture = TORVI_TRY(MakePhotograph(side));
	const FreshMemory pixels = TORVI_TRY(CopyPixels(texture, side));
	const auto save = [&]() { return Save(texture, ids::CLASS_PNGEXPORT, file.GetPath()); };
	const auto write = [&]() -> Result<void>
	{
		TORVI_CHECK(WritePlainly(file.GetPath().c_str(), pixels.GetBytes(), side), LibraryError());
		return OK;
	};
	const auto count = static_cast<double>(side * side);
	return CompareByTurns(state, seconds, Task{save, count}, Task{write, count});
}

Result<void> PeakOfLoad(benchmark::State& state, Int side)
{
	const TemporaryFile file(".png");
	TORVI_TRY(Save(TORVI_TRY(MakePhotograph(side)), ids::CLASS_PNGEXPORT, file.GetPath()));
	return ReportPeakOfLoad(state, file.GetPath(), side);
}

Result<void> PeakOfSave(benchmark::State& state, Int side)
{
	const TemporaryFile file(".png");
	const ImageTextureRef texture = TORVI_TRY(MakePhotograph(side));
	return ReportPeak(state, texture->GetPixelFormat(), side, [&]() { return Save(texture, ids::CLASS_PNGEXPORT, file.GetPath()); });
}

} // namespace

/// Saving takes seconds for pictures of the full size, nearly all of them in zlib.
void AddPng(const Options& options)
{
	const Int side = options._pictureSide / 2;
	AddRounds("file/png-load", options, 2.0,
			  [side](benchmark::State& state, double seconds) { return LoadAgainstLibrary(state, seconds, side); });
	AddRounds("file/png-save", options, 4.0,
			  [side](benchmark::State& state, double seconds) { return SaveAgainstLibrary(state, seconds, side); });
	Add("file/png-peak-of-load", [side](benchmark::State& state) { return PeakOfLoad(state, side); });
	Add("file/png-peak-of-save", [side](benchmark::State& state) { return PeakOfSave(state, side); });
}

} // namespace torvi::bench
