// The rules of pixel conversion, one plain function each.
#include "tests/pixelformat/reference.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace torvi::reference
{

namespace
{

// The tables of van der Zijp's half-float conversion.
struct HalfTables
{
	std::array<UInt32, 2048> _mantissa = {};
	std::array<UInt32, 64> _exponent = {};
	std::array<UInt16, 64> _offset = {};
	std::array<UInt16, 512> _base = {};
	std::array<UChar, 512> _shift = {};

	HalfTables()
	{
		for (UInt32 i = 1; i < 1024; ++i)
			_mantissa[i] = DenormalMantissa(i);
		for (UInt32 i = 1024; i < 2048; ++i)
			_mantissa[i] = 0x38000000 + ((i - 1024) << 13);
		for (UInt32 i = 0; i < 64; ++i)
		{
			const UInt32 sign = i >= 32 ? 0x80000000 : 0;
			const UInt32 exponent = i % 32;
			_exponent[i] = sign + (exponent == 31 ? 0x47800000 : exponent << 23);
			_offset[i] = exponent == 0 ? 0 : 1024;
		}
		for (Int i = 0; i < 256; ++i)
			FillByExponent(static_cast<std::size_t>(i), i - 127);
	}

	static UInt32 DenormalMantissa(UInt32 i)
	{
		UInt32 mantissa = i << 13;
		UInt32 exponent = 0;
		while (!(mantissa & 0x00800000))
		{
			exponent -= 0x00800000;
			mantissa <<= 1;
		}
		return (mantissa & ~0x00800000u) | (exponent + 0x38800000);
	}

	void FillByExponent(std::size_t i, Int e)
	{
		UInt16 base = 0x7C00;
		UChar shift = e == 128 ? 13 : 24;
		if (e < -24)
			base = 0;
		else if (e < -14)
		{
			base = static_cast<UInt16>(0x0400 >> (-e - 14));
			shift = static_cast<UChar>(-e - 1);
		}
		else if (e <= 15)
		{
			base = static_cast<UInt16>((e + 15) << 10);
			shift = 13;
		}
		_base[i] = base;
		_base[i + 256] = base | 0x8000;
		_shift[i] = _shift[i + 256] = shift;
	}
};

const HalfTables TABLES;

bool IsSigned(Type type)
{
	return type == Type::S8 || type == Type::S16 || type == Type::S32;
}

Type UnsignedOf(Type type)
{
	return type == Type::S8 ? Type::U8 : type == Type::S16 ? Type::U16 : type == Type::S32 ? Type::U32 : type;
}

UInt32 FlipTop(Type type, UInt32 bits)
{
	return bits ^ (SizeOf(type) == 1 ? 0x80u : SizeOf(type) == 2 ? 0x8000u : 0x80000000u);
}

UInt32 WidenOrCut(UInt32 value, Type from, Type to)
{
	if (SizeOf(to) < SizeOf(from))
		return value >> (8 * (SizeOf(from) - SizeOf(to)));
	if (from == Type::U8)
		return to == Type::U16 ? value * 257 : value * 0x01010101u;
	return value * 0x00010001u;
}

Number IntegerToFloat(const Number& number, Type to)
{
	if (to == Type::F32)
	{
		const Float32 factor = number._type == Type::U8 ? 0.003921569f : number._type == Type::U16 ? 1.5259022e-5f : 2.3283064e-10f;
		return Single(static_cast<Float32>(number._bits) * factor);
	}
	const Float64 factor = number._type == Type::U8 ? 1.0 / 255 : number._type == Type::U16 ? 1.0 / 65535 : 2.3283064370807974e-10;
	return Double(number._bits * factor);
}

UInt32 SingleToInteger(Float32 value, Type to)
{
	const Float32 scale = to == Type::U8 ? 255.0f : to == Type::U16 ? 65535.0f : 4294967296.0f;
	const Float32 scaled = scale * value + 0.5f;
	if (!(scaled > 0.0f))
		return 0;
	if (to == Type::U32)
		return scaled >= 4294967296.0f ? 0xFFFFFFFFu : static_cast<UInt32>(scaled);
	return static_cast<UInt32>(std::min(scaled, scale));
}

UInt32 DoubleToInteger(Float64 value, Type to)
{
	const Float64 scale = to == Type::U8 ? 255.0 : to == Type::U16 ? 65535.0 : 4294967295.0;
	const Float64 scaled = scale * value + 0.5;
	return scaled > 0.0 ? static_cast<UInt32>(std::min(scaled, scale)) : 0;
}

} // namespace

Int SizeOf(Type type)
{
	switch (type)
	{
	case Type::U8:
	case Type::S8:
		return 1;
	case Type::U16:
	case Type::S16:
	case Type::F16:
		return 2;
	case Type::F64:
		return 8;
	default:
		return 4;
	}
}

bool IsFloat(Type type)
{
	return type == Type::F16 || type == Type::F32 || type == Type::F64;
}

Number Integer(Type type, UInt32 bits)
{
	return {type, bits, 0, 0};
}

Number Single(Float32 value)
{
	return {Type::F32, 0, value, 0};
}

Number Double(Float64 value)
{
	return {Type::F64, 0, 0, value};
}

Number Read(Type type, const Byte* address)
{
	Number number = {type, 0, 0, 0};
	if (type == Type::F32)
		std::memcpy(&number._single, address, 4);
	else if (type == Type::F64)
		std::memcpy(&number._double, address, 8);
	else
		std::memcpy(&number._bits, address, static_cast<std::size_t>(SizeOf(type)));
	return number;
}

void Write(const Number& number, Byte* address)
{
	if (number._type == Type::F32)
		std::memcpy(address, &number._single, 4);
	else if (number._type == Type::F64)
		std::memcpy(address, &number._double, 8);
	else
		std::memcpy(address, &number._bits, static_cast<std::size_t>(SizeOf(number._type)));
}

Number Convert(const Number& number, Type to)
{
	if (number._type == to)
		return number;
	if (IsSigned(number._type))
		return Convert(Integer(UnsignedOf(number._type), FlipTop(number._type, number._bits)), to);
	if (IsSigned(to))
		return Integer(to, FlipTop(to, Convert(number, UnsignedOf(to))._bits));
	if (number._type == Type::F16)
		return Convert(Single(HalfToFloat(static_cast<UInt16>(number._bits))), to);
	if (to == Type::F16)
		return Integer(to, FloatToHalf(Convert(number, Type::F32)._single));
	if (IsFloat(number._type) && IsFloat(to))
		return to == Type::F32 ? Single(static_cast<Float32>(number._double)) : Double(number._single);
	if (IsFloat(to))
		return IntegerToFloat(number, to);
	if (number._type == Type::F32)
		return Integer(to, SingleToInteger(number._single, to));
	if (number._type == Type::F64)
		return Integer(to, DoubleToInteger(number._double, to));
	return Integer(to, WidenOrCut(number._bits, number._type, to));
}

Number Full(Type type)
{
	switch (type)
	{
	case Type::U8:
		return Integer(type, 255);
	case Type::S8:
		return Integer(type, 0x7F);
	case Type::U16:
		return Integer(type, 65535);
	case Type::S16:
		return Integer(type, 0x7FFF);
	case Type::U32:
		return Integer(type, 0xFFFFFFFF);
	case Type::S32:
		return Integer(type, 0x7FFFFFFF);
	case Type::F16:
		return Integer(type, 0x3C00);
	case Type::F32:
		return Single(1.0f);
	default:
		return Double(1.0);
	}
}

Float32 HalfToFloat(UInt16 half)
{
	const UInt32 index = half >> 10;
	return std::bit_cast<Float32>(TABLES._exponent[index] + TABLES._mantissa[TABLES._offset[index] + (half & 0x3FFu)]);
}

UInt16 FloatToHalf(Float32 value)
{
	if (value > 65500.0f)
		value = 65500.0f;
	if (value < -65500.0f)
		value = -65500.0f;
	const UInt32 bits = std::bit_cast<UInt32>(value);
	return static_cast<UInt16>(TABLES._base[bits >> 23] + ((bits & 0x7FFFFF) >> TABLES._shift[bits >> 23]));
}

Int Format::Find(char channel) const
{
	const std::size_t found = _channels.find(channel);
	return found == std::string::npos ? -1 : static_cast<Int>(found);
}

Int Format::PixelSize() const
{
	return CountOf(_channels) * SizeOf(_type);
}

std::vector<Int> Format::PackedOffsets() const
{
	std::vector<Int> offsets;
	for (Int i = 0; i < CountOf(_channels); ++i)
		offsets.push_back(i * SizeOf(_type));
	return offsets;
}

Format FormatOf(std::string_view name)
{
	const std::string_view family = name.substr(0, name.find('.'));
	const std::string_view type = name.substr(name.find('.') + 1);
	constexpr std::array<std::string_view, 9> TYPE_NAMES = {"u8", "s8", "u16", "s16", "u32", "s32", "f16", "f32", "f64"};
	const auto index = std::find(TYPE_NAMES.begin(), TYPE_NAMES.end(), type) - TYPE_NAMES.begin();
	const std::string channels = family == "grey"    ? "y"
								 : family == "greya" ? "ya"
								 : family == "agrey" ? "ay"
								 : family == "alpha" ? "a"
													 : std::string(family);
	return {channels, ALL_TYPES[static_cast<std::size_t>(index)]};
}

Number MeanOf(const Number& a, const Number& b, const Number& c)
{
	switch (a._type)
	{
	case Type::U8:
		return Integer(a._type, ((a._bits + b._bits + c._bits) * 21846) >> 16);
	case Type::U16:
		return Integer(a._type, static_cast<UInt32>((UInt64(a._bits + b._bits + c._bits) * 0x55555556) >> 32));
	case Type::U32:
		return Integer(a._type, static_cast<UInt32>((UInt64(a._bits) + b._bits + c._bits) / 3));
	case Type::S32:
	{
		const auto value = [](const Number& number) { return Int64(static_cast<Int32>(number._bits)); };
		return Integer(a._type, static_cast<UInt32>((value(a) + value(b) + value(c)) / 3));
	}
	case Type::F16:
	{
		const auto value = [](const Number& number) { return HalfToFloat(static_cast<UInt16>(number._bits)); };
		return Integer(a._type, FloatToHalf((value(a) + value(b) + value(c)) / 3.0f));
	}
	case Type::F32:
		return Single((0.0f + a._single + b._single + c._single) / 3.0f);
	default:
		return Double((0.0 + a._double + b._double + c._double) / 3.0);
	}
}

Number PickChannel(char channel, Type to, const Format& format, const std::vector<Int>& offsets, const Byte* source)
{
	const auto read = [&](char wanted) { return Read(format._type, source + offsets[static_cast<std::size_t>(format.Find(wanted))]); };
	const auto has = [&](char wanted) { return format.Find(wanted) >= 0; };
	const Number zero = {to, 0, 0, 0};
	if (channel == 'x')
		return zero;
	if (channel == 'a')
		return has('a') ? Convert(read('a'), to) : Full(to);
	if (channel == 'y' && has('r'))
		return Convert(MeanOf(read('r'), read('g'), read('b')), to);
	if (channel == 'y')
		return has('y') ? Convert(read('y'), to) : zero;
	if (has('r'))
		return Convert(read(channel), to);
	return Convert(read(has('y') ? 'y' : 'a'), to);
}

void ConvertPixel(const Format& destinationFormat, const std::vector<Int>& destinationOffsets, Byte* destination,
				  const Format& sourceFormat, const std::vector<Int>& sourceOffsets, const Byte* source, bool same)
{
	std::vector<Number> values;
	for (std::size_t i = 0; i < destinationFormat._channels.size(); ++i)
		values.push_back(same ? Read(sourceFormat._type, source + sourceOffsets[i])
							  : PickChannel(destinationFormat._channels[i], destinationFormat._type, sourceFormat, sourceOffsets, source));
	for (std::size_t i = 0; i < values.size(); ++i)
		Write(values[i], destination + destinationOffsets[i]);
}

std::string PackedBitsOf(std::string_view name)
{
	std::string bits = name.ends_with("565")    ? "rrrrrggggggbbbbb"
					   : name.ends_with("1555") ? "arrrrrgggggbbbbb"
					   : name.ends_with("555")  ? "xrrrrrgggggbbbbb"
					   : name.ends_with("4444") ? "aaaarrrrggggbbbb"
												: "xxxxrrrrggggbbbb";
	if (name.starts_with("bgr") || name.starts_with("abgr"))
		for (char& letter : bits)
			letter = letter == 'r' ? 'b' : letter == 'b' ? 'r' : letter;
	return bits;
}

UInt16 Pack(const std::string& bits, const Number& red, const Number& green, const Number& blue, const Number* alpha)
{
	const auto to8 = [](const Number& number) { return Convert(number, Type::U8)._bits; };
	UInt32 r = to8(red), g = to8(green), b = to8(blue), a = alpha ? to8(*alpha) : 255;
	UInt32 pixel = 0;
	for (const char letter : bits) // takes the bits of each channel from its top
	{
		UInt32 none = 0;
		UInt32& channel = letter == 'r' ? r : letter == 'g' ? g : letter == 'b' ? b : letter == 'a' ? a : none;
		pixel = pixel << 1 | (channel >> 7 & 1);
		channel <<= 1;
	}
	return static_cast<UInt16>(pixel);
}

UChar Unpack(const std::string& bits, UInt16 pixel, char channel)
{
	UInt32 value = 0, count = 0;
	for (std::size_t i = 0; i < 16; ++i)
		if (bits[i] == channel)
		{
			value = value << 1 | (pixel >> (15 - i) & 1);
			++count;
		}
	if (channel != 'a')
		return static_cast<UChar>(value << (8 - count));
	return static_cast<UChar>(count == 0 ? 255 : count == 1 ? (value ? 255 : 0) : (value << 4 | value));
}

std::array<Byte, 4> EncodeRgbe(Float32 red, Float32 green, Float32 blue)
{
	const Float32 largest = std::max({red, green, blue});
	if (largest <= 1e-32f)
		return {0, 0, 0, 0};
	int exponent = 0;
	const Float32 mantissa = std::frexp(largest, &exponent);
	const Float32 scale = 255.99989318847656f * mantissa / largest;
	const auto cut = [scale](Float32 colour) { return static_cast<Byte>(static_cast<int>(std::max(colour * scale, -2147483648.0f))); };
	return {cut(red), cut(green), cut(blue), static_cast<Byte>(exponent ^ 128)};
}

std::array<Float32, 3> DecodeRgbe(const Byte* pixel)
{
	if (pixel[3] == 0)
		return {0, 0, 0};
	const Float64 scale = std::ldexp(1.0, pixel[3] - 136);
	const auto colour = [scale](Byte mantissa) { return static_cast<Float32>((mantissa + 0.5) * scale); };
	return {colour(pixel[0]), colour(pixel[1]), colour(pixel[2])};
}

YuvPair EncodeYuv(const std::array<UChar, 3>& first, const std::array<UChar, 3>& second)
{
	const int r = first[0], g = first[1], b = first[2];
	const auto luma = [](int red, int green, int blue)
	{ return static_cast<UChar>(((66 * red + 129 * green + 25 * blue + 128) >> 8) + 16); };
	return {luma(r, g, b), luma(second[0], second[1], second[2]), static_cast<UChar>(((-38 * r - 74 * g + 112 * b + 128) >> 8) + 128),
			static_cast<UChar>(((112 * r - 94 * g - 18 * b + 128) >> 8) + 128)};
}

std::array<UInt16, 3> DecodeYuv(UChar y, UChar u, UChar v)
{
	const auto clamp = [](int value) { return static_cast<UInt16>(value < 0 ? 0 : value > 65535 ? 65535 : value); };
	return {clamp(298 * y + 409 * (v - 128) - 4640), clamp(298 * y - 208 * (v - 128) + 100 * (128 - u) - 4640),
			clamp(298 * y + 516 * u - 70688)};
}

UInt32 IndexAt(const Byte* base, Int position, Int bits)
{
	UInt32 index = 0;
	for (Int bit = position; bit < position + bits; ++bit)
		index = index << 1 | (base[bit / 8] >> (7 - bit % 8) & 1);
	return bits == 16 ? (index >> 8 | (index & 0xFF) << 8) : index; // 16 bits: the low byte comes first
}

} // namespace torvi::reference
