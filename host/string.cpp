// Text services. Unicode's tables come from utf8proc.
#include "host/string.h"

#include <charconv>
#include <utf8proc.h>

namespace torvi
{

namespace
{

constexpr char32_t REPLACEMENT = 0xFFFD;

template <class T, class... Style>
String CharsOf(T value, Style... style)
{
	char buffer[400];
	const auto end = std::to_chars(buffer, buffer + sizeof(buffer), value, style...);
	return String(buffer, end.ptr);
}

template <class T>
String IntegerToString(T value, std::string_view format)
{
	return format == "x" ? CharsOf(static_cast<UInt64>(value), 16) : CharsOf(value);
}

/// Reads one character at the front of `text` and removes it; -1 for a byte that starts none, which is removed alone.
utf8proc_int32_t TakeCharacter(std::string_view& text)
{
	utf8proc_int32_t character = -1;
	const auto length =
		utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()), static_cast<utf8proc_ssize_t>(text.size()), &character);
	text.remove_prefix(length > 0 ? static_cast<std::size_t>(length) : 1);
	return length > 0 ? character : -1;
}

void AppendCharacter(String& text, char32_t character)
{
	if (character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF))
		character = REPLACEMENT;
	utf8proc_uint8_t bytes[4];
	const auto length = utf8proc_encode_char(static_cast<utf8proc_int32_t>(character), bytes);
	text.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
}

} // namespace

String NumberToString(Int64 value, std::string_view format)
{
	return IntegerToString(value, format);
}

String NumberToString(UInt64 value, std::string_view format)
{
	return IntegerToString(value, format);
}

String NumberToString(Float64 value, std::string_view)
{
	return CharsOf(value);
}

String NumberToString(Float32 value, std::string_view)
{
	return CharsOf(value);
}

String FormatList(std::string_view format, Block<const FormatArgument> arguments)
{
	String text;
	for (const FormatArgument& argument : arguments)
	{
		const std::size_t mark = format.find('@');
		if (mark == std::string_view::npos)
			break;
		text.append(format.substr(0, mark));
		format.remove_prefix(mark + 1);
		std::string_view how;
		if (const std::size_t end = format.find('}'); format.starts_with('{') && end != std::string_view::npos)
		{
			how = format.substr(1, end - 1);
			format.remove_prefix(end + 1);
		}
		text.append(argument._toString(argument._value, how));
	}
	text.append(format);
	return text;
}

String ToUpper(std::string_view text)
{
	String upper;
	upper.reserve(text.size());
	while (!text.empty())
	{
		const char first = text.front();
		const utf8proc_int32_t character = TakeCharacter(text);
		if (character < 0)
			upper.push_back(first);
		else
			AppendCharacter(upper, static_cast<char32_t>(utf8proc_toupper(character)));
	}
	return upper;
}

int ComparePart(std::string_view a, std::string_view b, StringCompareMode mode)
{
	return mode == StringCompareMode::CASESENSITIVE ? a.compare(b) : ToUpper(a).compare(ToUpper(b));
}

String FromUtf32(std::u32string_view text)
{
	String result;
	for (const char32_t character : text)
		AppendCharacter(result, character);
	return result;
}

String FromUtf16Bytes(Block<const Byte> littleEndian)
{
	String result;
	const std::size_t count = littleEndian.size() / 2;
	const auto unit = [&](std::size_t i) { return static_cast<char32_t>(littleEndian[2 * i] | littleEndian[2 * i + 1] << 8); };
	for (std::size_t i = 0; i < count; ++i)
	{
		const char32_t high = unit(i);
		const Bool isPair = high >= 0xD800 && high < 0xDC00 && i + 1 < count && unit(i + 1) >= 0xDC00 && unit(i + 1) < 0xE000;
		AppendCharacter(result, isPair ? 0x10000 + ((high - 0xD800) << 10) + (unit(i + 1) - 0xDC00) : high);
		i += isPair ? 1 : 0;
	}
	return result;
}

Array<Byte> ToUtf16Bytes(std::string_view text)
{
	Array<Byte> bytes;
	const auto append = [&](char32_t unit)
	{
		bytes.push_back(static_cast<Byte>(unit & 0xFF));
		bytes.push_back(static_cast<Byte>(unit >> 8 & 0xFF));
	};
	for (const char32_t character : ToUtf32(text))
	{
		if (character < 0x10000)
			append(character);
		else
		{
			append(0xD800 + ((character - 0x10000) >> 10));
			append(0xDC00 + ((character - 0x10000) & 0x3FF));
		}
	}
	return bytes;
}

std::basic_string<char32_t, std::char_traits<char32_t>, HostAllocator<char32_t>> ToUtf32(std::string_view text)
{
	std::basic_string<char32_t, std::char_traits<char32_t>, HostAllocator<char32_t>> result;
	while (!text.empty())
	{
		const utf8proc_int32_t character = TakeCharacter(text);
		result.push_back(character < 0 ? REPLACEMENT : static_cast<char32_t>(character));
	}
	return result;
}

} // namespace torvi
