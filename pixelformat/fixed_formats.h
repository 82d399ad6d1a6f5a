// The fixed interleaved formats as plain constant records: names, family, data type, channels and packed layout. Read from
// fixed_formats.inc; knows neither kernels nor format objects.
#pragma once

#include "host/types.h"

#include <array>
#include <initializer_list>
#include <string_view>

namespace torvi
{

/// What one number of a pixel means.
enum class Channel : UChar
{
	Red,
	Green,
	Blue,
	Alpha,
	Grey,
	Unused
};

/// How one number of a pixel is stored, in the order "uchar", "char", "uint16", "int16", "uint32", "int32", "float16", "float32",
/// "float64".
enum class ValueType : UChar
{
	U8,
	S8,
	U16,
	S16,
	U32,
	S32,
	F16,
	F32,
	F64
};

constexpr Int VALUE_TYPE_COUNT = 9;

/// The bytes of one value.
constexpr Int SizeOf(ValueType type)
{
	constexpr std::array<Int, VALUE_TYPE_COUNT> SIZES = {1, 1, 2, 2, 4, 4, 2, 4, 8};
	return SIZES[static_cast<std::size_t>(type)];
}

enum class FixedFamily : UChar
{
	RGB,
	RGBA,
	ARGB,
	XRGB,
	RGBX,
	BGR,
	BGRA,
	BGRX,
	ABGR,
	GREY,
	GREYA,
	AGREY,
	ALPHA
};

constexpr Int FIXED_FAMILY_COUNT = 13;

/// One name per format, such as `RGB_U8`. The first `FIXED_SOURCE_COUNT` are also the sources of direct conversions.
enum class FixedFormat : UChar
{
#define FIXED_FORMAT(family, type, ...) family##_##type,
#include "pixelformat/fixed_formats.inc"
#undef FIXED_FORMAT
};

constexpr Int MAXIMUM_CHANNELS = 5; // of any format that is known when kernels are compiled

/// The record of one format.
struct FixedFormatInfo
{
	FixedFormat _format;
	FixedFamily _family;
	ValueType _type;
	std::string_view _shortName;    // "RGB::U8"
	std::array<char, 12> _nameText; // "rgb.u8", closed by a zero
	Int _channelCount;
	std::array<Channel, MAXIMUM_CHANNELS> _channels; // from the lowest offset; the first `_channelCount` count

	constexpr std::string_view GetName() const { return _nameText.data(); }

	/// The index of `channel` in the pixel, or -1.
	constexpr Int Find(Channel channel) const
	{
		for (Int i = 0; i < _channelCount; ++i)
			if (_channels[static_cast<std::size_t>(i)] == channel)
				return i;
		return -1;
	}
	constexpr bool Has(Channel channel) const { return Find(channel) >= 0; }

	/// The bit offset of channel `index` in the packed layout; with `_channelCount` the bits per pixel.
	constexpr BITS GetBitOffset(Int index) const { return index * SizeOf(_type) * 8; }
};

namespace fixed_formats_detail
{

constexpr FixedFormatInfo MakeInfo(FixedFormat format, FixedFamily family, ValueType type, std::string_view shortName,
								   std::initializer_list<Channel> channels)
{
	FixedFormatInfo info = {format, family, type, shortName, {}, static_cast<Int>(channels.size()), {}};
	std::size_t length = 0;
	for (const char letter : shortName)
	{
		if (letter == ':' && length > 0 && info._nameText[length - 1] == '.')
			continue;
		const char lower = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
		info._nameText[length++] = lower == ':' ? '.' : lower;
	}
	std::size_t index = 0;
	for (const Channel channel : channels)
		info._channels[index++] = channel;
	return info;
}

} // namespace fixed_formats_detail

/// All fixed formats; the index is the value of `FixedFormat`.
inline constexpr std::array FIXED_FORMATS = []
{
	using enum Channel;
	return std::array{
#define FIXED_FORMAT(family, type, ...)                                                                                                    \
	fixed_formats_detail::MakeInfo(FixedFormat::family##_##type, FixedFamily::family, ValueType::type, #family "::" #type, {__VA_ARGS__}),
#include "pixelformat/fixed_formats.inc"
#undef FIXED_FORMAT
	};
}();

constexpr Int FIXED_FORMAT_COUNT = 50;
constexpr Int FIXED_SOURCE_COUNT = 48;

constexpr const FixedFormatInfo& InfoOf(FixedFormat format)
{
	return FIXED_FORMATS[static_cast<std::size_t>(format)];
}

/// Whether `format` is a source of direct conversions.
constexpr bool IsDirectSource(FixedFormat format)
{
	return static_cast<Int>(format) < FIXED_SOURCE_COUNT;
}

static_assert(FIXED_FORMATS.size() == FIXED_FORMAT_COUNT);
static_assert(!IsDirectSource(FixedFormat::ABGR_F32) && !IsDirectSource(FixedFormat::ALPHA_F16));
static_assert(IsDirectSource(FixedFormat::ALPHA_F64));
static_assert(InfoOf(FixedFormat::AGREY_F16).GetName() == "agrey.f16");
static_assert(static_cast<Int>(FixedFamily::ALPHA) + 1 == FIXED_FAMILY_COUNT);

} // namespace torvi
