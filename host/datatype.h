// Data types: one constant record per C++ type that travels in dictionaries, with all that the host needs to handle its values by
// id. A type joins by one line, TORVI_DATATYPE(Type, "its.id"), in the header that declares it, and is entered in
// net.torvi.registry.datatypes by AddDataType at the start of the module.
#pragma once

#include "host/object.h"

#include <bit>

namespace torvi
{

class DataSerialize;

/// What the host can do with the values of one type. Pointers are to values of the type, or to room for one.
struct DataTypeRecord
{
	Id _id;
	std::size_t _size;
	std::size_t _alignment;
	void (*_construct)(void* value); ///< all fields 0
	void (*_destruct)(void* value) noexcept;
	void (*_copy)(const void* from, void* to);    ///< into room for one
	void (*_move)(void* from, void* to) noexcept; ///< into room for one; the source stays to be destructed
	Bool (*_isEqual)(const void* a, const void* b);
	std::partial_ordering (*_compare)(const void* a, const void* b); ///< unordered where the type has no order
	UInt64 (*_hash)(const void* value);
	String (*_toString)(const void* value, std::string_view format);
	Result<void> (*_describe)(void* value, DataSerialize& serializer); ///< reads or writes the value; null if the type is not stored
};

/// A data type is compared by its id. Default: no type.
class DataType
{
public:
	constexpr DataType() noexcept = default;
	explicit constexpr DataType(const DataTypeRecord& record) noexcept : _record(&record) {}

	constexpr explicit operator bool() const noexcept { return _record != nullptr; }
	constexpr Id GetId() const noexcept { return _record != nullptr ? _record->_id : Id(); }
	constexpr const DataTypeRecord& GetRecord() const noexcept { return *_record; }
	String ToString(std::string_view = {}) const { return MakeString(GetId().GetText()); }

	friend constexpr Bool operator==(DataType a, DataType b) noexcept { return a._record == b._record || a.GetId() == b.GetId(); }

private:
	const DataTypeRecord* _record = nullptr;
};

/// Specialised by TORVI_DATATYPE; a type without it can not be put into Data.
template <class T>
struct DataTypeTraits;

namespace detail
{

template <class T>
concept HasDescribeIO = requires(T& value, DataSerialize& serializer)
{
	value.DescribeIO(serializer);
};

template <class T>
concept IsArray = requires
{
	typename T::value_type;
}
&&std::is_same_v<T, Array<typename T::value_type>>;

template <class T>
UInt64 HashValue(const T& value)
{
	if constexpr (requires {
					  {
						  value.GetHashCode()
						  } -> std::convertible_to<UInt64>;
				  })
		return value.GetHashCode();
	else if constexpr (IsArray<T>)
	{
		UInt64 hash = 0;
		for (const auto& element : value)
			hash = CombineHash(hash, HashValue(element));
		return hash;
	}
	else if constexpr (std::is_enum_v<T> || std::is_integral_v<T>)
		return MixHash(static_cast<UInt64>(value));
	else if constexpr (std::is_floating_point_v<T>)
		return MixHash(std::bit_cast<UInt64>(static_cast<Float64>(value == T(0) ? T(0) : value))); // both zeros are equal
	else if constexpr (requires { std::hash<T>()(value); })
		return std::hash<T>()(value);
	else
		return 0;
}

template <class T>
String TextOfValue(const T& value, std::string_view format)
{
	if constexpr (IsArray<T>)
	{
		String text = MakeString("[");
		for (const auto& element : value)
			text += (text.size() > 1 ? MakeString(", ") : String()) + TextOfValue(element, format);
		return text + "]";
	}
	else if constexpr (requires { ValueToString(value, format); })
		return ValueToString(value, format);
	else
		return MakeString(DataTypeTraits<T>::ID.GetText());
}

template <class T>
constexpr DataTypeRecord MakeDataTypeRecord()
{
	DataTypeRecord record{};
	record._id = DataTypeTraits<T>::ID;
	record._size = sizeof(T);
	record._alignment = alignof(T);
	record._construct = [](void* value) { new (value) T{}; };
	record._destruct = [](void* value) noexcept { static_cast<T*>(value)->~T(); };
	record._copy = [](const void* from, void* to) { new (to) T(*static_cast<const T*>(from)); };
	record._move = [](void* from, void* to) noexcept { new (to) T(std::move(*static_cast<T*>(from))); };
	record._isEqual = [](const void* a, const void* b) -> Bool { return *static_cast<const T*>(a) == *static_cast<const T*>(b); };
	record._compare = [](const void* a, const void* b) -> std::partial_ordering
	{
		if constexpr (std::three_way_comparable<T, std::partial_ordering>)
			return *static_cast<const T*>(a) <=> *static_cast<const T*>(b);
		else
			return *static_cast<const T*>(a) == *static_cast<const T*>(b) ? std::partial_ordering::equivalent
																		  : std::partial_ordering::unordered;
	};
	record._hash = [](const void* value) { return HashValue(*static_cast<const T*>(value)); };
	record._toString = [](const void* value, std::string_view format) { return TextOfValue(*static_cast<const T*>(value), format); };
	if constexpr (HasDescribeIO<T>)
		record._describe = [](void* value, DataSerialize& serializer) { return static_cast<T*>(value)->DescribeIO(serializer); };
	return record;
}

template <class T>
inline constexpr DataTypeRecord DATATYPE_RECORD = MakeDataTypeRecord<T>();

} // namespace detail

/// The data type of T.
template <class T>
constexpr DataType GetDataType()
{
	return DataType(detail::DATATYPE_RECORD<T>);
}

} // namespace torvi

