// A slow and plain second opinion on every pixel conversion, written for clarity from the rules alone. It shares nothing with the kernels:
// half floats go by tables, numbers carry their type, and every pixel is converted by itself.
#pragma once

#include "host/types.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace torvi::reference
{

enum class Type
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

inline constexpr std::array ALL_TYPES = {Type::U8, Type::S8, Type::U16, Type::S16, Type::U32, Type::S32, Type::F16, Type::F32, Type::F64};

Int SizeOf(Type type);
bool IsFloat(Type type);

/// A channel value with its type. Integers and halves are kept as their stored bits.
struct Number
{
	Type _type = Type::U8;
	UInt32 _bits = 0;
	Float32 _single = 0;
	Float64 _double = 0;
};

Number Integer(Type type, UInt32 bits);
Number Single(Float32 value);
Number Double(Float64 value);

Number Read(Type type, const Byte* address);
void Write(const Number& number, Byte* address);
Number Convert(const Number& number, Type to);
Number Full(Type type);

Float32 HalfToFloat(UInt16 half);
UInt16 FloatToHalf(Float32 value);

/// A fixed format: its channels from the lowest offset as letters r g b a y (grey) x (unused).
struct Format
{
	std::string _channels;
	Type _type = Type::U8;

	Int Find(char channel) const;
	Int PixelSize() const;
	std::vector<Int> PackedOffsets() const; // in bytes, one per channel
};

/// By name, such as "rgba.u8".
Format FormatOf(std::string_view name);

Number MeanOf(const Number& a, const Number& b, const Number& c);

/// The value that one channel of a destination of this type gets from a source pixel.
Number PickChannel(char channel, Type to, const Format& sourceFormat, const std::vector<Int>& sourceOffsets, const Byte* source);

/// One pixel between fixed formats; `same` when the format converts to itself.
void ConvertPixel(const Format& destinationFormat, const std::vector<Int>& destinationOffsets, Byte* destination,
				  const Format& sourceFormat, const std::vector<Int>& sourceOffsets, const Byte* source, bool same);

/// A packed format by its bits from the top, such as "xrrrrrgggggbbbbb".
std::string PackedBitsOf(std::string_view name);
UInt16 Pack(const std::string& bits, const Number& red, const Number& green, const Number& blue, const Number* alpha);
UChar Unpack(const std::string& bits, UInt16 pixel, char channel); // alpha, too, as it is converted

std::array<Byte, 4> EncodeRgbe(Float32 red, Float32 green, Float32 blue);
std::array<Float32, 3> DecodeRgbe(const Byte* pixel);

struct YuvPair
{
	UChar _y0, _y1, _u, _v;
};
YuvPair EncodeYuv(const std::array<UChar, 3>& first, const std::array<UChar, 3>& second);
std::array<UInt16, 3> DecodeYuv(UChar y, UChar u, UChar v);

/// The index that starts `position` bits behind `base`, bit by bit.
UInt32 IndexAt(const Byte* base, Int position, Int bits);

} // namespace torvi::reference
