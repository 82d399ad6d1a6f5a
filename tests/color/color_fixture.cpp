// Start and end of the colour module under test, and profiles to open.
#include "tests/color/color_fixture.h"

#include "color/registration.h"
#include "torvi/gfx_image_pixelformat.h"

namespace torvi::test
{

namespace
{

class FakeColorSpace final : public ColorSpaceInterface
{
public:
	ColorProfile GetDefaultNonlinearColorProfile() const override { return {}; }
	ColorProfile GetDefaultLinearColorProfile() const override { return {}; }
};

} // namespace

Int FakeOcioConfig::s_loadCount = 0;

Result<void> FakeOcioConfig::Load(const Url& url)
{
	++s_loadCount;
	TORVI_CHECK(url.ToString().find("missing") == String::npos, IoError("There is no configuration @.", url));
	_url = url;
	return OK;
}

Result<CString> FakeOcioConfig::AddIccDisplayProfile(const Url& iccProfile)
{
	_displayName = Format("Display of @", iccProfile.GetName());
	return _displayName.c_str();
}

Bool FakeOcioConfig::IsEqual(const ObjectInterface& other) const
{
	const auto* config = dynamic_cast<const FakeOcioConfig*>(&other);
	return config != nullptr && config->_url == _url;
}

Result<void> ColorTest::Start()
{
	_host.emplace();
	TORVI_TRY(_host->_services.Init());
	g_torvi = &_host->_services;
	for (const Id& id : {ids::COLORSPACE_RGB, ids::COLORSPACE_GREY, ids::COLORSPACE_CMYK, ids::COLORSPACE_YUV})
		TORVI_TRY(_host->_module.AddObject(ids::REGISTRY_COLORSPACES, id, TORVI_TRY(NewObject<FakeColorSpace>())));
	TORVI_TRY(_host->_module.AddClass<FakeOcioConfig>(ids::CLASS_OCIOCONFIG));
	return RegisterColor(_host->_module);
}

void ColorTest::Stop() noexcept
{
	_host->_module.RunEnd();
	_host->_services.Clear();
	g_torvi = nullptr;
	_host.reset();
}

OcioConfigRef ColorTest::MakeConfig(std::string_view path)
{
	const OcioConfigRef config = TORVI_MUST(CreateObject<OcioConfigInterface>(ids::CLASS_OCIOCONFIG));
	TORVI_MUST(config->Load(TORVI_MUST(Url::FromSystemPath(path))));
	return config;
}

Array<Byte> BytesOf(const IccProfile& profile)
{
	return TORVI_MUST(WriteIccProfile(profile, UINT32_MAX));
}

Array<Byte> MakeRgbProfile(const std::wstring& description, double gamma)
{
	const cmsCIExyY white = {0.3457, 0.3585, 1.0};
	const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1.0}, {0.21, 0.71, 1.0}, {0.15, 0.06, 1.0}};
	cmsToneCurve* const curve = cmsBuildGamma(nullptr, gamma);
	cmsToneCurve* const curves[] = {curve, curve, curve};
	const IccProfile profile(cmsCreateRGBProfile(&white, &primaries, curves));
	cmsFreeToneCurve(curve);
	cmsMLU* const text = cmsMLUalloc(nullptr, 1);
	cmsMLUsetWide(text, "en", "US", description.c_str());
	cmsWriteTag(profile.get(), cmsSigProfileDescriptionTag, text);
	cmsMLUfree(text);
	return BytesOf(profile);
}

std::string TextOf(const Error& error)
{
	return std::string(error.GetId().GetText()) + ": " + std::string(error.GetMessage());
}

} // namespace torvi::test
