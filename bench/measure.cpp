// Formats, pixels and kernels for the measurements.
#include "bench/measure.h"

#include "host/datatype.h"
#include "host/halffloat_datatype.h"
#include "torvi/ids_formats.h"

#include <cstring>

namespace torvi::bench
{

namespace
{

/// A number of the type from random bits.
template <class T>
T MakeNumber(UInt64 bits)
{
	constexpr UInt64 SMALLEST_HALF = 0x0400, ONE_HALF = 0x3C00;
	if constexpr (std::is_same_v<T, HalfFloat>)
		return HalfFloat::FromBits(static_cast<UInt16>(SMALLEST_HALF + (bits >> 32) % (ONE_HALF - SMALLEST_HALF + 1)));
	else if constexpr (std::is_floating_point_v<T>)
		return static_cast<T>(bits >> (64 - std::numeric_limits<T>::digits)) / static_cast<T>(UInt64(1) << std::numeric_limits<T>::digits);
	else
		return static_cast<T>(bits >> (64 - std::numeric_limits<T>::digits));
}

/// Writes numbers into the first part of the memory and repeats them over the rest.
template <class T>
void FillWith(Block<Byte> bytes)
{
	constexpr std::size_t PERIOD = 1 << 20;
	UInt64 state = 88172645463325252; // of Marsaglia's xorshift
	std::size_t size = std::min(bytes.size(), PERIOD);
	for (std::size_t i = 0; i + sizeof(T) <= size; i += sizeof(T))
	{
		state ^= state << 13;
		state ^= state >> 7;
		state ^= state << 17;
		const T number = MakeNumber<T>(state);
		std::memcpy(bytes.data() + i, &number, sizeof(T));
	}
	for (; size < bytes.size(); size += std::min(size, bytes.size() - size))
		std::memcpy(bytes.data() + size, bytes.data(), std::min(size, bytes.size() - size));
}

template <class... T>
Bool FillWithFirstOf(Block<Byte> bytes, DataType dataType)
{
	return ((dataType == GetDataType<T>() && (FillWith<T>(bytes), true)) || ...);
}

} // namespace

Result<PixelFormat> FindFormat(const std::string& shortName)
{
	PixelFormat format = GetPixelFormat(TORVI_TRY(InternId(std::string(PIXELFORMAT_PREFIX) + shortName)));
	TORVI_CHECK(format, IllegalArgumentError("There is no pixel format @.", shortName));
	return format;
}

DataType GetChannelDataType(const PixelFormat& format)
{
	return format->GetChannels()[0]->GetDataType();
}

Result<void> FillWithNoise(Block<Byte> bytes, DataType dataType)
{
	const Bool isFilled = FillWithFirstOf<UChar, UInt16, UInt32, Int32, HalfFloat, Float32, Float64>(bytes, dataType);
	TORVI_CHECK(isFilled, IllegalArgumentError("There is no noise of type @.", dataType.GetId()));
	return OK;
}

Array<Byte> MakeMemory(const PixelFormat& format, Int count)
{
	return Array<Byte>(static_cast<std::size_t>(format->GetBytesPerLine(count, 1)), Byte(1));
}

Result<Array<Byte>> MakePixels(const PixelFormat& format, Int count)
{
	Array<Byte> pixels = MakeMemory(format, count);
	TORVI_TRY(FillWithNoise(pixels, GetChannelDataType(format)));
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
