// Conversion between data types, and dictionaries.
#include "host/data.h"

#include "host/registry.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <concepts>

namespace torvi
{

namespace
{

template <class... T>
struct TypeList
{
};

using Numbers = TypeList<Bool, Char, UChar, Int16, UInt16, Int32, UInt32, Int64, UInt64, Float32, Float64>;

/// Calls `function` with the value as its own type if it is one of the list.
template <class Function, class... T>
Bool VisitNumber(const Data& data, Function&& function, TypeList<T...>)
{
	const auto visit = [&](const auto* value)
	{
		if (value != nullptr)
			function(*value);
		return value != nullptr;
	};
	return (visit(data.GetPtr<T>()) || ...);
}

template <class To, class From>
std::optional<To> ConvertNumber(From value)
{
	if constexpr (std::same_as<To, Bool>)
		return value != From(0);
	else if constexpr (std::same_as<To, Float32> && std::same_as<From, Float64>)
	{
		const Bool fits = !std::isfinite(value) || std::abs(value) <= std::numeric_limits<Float32>::max();
		return fits ? std::optional<To>(static_cast<To>(value)) : std::nullopt;
	}
	else if constexpr (std::floating_point<To>)
		return static_cast<To>(value);
	else if constexpr (std::floating_point<From>)
	{
		const From limit = std::ldexp(From(1), std::numeric_limits<To>::digits);
		const Bool fits = value < limit && value >= (std::is_signed_v<To> ? -limit : From(0)) && std::trunc(value) == value;
		return fits ? std::optional<To>(static_cast<To>(value)) : std::nullopt;
	}
	else if constexpr (std::same_as<From, Bool>)
		return static_cast<To>(value);
	else
		return std::in_range<To>(value) ? std::optional<To>(static_cast<To>(value)) : std::nullopt;
}

template <class To>
std::optional<To> ParseNumber(const String& text)
{
	if constexpr (std::same_as<To, Bool>)
	{
		if (text == "true" || text == "1")
			return true;
		return text == "false" || text == "0" ? std::optional<Bool>(false) : std::nullopt;
	}
	else
	{
		To value{};
		const auto end = std::from_chars(text.data(), text.data() + text.size(), value);
		return end.ec == std::errc() && end.ptr == text.data() + text.size() ? std::optional<To>(value) : std::nullopt;
	}
}

template <class To>
std::optional<To> ConvertToNumber(const Data& data)
{
	std::optional<To> result;
	if (const String* text = data.GetPtr<String>())
		result = ParseNumber<To>(*text);
	else
		VisitNumber(
			data, [&](auto value) { result = ConvertNumber<To>(value); }, Numbers());
	return result;
}

template <class... T>
Result<Data> ConvertToListed(const Data& data, DataType wanted, TypeList<T...>)
{
	std::optional<Result<Data>> result;
	const auto convert = [&]<class To>(To)
	{
		if (wanted != GetDataType<To>())
			return;
		if (const std::optional<To> value = ConvertToNumber<To>(data))
			result.emplace(Data::Make<To>(*value));
	};
	(convert(T()), ...);
	TORVI_CHECK(result, WrongDataTypeError("A value of type @ does not convert to @.", data.GetType().GetId(), wanted.GetId()));
	return std::move(*result);
}

} // namespace

Result<Data> Data::Convert(DataType wanted) const
{
	if (_type == wanted)
		return *this;
	return NoThrow(
		[&]() -> Result<Data>
		{
			if (!IsEmpty() && wanted == GetDataType<String>())
				return Make<String>(ToString());
			if (const String* text = GetPtr<String>(); text != nullptr && wanted == GetDataType<Id>())
				return Make<Id>(TORVI_TRY(InternId(*text)));
			return ConvertToListed(*this, wanted, Numbers());
		});
}

Bool operator==(const Data& a, const Data& b)
{
	// Also for a shared value: one that holds a NaN does not equal itself.
	return a._type == b._type && (a.IsEmpty() || a._type.GetRecord()._isEqual(a._value.get(), b._value.get()));
}

UInt64 Data::GetHashCode() const
{
	return IsEmpty() ? 0 : CombineHash(_type.GetId().GetHashCode(), _type.GetRecord()._hash(_value.get()));
}

String Data::ToString(std::string_view format) const
{
	return IsEmpty() ? String() : _type.GetRecord()._toString(_value.get(), format);
}

Result<void> DataDictionary::SetData(const InternedId& key, Data value)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			const auto found = std::ranges::find(_entries, key, &Entry::_key);
			if (found != _entries.end())
				found->_value = std::move(value);
			else
				_entries.push_back({key, std::move(value)});
			return OK;
		});
}

const Data* DataDictionary::FindData(const InternedId& key) const noexcept
{
	const auto found = std::ranges::find(_entries, key, &Entry::_key);
	return found != _entries.end() ? &found->_value : nullptr;
}

Result<Data> DataDictionary::GetData(const InternedId& key) const
{
	const Data* data = FindData(key);
	TORVI_CHECK(data != nullptr, KeyNotFoundError("There is no value under the key @.", key));
	return *data;
}

void DataDictionary::EraseData(const InternedId& key) noexcept
{
	std::erase_if(_entries, [&](const Entry& entry) { return entry._key == key; });
}

Bool operator==(const DataDictionary& a, const DataDictionary& b)
{
	return a._entries.size() == b._entries.size() && std::ranges::all_of(a._entries,
																		 [&](const DataDictionary::Entry& entry)
																		 {
																			 const Data* other = b.FindData(entry._key);
																			 return other != nullptr && *other == entry._value;
																		 });
}

UInt64 DataDictionary::GetHashCode() const
{
	UInt64 hash = 0; // the order does not count
	for (const Entry& entry : _entries)
		hash += CombineHash(entry._key.GetHashCode(), entry._value.GetHashCode());
	return hash;
}

String DataDictionary::ToString(std::string_view format) const
{
	String text = MakeString("{");
	for (const Entry& entry : _entries)
		text += Format("@@: @", text.size() > 1 ? ", " : "", entry._key, entry._value.ToString(format));
	return text + "}";
}

} // namespace torvi
