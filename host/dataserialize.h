// Reading and writing of values member by member. A class lists its members once, in DescribeIO, for both directions. The stored form is a
// sequence of elements, little-endian: the name and the id of the type, each behind its length in 32 bits, the length of the value in 64
// bits, and the value. So a reader finds out about members that are missing or of another type. References to objects are not stored.
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

/// Writes to memory. Stored directly: all numbers, Bool, String, Id, arrays of Byte, Char, Int64 and String. A failed element leaves the
/// bytes as they were.
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

/// Reads what the writer wrote, in the same order. It owns nothing and allocates no more than a small multiple of the bytes, whatever they
/// hold. After a failed element it stands in front of it; a value with a DescribeIO may have been read in part.
class TORVI_EXPORT DataSerializeReader final : public DataSerialize
{
public:
	explicit DataSerializeReader(Block<const Byte> bytes) : _reader(bytes) {}

	Bool IsReading() const noexcept override { return true; }
	using DataSerialize::DescribeElement;
	Result<void> DescribeElement(std::string_view name, DataType type, void* place) override;

	/// Bytes behind the last element read.
	Int GetRemaining() const noexcept { return _reader.GetRemaining(); }

private:
	ByteReader _reader;
};

} // namespace torvi
