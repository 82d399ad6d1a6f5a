// PNG files against the plain loops over libpng.
#include "bench/codec.h"
#include "torvi/mediasession_fileformats.h"

#include <png.h>

namespace torvi::bench
{

namespace
{

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

} // namespace

/// Saving takes seconds for pictures of the full size, nearly all of them in zlib.
void AddPng(const Options& options)
{
	AddCodec(options, {"png", ids::CLASS_PNGEXPORT, &ReadPlainly, &WritePlainly}, options._pictureSide / 2, 2.0);
}

} // namespace torvi::bench
