// Formats, pixels and kernels for the measurements.
#include "bench/measure.h"

#include "torvi/ids_formats.h"

namespace torvi::bench
{

namespace
{

/// Bytes without a pattern that a branch could learn.
void FillWithNoise(Block<Byte> bytes)
{
	UInt32 state = 1;
	for (Byte& byte : bytes)
	{
		state = state * 1664525 + 1013904223;
		byte = static_cast<Byte>(state >> 24);
	}
}

} // namespace

Result<PixelFormat> FindFormat(const std::string& shortName)
{
	PixelFormat format = GetPixelFormat(TORVI_TRY(InternId(std::string(PIXELFORMAT_PREFIX) + shortName)));
	TORVI_CHECK(format, IllegalArgumentError("There is no pixel format @.", shortName));
	return format;
}

Array<Byte> MakeMemory(const PixelFormat& format, Int count)
{
	return Array<Byte>(static_cast<std::size_t>(format->GetBytesPerLine(count, 1)), Byte(1));
}

Result<Array<Byte>> MakePixels(const PixelFormat& format, Int count)
{
	constexpr Int RUN = 4096;
	const PixelFormat noiseFormat = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
	const ConvertPixelFunc convert = TORVI_TRY(FindKernel(format, noiseFormat));
	Array<Byte> noise = MakeMemory(noiseFormat, RUN);
	FillWithNoise(noise);
	Array<Byte> pixels = MakeMemory(format, count);
	for (Int i = 0; i < count; i += RUN)
	{
		const PixelBuffer destination(pixels.data() + i * format->GetBitsPerPixel() / 8, format->GetBitsPerPixel());
		TORVI_TRY(convert(destination, std::min(RUN, count - i), PixelBuffer(noise.data(), noiseFormat->GetBitsPerPixel()), 0));
	}
	return pixels;
}

Result<ConvertPixelFunc> FindKernel(const PixelFormat& destination, const PixelFormat& source, ChannelOffsets destinationOffsets,
									ChannelOffsets sourceOffsets)
{
	Bool isColorConverted = false;
	return destination->GetConvertPixelFunc(source, sourceOffsets.empty() ? source->GetChannelOffsets() : sourceOffsets,
											destinationOffsets.empty() ? destination->GetChannelOffsets() : destinationOffsets, nullptr,
											nullptr, false, isColorConverted);
}

} // namespace torvi::bench
