// The table of native formats.
#include "color/native_formats.h"

#include "torvi/ids_formats.h"

#include <algorithm>

namespace torvi
{

namespace
{

struct NativeFormat
{
	Id _id;
	cmsUInt32Number _word;
};

constexpr NativeFormat NATIVE_FORMATS[] = {
	{ids::PIXELFORMAT_RGB_U8, 0x40019},     {ids::PIXELFORMAT_RGB_U16, 0x4001A},    {ids::PIXELFORMAT_RGB_F32, 0x44001C},
	{ids::PIXELFORMAT_RGB_F64, 0x440018},   {ids::PIXELFORMAT_BGR_U8, 0x40419},     {ids::PIXELFORMAT_BGR_U16, 0x4041A},
	{ids::PIXELFORMAT_BGR_F32, 0x44041C},   {ids::PIXELFORMAT_RGBA_U8, 0x40099},    {ids::PIXELFORMAT_RGBA_U16, 0x4009A},
	{ids::PIXELFORMAT_RGBA_F32, 0x44009C},  {ids::PIXELFORMAT_RGBA_F64, 0x440098},  {ids::PIXELFORMAT_ARGB_U8, 0x44099},
	{ids::PIXELFORMAT_ARGB_U16, 0x4409A},   {ids::PIXELFORMAT_ARGB_F32, 0x44409C},  {ids::PIXELFORMAT_ARGB_F64, 0x444098},
	{ids::PIXELFORMAT_BGRA_U8, 0x44499},    {ids::PIXELFORMAT_GREY_U8, 0x30009},    {ids::PIXELFORMAT_GREY_U16, 0x3000A},
	{ids::PIXELFORMAT_GREY_F32, 0x43000C},  {ids::PIXELFORMAT_GREY_F64, 0x430008},  {ids::PIXELFORMAT_AGREY_U8, 0x34089},
	{ids::PIXELFORMAT_AGREY_U16, 0x3408A},  {ids::PIXELFORMAT_AGREY_F32, 0x43408C}, {ids::PIXELFORMAT_AGREY_F64, 0x434088},
	{ids::PIXELFORMAT_GREYA_U8, 0x30089},   {ids::PIXELFORMAT_GREYA_U16, 0x3008A},  {ids::PIXELFORMAT_GREYA_F32, 0x43008C},
	{ids::PIXELFORMAT_GREYA_F64, 0x430088}, {ids::PIXELFORMAT_CMYK_U8, 0x60021},    {ids::PIXELFORMAT_CMYK_U16, 0x60022},
	{ids::PIXELFORMAT_CMYK_F32, 0x460024},  {ids::PIXELFORMAT_ACMYK_U8, 0x640A1},   {ids::PIXELFORMAT_ACMYK_U16, 0x640A2},
	{ids::PIXELFORMAT_ACMYK_F32, 0x4640A4},
};

// Each model's formats for channels of 1, 2, 4 and 8 bytes, without and with alpha; empty where there is none.
constexpr Id RGB_FORMATS[4][2] = {{ids::PIXELFORMAT_RGB_U8, ids::PIXELFORMAT_ARGB_U8},
								  {ids::PIXELFORMAT_RGB_U16, ids::PIXELFORMAT_ARGB_U16},
								  {ids::PIXELFORMAT_RGB_F32, ids::PIXELFORMAT_ARGB_F32},
								  {ids::PIXELFORMAT_RGB_F64, ids::PIXELFORMAT_ARGB_F64}};
constexpr Id GREY_FORMATS[4][2] = {{ids::PIXELFORMAT_GREY_U8, ids::PIXELFORMAT_AGREY_U8},
								   {ids::PIXELFORMAT_GREY_U16, ids::PIXELFORMAT_AGREY_U16},
								   {ids::PIXELFORMAT_GREY_F32, ids::PIXELFORMAT_AGREY_F32},
								   {ids::PIXELFORMAT_GREY_F64, ids::PIXELFORMAT_AGREY_F64}};
constexpr Id CMYK_FORMATS[4][2] = {{ids::PIXELFORMAT_CMYK_U8, ids::PIXELFORMAT_ACMYK_U8},
								   {ids::PIXELFORMAT_CMYK_U16, ids::PIXELFORMAT_ACMYK_U16},
								   {ids::PIXELFORMAT_CMYK_F32, ids::PIXELFORMAT_ACMYK_F32},
								   {Id(), Id()}};

/// A colour space and its formats.
struct Model
{
	Id _colorSpace;
	const Id (*_formats)[2];
};

constexpr Model MODELS[] = {{ids::COLORSPACE_RGB, RGB_FORMATS},
							{ids::COLORSPACE_YUV, RGB_FORMATS},
							{ids::COLORSPACE_GREY, GREY_FORMATS},
							{ids::COLORSPACE_CMYK, CMYK_FORMATS}};

/// Bytes of the first channel; half floats become floats. Formats without channels tell the size of their first part.
Int ChannelSizeOf(const PixelFormatInterface& format)
{
	const Block<const ImageChannel> channels = format.GetChannels();
	if (!channels.empty())
		return channels.front()->GetDataType() == GetDataType<HalfFloat>() ? 4 : BytesOf(channels.front()->GetChannelBits());
	const ChannelOffsets& offsets = format.GetChannelOffsets();
	return offsets.size() > 1 ? BytesOf(offsets[1] - offsets[0]) : 0;
}

PixelFormat FindInTable(const PixelFormat& format)
{
	const ColorSpace colorSpace = format->GetColorSpace();
	const auto* const model = std::ranges::find_if(
		MODELS, [&](const Model& row) { return colorSpace && colorSpace == FindDeclared<ColorSpaceInterface>(row._colorSpace); });
	constexpr Int SIZES[] = {1, 2, 4, 8};
	const auto* const size = std::ranges::find(SIZES, ChannelSizeOf(*format));
	if (model == std::end(MODELS) || size == std::end(SIZES))
		return {};
	const Id& id = model->_formats[size - SIZES][format->HasAlpha() ? 1 : 0];
	return id.IsEmpty() ? PixelFormat() : GetPixelFormat(id);
}

} // namespace

Result<cmsUInt32Number> GetLcmsFormat(const PixelFormat& format)
{
	for (const NativeFormat& row : NATIVE_FORMATS)
	{
		if (format && GetPixelFormat(row._id) == format)
			return row._word;
	}
	return IllegalStateError("Unsupported color conversion pixel format @.", format);
}

Result<PixelFormat> FindNearestNativeFormat(const PixelFormat& format)
{
	if (GetLcmsFormat(format).IsOk())
		return format;
	PixelFormat nearest = format ? FindInTable(format) : PixelFormat();
	TORVI_CHECK(nearest, IllegalArgumentError("No compatible color profile conversion pixel format found for: @.", format));
	return nearest;
}

Bool IsInkInFloats(cmsUInt32Number lcmsFormat) noexcept
{
	return T_COLORSPACE(lcmsFormat) == PT_CMYK && T_FLOAT(lcmsFormat) != 0;
}

} // namespace torvi
