// The built-in profiles, made by lcms2 and described by us. Their bytes are the same in every run and on every machine, so that stored ones
// are recognised again.
#include "color/builtin_profiles.h"

#include "color/crc32c.h"
#include "color/gfx_image_colorprofile_impl.h"
#include "host/module.h"

#include <algorithm>
#include <array>

namespace torvi
{

namespace
{

struct ToneCurveFree
{
	void operator()(cmsToneCurve* curve) const noexcept { cmsFreeToneCurve(curve); }
};
using ToneCurve = std::unique_ptr<cmsToneCurve, ToneCurveFree>;

struct TextFree
{
	void operator()(cmsMLU* text) const noexcept { cmsMLUfree(text); }
};
using Text = std::unique_ptr<cmsMLU, TextFree>;

// xyY of ITU-R BT.709.
constexpr cmsCIExyY WHITE_POINT = {0.3127, 0.329, 1.0};
constexpr cmsCIExyYTRIPLE PRIMARIES = {{0.64, 0.33, 1.0}, {0.3, 0.6, 1.0}, {0.15, 0.06, 1.0}};

IccProfile MakeSrgb()
{
	return IccProfile(cmsCreate_sRGBProfile());
}

IccProfile MakeGrey(const ToneCurve& curve)
{
	return IccProfile(curve ? cmsCreateGrayProfile(&WHITE_POINT, curve.get()) : nullptr);
}

/// With the curve of sRGB (IEC 61966-2-1), whatever its text says.
IccProfile MakeSgrey()
{
	constexpr cmsFloat64Number PARAMETERS[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
	return MakeGrey(ToneCurve(cmsBuildParametricToneCurve(nullptr, 4, PARAMETERS)));
}

IccProfile MakeLinearGrey()
{
	return MakeGrey(ToneCurve(cmsBuildGamma(nullptr, 1.0)));
}

IccProfile MakeLinearRgb()
{
	const ToneCurve curve(cmsBuildGamma(nullptr, 1.0));
	cmsToneCurve* const curves[] = {curve.get(), curve.get(), curve.get()};
	return IccProfile(curve ? cmsCreateRGBProfile(&WHITE_POINT, &PRIMARIES, curves) : nullptr);
}

/// A profile that lcms2 refuses to convert with, so that the plain kernels do it.
template <cmsColorSpaceSignature CONNECTION_SPACE>
IccProfile MakeNull()
{
	IccProfile profile(cmsCreateNULLProfile());
	if (profile)
		cmsSetPCS(profile.get(), CONNECTION_SPACE);
	return profile;
}

struct BuiltInProfile
{
	Id _id;
	IccProfile (*_make)();
	const wchar_t* _description;
};

constexpr BuiltInProfile PROFILES[] = {
	{ids::COLORPROFILE_SRGB, &MakeSrgb, L"sRGB IEC61966-2.1"},
	{ids::COLORPROFILE_SGREY, &MakeSgrey, L"Grey Gamma 2.2"},
	{ids::COLORPROFILE_CMYKDEFAULT, &MakeNull<cmsSigCmykData>, L"CMYK Default Profile"},
	{ids::COLORPROFILE_YUVDEFAULT, &MakeNull<cmsSigXYZData>, L"YUV Default Profile"},
	{ids::COLORPROFILE_LINEARRGB, &MakeLinearRgb, L"Linear Color Space"},
	{ids::COLORPROFILE_LINEARGREY, &MakeLinearGrey, L"Linear Color Space (Gray)"},
};

Bool WriteText(const IccProfile& profile, cmsTagSignature tag, const wchar_t* text)
{
	const Text tagText(cmsMLUalloc(nullptr, 1));
	return tagText && cmsMLUsetWide(tagText.get(), "en", "US", text) && cmsWriteTag(profile.get(), tag, tagText.get());
}

/// lcms2 writes the time of day into the header; we write the first of January 2000 (ISO 15076-1, 7.2.10: six 16-bit numbers).
void SetFixedDate(Array<Byte>& bytes) noexcept
{
	constexpr std::size_t OFFSET = 24;
	constexpr std::array<Byte, 12> DATE = {2000 >> 8, 2000 & 0xFF, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0};
	std::ranges::copy(DATE, bytes.begin() + OFFSET);
}

Result<ColorProfile> MakeBuiltInProfile(const BuiltInProfile& row)
{
	const LcmsMemoryWatch watch;
	IccProfile handle = row._make();
	const Bool isComplete = handle && WriteText(handle, cmsSigProfileDescriptionTag, row._description) &&
							WriteText(handle, cmsSigCopyrightTag, L"No copyright, use freely");
	TORVI_CHECK(isComplete && !watch.HasFailed(), OutOfMemoryError());
	Result<Array<Byte>> written = WriteIccProfile(handle, UINT32_MAX);
	TORVI_CHECK(written.IsOk() && !watch.HasFailed(), OutOfMemoryError());
	Array<Byte> bytes = written.TakeValue();
	SetFixedDate(bytes);
	const UInt32 crc = Crc32c(bytes);
	return ColorProfile(GetProfileMap().FindOrInsert(TORVI_TRY(MakeIccRecord(std::move(handle), std::move(bytes), crc, watch))));
}

Result<void> AddProfile(Module& module, const Id& id, ColorProfile profile)
{
	return module.AddObject(ids::REGISTRY_COLORPROFILES, id, TORVI_TRY(NewObject<ColorProfileObject>(std::move(profile))));
}

} // namespace

Result<void> RegisterBuiltInProfiles(Module& module)
{
	TORVI_TRY(AddProfile(module, ids::COLORPROFILE_NONE, ColorProfile()));
	for (const BuiltInProfile& row : PROFILES)
		TORVI_TRY(AddProfile(module, row._id, TORVI_TRY(MakeBuiltInProfile(row))));
	return OK;
}

} // namespace torvi
