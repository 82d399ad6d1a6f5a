// Making conversions between profiles.
#include "color/gfx_image_colorprofile_convert_impl.h"

#include "color/lcms_engine.h"
#include "color/native_formats.h"
#include "color/ocio_engine.h"
#include "color/srgb_curves.h"
#include "color/staged_conversion.h"
#include "torvi/ids_formats.h"

namespace torvi
{

namespace
{

constexpr UInt32 GPU_REVERSE = 1; // in the first word of flags

template <SrgbCurve CURVE, Int CHANNELS>
Result<void> RunSrgbCurve(const PixelBuffer& source, const PixelBuffer& destination, Int count)
{
	ApplySrgbCurve<CURVE, CHANNELS>({destination._pixel, BytesOf(destination._stride), source._pixel, BytesOf(source._stride), count});
	return OK;
}

/// Between sRGB and linear pixels of one float format; unset for all others.
ConvertRunFunc FindSrgbCurve(const RunConversionKey& key, const ColorProfile& from, const ColorProfile& to)
{
	if (key._srcFormat != key._dstFormat)
		return {};
	const Bool isRgb = key._srcFormat == GetPixelFormat(ids::PIXELFORMAT_RGB_F32);
	if (!isRgb && key._srcFormat != GetPixelFormat(ids::PIXELFORMAT_RGBA_F32))
		return {};
	const UInt32 srgb = GetBuiltInColorProfile(ids::COLORPROFILE_SRGB).GetCrc();
	const UInt32 linear = GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB).GetCrc();
	if (from.GetCrc() == linear && to.GetCrc() == srgb)
		return isRgb ? &RunSrgbCurve<SrgbCurve::FROM_LINEAR, 3> : &RunSrgbCurve<SrgbCurve::FROM_LINEAR, 4>;
	if (from.GetCrc() == srgb && to.GetCrc() == linear)
		return isRgb ? &RunSrgbCurve<SrgbCurve::TO_LINEAR, 3> : &RunSrgbCurve<SrgbCurve::TO_LINEAR, 4>;
	return {};
}

/// Chooses the engine: OCIO, the curves of sRGB, lcms2. Unset for profiles with the same content.
Result<ConvertRunFunc> MakeEngine(const RunConversionKey& key)
{
	const Bool isReverse = (key._flags & ColorProfileConvertStaticInterface::REVERSE) != 0;
	const ColorProfile& from = isReverse ? key._dstProfile : key._srcProfile;
	const ColorProfile& to = isReverse ? key._srcProfile : key._dstProfile;
	for (const ColorProfile& profile : {from, to})
		TORVI_CHECK(profile.HasProfile() || profile.GetOcioConfig(), NullptrError());
	if (from.GetCrc() == to.GetCrc())
		return ConvertRunFunc();
	if (const OcioNames names = TORVI_TRY(ReadOcioNames(key._srcProfile, key._dstProfile)); names.IsUsable())
		return MakeOcioEngine(names, key._srcFormat, key._dstFormat, isReverse);
	if (ConvertRunFunc curve = FindSrgbCurve(key, from, to))
		return curve;
	const Bool withBlackPoint = (key._flags & ColorProfileConvertStaticInterface::BLACK_POINT_COMPENSATION) != 0;
	return MakeLcmsEngine({key._srcFormat, key._dstFormat, from, to, static_cast<COLORCONVERSIONINTENT>(key._intent), withBlackPoint});
}

Result<ColorProfileConvert> MakeConvert(ConvertRunFunc convert, ColorProfileGpuRef gpuHandler, UInt64 hashCode)
{
	return NewObject<ColorProfileConvertImpl>(std::move(convert), std::move(gpuHandler), hashCode);
}

Bool IsIndexed(const PixelFormat& format)
{
	return static_cast<Bool>(Cast<PixelFormatIndexedColorInterface>(format));
}

Result<ColorProfileGpuRef> MakeGpuHandler(const GpuConversionKey& key)
{
	TORVI_CHECK(!key._srcProfile.IsEmpty() && !key._dstProfile.IsEmpty(), NullptrError());
	if (const OcioNames names = TORVI_TRY(ReadOcioNames(key._srcProfile, key._dstProfile)); names.IsUsable())
	{
		const OcioProcessorRef processor = TORVI_TRY(names.CreateGpuProcessor(key._flags1, key._flags2));
		TORVI_CHECK(processor, NullptrError("The OCIO configuration made no processor."));
		return processor->GetGpuHandler();
	}
	const auto legacy = FindDeclared<ColorProfileLegacyProcessorInterface>(ids::INTERFACE_LEGACYGPUPROCESSOR);
	TORVI_CHECK(legacy, NullptrError("There is no maker of handlers for graphics processors."));
	const Bool isReverse = (key._flags1 & GPU_REVERSE) != 0;
	return legacy->CreateHandler(isReverse ? key._dstProfile : key._srcProfile, isReverse ? key._srcProfile : key._dstProfile, key._flags1,
								 key._flags2);
}

Result<void> CheckStarted()
{
	TORVI_CHECK(g_torvi != nullptr, IllegalStateError("The module is not started."));
	return OK;
}

} // namespace

