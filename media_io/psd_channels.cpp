// Windows on the file, and the rows of channels.
#include "media_io/psd_channels.h"

#include "host/byteorder.h"
#include "host/zipstream.h"
#include "media_io/packbits.h"
#include "media_io/psd_prediction.h"
#include "mediasession/image_import.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace torvi
{

namespace
{

constexpr Int WINDOW_SIZE = 128 * 1024; ///< more than the reader's own, which is then left out of the way

Error TooShortError(const PsdRowShape& shape, Int bytes)
{
	return IoError("@ rows of @ bytes do not fit into the @ bytes that are left.", shape._rows, shape._bytesPerRow, bytes);
}

Error PackedRowError(const PsdRowShape& shape, UInt32 size)
{
	return IllegalStateError("A row of @ bytes can not be packed in @.", shape._bytesPerRow, size);
}

/// A window as a stream, for the decoder.
class PsdWindowStream final : public InputStreamInterface
{
public:
	explicit PsdWindowStream(PsdWindow window) : _window(std::move(window)) {}

	Int GetPosition() const override { return _position; }
	Result<void> Close() override { return OK; }
	Result<Int> ReadEOS(Block<Byte> block) override
	{
		const Int count = std::min(CountOf(block), _window.GetRemaining());
		const Block<const Byte> bytes = TORVI_TRY(_window.Take(count));
		std::copy(bytes.begin(), bytes.end(), block.begin());
		_position += count;
		return count;
	}

private:
	PsdWindow _window;
	Int _position = 0;
};

Bool IsMachineOrder(ByteOrder order)
{
	return (order == ByteOrder::BIGENDIAN) == (std::endian::native == std::endian::big);
}

} // namespace

Result<PsdWindow> PsdWindow::Open(BinaryReader& reader, Int position, Int end)
{
	PsdWindow window;
	window._reader = &reader;
	window._position = position;
	window._end = std::max(position, end);
	if (!reader.CanSeek())
	{
		TORVI_TRY(reader.Seek(position));
		window._bytes = TORVI_TRY(reader.ReadArray(window.GetRemaining()));
		window._count = CountOf(window._bytes);
	}
	return window;
}

Result<Block<const Byte>> PsdWindow::Take(Int count)
{
	if (count > _count)
		TORVI_TRY(Fill(count));
	const Block<const Byte> taken(_bytes.data() + _first, static_cast<std::size_t>(count));
	_first += count;
	_count -= count;
	_position += count;
	return taken;
}

/// Moves what is there to the front and reads on behind it.
Result<void> PsdWindow::Fill(Int count)
{
	TORVI_CHECK(count <= GetRemaining(), EndOfDataError(count - GetRemaining()));
	if (_count > 0)
		std::memmove(_bytes.data(), _bytes.data() + _first, static_cast<std::size_t>(_count));
	_first = 0;
	const Int wanted = std::min(GetRemaining(), std::max(count, WINDOW_SIZE));
	if (CountOf(_bytes) < wanted)
		_bytes.resize(static_cast<std::size_t>(wanted));
	TORVI_TRY(_reader->Seek(_position + _count));
	_count += TORVI_TRY(_reader->ReadEOS({_bytes.data() + _count, static_cast<std::size_t>(wanted - _count)}));
	TORVI_CHECK(count <= _count, EndOfDataError(count - _count));
	return OK;
}

Result<void> PsdWindow::Skip(Int count)
{
	TORVI_CHECK(count <= GetRemaining(), EndOfDataError(count - GetRemaining()));
	const Int buffered = std::min(count, _count);
	_first += buffered;
	_count -= buffered;
	_position += count;
	return OK;
}

Int PsdRowShape::GetBytes() const noexcept
{
	return ImageBytes(_bytesPerRow, _rows, 8).value_or(INT64_MAX);
}

Result<Array<UInt32>> ReadPsdRowSizes(BinaryReader& reader, Int end, const PsdRowShape& shape, Bool hasWideFields)
{
	constexpr Int STEP = 4096; // rows that are read at a time
	const Int entrySize = hasWideFields ? 4 : 2;
	const Int left = std::max<Int>(0, end - reader.GetPosition());
	TORVI_CHECK(shape._rows <= left / entrySize, EndOfDataError(shape._rows * entrySize - left));
	Array<UInt32> sizes;
	while (CountOf(sizes) < shape._rows)
	{
		const Int count = std::min(STEP, shape._rows - CountOf(sizes));
		const Array<Byte> bytes = TORVI_TRY(reader.ReadArray(count * entrySize));
		for (Int i = 0; i < count; ++i)
		{
			const Byte* const entry = bytes.data() + i * entrySize;
			const ByteOrder order = reader.GetByteOrder();
			sizes.push_back(hasWideFields ? LoadNumber<UInt32>(entry, order) : LoadNumber<UInt16>(entry, order));
			TORVI_CHECK(sizes.back() <= 2 * shape._bytesPerRow, PackedRowError(shape, sizes.back()));
		}
	}
	return sizes;
}

Result<PsdPlane> PsdPlane::OpenPlain(BinaryReader& reader, Int position, Int end, const PsdRowShape& shape)
{
	const Int left = std::max<Int>(0, end - position);
	TORVI_CHECK(shape._rows == 0 || shape._bytesPerRow <= left, EndOfDataError(shape._bytesPerRow - left));
	TORVI_CHECK(CanHoldPicture(shape.GetBytes(), left, CompressionBound::NONE), TooShortError(shape, left));
	PsdPlane plane(PsdCompression::NONE, shape, reader.GetByteOrder());
	plane._window = TORVI_TRY(PsdWindow::Open(reader, position, end));
	return plane;
}

Result<PsdPlane> PsdPlane::OpenPackBits(BinaryReader& reader, Int position, Int end, const PsdRowShape& shape, Array<UInt32> rowSizes)
{
	constexpr Int BYTES_PER_PACKED = 64; // two bytes stand for 128
	const Int left = std::max<Int>(0, end - position);
	TORVI_CHECK(CanHoldPicture(shape.GetBytes(), left, CompressionBound::PACKBITS), TooShortError(shape, left));
	for (const UInt32 size : rowSizes)
		TORVI_CHECK(shape._bytesPerRow <= BYTES_PER_PACKED * size, PackedRowError(shape, size));
	PsdPlane plane(PsdCompression::PACKBITS, shape, reader.GetByteOrder());
	plane._window = TORVI_TRY(PsdWindow::Open(reader, position, end));
	plane._rowSizes = std::move(rowSizes);
	return plane;
}

Result<PsdPlane> PsdPlane::OpenZip(BinaryReader& reader, Int position, Int end, const PsdRowShape& shape)
{
	constexpr Int LEAST_BYTES = 3;
	const Int left = std::max<Int>(0, end - position);
	PsdPlane plane(PsdCompression::ZIPWITHPREDICTION, shape, reader.GetByteOrder());
	if (shape.GetBytes() == 0)
		return plane; // of an empty layer there may be no stream, and nobody will read it
	TORVI_CHECK(left >= LEAST_BYTES, IllegalStateError("A zip stream of @ bytes is not possible.", left));
	TORVI_CHECK(CanHoldPicture(shape.GetBytes(), left, CompressionBound::DEFLATE), TooShortError(shape, left));
	const auto source = TORVI_TRY(NewObject<PsdWindowStream>(TORVI_TRY(PsdWindow::Open(reader, position, end))));
	const auto decoder = TORVI_TRY(CreateObject<StreamConversionInterface>(ids::STREAMCONVERSION_ZIP_DECODER));
	plane._zip = TORVI_TRY(decoder->ConnectInput(InputStreamRef(source)));
	if (shape._bytesPerSample == 4)
		plane._planes.resize(static_cast<std::size_t>(shape._bytesPerRow));
	return plane;
}

Result<PsdPlane> PsdPlane::OpenChannel(BinaryReader& reader, Int position, Int end, const PsdRowShape& shape, Bool hasWideFields)
{
	TORVI_TRY(reader.Seek(position));
	const auto compression = static_cast<PsdCompression>(TORVI_TRY(reader.ReadUInt16()));
	switch (compression)
	{
	case PsdCompression::NONE:
		return OpenPlain(reader, reader.GetPosition(), end, shape);
	case PsdCompression::PACKBITS:
	{
		Array<UInt32> rowSizes = TORVI_TRY(ReadPsdRowSizes(reader, end, shape, hasWideFields));
		return OpenPackBits(reader, reader.GetPosition(), end, shape, std::move(rowSizes));
	}
	case PsdCompression::ZIPWITHPREDICTION:
		return OpenZip(reader, reader.GetPosition(), end, shape);
	case PsdCompression::ZIP:
		break;
	}
	return IllegalStateError("Unsupported compression");
}

Result<void> PsdPlane::ReadRow(Block<Byte> row)
{
	if (_compression == PsdCompression::ZIPWITHPREDICTION)
		return ReadZipRow(row);
	if (_compression == PsdCompression::PACKBITS)
		TORVI_TRY(ExpandPackBitsRow(TORVI_TRY(_window.Take(_rowSizes[_row++])), row));
	else
	{
		const Block<const Byte> bytes = TORVI_TRY(_window.Take(CountOf(row)));
		std::copy(bytes.begin(), bytes.end(), row.begin());
	}
	if (!IsMachineOrder(_order))
		SwapSamples(row, _shape._bytesPerSample);
	return OK;
}

Result<void> PsdPlane::ReadZip(Block<Byte> bytes)
{
	const Int count = TORVI_TRY(_zip->ReadEOS(bytes));
	TORVI_CHECK(count == CountOf(bytes), IllegalStateError("A zip stream ends @ bytes too early.", CountOf(bytes) - count));
	return OK;
}

/// Differences of floats run over the bytes of all four planes.
Result<void> PsdPlane::ReadZipRow(Block<Byte> row)
{
	const Block<Byte> differences = _shape._bytesPerSample == 4 ? Block<Byte>(_planes) : row;
	TORVI_TRY(ReadZip(differences));
	if (_shape._bytesPerSample == 2)
	{
		if (!IsMachineOrder(_order))
			SwapSamples(differences, 2);
		SumUInt16(differences);
		return OK;
	}
	SumBytes(differences);
	if (_shape._bytesPerSample == 4)
		JoinBytePlanes(differences, row);
	return OK;
}

Result<void> PsdPlane::SkipRows(Int count)
{
	if (_compression == PsdCompression::NONE)
		return _window.Skip(count * _shape._bytesPerRow);
	if (_compression == PsdCompression::PACKBITS)
	{
		for (; count > 0; --count)
			TORVI_TRY(_window.Skip(_rowSizes[_row++]));
		return OK;
	}
	Array<Byte> rows(static_cast<std::size_t>(count * _shape._bytesPerRow)); // differences begin anew in each row
	return ReadZip(rows);
}

} // namespace torvi
