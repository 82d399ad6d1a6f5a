// Reading of multi-picture segments, which are TIFF structures, and the search for them.
#include "media_io/jpg_mpf.h"

#include "torvi/mediasession_errors.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr Byte BIG_ENDIAN_HEAD[] = {'M', 'P', 'F', 0, 'M', 'M', 0, '*'};
constexpr Byte LITTLE_ENDIAN_HEAD[] = {'M', 'P', 'F', 0, 'I', 'I', '*', 0};

constexpr UInt16 TAG_VERSION = 45056;
constexpr UInt16 TAG_IMAGECOUNT = 45057;
constexpr UInt16 TAG_ENTRIES = 45058;
constexpr UInt16 TYPE_UINT32 = 4;
constexpr UInt16 TYPE_UFRACTION = 5;
constexpr UInt16 TYPE_BYTES = 7;
constexpr UInt16 TYPE_FRACTION = 10;
constexpr Int ENTRY_SIZE = 16;

constexpr UChar MARKER_END = 0xD9;
constexpr UChar MARKER_SCAN = 0xDA;
constexpr UChar MARKER_APP2 = 0xE2;

struct Field
{
	UInt16 _tag;
	UInt16 _type;
	UInt32 _count;
	UInt32 _value;
};

Bool BeginsWith(Block<const Byte> data, Block<const Byte> head)
{
	return data.size() >= head.size() && std::equal(head.begin(), head.end(), data.begin());
}

/// The structure of one segment. Offsets count from its start.
class MultiPictureReader
{
public:
	MultiPictureReader(Block<const Byte> structure, ByteOrder order) : _structure(structure), _order(order) {}

	Result<Array<Int>> ReadOffsets();

private:
	Result<ByteReader> ReadAt(Int offset) const;
	Result<Bool> ReadField(const Field& field);
	Result<void> ReadDirectories();
	Result<Array<Int>> ReadEntries() const;

	Block<const Byte> _structure;
	ByteOrder _order;
	Int _imageCount = -1;    ///< -1 before it was read
	Int _entriesOffset = -1; ///< of the last list that is named; -1 without one
	Int _entryCount = 0;
};

Result<ByteReader> MultiPictureReader::ReadAt(Int offset) const
{
	TORVI_CHECK(offset <= CountOf(_structure), IllegalStateError("An offset leads out of the multi-picture segment."));
	return ByteReader(_structure.subspan(static_cast<std::size_t>(offset)), _order);
}

Result<Field> ReadRawField(ByteReader& reader)
{
	Field field;
	field._tag = TORVI_TRY(reader.ReadUInt16());
	field._type = TORVI_TRY(reader.ReadUInt16());
	field._count = TORVI_TRY(reader.ReadUInt32());
	field._value = TORVI_TRY(reader.ReadUInt32());
	return field;
}

/// False for a field that ends the walk.
Result<Bool> MultiPictureReader::ReadField(const Field& field)
{
	const auto wrongField = [&]() { return IllegalStateError("Field @ of the multi-picture segment is damaged.", field._tag); };
	switch (field._tag)
	{
	case TAG_VERSION:
		TORVI_CHECK(field._type == TYPE_BYTES && field._count == 4, wrongField());
		return true;
	case TAG_IMAGECOUNT:
		TORVI_CHECK(field._type == TYPE_UINT32 && field._count == 1, wrongField());
		_imageCount = field._value;
		return true;
	case TAG_ENTRIES:
		TORVI_CHECK(field._type == TYPE_BYTES && _imageCount >= 0 && field._count == ENTRY_SIZE * _imageCount, wrongField());
		_entriesOffset = field._value;
		_entryCount = _imageCount;
		return true;
	default:
		return field._type == TYPE_UINT32 || field._type == TYPE_UFRACTION || field._type == TYPE_BYTES || field._type == TYPE_FRACTION;
	}
}

Result<Array<Int>> MultiPictureReader::ReadEntries() const
{
	ByteReader reader = TORVI_TRY(ReadAt(_entriesOffset));
	TORVI_CHECK(reader.GetRemaining() >= ENTRY_SIZE * _entryCount, IllegalStateError("The multi-picture segment ends too early."));
	Array<Int> offsets;
	for (Int i = 0; i < _entryCount; ++i)
	{
		TORVI_TRY(reader.Take(8)); // attributes and size
		offsets.push_back(TORVI_TRY(reader.ReadUInt32()));
		TORVI_TRY(reader.Take(4)); // pictures that this one depends on
	}
	return offsets;
}

