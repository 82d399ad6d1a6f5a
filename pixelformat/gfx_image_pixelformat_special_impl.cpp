// The choice of conversions of formats without channels.
#include "pixelformat/gfx_image_pixelformat_special_impl.h"

#include "pixelformat/gfx_image_pixelformat_fixed_impl.h"

namespace torvi
{

Result<void> PixelFormatSpecialImpl::InitObject()
{
	_colorSpace = FindDeclared<ColorSpaceInterface>(_info._colorSpace);
	TORVI_CHECK(_colorSpace, NullptrError("The colour space @ is not registered.", _info._colorSpace));
	return OK;
}

Result<ConvertPixelFunc> PixelFormatSpecialImpl::GetConvertPixelFromFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
																		 const ChannelOffsets&, Bool, Bool&) const
{
	const std::optional<FixedFormat> format = FixedFormatOf(srcFormat);
	if (!format)
		return FunctionFromSpecial(*srcFormat);
	const std::optional<FixedPlaces> source = FixedPlaces::Make(*format, srcOffsets);
	TORVI_CHECK(source, IllegalArgumentError("The channel offsets do not fit @.", srcFormat));
	const std::optional<ConversionPlan> plan = PlanFromFixed(*source);
	return plan ? MakeFunction(*plan) : ConvertPixelFunc();
}

Result<ConvertPixelFunc> PixelFormatSpecialImpl::GetConvertPixelToFunc(const PixelFormat& dstFormat, const ChannelOffsets& dstOffsets,
																	   const ChannelOffsets&, Bool, Bool&) const
{
	const std::optional<FixedFormat> format = FixedFormatOf(dstFormat);
	if (!format)
		return ConvertPixelFunc();
	const std::optional<FixedPlaces> destination = FixedPlaces::Make(*format, dstOffsets);
	TORVI_CHECK(destination, IllegalArgumentError("The channel offsets do not fit @.", dstFormat));
	const std::optional<ConversionPlan> plan = PlanToFixed(*destination);
	return plan ? MakeFunction(*plan) : ConvertPixelFunc();
}

} // namespace torvi
