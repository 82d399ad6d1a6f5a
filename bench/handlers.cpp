// What reading and writing a line of an image costs beyond the kernel that does the work.
#include "bench/picture.h"
#include "torvi/ids_formats.h"

namespace torvi::bench
{

namespace
{

constexpr Int LINE_LENGTH = 64; // pixels: short, so that the cost of the call is seen beside the kernel
constexpr Int HEIGHT = 16;      // lines, a power of two

/// One line in memory and one in an image, of different formats, so that there is something to convert.
struct Lines
{
	static Result<Lines> Make()
	{
		Lines lines;
		lines._format = GetPixelFormat(ids::PIXELFORMAT_BGRA_U8);
		lines._imageFormat = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
		lines._stride = lines._format->GetBitsPerPixel();
		lines._imageStride = lines._imageFormat->GetBitsPerPixel();
		lines._image = TORVI_TRY(MakeImage(lines._imageFormat, LINE_LENGTH, HEIGHT));
		lines._line = TORVI_TRY(MakePixels(lines._format, LINE_LENGTH));
		lines._imageLines = TORVI_TRY(MakePixels(lines._imageFormat, LINE_LENGTH * HEIGHT));
		return lines;
	}

	PixelBuffer GetBuffer() { return PixelBuffer(_line.data(), _stride); }
	/// Memory in place of the image's, for the kernel alone.
	PixelBuffer GetImageBuffer(Int y) { return PixelBuffer(_imageLines.data() + y * LINE_LENGTH * _imageStride / 8, _imageStride); }

	PixelFormat _format;
	PixelFormat _imageFormat;
	BITS _stride = 0;
	BITS _imageStride = 0;
	ImageRef _image;
	Array<Byte> _line;
	Array<Byte> _imageLines;
};

Result<void> GetLine(benchmark::State& state, double seconds)
{
	Lines lines = TORVI_TRY(Lines::Make());
	const GetPixelHandlerStruct reader = TORVI_TRY(lines._image->GetPixelHandler(lines._format, lines._format->GetChannelOffsets(),
																				 ColorProfile(), GETPIXELHANDLERFLAGS::NONE, nullptr));
	const ConvertPixelFunc kernel = TORVI_TRY(FindKernel(lines._format, lines._imageFormat));
	Int y = 0;
	const auto read = [&]() { return reader._getLine({0, y++ % HEIGHT, LINE_LENGTH}, lines.GetBuffer(), 0); };
	const auto convert = [&]() { return kernel(lines.GetBuffer(), LINE_LENGTH, lines.GetImageBuffer(y++ % HEIGHT), 0); };
	return CompareByTurns(state, seconds, Task{read}, Task{convert});
}

/// Goes through SetLine, as all writers do, which also keeps the region.
Result<void> SetLine(benchmark::State& state, double seconds)
{
	Lines lines = TORVI_TRY(Lines::Make());
	SetPixelHandlerStruct writer = TORVI_TRY(
		lines._image->SetPixelHandler(lines._format, lines._format->GetChannelOffsets(), ColorProfile(), SETPIXELHANDLERFLAGS::NONE));
	const ConvertPixelFunc kernel = TORVI_TRY(FindKernel(lines._imageFormat, lines._format));
	Int y = 0;
	const auto write = [&]() { return writer.SetLine({0, y++ % HEIGHT, LINE_LENGTH}, lines.GetBuffer(), 0); };
	const auto convert = [&]() { return kernel(lines.GetImageBuffer(y++ % HEIGHT), LINE_LENGTH, lines.GetBuffer(), 0); };
	TORVI_TRY(CompareByTurns(state, seconds, Task{write}, Task{convert}));
	return writer.Free();
}

} // namespace

void AddHandlers(const Options& options)
{
	AddRounds("line/get", options, 0.2, &GetLine);
	AddRounds("line/set", options, 0.2, &SetLine);
}

} // namespace torvi::bench
