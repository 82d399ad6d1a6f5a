// Data: one value of any registered type, and the dictionaries of them. Data is immutable and shared when it is copied, so a copy never
// allocates.
#pragma once

#include "host/datatype.h"

#include <memory>
#include <optional>

namespace torvi
{

class TORVI_EXPORT Data
{
public:
	/// Empty: no type, no value.
	Data() noexcept = default;

	/// Out-of-memory error if there is no room.
	template <class T>
	static Result<Data> Make(T value)
	{
		return NoThrow(
			[&]() -> Result<Data>
			{
				Data data;
				data._type = GetDataType<T>();
				data._value = std::allocate_shared<const T>(HostAllocator<T>(), std::move(value));
				return data;
			});
	}

	Bool IsEmpty() const noexcept { return !_type; }
	DataType GetType() const noexcept { return _type; }

	/// The value if it has exactly this type, else null. Valid as long as this Data or a copy of it.
	template <class T>
	const T* GetPtr() const noexcept
	{
		return _type == GetDataType<T>() ? static_cast<const T*>(_value.get()) : nullptr;
	}

	/// The value of exactly this type; wrong-data-type error otherwise.
	template <class T>
	Result<T> Get() const
	{
		const T* value = GetPtr<T>();
		TORVI_CHECK(value != nullptr, WrongDataTypeError("A value of type @ is needed, found @.", DataTypeTraits<T>::ID, _type.GetId()));
		return NoThrow([&]() -> Result<T> { return T(*value); });
	}

	/// The value converted to the type `wanted`: numbers to numbers where the value fits (floats to integers only if whole), text to
	/// numbers and ids and back, anything to text. Wrong-data-type error if it does not convert.
	Result<Data> Convert(DataType wanted) const;
	template <class T>
	Result<T> ConvertTo() const
	{
		return TORVI_TRY(Convert(GetDataType<T>())).template Get<T>();
	}

	/// Same type and equal values; two empty ones are equal.
	friend TORVI_EXPORT Bool operator==(const Data& a, const Data& b);
	UInt64 GetHashCode() const;
	/// The text form of the value; empty when empty.
	String ToString(std::string_view format = {}) const;

private:
	DataType _type;
	std::shared_ptr<const void> _value;
};

/// Values under ids, in order of first insertion. A copy is a value of its own.
class TORVI_EXPORT DataDictionary
{
public:
	struct Entry
	{
		InternedId _key;
		Data _value;

		friend Bool operator==(const Entry&, const Entry&) = default;
	};

	/// Stores a value, replacing an earlier one of that key.
	Result<void> SetData(const InternedId& key, Data value);
	/// Key-not-found error for a missing key.
	Result<Data> GetData(const InternedId& key) const;
	/// A missing key is no failure.
	void EraseData(const InternedId& key) noexcept;
	/// The value, or null.
	const Data* FindData(const InternedId& key) const noexcept;

	template <class T>
	Result<void> Set(const InternedId& key, T value)
	{
		return SetData(key, TORVI_TRY(Data::Make<T>(std::move(value))));
	}
	/// Key-not-found or wrong-data-type error.
	template <class T>
	Result<T> Get(const InternedId& key) const
	{
		return TORVI_TRY(GetData(key)).template Get<T>();
	}
	template <class T>
	T GetOr(const InternedId& key, T fallback) const
	{
		const Data* data = FindData(key);
		const T* value = data != nullptr ? data->GetPtr<T>() : nullptr;
		return value != nullptr ? *value : fallback;
	}

	Block<const Entry> GetEntries() const noexcept { return _entries; }
	Bool IsEmpty() const noexcept { return _entries.empty(); }

	/// The same keys with equal values, in any order.
	friend TORVI_EXPORT Bool operator==(const DataDictionary& a, const DataDictionary& b);
	UInt64 GetHashCode() const;
	String ToString(std::string_view format = {}) const;

private:
	Array<Entry> _entries;
};

/// An object with a dictionary. Classes override GetData to answer keys that they compute; everything reads through it.
class TORVI_EXPORT DataDictionaryObjectInterface : public virtual ObjectInterface
{
public:
	virtual Result<void> SetData(const InternedId& key, Data value) = 0;
	/// Key-not-found error for a missing key.
	virtual Result<Data> GetData(const InternedId& key) const = 0;
	virtual Result<void> EraseData(const InternedId& key) = 0;
	/// The stored entries, without computed ones, in order of first insertion. Valid until the next change.
	virtual Block<const DataDictionary::Entry> InitIterator() const = 0;

	template <class T>
	Result<void> Set(const InternedId& key, T value)
	{
		return SetData(key, TORVI_TRY(Data::Make<T>(std::move(value))));
	}
	template <class T>
	Result<T> Get(const InternedId& key) const
	{
		return TORVI_TRY(GetData(key)).template Get<T>();
	}
	/// The value, or `fallback` if it is missing or of another type.
	template <class T>
	T GetOr(const InternedId& key, T fallback) const
	{
		return Get<T>(key).ValueOr(std::move(fallback));
	}
};

/// The value; nothing if the key is missing; the reading error for any other failure.
template <class T>
Result<std::optional<T>> ReadOptional(const DataDictionaryObjectInterface& dictionary, const Id& key)
{
	Result<T> value = dictionary.Get<T>(key);
	if (value.IsOk())
		return std::optional<T>(value.TakeValue());
	if (value.GetError().GetId() == errorids::KEYNOTFOUND)
		return std::optional<T>();
	return value.TakeError();
}

/// The value, or `fallback` if the key is missing; the reading error for any other failure.
template <class T>
Result<T> ReadOr(const DataDictionaryObjectInterface& dictionary, const Id& key, T fallback)
{
	return TORVI_TRY(ReadOptional<T>(dictionary, key)).value_or(std::move(fallback));
}

/// The implementation that other implementations derive from.
class TORVI_EXPORT DataDictionaryObjectImpl : public virtual DataDictionaryObjectInterface
{
public:
	Result<void> SetData(const InternedId& key, Data value) override { return _dictionary.SetData(key, std::move(value)); }
	Result<Data> GetData(const InternedId& key) const override { return _dictionary.GetData(key); }
	Result<void> EraseData(const InternedId& key) override
	{
		_dictionary.EraseData(key);
		return OK;
	}
	Block<const DataDictionary::Entry> InitIterator() const override { return _dictionary.GetEntries(); }

	const DataDictionary& GetDictionary() const noexcept { return _dictionary; }

private:
	DataDictionary _dictionary;
};

} // namespace torvi

TORVI_DATATYPE(torvi::Data, "net.torvi.datatype.data")
TORVI_DATATYPE(torvi::DataDictionary, "net.torvi.datatype.datadictionary")
TORVI_DATATYPE(torvi::Array<torvi::Data>, "net.torvi.datatype.array.data")
TORVI_DATATYPE(torvi::Array<torvi::DataDictionary>, "net.torvi.datatype.array.datadictionary")
