// Conversions that lcms2 does, of pixels of any format that a native one stands for.
#pragma once

#include "color/conversion_run.h"
#include "torvi/gfx_image_colorprofile_convert.h"

namespace torvi
{

/// What an engine is made for.
struct LcmsRequest
{
	const PixelFormat& _srcFormat;
	const PixelFormat& _dstFormat;
	const ColorProfile& _fromProfile; ///< of the pixels as lcms2 takes them: that of the destination, if the conversion is reversed
	const ColorProfile& _toProfile;
	COLORCONVERSIONINTENT _intent;
	Bool _withBlackPointCompensation;
};

/// Errors: of FindNearestNativeFormat; IllegalStateError "Error calling GetAlphaPixelFormat for pixel format: @."; IllegalArgumentError
/// "Illegal COLORCONVERSIONINTENT"; IllegalStateError "cmsCreateTransform failed"; of the lookup of plain conversions.
Result<ConvertRunFunc> MakeLcmsEngine(const LcmsRequest& request);

} // namespace torvi
