// The choice of kernels of formats without channels.
#include "pixelformat/gfx_image_pixelformat_special_impl.h"

#include "pixelformat/conversion_functions.h"
#include "pixelformat/gfx_image_pixelformat_fixed_impl.h"
#include "pixelformat/kernel_table.h"

namespace torvi
{

namespace
{

/// From one layout of a fixed format to another.
Result<ConvertPixelFunc> MoveChannels(FixedFormat format, const ChannelOffsets& dstOffsets, const ChannelOffsets& srcOffsets)
{
	const std::optional<KernelOffsets> offsets = MakeKernelOffsets(format, dstOffsets, format, srcOffsets);
	TORVI_CHECK(offsets, IllegalArgumentError("The channel offsets do not fit @.", InfoOf(format)._shortName));
	return FunctionOf(OffsetKernelFor(format, format), *offsets);
}

} // namespace

Result<void> PixelFormatSpecialImpl::InitObject()
{
	_colorSpace = FindDeclared<ColorSpaceInterface>(_info._colorSpace);
	TORVI_CHECK(_colorSpace, NullptrError("The colour space @ is not registered.", _info._colorSpace));
	return OK;
}

Result<ConvertPixelFunc> PixelFormatSpecialImpl::GetConvertPixelFromFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
																		 const ChannelOffsets&, Bool, Bool&) const
{
	const std::optional<FixedFormat> source = FixedFormatOf(srcFormat);
	const RunKernel kernel = source ? KernelFromFixed(*source) : KernelFromSpecial(*srcFormat);
	if (kernel == nullptr)
		return ConvertPixelFunc();
	if (!source || IsDefaultLayout(*source, srcOffsets))
		return MakeFunction(kernel);
	const ConvertPixelFunc pack = TORVI_TRY(MoveChannels(*source, srcFormat->GetChannelOffsets(), srcOffsets));
	return ComposeFunctions(pack, MakeFunction(kernel), srcFormat->GetBitsPerPixel());
}

Result<ConvertPixelFunc> PixelFormatSpecialImpl::GetConvertPixelToFunc(const PixelFormat& dstFormat, const ChannelOffsets& dstOffsets,
																	   const ChannelOffsets&, Bool, Bool&) const
{
	const std::optional<FixedFormat> destination = FixedFormatOf(dstFormat);
	const RunKernel kernel = destination ? KernelToFixed(*destination) : nullptr;
	if (kernel == nullptr)
		return ConvertPixelFunc();
	if (IsDefaultLayout(*destination, dstOffsets))
		return MakeFunction(kernel);
	const ConvertPixelFunc unpack = TORVI_TRY(MoveChannels(*destination, dstOffsets, dstFormat->GetChannelOffsets()));
	return ComposeFunctions(MakeFunction(kernel), unpack, dstFormat->GetBitsPerPixel());
}

ConvertPixelFunc PixelFormatSpecialImpl::MakeFunction(RunKernel kernel) const
{
	return FunctionOf(kernel);
}

} // namespace torvi
