// The step of the conversion lookup that decides whether colours are converted.
#pragma once

#include "torvi/gfx_image_colorprofile_convert.h"

namespace torvi
{

class ColorConversionStageImpl final : public ColorConversionStageInterface
{
public:
	explicit ColorConversionStageImpl(Ref<ColorProfileConvertStaticInterface> conversions) : _conversions(std::move(conversions)) {}

	Result<ConvertPixelFunc> FindConversion(const PixelFormatInterface& dstFormat, const PixelFormat& srcFormat,
											const ChannelOffsets& srcOffsets, const ChannelOffsets& dstOffsets, ColorProfile& srcProfile,
											ColorProfile* dstProfile, Bool forceProfiles, UInt32 flags, Bool& isColorConverted) override;

private:
	Result<ConvertPixelFunc> MakeFunction(const PixelFormat& dstFormat, const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
										  const ChannelOffsets& dstOffsets, ColorProfile srcProfile, ColorProfile dstProfile, UInt32 flags);

	Ref<ColorProfileConvertStaticInterface> _conversions;
};

} // namespace torvi