Result<ColorProfileConvert> ColorProfileConvertStaticImpl::FindOrMake(const RunConversionKey& key)
{
	return _conversions.FindOrBuild(
		key, [&]() -> Result<ColorProfileConvert> { return MakeConvert(TORVI_TRY(MakeEngine(key)), {}, key.GetHashCode()); });
}

/// Palettes belong to pictures and can change, so nothing that depends on one is kept: what is kept is the conversion of its colours.
Result<ColorProfileConvert> ColorProfileConvertStaticImpl::MakeIndexed(const RunConversionKey& key)
{
	RunConversionKey ofColours = key;
	const Bool isOcio = key._srcProfile.GetOcioConfig() || key._dstProfile.GetOcioConfig();
	ofColours._srcFormat = isOcio ? GetPixelFormat(ids::PIXELFORMAT_RGBA_F32) : TORVI_TRY(FindNearestNativeFormat(key._srcFormat));
	const ColorProfileConvert convert = TORVI_TRY(FindOrMake(ofColours));
	const PixelFormat colours = ofColours._srcFormat;
	const ConvertPixelFunc toColours = TORVI_TRY(FindPlainConversion(*colours, key._srcFormat));
	ConvertRunFunc run = TORVI_TRY(MakeStagedConversion({toColours, colours->GetBitsPerPixel()}, RunOf(convert), {}));
	return MakeConvert(std::move(run), {}, key.GetHashCode());
}

Result<ColorProfileConvert> ColorProfileConvertStaticImpl::Init(const PixelFormat& srcFormat, const ColorProfile& srcProfile,
																const PixelFormat& dstFormat, const ColorProfile& dstProfile,
																COLORCONVERSIONINTENT intent, UInt32 flags)
{
	return NoThrow(
		[&]() -> Result<ColorProfileConvert>
		{
			TORVI_TRY(CheckStarted());
			TORVI_CHECK(srcFormat && dstFormat, IllegalArgumentError("A color conversion needs two pixel formats."));
			const RunConversionKey key = {srcFormat, dstFormat, srcProfile, dstProfile, static_cast<UInt32>(intent), flags};
			if (IsIndexed(dstFormat)) // refused, but not for ever
				return MakeConvert(TORVI_TRY(MakeEngine(key)), {}, key.GetHashCode());
			return IsIndexed(srcFormat) ? MakeIndexed(key) : FindOrMake(key);
		});
}

Result<PixelFormat> ColorProfileConvertStaticImpl::GetNearestNativeFormat(const PixelFormat& format)
{
	return NoThrow([&]() { return FindNearestNativeFormat(format); });
}

Result<ColorProfileConvert> ColorProfileConvertStaticImpl::InitGPU(const ColorProfile& srcProfile, const ColorProfile& dstProfile,
																   UInt32 flags1, UInt32 flags2)
{
	return NoThrow(
		[&]() -> Result<ColorProfileConvert>
		{
			TORVI_TRY(CheckStarted());
			const GpuConversionKey key = {srcProfile, dstProfile, flags1, flags2};
			return _gpuConversions.FindOrBuild(
				key, [&]() -> Result<ColorProfileConvert> { return MakeConvert({}, TORVI_TRY(MakeGpuHandler(key)), key.GetHashCode()); });
		});
}

Result<ColorProfileGpuRef> ColorProfileLegacyProcessorImpl::CreateHandler(const ColorProfile& srcProfile, const ColorProfile& dstProfile,
																		  UInt32 flags1, UInt32)
{
	return NoThrow(
		[&]() -> Result<ColorProfileGpuRef>
		{
			ColorProfileGpuRef handler = TORVI_TRY(CreateObject<ColorProfileGpuInterface>(ids::CLASS_LEGACYGPUHANDLER));
			TORVI_TRY(handler->Init({flags1, srcProfile, dstProfile}));
			return handler;
		});
}

void ColorProfileConvertStaticImpl::Clear() noexcept
{
	_conversions.Clear();
	_gpuConversions.Clear();
}

} // namespace torvi
