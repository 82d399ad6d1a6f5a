// Start and end of the colour module under test, and profiles to open.
#include "tests/color/color_fixture.h"

#include "color/registration.h"
#include "pixelformat/registration.h"

#include <array>
#include <cmath>
#include <cstring>

namespace torvi::test
{

namespace
{

template <class T>
void HalveColours(T* pixels, Int distance, Int count)
{
	for (Int i = 0; i < count; ++i)
	{
		auto* const values = reinterpret_cast<Byte*>(pixels) + i * distance;
		T colours[3];
		std::memcpy(colours, values, sizeof(colours));
		for (T& colour : colours)
			colour = static_cast<T>(colour / 2);
		std::memcpy(values, colours, sizeof(colours));
	}
}

/// A CMYK printer that never was: dark inks on white paper.
void InksToLab(const std::array<double, 4>& inks, std::array<double, 3>& lab)
{
	const double paper = 1.0 - inks[3];
	lab = {paper * (1.0 - 0.25 * (inks[0] + inks[1] + inks[2])), 0.5 + 0.25 * paper * (inks[1] - inks[0]),
		   0.5 + 0.25 * paper * (inks[2] - 0.5 * (inks[0] + inks[1]))};
}

void LabToInks(const std::array<double, 3>& lab, std::array<double, 4>& inks)
{
	const double missing = 1.0 - lab[0];
	const auto clamp = [](double value) { return std::clamp(value, 0.0, 1.0); };
	inks = {clamp(missing - lab[1] + 0.5), clamp(missing + lab[1] - 0.5), clamp(missing + lab[2] - 0.5), clamp(missing * missing)};
}

template <std::size_t INPUTS, std::size_t OUTPUTS, void (*FUNCTION)(const std::array<double, INPUTS>&, std::array<double, OUTPUTS>&)>
cmsInt32Number Sample(const cmsUInt16Number in[], cmsUInt16Number out[], void*)
{
	std::array<double, INPUTS> inputs;
	std::array<double, OUTPUTS> outputs;
	for (std::size_t i = 0; i < INPUTS; ++i)
		inputs[i] = in[i] / 65535.0;
	FUNCTION(inputs, outputs);
	for (std::size_t i = 0; i < OUTPUTS; ++i)
		out[i] = static_cast<cmsUInt16Number>(std::lround(std::clamp(outputs[i], 0.0, 1.0) * 65535.0));
	return TRUE;
}

template <std::size_t INPUTS, std::size_t OUTPUTS, void (*FUNCTION)(const std::array<double, INPUTS>&, std::array<double, OUTPUTS>&)>
void WriteTable(const IccProfile& profile, cmsTagSignature tag)
{
	constexpr cmsUInt32Number GRID = 5;
	cmsPipeline* const pipeline = cmsPipelineAlloc(nullptr, INPUTS, OUTPUTS);
	cmsStage* const table = cmsStageAllocCLut16bit(nullptr, GRID, INPUTS, OUTPUTS, nullptr);
	cmsStageSampleCLut16bit(table, &Sample<INPUTS, OUTPUTS, FUNCTION>, nullptr, 0);
	cmsPipelineInsertStage(pipeline, cmsAT_BEGIN, table);
	EXPECT_TRUE(cmsWriteTag(profile.get(), tag, pipeline));
	cmsPipelineFree(pipeline);
}

Result<OcioProcessorRef> MakeProcessor(const std::string& call, CString source)
{
	FakeOcioConfig::s_lastCall = call;
	TORVI_CHECK(source != std::string_view("broken"), UnsupportedOperationError("The configuration is broken."));
	return NewObject<FakeOcioProcessor>();
}

std::string DescribeCall(CString source, CString destination, CString view, UInt32 flags)
{
	return std::string(source) + " > " + destination + " (" + view + ") " + std::to_string(flags);
}

} // namespace

Int FakeOcioConfig::s_loadCount = 0;
std::string FakeOcioConfig::s_lastCall;

Result<void> FakeOcioProcessor::ConvertPixels(Float32* pixels, Int distance, Int count, UInt32) const
{
	HalveColours(pixels, distance, count);
	return OK;
}

Result<void> FakeOcioProcessor::ConvertPixels(UChar* pixels, Int distance, Int count, UInt32) const
{
	HalveColours(pixels, distance, count);
	return OK;
}

Result<Ref<ColorProfileGpuInterface>> FakeOcioProcessor::GetGpuHandler() const
{
	return Ref<ColorProfileGpuInterface>(TORVI_TRY(NewObject<FakeGpuHandler>()));
}

Result<void> FakeGpuHandler::Init(const ColorProfileGpuSetup& setup)
{
	_setup = setup;
	return OK;
}

Result<OcioProcessorRef> FakeOcioConfig::CreateConversionFunction(CString source, CString destination, UInt32 options) const
{
	return MakeProcessor(DescribeCall(source, destination, "", options), source);
}

Result<OcioProcessorRef> FakeOcioConfig::CreateConversionFunctionWithViewTransform(CString source, CString view, CString display,
																				   UInt32 options) const
{
	return MakeProcessor(DescribeCall(source, display, view, options), source);
}

Result<OcioProcessorRef> FakeOcioConfig::CreateGpuProcessor(CString source, CString destination, UInt32 flags1, UInt32 flags2) const
{
	return MakeProcessor("gpu " + DescribeCall(source, destination, "", flags1) + " " + std::to_string(flags2), source);
}

Result<OcioProcessorRef> FakeOcioConfig::CreateGpuProcessorWithViewTransform(CString source, CString view, CString display, UInt32 flags1,
																			 UInt32 flags2) const
{
	return MakeProcessor("gpu " + DescribeCall(source, display, view, flags1) + " " + std::to_string(flags2), source);
}

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

void ColorTest::Start()
{
	const auto addFake = [](Module& module) -> Result<void>
	{
		TORVI_TRY(module.AddClass<FakeOcioConfig>(ids::CLASS_OCIOCONFIG));
		return OK;
	};
	_host.reset();
	_host.emplace(std::initializer_list<HostScope::Registration>{&RegisterPixelFormats, addFake, &RegisterColor});
}

ColorProfile ConversionTest::MakeWideProfile()
{
	return TORVI_MUST(ColorProfile::OpenProfileFromMemory(MakeRgbProfile(L"Wide")));
}

ColorProfile ConversionTest::MakeCmykProfile()
{
	const IccProfile profile(cmsCreateProfilePlaceholder(nullptr));
	cmsSetProfileVersion(profile.get(), 2.1); // whose tables need no curves around them
	cmsSetDeviceClass(profile.get(), cmsSigOutputClass);
	cmsSetColorSpace(profile.get(), cmsSigCmykData);
	cmsSetPCS(profile.get(), cmsSigLabData);
	WriteTable<4, 3, &InksToLab>(profile, cmsSigAToB0Tag);
	WriteTable<3, 4, &LabToInks>(profile, cmsSigBToA0Tag);
	return TORVI_MUST(ColorProfile::OpenProfileFromMemory(BytesOf(profile)));
}

PixelFormat ConversionTest::FormatOf(std::string_view shortName)
{
	return GetPixelFormat(TORVI_MUST(InternId("net.torvi.image.pixelformat." + std::string(shortName))));
}

Ref<ColorProfileConvertStaticInterface> ConversionTest::GetConversions()
{
	return FindDeclared<ColorProfileConvertStaticInterface>(ids::INTERFACE_COLORPROFILECONVERT);
}

ColorProfileConvert ConversionTest::MakeConversion(std::string_view source, const ColorProfile& srcProfile, std::string_view destination,
												   const ColorProfile& dstProfile, UInt32 flags)
{
	Result<ColorProfileConvert> made =
		GetConversions()->Init(FormatOf(source), srcProfile, FormatOf(destination), dstProfile, COLORCONVERSIONINTENT::PERCEPTUAL, flags);
	EXPECT_TRUE(made.IsOk()) << source << " to " << destination << ": " << TextOf(made.GetError());
	return std::move(made).ValueOr(ColorProfileConvert());
}

std::vector<Byte> ConversionTest::Convert(std::string_view source, const ColorProfile& srcProfile, std::string_view destination,
										  const ColorProfile& dstProfile, const std::vector<Byte>& pixels, UInt32 flags)
{
	const ColorProfileConvert conversion = MakeConversion(source, srcProfile, destination, dstProfile, flags);
	return conversion ? ConvertPacked(conversion, pixels, FormatOf(source), FormatOf(destination)) : std::vector<Byte>();
}

std::string ConversionTest::FailureOf(std::string_view source, const ColorProfile& srcProfile, std::string_view destination,
									  const ColorProfile& dstProfile, COLORCONVERSIONINTENT intent)
{
	return TextOf(GetConversions()->Init(FormatOf(source), srcProfile, FormatOf(destination), dstProfile, intent, 0).GetError());
}

std::vector<Byte> ConvertPacked(const ColorProfileConvert& conversion, const std::vector<Byte>& source, const PixelFormat& srcFormat,
								const PixelFormat& dstFormat)
{
	const Int count = CountOf(source) * 8 / srcFormat->GetBitsPerPixel();
	std::vector<Byte> destination(static_cast<std::size_t>(dstFormat->GetBytesPerLine(count, 1)), 0xA5);
	EXPECT_TRUE(conversion
					->Convert(PixelBuffer(source.data(), srcFormat->GetBitsPerPixel()),
							  PixelBuffer(destination.data(), dstFormat->GetBitsPerPixel()), count)
					.IsOk());
	return destination;
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
