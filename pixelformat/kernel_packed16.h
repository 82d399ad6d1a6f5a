// The ten packed formats of 16 bits: their records and their direct conversions. A pixel is one UInt16 in the machine's byte order.
#pragma once

#include "pixelformat/fixed_plan.h"

namespace torvi
{

/// A group of bits in a packed pixel; no bits, no field.
struct Packed16Field
{
	UChar _shift = 0;
	UChar _bits = 0;
};

enum class Packed16Format : UChar
{
	RGB_U565,
	RGB_U555,
	RGB_U444,
	ARGB_U1555,
	ARGB_U4444,
	BGR_U565,
	BGR_U555,
	BGR_U444,
	ABGR_U1555,
	ABGR_U4444
};

constexpr Int PACKED16_FORMAT_COUNT = 10;

/// The record of one format.
struct Packed16Info
{
	std::string_view _name;      // "rgb.u565"
	std::string_view _shortName; // "RGB::U565"
	Packed16Field _red, _green, _blue, _alpha;

	constexpr bool HasAlpha() const { return _alpha._bits > 0; }
};

inline constexpr std::array<Packed16Info, PACKED16_FORMAT_COUNT> PACKED16_FORMATS = {{
	{"rgb.u565", "RGB::U565", {11, 5}, {5, 6}, {0, 5}, {}},
	{"rgb.u555", "RGB::U555", {10, 5}, {5, 5}, {0, 5}, {}},
	{"rgb.u444", "RGB::U444", {8, 4}, {4, 4}, {0, 4}, {}},
	{"argb.u1555", "ARGB::U1555", {10, 5}, {5, 5}, {0, 5}, {15, 1}},
	{"argb.u4444", "ARGB::U4444", {8, 4}, {4, 4}, {0, 4}, {12, 4}},
	{"bgr.u565", "BGR::U565", {0, 5}, {5, 6}, {11, 5}, {}},
	{"bgr.u555", "BGR::U555", {0, 5}, {5, 5}, {10, 5}, {}},
	{"bgr.u444", "BGR::U444", {0, 4}, {4, 4}, {8, 4}, {}},
	{"abgr.u1555", "ABGR::U1555", {0, 5}, {5, 5}, {10, 5}, {15, 1}},
	{"abgr.u4444", "ABGR::U4444", {0, 4}, {4, 4}, {8, 4}, {12, 4}},
}};

constexpr const Packed16Info& InfoOf(Packed16Format format)
{
	return PACKED16_FORMATS[static_cast<std::size_t>(format)];
}

/// A field moved to the top of a byte; the low bits are 0, so white in five bits is 248.
constexpr UChar ExpandColour(UInt16 pixel, Packed16Field field)
{
	return static_cast<UChar>((static_cast<UInt32>(pixel) >> field._shift & ((1u << field._bits) - 1)) << (8 - field._bits));
}

/// Alpha as it is converted: 0 or 255 from one bit, (a << 4) | a from four; 255 without alpha.
constexpr UChar ExpandAlpha(UInt16 pixel, Packed16Field field)
{
	if (field._bits == 0)
		return 255;
	const UInt32 largest = (1u << field._bits) - 1;
	return static_cast<UChar>((static_cast<UInt32>(pixel) >> field._shift & largest) * (255 / largest));
}

/// The plan from one of the eight fixed formats rgb or argb in U8, U16, F32, F64; empty for any other.
std::optional<ConversionPlan> Packed16PlanFrom(Packed16Format destination, const FixedPlaces& source);

/// The plan to one of the same eight; empty for any other.
std::optional<ConversionPlan> Packed16PlanTo(const FixedPlaces& destination, Packed16Format source);

/// The kernel between packed formats: the copy of a format to itself, which takes overlapping runs, or to its twin with or without
/// alpha; empty for any other.
RunKernel Packed16KernelBetween(Packed16Format destination, Packed16Format source);

} // namespace torvi
