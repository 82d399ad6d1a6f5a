// Conversions between profiles: which engine does which, and the memory of those that were made.
#pragma once

#include "color/conversion_map.h"
#include "color/conversion_run.h"
#include "torvi/gfx_image_colorprofile_convert.h"

namespace torvi
{

class ColorProfileConvertImpl final : public ColorProfileConvertInterface
{
public:
	/// An unset function leaves pixels alone.
	ColorProfileConvertImpl(ConvertRunFunc convert, ColorProfileGpuRef gpuHandler, UInt64 hashCode)
		: _convert(std::move(convert)), _gpuHandler(std::move(gpuHandler)), _hashCode(hashCode)
	{
	}

	Result<void> Convert(const PixelBuffer& source, const PixelBuffer& destination, Int count) const override
	{
		return _convert && count > 0 ? _convert(source, destination, count) : Result<void>(OK);
	}
	ColorProfileGpuRef GetGpuHandler() const override { return _gpuHandler; }
	/// That of what the conversion was made for.
	UInt64 GetHashCodeImpl() const override { return _hashCode; }

private:
	const ConvertRunFunc _convert;
	const ColorProfileGpuRef _gpuHandler;
	const UInt64 _hashCode;
};

class ColorProfileConvertStaticImpl final : public ColorProfileConvertStaticInterface
{
public:
	/// Drops all conversions that were made.
	void Clear() noexcept;

	Result<ColorProfileConvert> Init(const PixelFormat& srcFormat, const ColorProfile& srcProfile, const PixelFormat& dstFormat,
									 const ColorProfile& dstProfile, COLORCONVERSIONINTENT intent, UInt32 flags) override;
	Result<PixelFormat> GetNearestNativeFormat(const PixelFormat& format) override;
	Result<ColorProfileConvert> InitGPU(const ColorProfile& srcProfile, const ColorProfile& dstProfile, UInt32 flags1,
										UInt32 flags2) override;

private:
	Result<ColorProfileConvert> FindOrMake(const RunConversionKey& key);
	Result<ColorProfileConvert> MakeIndexed(const RunConversionKey& key);

	ConversionMap<RunConversionKey> _conversions;
	ConversionMap<GpuConversionKey> _gpuConversions;
};

/// Makes handlers for graphics processors out of the host's class for conversions that OCIO does not do.
class ColorProfileLegacyProcessorImpl final : public ColorProfileLegacyProcessorInterface
{
public:
	Result<ColorProfileGpuRef> CreateHandler(const ColorProfile& srcProfile, const ColorProfile& dstProfile, UInt32 flags1,
											 UInt32 flags2) override;
};

} // namespace torvi
