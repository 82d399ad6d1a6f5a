// The stored form of values. Numbers stand in their own size, floats by their bits; texts and arrays fill the length of their element; each
// text of an array stands behind its length in 64 bits.
#include "host/dataserialize.h"

#include "host/halffloat_datatype.h"
#include "host/registry.h"

#include <algorithm>
#include <array>

namespace torvi
{

namespace
{

template <class T>
concept IsNumber = std::is_arithmetic_v<T> || std::is_same_v<T, HalfFloat>;

template <IsNumber T>
UInt64 BitsOf(T value) noexcept
{
	if constexpr (std::is_same_v<T, HalfFloat>)
		return value.GetBits();
	else if constexpr (std::is_same_v<T, Float32>)
		return std::bit_cast<UInt32>(value);
	else if constexpr (std::is_same_v<T, Float64>)
		return std::bit_cast<UInt64>(value);
	else
		return static_cast<UInt64>(value);
}

template <IsNumber T>
T NumberOf(UInt64 bits) noexcept
{
	if constexpr (std::is_same_v<T, HalfFloat>)
		return HalfFloat::FromBits(static_cast<UInt16>(bits));
	else if constexpr (std::is_same_v<T, Float32>)
		return std::bit_cast<Float32>(static_cast<UInt32>(bits));
	else if constexpr (std::is_same_v<T, Float64>)
		return std::bit_cast<Float64>(bits);
	else
		return static_cast<T>(bits);
}

void AppendBits(Array<Byte>& bytes, UInt64 bits, std::size_t size)
{
	for (std::size_t i = 0; i < size; ++i)
		bytes.push_back(static_cast<Byte>(bits >> (8 * i)));
}

void AppendText(Array<Byte>& bytes, std::string_view text)
{
	bytes.insert(bytes.end(), text.begin(), text.end());
}

template <IsNumber T>
void Append(Array<Byte>& bytes, T value)
{
	AppendBits(bytes, BitsOf(value), sizeof(T));
}

void Append(Array<Byte>& bytes, const String& text)
{
	AppendText(bytes, text);
}

/// Ids of numbers have no stored form; none of the types that are stored holds one.
void Append(Array<Byte>& bytes, const Id& id)
{
	AppendText(bytes, id.GetText());
}

template <IsNumber T>
void Append(Array<Byte>& bytes, const Array<T>& values)
{
	if constexpr (sizeof(T) == 1)
		bytes.insert(bytes.end(), values.begin(), values.end());
	else
	{
		bytes.reserve(bytes.size() + values.size() * sizeof(T));
		for (const T value : values)
			Append(bytes, value);
	}
}

void Append(Array<Byte>& bytes, const Array<String>& texts)
{
	for (const String& text : texts)
	{
		AppendBits(bytes, text.size(), sizeof(UInt64));
		AppendText(bytes, text);
	}
}

std::string_view TextOf(Block<const Byte> bytes) noexcept
{
	return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

UInt64 TakeBits(const Byte* bytes, std::size_t size) noexcept
{
	UInt64 bits = 0;
	for (std::size_t i = 0; i < size; ++i)
		bits |= static_cast<UInt64>(bytes[i]) << (8 * i);
	return bits;
}

template <IsNumber T>
Result<void> Parse(Block<const Byte> bytes, T& value)
{
	TORVI_CHECK(bytes.size() == sizeof(T), IllegalStateError("A stored number has @ bytes in place of @.", bytes.size(), sizeof(T)));
	const UInt64 bits = TakeBits(bytes.data(), sizeof(T));
	if constexpr (std::is_same_v<T, Bool>)
		TORVI_CHECK(bits <= 1, IllegalStateError("A stored truth value is @.", bits));
	value = NumberOf<T>(bits);
	return OK;
}

Result<void> Parse(Block<const Byte> bytes, String& text)
{
	text = MakeString(TextOf(bytes));
	return OK;
}

/// Ids are kept for the life of the process, so not any text may become one.
Result<void> Parse(Block<const Byte> bytes, Id& id)
{
	constexpr Int LONGEST_ID = 4096;
	TORVI_CHECK(CountOf(bytes) <= LONGEST_ID, IllegalStateError("A stored id has @ bytes.", bytes.size()));
	id = TORVI_TRY(InternId(TextOf(bytes)));
	return OK;
}

template <IsNumber T>
Result<void> Parse(Block<const Byte> bytes, Array<T>& values)
{
	TORVI_CHECK(bytes.size() % sizeof(T) == 0, IllegalStateError("A stored array of @-byte values has @ bytes.", sizeof(T), bytes.size()));
	Array<T> read(bytes.size() / sizeof(T));
	for (std::size_t i = 0; i < read.size(); ++i)
		read[i] = NumberOf<T>(TakeBits(&bytes[i * sizeof(T)], sizeof(T)));
	values = std::move(read);
	return OK;
}

/// Lengths above what is left, also those beyond an Int, are the reader's error.
Result<Block<const Byte>> TakeBlock(ByteReader& reader, UInt64 length)
{
	return reader.Take(static_cast<Int>(std::min<UInt64>(length, INT64_MAX)));
}

Result<void> Parse(Block<const Byte> bytes, Array<String>& texts)
{
	Array<String> read;
	ByteReader reader(bytes);
	while (reader.GetRemaining() > 0)
	{
		const UInt64 length = TORVI_TRY(reader.ReadUInt64());
		read.push_back(MakeString(TextOf(TORVI_TRY(TakeBlock(reader, length)))));
	}
	texts = std::move(read);
	return OK;
}

/// How the values of one type are stored.
struct StoredType
{
	DataType _type;
	void (*_append)(Array<Byte>& bytes, const void* value);
	Result<void> (*_parse)(Block<const Byte> bytes, void* value);
};

template <class T>
constexpr StoredType MakeStoredType()
{
	return {GetDataType<T>(), [](Array<Byte>& bytes, const void* value) { Append(bytes, *static_cast<const T*>(value)); },
			[](Block<const Byte> bytes, void* value) { return Parse(bytes, *static_cast<T*>(value)); }};
}

template <class... T>
constexpr std::array<StoredType, sizeof...(T)> MakeStoredTypes()
{
	return {MakeStoredType<T>()...};
}

constexpr auto STORED_TYPES = MakeStoredTypes<Bool, Char, UChar, Int16, UInt16, Int32, UInt32, Int64, UInt64, HalfFloat, Float32, Float64,
											  String, Id, Array<Byte>, Array<Char>, Array<Int64>, Array<String>>();

const StoredType* FindStoredType(DataType type) noexcept
{
	const auto found = std::ranges::find(STORED_TYPES, type, &StoredType::_type);
	return found != STORED_TYPES.end() ? &*found : nullptr;
}

Result<void> CheckIsStored(DataType type, const StoredType* stored)
{
	TORVI_CHECK(stored != nullptr || (type && type.GetRecord()._describe != nullptr),
				UnregisteredDataTypeError("Values of the data type @ are not stored.", type.GetId()));
	return OK;
}

void AppendLabel(Array<Byte>& bytes, std::string_view label)
{
	AppendBits(bytes, label.size(), sizeof(UInt32));
	AppendText(bytes, label);
}

Result<std::string_view> ReadLabel(ByteReader& reader)
{
	const UInt32 length = TORVI_TRY(reader.ReadUInt32());
	return TextOf(TORVI_TRY(TakeBlock(reader, length)));
}

/// Checks name and type of the next element and gives its value.
Result<Block<const Byte>> ReadElement(ByteReader& reader, std::string_view name, DataType type)
{
	const std::string_view storedName = TORVI_TRY(ReadLabel(reader));
	TORVI_CHECK(storedName == name, IllegalStateError("The stored member @ is needed, found @.", name, storedName));
	const std::string_view storedType = TORVI_TRY(ReadLabel(reader));
	TORVI_CHECK(storedType == type.GetId().GetText(),
				IllegalStateError("The stored member @ is of type @ in place of @.", name, storedType, type.GetId()));
	const UInt64 length = TORVI_TRY(reader.ReadUInt64());
	return TakeBlock(reader, length);
}

Result<void> ReadNested(Block<const Byte> bytes, std::string_view name, DataType type, void* place)
{
	DataSerializeReader nested(bytes);
	TORVI_TRY(type.GetRecord()._describe(place, nested));
	TORVI_CHECK(nested.GetRemaining() == 0, IllegalStateError("The stored member @ has @ bytes too many.", name, nested.GetRemaining()));
	return OK;
}

} // namespace

Result<void> DataSerializeWriter::DescribeElement(std::string_view name, DataType type, void* place)
{
	const std::size_t start = _bytes.size();
	Result<void> result = NoThrow(
		[&]() -> Result<void>
		{
			const StoredType* stored = FindStoredType(type);
			TORVI_TRY(CheckIsStored(type, stored));
			AppendLabel(_bytes, name);
			AppendLabel(_bytes, type.GetId().GetText());
			const std::size_t lengthPosition = _bytes.size();
			AppendBits(_bytes, 0, sizeof(UInt64));
			const std::size_t valuePosition = _bytes.size();
			if (stored != nullptr)
				stored->_append(_bytes, place);
			else
				TORVI_TRY(type.GetRecord()._describe(place, *this));
			for (std::size_t i = 0; i < sizeof(UInt64); ++i)
				_bytes[lengthPosition + i] = static_cast<Byte>((_bytes.size() - valuePosition) >> (8 * i));
			return OK;
		});
	if (!result.IsOk())
		_bytes.resize(start);
	return result;
}

Result<void> DataSerializeReader::DescribeElement(std::string_view name, DataType type, void* place)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			const StoredType* stored = FindStoredType(type);
			TORVI_TRY(CheckIsStored(type, stored));
			ByteReader reader = _reader;
			const Block<const Byte> value = TORVI_TRY(ReadElement(reader, name, type));
			TORVI_TRY(stored != nullptr ? stored->_parse(value, place) : ReadNested(value, name, type, place));
			_reader = reader;
			return OK;
		});
}

} // namespace torvi
