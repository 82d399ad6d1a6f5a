// Text: UTF-8 strings on the host's allocator, the "@" message syntax, case-insensitive comparison, and conversions from and
// to UTF-16 and UTF-32.
#pragma once

#include "host/id.h"
#include "host/memory.h"

#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>

namespace torvi
{

/// UTF-8 text. Functions that return one may throw std::bad_alloc inside the library only.
using String = std::basic_string<char, std::char_traits<char>, HostAllocator<char>>;

/// A read-only text that somebody else keeps alive.
using CString = const char*;

inline String MakeString(std::string_view text)
{
	return String(text.begin(), text.end());
}

/// The default text of a number: decimal digits; for floats the shortest text that reads back as the same value. `format` "x" gives
/// lower-case hexadecimal digits without a prefix, for integers only.
TORVI_EXPORT String NumberToString(Int64 value, std::string_view format = {});
TORVI_EXPORT String NumberToString(UInt64 value, std::string_view format = {});
TORVI_EXPORT String NumberToString(Float64 value, std::string_view format = {});
TORVI_EXPORT String NumberToString(Float32 value, std::string_view format = {});

/// The text of any value that messages can hold: text, numbers, ids, and whatever has a `ToString(format)`.
template <class T>
String ValueToString(const T& value, std::string_view format = {})
{
	if constexpr (std::same_as<T, Bool>)
		return MakeString(value ? "true" : "false");
	else if constexpr (std::same_as<T, Id>)
		return value.IsNumber() ? NumberToString(value.GetHashCode()) : MakeString(value.GetText());
	else if constexpr (std::is_convertible_v<const T&, std::string_view>)
		return MakeString(std::string_view(value));
	else if constexpr (std::is_enum_v<T>)
		return ValueToString(static_cast<std::underlying_type_t<T>>(value), format);
	else if constexpr (std::is_floating_point_v<T>)
		return NumberToString(value, format);
	else if constexpr (std::is_signed_v<T> && std::is_integral_v<T>)
		return NumberToString(static_cast<Int64>(value), format);
	else if constexpr (std::is_integral_v<T>)
		return NumberToString(static_cast<UInt64>(value), format);
	else
		return value.ToString(format);
}

/// One inserted value of a message, held by address for the length of the call.
struct FormatArgument
{
	const void* _value;
	String (*_toString)(const void* value, std::string_view format);
};

TORVI_EXPORT String FormatList(std::string_view format, Block<const FormatArgument> arguments);

/// Inserts the values in order at each "@" of `format`; "@{x}" hands the text in braces to the value's text form ("x" is
/// hexadecimal). Surplus marks stay as they are.
template <class... Arguments>
String Format(std::string_view format, const Arguments&... arguments)
{
	if constexpr (sizeof...(Arguments) == 0)
		return FormatList(format, {});
	else
	{
		const FormatArgument list[] = {{static_cast<const void*>(std::addressof(arguments)), [](const void* value, std::string_view how)
										{ return ValueToString(*static_cast<const Arguments*>(value), how); }}...};
		return FormatList(format, list);
	}
}

/// The upper-case form by Unicode's simple mapping. Bytes that are no UTF-8 stay as they are.
TORVI_EXPORT String ToUpper(std::string_view text);

enum class StringCompareMode
{
	CASESENSITIVE,
	CASEINSENSITIVE
};

/// Compares two texts: below 0, 0 or above 0. Without case both are taken in their upper-case form.
TORVI_EXPORT int ComparePart(std::string_view a, std::string_view b, StringCompareMode mode);

/// UTF-32 and UTF-16 to UTF-8; what is no character becomes U+FFFD. `littleEndian` bytes, an odd last byte is left out.
TORVI_EXPORT String FromUtf32(std::u32string_view text);
TORVI_EXPORT String FromUtf16Bytes(Block<const Byte> littleEndian);

/// UTF-8 to UTF-16, little-endian bytes; what is no character becomes U+FFFD.
TORVI_EXPORT Array<Byte> ToUtf16Bytes(std::string_view text);
TORVI_EXPORT std::basic_string<char32_t, std::char_traits<char32_t>, HostAllocator<char32_t>> ToUtf32(std::string_view text);

} // namespace torvi

template <>
struct std::hash<torvi::String>
{
	std::size_t operator()(const torvi::String& text) const noexcept { return torvi::HashText(text.data(), text.size()); }
};
