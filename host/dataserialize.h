// Reading and writing of values member by member. A class lists its members once, in DescribeIO, for both directions. The stored form is a
// sequence of named, typed elements, little-endian, so that a reader finds out about members that are missing or of another type.
#pragma once

#include "host/binaryreader.h"
#include "host/data.h"

namespace torvi
{

class TORVI_EXPORT DataSerialize
{
public:
	virtual ~DataSerialize() = default;
	DataSerialize() = default;
	DataSerialize(const DataSerialize&) = delete;
	DataSerialize& operator=(const DataSerialize&) = delete;

	virtual Bool IsReading() const noexcept = 0;

	/// Writes the value at `place`, or reads it there. Types of the list below, and types with a DescribeIO, can be stored; another type is
	/// an unregistered-data-type error, stored data that does not fit an illegal-state error, short data the read error.
	virtual Result<void> DescribeElement(std::string_view name, DataType type, void* place) = 0;

	template <class T>
	Result<void> DescribeElement(std::string_view name, T& place)
	{
		return DescribeElement(name, GetDataType<T>(), &place);
	}
};

/// Writes to memory. Stored directly: all numbers, Bool, String, Id, arrays of Byte, Char, Int64 and String.
class TORVI_EXPORT DataSerializeWriter final : public DataSerialize
{
public:
	Bool IsReading() const noexcept override { return false; }
	using DataSerialize::DescribeElement;
	Result<void> DescribeElement(std::string_view name, DataType type, void* place) override;

	Block<const Byte> GetBytes() const noexcept { return _bytes; }

private:
	Array<Byte> _bytes;
};

/// Reads what the writer wrote. It owns nothing.
class TORVI_EXPORT DataSerializeReader final : public DataSerialize
{
public:
	explicit DataSerializeReader(Block<const Byte> bytes) : _reader(bytes) { }

	Bool IsReading() const noexcept override { return true; }
	using DataSerialize::DescribeElement;
	Result<void> DescribeElement(std::string_view name, DataType type, void* place) override;

private:
	ByteReader _reader;
};

} // namespace torvi
