// The choice of kernels of formats without channels.
#include "pixelformat/gfx_image_pixelformat_special_impl.h"

#include "pixelformat/conversion_functions.h"
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
	const std::optional<FixedFormat> source = FixedFormatInDefaultLayout(srcFormat, srcOffsets);
	const RunKernel kernel = source ? KernelFromFixed(*source) : KernelFromSpecial(*srcFormat);
	return kernel != nullptr ? MakeFunction(kernel) : ConvertPixelFunc();
}

Result<ConvertPixelFunc> PixelFormatSpecialImpl::GetConvertPixelToFunc(const PixelFormat& dstFormat, const ChannelOffsets& dstOffsets,
                                                                       const ChannelOffsets&, Bool, Bool&) const
{
	const std::optional<FixedFormat> destination = FixedFormatInDefaultLayout(dstFormat, dstOffsets);
	const RunKernel kernel = destination ? KernelToFixed(*destination) : nullptr;
	return kernel != nullptr ? MakeFunction(kernel) : ConvertPixelFunc();
}

ConvertPixelFunc PixelFormatSpecialImpl::MakeFunction(RunKernel kernel) const
{
	return FunctionOf(kernel);
}

} // namespace torvi
