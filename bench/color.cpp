// Conversions of profiles against the bare call of lcms2 on the same pixels: native formats, formats that are staged, and the curves of
// sRGB, which lcms2 does as a float transform.
#include "bench/measure.h"
#include "torvi/gfx_image_colorprofile_convert.h"

#include <lcms2.h>
#include <memory>

namespace torvi::bench
{

namespace
{

constexpr Int RUN_LENGTH = 4096; // pixels

struct TransformDeleter
{
	void operator()(void* transform) const noexcept { cmsDeleteTransform(transform); }
};
using Transform = std::unique_ptr<void, TransformDeleter>;

struct ProfileCloser
{
	void operator()(void* profile) const noexcept { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, ProfileCloser>;

/// A conversion, and the formats that lcms2 has for the same work.
struct ColourPair
{
	const char* _name;
	const char* _source;
	const char* _destination;
	const char* _lcmsSource; ///< of which lcms2 gets noise
	cmsUInt32Number _lcmsSourceWord;
	const char* _lcmsDestination;
	cmsUInt32Number _lcmsDestinationWord;
};

constexpr ColourPair PAIRS[] = {
	{"native/rgb.u8/rgb.u8", "rgb.u8", "rgb.u8", "rgb.u8", TYPE_RGB_8, "rgb.u8", TYPE_RGB_8},
	{"native/rgb.u16/rgb.u16", "rgb.u16", "rgb.u16", "rgb.u16", TYPE_RGB_16, "rgb.u16", TYPE_RGB_16},
	{"native/rgb.f32/rgb.f32", "rgb.f32", "rgb.f32", "rgb.f32", TYPE_RGB_FLT, "rgb.f32", TYPE_RGB_FLT},
	{"native/rgba.u8/rgb.u8", "rgba.u8", "rgb.u8", "rgba.u8", TYPE_RGBA_8, "rgb.u8", TYPE_RGB_8},
	{"staged/abgr.u8/rgb.u8", "abgr.u8", "rgb.u8", "argb.u8", TYPE_ARGB_8, "rgb.u8", TYPE_RGB_8},
	{"staged/rgb.u8/rgbx.u8", "rgb.u8", "rgbx.u8", "rgb.u8", TYPE_RGB_8, "rgb.u8", TYPE_RGB_8},
	{"staged/rgb.f16/rgb.f16", "rgb.f16", "rgb.f16", "rgb.f32", TYPE_RGB_FLT, "rgb.f32", TYPE_RGB_FLT},
};

Result<Profile> OpenProfile(const ColorProfile& profile)
{
	const Array<Byte> bytes = TORVI_TRY(profile.WriteProfileToMemory());
	return Profile(cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())));
}

/// RGB with other primaries than sRGB and a gamma of 2.2.
Result<ColorProfile> MakeWideProfile()
{
	const cmsCIExyY white = {0.3127, 0.329, 1.0};
	const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1.0}, {0.21, 0.71, 1.0}, {0.15, 0.06, 1.0}};
	cmsToneCurve* const curve = cmsBuildGamma(nullptr, 2.2);
	cmsToneCurve* const curves[] = {curve, curve, curve};
	const Profile profile(cmsCreateRGBProfile(&white, &primaries, curves));
	cmsFreeToneCurve(curve);
	cmsUInt32Number size = 0;
	cmsSaveProfileToMem(profile.get(), nullptr, &size);
	Array<Byte> bytes(size);
	cmsSaveProfileToMem(profile.get(), bytes.data(), &size);
	return ColorProfile::OpenProfileFromMemory(bytes);
}

/// Reports nanoseconds per pixel of the library and of lcms2.
Result<void> CompareWithLcms(benchmark::State& state, double seconds, const ColourPair& pair, const ColorProfile& from,
							 const ColorProfile& to)
{
	const PixelFormat source = TORVI_TRY(FindFormat(pair._source)), destination = TORVI_TRY(FindFormat(pair._destination));
	const PixelFormat lcmsSource = TORVI_TRY(FindFormat(pair._lcmsSource)), lcmsDestination = TORVI_TRY(FindFormat(pair._lcmsDestination));
	const auto conversions = FindDeclared<ColorProfileConvertStaticInterface>(ids::INTERFACE_COLORPROFILECONVERT);
	const ColorProfileConvert conversion = TORVI_TRY(conversions->Init(source, from, destination, to, COLORCONVERSIONINTENT::RELATIVE, 0));
	const Profile fromProfile = TORVI_TRY(OpenProfile(from)), toProfile = TORVI_TRY(OpenProfile(to));
	const Transform transform(cmsCreateTransform(fromProfile.get(), pair._lcmsSourceWord, toProfile.get(), pair._lcmsDestinationWord,
												 INTENT_RELATIVE_COLORIMETRIC, 0));
	TORVI_CHECK(transform, UnknownError("lcms2 makes no transform."));

	const Array<Byte> pixels = TORVI_TRY(MakePixels(source, RUN_LENGTH)), lcmsPixels = TORVI_TRY(MakePixels(lcmsSource, RUN_LENGTH));
	Array<Byte> out = MakeMemory(destination, RUN_LENGTH), lcmsOut = MakeMemory(lcmsDestination, RUN_LENGTH);
	const PixelBuffer input(pixels.data(), source->GetBitsPerPixel()), output(out.data(), destination->GetBitsPerPixel());
	const auto convert = [&]() { return conversion->Convert(input, output, RUN_LENGTH); };
	const auto convertBare = [&]() -> Result<void>
	{
		cmsDoTransform(transform.get(), lcmsPixels.data(), lcmsOut.data(), RUN_LENGTH);
		return OK;
	};
	return CompareByTurns(state, seconds, Task{convert, RUN_LENGTH}, Task{convertBare, RUN_LENGTH});
}

} // namespace

void AddColours(const Options& options)
{
	constexpr double SECONDS = 0.1;
	for (const ColourPair& pair : PAIRS)
	{
		const auto compare = [&pair](benchmark::State& state, double seconds) -> Result<void>
		{ return CompareWithLcms(state, seconds, pair, GetBuiltInColorProfile(ids::COLORPROFILE_SRGB), TORVI_TRY(MakeWideProfile())); };
		AddRounds(std::string("color/") + pair._name, options, SECONDS, compare);
	}
	static constexpr ColourPair RGB = {"", "rgb.f32", "rgb.f32", "rgb.f32", TYPE_RGB_FLT, "rgb.f32", TYPE_RGB_FLT};
	static constexpr ColourPair RGBA = {"", "rgba.f32", "rgba.f32", "rgba.f32", TYPE_RGBA_FLT, "rgba.f32", TYPE_RGBA_FLT};
	for (const ColourPair* pair : {&RGB, &RGBA})
	{
		for (const Bool isToLinear : {true, false})
		{
			const auto compare = [pair, isToLinear](benchmark::State& state, double seconds)
			{
				const ColorProfile srgb = GetBuiltInColorProfile(ids::COLORPROFILE_SRGB);
				const ColorProfile linear = GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB);
				return CompareWithLcms(state, seconds, *pair, isToLinear ? srgb : linear, isToLinear ? linear : srgb);
			};
			AddRounds(std::string("color/curve/") + pair->_source + (isToLinear ? "/to-linear" : "/from-linear"), options, SECONDS,
					  compare);
		}
	}
}

} // namespace torvi::bench
