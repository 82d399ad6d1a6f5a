// Names and runs of OCIO conversions.
#include "color/ocio_engine.h"

#include "color/staged_conversion.h"
#include "torvi/ids_formats.h"

namespace torvi
{

namespace
{

/// What a configuration calls an ICC profile; empty unless it is one of the two that every configuration has.
Result<CString> NameOfIcc(const OcioConfigInterface& config, const ColorProfile& profile)
{
	constexpr Int32 SRGB = 0, LINEAR = 1;
	CString name = "";
	if (profile.GetCrc() == GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB).GetCrc())
		name = TORVI_TRY(config.GetColorSpaceName(LINEAR));
	else if (profile.GetCrc() == GetBuiltInColorProfile(ids::COLORPROFILE_SRGB).GetCrc())
		name = TORVI_TRY(config.GetColorSpaceName(SRGB));
	return name != nullptr ? name : "";
}

/// Pixels that a processor takes as they are. It works in place, so they are copied to the destination first.
class OcioInPlace final : public ObjectInterface
{
public:
	OcioInPlace(OcioProcessorRef processor, ConvertPixelFunc copy, Bool isEightBit)
		: _processor(std::move(processor)), _copy(std::move(copy)), _isEightBit(isEightBit)
	{
	}

	Result<void> Run(const PixelBuffer& source, const PixelBuffer& destination, Int count) const
	{
		const Bool isSame = source._pixel == destination._pixel && source._stride == destination._stride;
		if (!isSame && source._pixel != nullptr && destination._pixel != nullptr)
			TORVI_TRY(_copy(destination, count, source, 0));
		const Int distance = BytesOf(destination._stride);
		if (_isEightBit)
			return _processor->ConvertPixels(destination._pixel, distance, count, 0);
		return _processor->ConvertPixels(reinterpret_cast<Float32*>(destination._pixel), distance, count, 0);
	}

private:
	OcioProcessorRef _processor;
	ConvertPixelFunc _copy;
	Bool _isEightBit;
};

} // namespace

Result<OcioProcessorRef> OcioNames::CreateProcessor(UInt32 options) const
{
	if (_view[0] != 0)
		return _config->CreateConversionFunctionWithViewTransform(_source, _view, _destination, options);
	return _config->CreateConversionFunction(_source, _destination, options);
}

Result<OcioProcessorRef> OcioNames::CreateGpuProcessor(UInt32 flags1, UInt32 flags2) const
{
	if (_view[0] != 0)
		return _config->CreateGpuProcessorWithViewTransform(_source, _view, _destination, flags1, flags2);
	return _config->CreateGpuProcessor(_source, _destination, flags1, flags2);
}

Result<OcioNames> ReadOcioNames(const ColorProfile& srcProfile, const ColorProfile& dstProfile)
{
	const OcioConfigRef srcConfig = srcProfile.GetOcioConfig();
	const OcioConfigRef dstConfig = dstProfile.GetOcioConfig();
	OcioNames names;
	if (srcConfig && dstConfig && srcConfig != dstConfig && !srcConfig->IsEqual(*dstConfig))
		return names;
	names._config = srcConfig ? srcConfig : dstConfig;
	if (!names._config)
		return names;
	names._source = srcConfig ? srcProfile.GetRecord()->GetOcioName() : TORVI_TRY(NameOfIcc(*dstConfig, srcProfile));
	names._destination = dstConfig ? dstProfile.GetRecord()->GetOcioName() : TORVI_TRY(NameOfIcc(*srcConfig, dstProfile));
	names._view = dstConfig ? dstProfile.GetRecord()->GetOcioSecondName() : "";
	return names;
}

Result<ConvertRunFunc> MakeOcioEngine(const OcioNames& names, const PixelFormat& srcFormat, const PixelFormat& dstFormat, Bool isReverse)
{
	const auto areBoth = [&](const Id& id) { return srcFormat == dstFormat && srcFormat == GetPixelFormat(id); };
	const Bool isEightBit = areBoth(ids::PIXELFORMAT_RGB_U8) || areBoth(ids::PIXELFORMAT_RGBA_U8);
	const Bool isFloat = areBoth(ids::PIXELFORMAT_RGB_F32) || areBoth(ids::PIXELFORMAT_RGBA_F32);
	const UInt32 options =
		(isReverse ? OcioConfigInterface::OPTION_REVERSE : 0u) | (isEightBit ? OcioConfigInterface::OPTION_EIGHT_BIT : 0u);
	const OcioProcessorRef processor = TORVI_TRY(names.CreateProcessor(options));
	TORVI_CHECK(processor, NullptrError("The OCIO configuration made no processor."));
	const PixelFormat converted = isEightBit || isFloat ? dstFormat : GetPixelFormat(ids::PIXELFORMAT_RGBA_F32);
	const ConvertPixelFunc copy = TORVI_TRY(FindPlainConversion(*converted, converted));
	auto inPlace = TORVI_TRY(NewObject<OcioInPlace>(processor, copy, isEightBit));
	ConvertRunFunc run = [inPlace](const PixelBuffer& source, const PixelBuffer& destination, Int count)
	{ return inPlace->Run(source, destination, count); };
	if (isEightBit || isFloat)
		return run;
	const BITS bits = converted->GetBitsPerPixel();
	const ConvertPixelFunc toFloats = TORVI_TRY(FindPlainConversion(*converted, srcFormat));
	const ConvertPixelFunc fromFloats = TORVI_TRY(FindPlainConversion(*dstFormat, converted));
	return MakeStagedConversion({toFloats, bits}, std::move(run), {fromFloats, bits});
}

} // namespace torvi
