// The colour step of the lookup. Its function converts packed pixels; pixels in another layout, such as planes, are packed on the way.
#include "color/color_conversion_stage.h"

#include "color/gfx_image_colorprofile_convert_impl.h"
#include "color/staged_conversion.h"

namespace torvi
{

namespace
{

/// From one layout of a format to another; unset where they are the same.
Result<PackingStage> MakeStage(const PixelFormat& format, const ChannelOffsets& dstOffsets, const ChannelOffsets& srcOffsets)
{
	PackingStage stage;
	if (std::ranges::equal(dstOffsets, srcOffsets))
		return stage;
	stage._convert = TORVI_TRY(FindPlainConversion(*format, format, dstOffsets, srcOffsets));
	stage._bits = format->GetBitsPerPixel();
	return stage;
}

/// Whether the pixels are to change from one profile to the other.
Result<Bool> IsConversionWanted(const ColorSpace& srcSpace, const ColorSpace& dstSpace, const ColorProfile& srcProfile,
								const ColorProfile& dstProfile, Bool forceProfiles)
{
	if (srcProfile.IsEmpty() && dstProfile.IsEmpty())
		return false;
	if (srcProfile.IsEmpty() || dstProfile.IsEmpty())
	{
		const auto textOf = [](const ColorProfile& profile) { return profile.IsEmpty() ? MakeString("nullptr") : profile.ToString(); };
		TORVI_CHECK(!forceProfiles || srcSpace == dstSpace,
					IllegalStateError("Warning: Pixel conversion with different color spaces: @ != @ and incomplete color profiles: @ != @",
									  srcSpace, dstSpace, textOf(srcProfile), textOf(dstProfile)));
		return false;
	}
	return srcProfile != dstProfile && (forceProfiles || srcSpace != dstSpace);
}

} // namespace

Result<ConvertPixelFunc> ColorConversionStageImpl::MakeFunction(const PixelFormat& dstFormat, const PixelFormat& srcFormat,
																const ChannelOffsets& srcOffsets, const ChannelOffsets& dstOffsets,
																ColorProfile srcProfile, ColorProfile dstProfile, UInt32 flags)
{
	if (srcProfile.IsOcioDisplayViewTransform() && !dstProfile.IsOcioDisplayViewTransform())
	{
		std::swap(srcProfile, dstProfile);
		flags ^= ColorProfileConvertStaticInterface::REVERSE;
	}
	ColorProfileConvert convert =
		TORVI_TRY(_conversions->Init(srcFormat, srcProfile, dstFormat, dstProfile, COLORCONVERSIONINTENT::PERCEPTUAL, flags));
	PackingStage before = TORVI_TRY(MakeStage(srcFormat, srcFormat->GetChannelOffsets(), srcOffsets));
	PackingStage after = TORVI_TRY(MakeStage(dstFormat, dstOffsets, dstFormat->GetChannelOffsets()));
	if (before._convert || after._convert)
	{
		ConvertRunFunc run = TORVI_TRY(MakeStagedConversion(std::move(before), RunOf(convert), std::move(after)));
		convert = TORVI_TRY(NewObject<ColorProfileConvertImpl>(std::move(run), ColorProfileGpuRef(), convert->GetHashCodeImpl()));
	}
	return ConvertPixelFunc([convert](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32)
							{ return convert->Convert(source, destination, count); });
}

Result<ConvertPixelFunc> ColorConversionStageImpl::FindConversion(const PixelFormatInterface& dstFormat, const PixelFormat& srcFormat,
																  const ChannelOffsets& srcOffsets, const ChannelOffsets& dstOffsets,
																  ColorProfile& srcProfile, ColorProfile* dstProfile, Bool forceProfiles,
																  UInt32 flags, Bool& isColorConverted)
{
	const ColorSpace srcSpace = srcFormat->GetColorSpace(), dstSpace = dstFormat.GetColorSpace();
	if (forceProfiles && dstProfile != nullptr && !dstProfile->IsEmpty() && srcProfile.IsEmpty())
		srcProfile = srcFormat->GetDefaultColorProfile();
	const ColorProfile wanted = dstProfile != nullptr ? *dstProfile : ColorProfile();
	if (TORVI_TRY(IsConversionWanted(srcSpace, dstSpace, srcProfile, wanted, forceProfiles)))
	{
		const PixelFormat destination(const_cast<PixelFormatInterface*>(&dstFormat));
		Result<ConvertPixelFunc> function = MakeFunction(destination, srcFormat, srcOffsets, dstOffsets, srcProfile, wanted, flags);
		if (function.IsOk()) // otherwise the pixels are converted without colour management
		{
			isColorConverted = true;
			return function;
		}
	}
	if (dstProfile != nullptr && !srcProfile.IsEmpty() && srcSpace == dstSpace && *dstProfile != srcProfile)
		*dstProfile = srcProfile;
	return ConvertPixelFunc();
}

} // namespace torvi