/// Gives a type its data type id. At global scope, in the header that declares the type.
#define TORVI_DATATYPE(Type, id)                                                                                                           \
	template <>                                                                                                                            \
	struct torvi::DataTypeTraits<Type>                                                                                                     \
	{                                                                                                                                      \
		static constexpr torvi::Id ID = id;                                                                                                \
	};

TORVI_DATATYPE(torvi::Bool, "bool")
TORVI_DATATYPE(torvi::Char, "char")
TORVI_DATATYPE(torvi::UChar, "uchar")
TORVI_DATATYPE(torvi::Int16, "int16")
TORVI_DATATYPE(torvi::UInt16, "uint16")
TORVI_DATATYPE(torvi::Int32, "int32")
TORVI_DATATYPE(torvi::UInt32, "uint32")
TORVI_DATATYPE(torvi::Int64, "int64")
TORVI_DATATYPE(torvi::UInt64, "uint64")
TORVI_DATATYPE(torvi::Float32, "float32")
TORVI_DATATYPE(torvi::Float64, "float64")
TORVI_DATATYPE(torvi::String, "net.torvi.datatype.string")
TORVI_DATATYPE(torvi::Id, "net.torvi.datatype.id")
TORVI_DATATYPE(torvi::DataType, "net.torvi.datatype.datatype")
TORVI_DATATYPE(torvi::ObjectRef, "net.torvi.interface.object")
TORVI_DATATYPE(torvi::Array<torvi::Byte>, "net.torvi.datatype.array.uchar")
TORVI_DATATYPE(torvi::Array<torvi::Char>, "net.torvi.datatype.array.char")
TORVI_DATATYPE(torvi::Array<torvi::Int64>, "net.torvi.datatype.array.int64")
TORVI_DATATYPE(torvi::Array<torvi::String>, "net.torvi.datatype.array.string")
TORVI_DATATYPE(torvi::Array<torvi::DataType>, "net.torvi.datatype.array.datatype")

template <>
struct std::hash<torvi::DataType>
{
	std::size_t operator()(const torvi::DataType& type) const noexcept { return type.GetId().GetHashCode(); }
};
