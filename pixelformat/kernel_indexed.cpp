// Bit access to indices, and indices to colours by way of the rows of a table.
#include "pixelformat/kernel_indexed.h"

#include "pixelformat/kernel_values.h"

#include <algorithm>

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

constexpr Int CHUNK = 256; // pixels
using Indices = std::array<UInt16, CHUNK>;

/// Indices of 1, 2 or 4 bits side by side, from a whole byte on.
template <Int BITS_PER_INDEX>
void ExtractFromBytes(UInt16* __restrict indices, const Byte* __restrict source, Int count)
{
	constexpr Int PER_BYTE = 8 / BITS_PER_INDEX;
	for (Int i = 0; i < count; ++i)
		indices[i] = source[i / PER_BYTE] >> (8 - BITS_PER_INDEX - i % PER_BYTE * BITS_PER_INDEX) & ((1 << BITS_PER_INDEX) - 1);
}

void ExtractIndices(Indices& indices, const IndexRun& run, Int start, Int count, Int bits)
{
	const BITS position = run._sourceBit + start * run._sourceStride;
	const Byte* const source = run._source + (position >> 3);
	if (run._sourceStride == bits && (position & 7) == 0)
	{
		switch (bits)
		{
		case 1:
			return ExtractFromBytes<1>(indices.data(), source, count);
		case 2:
			return ExtractFromBytes<2>(indices.data(), source, count);
		case 4:
			return ExtractFromBytes<4>(indices.data(), source, count);
		case 8:
			return ExtractFromBytes<8>(indices.data(), source, count);
		case 16:
			std::memcpy(indices.data(), source, static_cast<std::size_t>(count) * sizeof(UInt16));
			return;
		default:
			break;
		}
	}
	for (Int i = 0; i < count; ++i)
		indices[static_cast<std::size_t>(i)] =
			static_cast<UInt16>(Extract(run._source, run._sourceBit + (start + i) * run._sourceStride, bits));
}

/// Copies the rows of the indices side by side.
template <class Row>
void CopyRows(Byte* __restrict destination, const Byte* __restrict rows, const Row& beyond, Int rowCount, const Indices& indices, Int count)
{
	for (Int i = 0; i < count; ++i)
	{
		const Int index = indices[static_cast<std::size_t>(i)];
		const Byte* const row = index < rowCount ? rows + index * Int(sizeof(Row)) : reinterpret_cast<const Byte*>(&beyond);
		std::memcpy(destination + i * Int(sizeof(Row)), row, sizeof(Row));
	}
}

using FloatRow = std::array<Float32, 4>;
using ByteRow = std::array<UChar, 4>;

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

std::optional<IndexConversion> IndexConversion::Make(const FixedPlaces& destination, Int bits)
{
	using enum FixedFormat;
	constexpr std::array TARGETS = {RGB_U8,  RGBA_U8, RGBX_U8,  ARGB_U8, XRGB_U8,  BGR_U8,  BGRA_U8,
									BGRX_U8, RGB_U16, RGBA_U16, RGB_F32, RGBA_F32, RGB_F64, RGBA_F64};
	const FixedFormat format = destination.GetFormat();
	if (std::find(TARGETS.begin(), TARGETS.end(), format) == TARGETS.end())
		return std::nullopt;
	const FixedFormatInfo& info = InfoOf(format);
	const bool usesBytes = info._type == ValueType::U8;
	const FixedPlaces rows(usesBytes ? RGBA_U8 : RGBA_F32);
	std::array<ChannelRule, MAXIMUM_CHANNELS> rules = {};
	const auto count = static_cast<std::size_t>(info._channelCount);
	for (std::size_t i = 0; i < count; ++i)
	{
		const Channel channel = info._channels[i] == Channel::Unused ? Channel::Alpha : info._channels[i];
		rules[i] = ChannelRule::Move(InfoOf(rows.GetFormat()).Find(channel));
	}
	const ChannelProgram program(destination.GetChannels(), rows.GetChannels(), Block<const ChannelRule>(rules).first(count));
	return IndexConversion(bits, program, usesBytes);
}

void IndexConversion::Run(const IndexRun& run, const IndexTable& table) const
{
	Indices indices;
	alignas(64) std::array<Byte, CHUNK * sizeof(FloatRow)> rows;
	const Int rowSize = _usesBytes ? sizeof(ByteRow) : sizeof(FloatRow);
	for (Int done = 0; done < run._count; done += CHUNK)
	{
		const Int part = std::min(CHUNK, run._count - done);
		ExtractIndices(indices, run, done, part, _bits);
		if (_usesBytes)
			CopyRows(rows.data(), table._bytes, ByteRow{255, 255, 255, 0}, table._count, indices, part);
		else
			CopyRows(rows.data(), table._floats, FloatRow{1.0f, 1.0f, 1.0f, 0.0f}, table._count, indices, part);
		_program.Run({run._destination + done * run._destinationStride, run._destinationStride, rows.data(), rowSize, part});
	}
}

} // namespace torvi
