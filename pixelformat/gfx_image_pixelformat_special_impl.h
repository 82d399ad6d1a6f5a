// What packed, RGBE and YUV formats share: a pixel that has no channels of its own, and direct conversions from and to fixed formats.
#pragma once

#include "pixelformat/conversion_functions.h"
#include "pixelformat/fixed_plan.h"
#include "pixelformat/gfx_image_pixelformat_base_impl.h"

namespace torvi
{

/// The row of a format without channels.
struct SpecialFormatInfo
{
	Id _colorSpace;
	Id _defaultProfile;
	Int _channelCount;
	std::array<BITS, 3> _offsets; ///< one more than channels
};

/// A family adds the plans of its conversions.
class PixelFormatSpecialImpl : public PixelFormatBaseImpl
{
public:
	explicit PixelFormatSpecialImpl(const SpecialFormatInfo& info)
		: _info(info), _offsets(info._offsets.data(), static_cast<std::size_t>(info._channelCount) + 1)
	{
	}

	Result<void> InitObject() override;
	Block<const ImageChannel> GetChannels() const override { return {}; }
	Int GetChannelCount() const override { return _info._channelCount; }
	const ChannelOffsets& GetChannelOffsets() const override { return _offsets; }
	ColorSpace GetColorSpace() const override { return _colorSpace; }
	ColorProfile GetDefaultColorProfile() const override { return GetBuiltInColorProfile(_info._defaultProfile); }
	Result<ConvertPixelFunc> GetConvertPixelFromFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
													 const ChannelOffsets& dstOffsets, Bool fastLayout,
													 Bool& isColorConverted) const override;
	Result<ConvertPixelFunc> GetConvertPixelToFunc(const PixelFormat& dstFormat, const ChannelOffsets& dstOffsets,
												   const ChannelOffsets& srcOffsets, Bool fastLayout,
												   Bool& isColorConverted) const override;

protected:
	/// From or to a fixed format in any layout; empty if there is no direct conversion.
	virtual std::optional<ConversionPlan> PlanFromFixed(const FixedPlaces& source) const = 0;
	virtual std::optional<ConversionPlan> PlanToFixed(const FixedPlaces& destination) const = 0;
	/// From a format without channels, which may be this one; empty if there is none.
	virtual ConvertPixelFunc FunctionFromSpecial(const PixelFormatInterface& source) const = 0;
	virtual Result<ConvertPixelFunc> MakeFunction(const ConversionPlan& plan) const { return FunctionOf(plan); }

private:
	const SpecialFormatInfo& _info;
	const ChannelOffsets _offsets;
	ColorSpace _colorSpace;
};

} // namespace torvi