Result<void> MultiPictureReader::ReadDirectories()
{
	constexpr Int NO_DIRECTORY = 65535;
	ByteReader head = TORVI_TRY(ReadAt(4));
	Int directory = TORVI_TRY(head.ReadUInt32());
	for (Int next = directory; next > 0; directory = next)
	{
		ByteReader reader = TORVI_TRY(ReadAt(directory));
		const UInt16 count = TORVI_TRY(reader.ReadUInt16());
		for (UInt16 i = 0; i < count; ++i)
		{
			const Field field = TORVI_TRY(ReadRawField(reader));
			if (!TORVI_TRY(ReadField(field)))
				return OK;
		}
		next = TORVI_TRY(reader.ReadUInt32());
		if (next <= directory || next == NO_DIRECTORY || next >= CountOf(_structure))
			break;
	}
	return OK;
}

/// The list is read once, however often it is named.
Result<Array<Int>> MultiPictureReader::ReadOffsets()
{
	TORVI_TRY(ReadDirectories());
	return _entriesOffset >= 0 ? ReadEntries() : Array<Int>();
}

/// One marker, and the length of its segment's data; -1 for a marker without a segment.
struct Segment
{
	UChar _marker;
	Int _length = -1;
};

Result<Segment> ReadSegmentHead(BinaryReader& reader)
{
	UChar byte = 0;
	while (byte != 0xFF)
		byte = TORVI_TRY(reader.ReadUChar());
	while (byte == 0xFF)
		byte = TORVI_TRY(reader.ReadUChar());
	Segment segment{byte};
	const Bool hasLength = byte > 0x01 && (byte < 0xD0 || byte > MARKER_END);
	if (hasLength)
		segment._length = Int(TORVI_TRY(reader.ReadUInt16())) - 2;
	return segment;
}

/// Replaces the positions if the segment names any.
Result<void> ReadApp2Marker(BinaryReader& reader, Int length, Array<Int>& positions)
{
	const Int mark = reader.GetPosition() + MULTIPICTURE_MARK_OFFSET;
	const Array<Byte> data = TORVI_TRY(reader.ReadArray(length));
	if (!IsMultiPictureData(data))
		return OK;
	Result<Array<Int>> offsets = ReadMultiPictureOffsets(data);
	TORVI_CHECK(offsets.IsOk(), MediaSessionWrongTypeError("ReadApp2Marker failed."));
	if (offsets.GetValue().empty())
		return OK;
	positions = offsets.TakeValue();
	for (Int& position : positions)
		position = position != 0 ? mark + position : 0;
	return OK;
}

} // namespace

Bool IsMultiPictureData(Block<const Byte> data)
{
	return BeginsWith(data, BIG_ENDIAN_HEAD) || BeginsWith(data, LITTLE_ENDIAN_HEAD);
}

Result<Array<Int>> ReadMultiPictureOffsets(Block<const Byte> data)
{
	const ByteOrder order = BeginsWith(data, BIG_ENDIAN_HEAD) ? ByteOrder::BIGENDIAN : ByteOrder::LITTLEENDIAN;
	Result<Array<Int>> offsets = MultiPictureReader(data.subspan(MULTIPICTURE_MARK_OFFSET), order).ReadOffsets();
	TORVI_CHECK(offsets.IsOk() || offsets.GetError().GetId() != errorids::IO,
				IllegalStateError("The multi-picture segment ends too early."));
	return offsets;
}

Result<Array<Int>> FindMultiPictures(BinaryReader& reader)
{
	Array<Int> positions = {0};
	TORVI_TRY(reader.Seek(0));
	reader.SetByteOrder(ByteOrder::BIGENDIAN);
	while (true)
	{
		const Segment segment = TORVI_TRY(ReadSegmentHead(reader));
		if (segment._marker == MARKER_SCAN || segment._marker == MARKER_END)
			return positions;
		const Int length = std::max<Int>(segment._length, 0);
		if (segment._marker == MARKER_APP2)
			TORVI_TRY(ReadApp2Marker(reader, length, positions));
		else
			TORVI_TRY(reader.Skip(length));
	}
}

} // namespace torvi
