// JPEG files against the plain loops over libjpeg.
#include "bench/codec.h"
#include "torvi/mediasession_fileformats.h"

#include <cstdio>
#include <jpeglib.h>

namespace torvi::bench
{

namespace
{

/// Reads a colour file row by row into memory that holds it. The library ends the process on a failure.
Bool ReadPlainly(const char* path, Byte* pixels)
{
	std::FILE* file = std::fopen(path, "rb");
	if (file == nullptr)
		return false;
	jpeg_decompress_struct library;
	jpeg_error_mgr errors;
	library.err = jpeg_std_error(&errors);
	jpeg_create_decompress(&library);
	jpeg_stdio_src(&library, file);
	jpeg_read_header(&library, TRUE);
	jpeg_start_decompress(&library);
	const std::size_t bytesPerRow = std::size_t(library.output_width) * 3;
	while (library.output_scanline < library.output_height)
	{
		JSAMPROW row = pixels + library.output_scanline * bytesPerRow;
		jpeg_read_scanlines(&library, &row, 1);
	}
	jpeg_finish_decompress(&library);
	jpeg_destroy_decompress(&library);
	return std::fclose(file) == 0;
}

/// With the settings that the exporter has by default.
Bool WritePlainly(const char* path, const Byte* pixels, Int side)
{
	constexpr int QUALITY = 90;
	std::FILE* file = std::fopen(path, "wb");
	if (file == nullptr)
		return false;
	jpeg_compress_struct library;
	jpeg_error_mgr errors;
	library.err = jpeg_std_error(&errors);
	jpeg_create_compress(&library);
	jpeg_stdio_dest(&library, file);
	library.image_width = library.image_height = static_cast<JDIMENSION>(side);
	library.input_components = 3;
	library.in_color_space = JCS_RGB;
	jpeg_set_defaults(&library);
	jpeg_set_quality(&library, QUALITY, TRUE);
	library.dct_method = JDCT_FLOAT;
	jpeg_start_compress(&library, TRUE);
	while (library.next_scanline < library.image_height)
	{
		JSAMPROW row = const_cast<JSAMPROW>(pixels) + library.next_scanline * std::size_t(side) * 3;
		jpeg_write_scanlines(&library, &row, 1);
	}
	jpeg_finish_compress(&library);
	jpeg_destroy_compress(&library);
	return std::fclose(file) == 0;
}

} // namespace

void AddJpeg(const Options& options)
{
	AddCodec(options, {"jpg", ids::CLASS_JPGEXPORT, &ReadPlainly, &WritePlainly}, options._pictureSide, 2.0);
}

} // namespace torvi::bench
