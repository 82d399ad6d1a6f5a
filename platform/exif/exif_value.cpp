// The library has compared the entry's bytes with those of the block, and gives them in the block's own order.
#include "platform/exif/exif_value.h"

#include "host/byteorder.h"

#include <bit>
#include <utility>

namespace torvi
{

namespace
{

Block<const Byte> GetBytes(const ExifEntry& entry)
{
	return {entry.data, entry.data != nullptr ? entry.size : 0};
}

template <class T>
Result<Data> MakeList(Block<const Byte> bytes, ByteOrder order)
{
	Array<Int64> list;
	list.reserve(bytes.size() / sizeof(T));
	for (; bytes.size() >= sizeof(T); bytes = bytes.subspan(sizeof(T)))
		list.push_back(LoadNumber<T>(bytes.data(), order));
	return Data::Make(std::move(list));
}

template <class T>
Result<Data> MakeNumber(Block<const Byte> bytes, ByteOrder order)
{
	return bytes.size() == sizeof(T) ? Data::Make(LoadNumber<T>(bytes.data(), order)) : MakeList<T>(bytes, order);
}

template <class T, class Bits>
Result<Data> MakeFloat(Block<const Byte> bytes, ByteOrder order)
{
	Array<Data> list;
	list.reserve(bytes.size() / sizeof(T));
	for (; bytes.size() >= sizeof(T); bytes = bytes.subspan(sizeof(T)))
		list.push_back(TORVI_TRY(Data::Make(std::bit_cast<T>(LoadNumber<Bits>(bytes.data(), order)))));
	return list.size() == 1 ? Result<Data>(list.front()) : Data::Make(std::move(list));
}

Result<Data> MakeBytes(Block<const Byte> bytes)
{
	return Data::Make(Array<Byte>(bytes.begin(), bytes.end()));
}

String FromLatin1(std::string_view text)
{
	String utf8;
	for (const char character : text)
	{
		const auto code = static_cast<unsigned char>(character);
		if (code >= 0x80)
			utf8.push_back(static_cast<char>(0xC0 | code >> 6));
		utf8.push_back(static_cast<char>(code < 0x80 ? code : 0x80 | (code & 0x3F)));
	}
	return utf8;
}

/// Texts should be ASCII. Those that are not are UTF-8 where they can be, and Latin-1 otherwise.
String ToUtf8(std::string_view text)
{
	String utf8 = FromUtf32(ToUtf32(text));
	return utf8 == text ? utf8 : FromLatin1(text);
}

Result<Data> MakeText(Block<const Byte> bytes)
{
	const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
	return Data::Make(ToUtf8(text.substr(0, text.find_last_not_of('\0') + 1)));
}

/// -1 for formats of other values.
Int64 LoadInteger(ExifFormat format, const Byte* bytes, ByteOrder order)
{
	switch (format)
	{
	case EXIF_FORMAT_BYTE:
		return bytes[0];
	case EXIF_FORMAT_SHORT:
		return LoadNumber<UInt16>(bytes, order);
	case EXIF_FORMAT_LONG:
		return LoadNumber<UInt32>(bytes, order);
	case EXIF_FORMAT_SBYTE:
		return LoadNumber<Char>(bytes, order);
	case EXIF_FORMAT_SSHORT:
		return LoadNumber<Int16>(bytes, order);
	case EXIF_FORMAT_SLONG:
		return LoadNumber<Int32>(bytes, order);
	default:
		return -1;
	}
}

} // namespace

Result<Data> MakeExifValue(const ExifEntry& entry, ByteOrder order)
{
	const Block<const Byte> bytes = GetBytes(entry);
	TORVI_CHECK(!bytes.empty(), Data());
	switch (entry.format)
	{
	case EXIF_FORMAT_BYTE:
		return bytes.size() == 1 ? Data::Make(bytes[0]) : MakeBytes(bytes);
	case EXIF_FORMAT_ASCII:
		return MakeText(bytes);
	case EXIF_FORMAT_SHORT:
		return MakeNumber<UInt16>(bytes, order);
	case EXIF_FORMAT_LONG:
		return MakeNumber<UInt32>(bytes, order);
	case EXIF_FORMAT_RATIONAL:
		return MakeList<UInt32>(bytes, order);
	case EXIF_FORMAT_SBYTE:
		return MakeNumber<Char>(bytes, order);
	case EXIF_FORMAT_UNDEFINED:
		return MakeBytes(bytes);
	case EXIF_FORMAT_SSHORT:
		return MakeNumber<Int16>(bytes, order);
	case EXIF_FORMAT_SLONG:
		return MakeNumber<Int32>(bytes, order);
	case EXIF_FORMAT_SRATIONAL:
		return MakeList<Int32>(bytes, order);
	case EXIF_FORMAT_FLOAT:
		return MakeFloat<Float32, UInt32>(bytes, order);
	case EXIF_FORMAT_DOUBLE:
		return MakeFloat<Float64, UInt64>(bytes, order);
	}
	return Data();
}

std::optional<UInt16> GetFirstExifUInt16(const ExifEntry& entry, ByteOrder order)
{
	const Block<const Byte> bytes = GetBytes(entry);
	if (bytes.size() < exif_format_get_size(entry.format))
		return std::nullopt;
	const Int64 value = LoadInteger(entry.format, bytes.data(), order);
	return std::in_range<UInt16>(value) ? std::optional(static_cast<UInt16>(value)) : std::nullopt;
}

} // namespace torvi
