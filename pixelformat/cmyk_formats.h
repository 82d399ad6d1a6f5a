// The twelve CMYK formats as plain constant records: names, data type, alpha, polarity and packed layout. Knows neither kernels nor format
// objects.
#pragma once

#include "pixelformat/fixed_formats.h"

namespace torvi
{

/// By family, and in each the three types.
enum class CmykFormat : UChar
{
	CMYK_U8,
	CMYK_U16,
	CMYK_F32,
	ACMYK_U8,
	ACMYK_U16,
	ACMYK_F32,
	CMYK_INV_U8,
	CMYK_INV_U16,
	CMYK_INV_F32,
	ACMYK_INV_U8,
	ACMYK_INV_U16,
	ACMYK_INV_F32
};

constexpr Int CMYK_FORMAT_COUNT = 12;
constexpr Int CMYK_TYPE_COUNT = 3;
constexpr Int CMYK_INK_COUNT = 4;

/// The record of one format. Alpha, if there is one, lies in front of cyan, magenta, yellow and black.
struct CmykInfo
{
	CmykFormat _format;
	std::string_view _name;      // "acmyk_inv.u8"
	std::string_view _shortName; // "ACMYK_INV::U8"
	ValueType _type;
	Int _channelCount;
	bool _isInverted; // 0 is full ink; alpha is as ever

	constexpr bool HasAlpha() const { return _channelCount > CMYK_INK_COUNT; }
	/// The index of cyan.
	constexpr Int GetFirstInk() const { return _channelCount - CMYK_INK_COUNT; }
	/// The bit offset of channel `index` in the packed layout; with the channel count the bits per pixel.
	constexpr BITS GetBitOffset(Int index) const { return index * SizeOf(_type) * 8; }
};

/// All CMYK formats; the index is the value of `CmykFormat`.
inline constexpr std::array<CmykInfo, CMYK_FORMAT_COUNT> CMYK_FORMATS = {{
	{CmykFormat::CMYK_U8, "cmyk.u8", "CMYK::U8", ValueType::U8, 4, false},
	{CmykFormat::CMYK_U16, "cmyk.u16", "CMYK::U16", ValueType::U16, 4, false},
	{CmykFormat::CMYK_F32, "cmyk.f32", "CMYK::F32", ValueType::F32, 4, false},
	{CmykFormat::ACMYK_U8, "acmyk.u8", "ACMYK::U8", ValueType::U8, 5, false},
	{CmykFormat::ACMYK_U16, "acmyk.u16", "ACMYK::U16", ValueType::U16, 5, false},
	{CmykFormat::ACMYK_F32, "acmyk.f32", "ACMYK::F32", ValueType::F32, 5, false},
	{CmykFormat::CMYK_INV_U8, "cmyk_inv.u8", "CMYK_INV::U8", ValueType::U8, 4, true},
	{CmykFormat::CMYK_INV_U16, "cmyk_inv.u16", "CMYK_INV::U16", ValueType::U16, 4, true},
	{CmykFormat::CMYK_INV_F32, "cmyk_inv.f32", "CMYK_INV::F32", ValueType::F32, 4, true},
	{CmykFormat::ACMYK_INV_U8, "acmyk_inv.u8", "ACMYK_INV::U8", ValueType::U8, 5, true},
	{CmykFormat::ACMYK_INV_U16, "acmyk_inv.u16", "ACMYK_INV::U16", ValueType::U16, 5, true},
	{CmykFormat::ACMYK_INV_F32, "acmyk_inv.f32", "ACMYK_INV::F32", ValueType::F32, 5, true},
}};

constexpr const CmykInfo& InfoOf(CmykFormat format)
{
	return CMYK_FORMATS[static_cast<std::size_t>(format)];
}

} // namespace torvi
