// Colour profiles as files carry them: ICC data and OCIO blobs. What opens is asked everything, written, and linked with sRGB.
#include "fuzz/target.h"
#include "torvi/gfx_image_colorprofile_convert.h"
#include "torvi/ids_formats.h"

namespace torvi::fuzz
{

namespace
{

/// The format whose pixels a profile can describe; null for other profiles.
PixelFormat FormatOf(const ColorProfile& profile)
{
	for (const Id& id : {ids::PIXELFORMAT_RGB_U8, ids::PIXELFORMAT_GREY_U8, ids::PIXELFORMAT_CMYK_U8})
	{
		const PixelFormat format = GetPixelFormat(id);
		if (profile.CheckCompatiblePixelFormat(*format))
			return format;
	}
	return {};
}

Result<void> Use(const ColorProfile& profile)
{
	for (UInt32 selector = 0; selector < 6; ++selector)
		static_cast<void>(profile.GetInfo(static_cast<ColorProfileInfo>(selector)));
	TORVI_TRY(profile.WriteProfileToMemory());
	const PixelFormat format = FormatOf(profile);
	if (!format)
		return OK;
	const auto conversions = FindDeclared<ColorProfileConvertStaticInterface>(ids::INTERFACE_COLORPROFILECONVERT);
	const PixelFormat rgb = GetPixelFormat(ids::PIXELFORMAT_RGB_U8);
	const ColorProfile srgb = GetBuiltInColorProfile(ids::COLORPROFILE_SRGB);
	const ColorProfileConvert convert = TORVI_TRY(conversions->Init(format, profile, rgb, srgb, COLORCONVERSIONINTENT::PERCEPTUAL,
																	ColorProfileConvertStaticInterface::BLACK_POINT_COMPENSATION));
	const Byte pixels[4 * 4] = {0, 255, 128, 7};
	Byte converted[4 * 3];
	return convert->Convert(PixelBuffer(pixels, format->GetBitsPerPixel()), PixelBuffer(converted, rgb->GetBitsPerPixel()), 4);
}

} // namespace

} // namespace torvi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const torvi::Byte* data, std::size_t size)
{
	using namespace torvi;
	fuzz::PrepareModule();
	const Result<ColorProfile> profile = ColorProfile::OpenProfileFromMemory({data, size});
	if (profile.IsOk())
		static_cast<void>(fuzz::Use(profile.GetValue()));
	return 0;
}
