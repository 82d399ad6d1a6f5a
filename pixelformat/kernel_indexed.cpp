// Bit access to indices and the kernels from indices to colours, one per data type with and without a fourth channel.
#include "pixelformat/kernel_indexed.h"

#include "pixelformat/kernel_values.h"

namespace torvi
{

namespace
{

// Up to eight bits, of which the last may lie in the next byte.
TORVI_KERNEL_INLINE UInt32 ExtractBits(const Byte* base, BITS position, Int bits)
{
	const Byte* const byte = base + (position >> 3);
	const Int start = position & 7;
	const Int rest = 8 - start - bits; // bits of the byte behind the index; negative when the index goes on
	const UInt32 mask = (1u << bits) - 1;
	if (rest >= 0)
		return static_cast<UInt32>(byte[0]) >> rest & mask;
	return (static_cast<UInt32>(byte[0]) << 8 | byte[1]) >> (8 + rest) & mask;
}

void InsertBits(Byte* base, BITS position, Int bits, UInt32 value)
{
	Byte* const byte = base + (position >> 3);
	const Int shift = 16 - (position & 7) - bits; // in the two bytes as one big-endian number
	const UInt32 mask = ((1u << bits) - 1) << shift;
	const UInt32 placed = value << shift & mask;
	byte[0] = static_cast<Byte>((byte[0] & ~(mask >> 8)) | placed >> 8);
	if (mask & 0xFF)
		byte[1] = static_cast<Byte>((byte[1] & ~mask) | placed);
}

TORVI_KERNEL_INLINE UInt32 Extract(const Byte* base, BITS position, Int bits)
{
	if (bits <= 8)
		return ExtractBits(base, position, bits);
	const std::array<Byte, 2> bytes = {static_cast<Byte>(ExtractBits(base, position, 8)),
									   static_cast<Byte>(ExtractBits(base, position + 8, 8))};
	return LoadValue<UInt16>(bytes.data());
}

template <class T, bool HAS_LAST>
void ConvertIndices(const IndexRun& run, Int bits, const IndexTable& table, const std::array<Int, MAXIMUM_CHANNELS>& offsets)
{
	constexpr Int CHANNELS = 4;
	const IndexRun local = run; // the stores below might alias what is passed in
	const IndexTable rows = table;
	const std::array<Int, MAXIMUM_CHANNELS> places = offsets;
	for (Int i = 0; i < local._count; ++i)
	{
		std::array<Float32, CHANNELS> colour = {1.0f, 1.0f, 1.0f, 0.0f};
		const Int index = Extract(local._source, local._sourceBit + i * local._sourceStride, bits);
		if (index < rows._count)
			std::memcpy(colour.data(), rows._rows + index * Int(sizeof(colour)), sizeof(colour));
		Byte* const pixel = local._destination + i * local._destinationStride;
		for (std::size_t role = 0; role < (HAS_LAST ? 4 : 3); ++role)
			StoreValue(pixel + places[role], ConvertValue<T>(colour[role]));
	}
}

} // namespace

UInt32 ExtractIndex(const Byte* base, BITS position, Int bits)
{
	return Extract(base, position, bits);
}

void InsertIndex(Byte* base, BITS position, Int bits, UInt32 index)
{
	if (bits <= 8)
		return InsertBits(base, position, bits, index);
	std::array<Byte, 2> bytes;
	StoreValue(bytes.data(), static_cast<UInt16>(index));
	InsertBits(base, position, 8, bytes[0]);
	InsertBits(base, position + 8, 8, bytes[1]);
}

void CopyIndices(const IndexCopyRun& run, Int bits)
{
	if (run._count <= 0)
		return;
	const bool onBytes = ((run._destinationBit | run._sourceBit) & 7) == 0;
	if (onBytes && run._destinationStride == bits && run._sourceStride == bits)
	{
		std::memmove(run._destination + (run._destinationBit >> 3), run._source + (run._sourceBit >> 3),
					 static_cast<std::size_t>(BytesOf(run._count * bits)));
		return;
	}
	for (Int i = 0; i < run._count; ++i)
		InsertIndex(run._destination, run._destinationBit + i * run._destinationStride, bits,
					ExtractIndex(run._source, run._sourceBit + i * run._sourceStride, bits));
}

IndexKernel IndexKernelTo(FixedFormat destination)
{
	switch (destination)
	{
	case FixedFormat::RGB_U8:
	case FixedFormat::BGR_U8:
		return &ConvertIndices<UChar, false>;
	case FixedFormat::RGBA_U8:
	case FixedFormat::RGBX_U8:
	case FixedFormat::ARGB_U8:
	case FixedFormat::XRGB_U8:
	case FixedFormat::BGRA_U8:
	case FixedFormat::BGRX_U8:
		return &ConvertIndices<UChar, true>;
	case FixedFormat::RGB_U16:
		return &ConvertIndices<UInt16, false>;
	case FixedFormat::RGBA_U16:
		return &ConvertIndices<UInt16, true>;
	case FixedFormat::RGB_F32:
		return &ConvertIndices<Float32, false>;
	case FixedFormat::RGBA_F32:
		return &ConvertIndices<Float32, true>;
	case FixedFormat::RGB_F64:
		return &ConvertIndices<Float64, false>;
	case FixedFormat::RGBA_F64:
		return &ConvertIndices<Float64, true>;
	default:
		return nullptr;
	}
}

} // namespace torvi
