// Configurations written here, and what comes out of them against values computed by hand.
#include "color/registration.h"
#include "host/iomemory.h"
#include "pixelformat/registration.h"
#include "platform/registration.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/host_scope.h"
#include "torvi/gfx_image_colorprofile_convert.h"
#include "torvi/ids_formats.h"

#include <lcms2.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

namespace torvi
{
namespace
{

// The scene is linear light of sRGB's primaries. "Film" halves it on the way to XYZ; the screen has sRGB's primaries and gamma 2.
constexpr const char* CONFIG = R"(ocio_profile_version: 2
search_path: luts
roles: {default: raw, scene_linear: light}
displays:
  Monitor:
    - !<View> {name: Plain, colorspace: sRGB}
    - !<View> {name: Film, view_transform: film, display_colorspace: Screen}
view_transforms:
  - !<ViewTransform>
    name: film
    from_scene_reference: !<MatrixTransform>
      matrix: [0.20619542, 0.17879217, 0.09024040, 0, 0.10631950, 0.35758434, 0.03609616, 0,
               0.00966541, 0.05959739, 0.47526607, 0, 0, 0, 0, 1]
display_colorspaces:
  - !<ColorSpace>
    name: Screen
    to_display_reference: !<GroupTransform>
      children:
        - !<ExponentTransform> {value: 2}
        - !<MatrixTransform>
          matrix: [0.41239080, 0.35758434, 0.18048079, 0, 0.21263901, 0.71516868, 0.07219232, 0,
                   0.01933082, 0.11919478, 0.95053215, 0, 0, 0, 0, 1]
colorspaces:
  - !<ColorSpace> {name: light}
  - !<ColorSpace> {name: raw, isdata: true}
  - !<ColorSpace>
    name: sRGB
    to_scene_reference: !<ExponentWithLinearTransform> {gamma: [2.4, 2.4, 2.4, 1], offset: [0.055, 0.055, 0.055, 0]}
  - !<ColorSpace>
    name: turned
    aliases: [rotated]
    to_scene_reference: !<MatrixTransform> {matrix: [0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 1]}
  - !<ColorSpace>
    name: bent
    to_scene_reference: !<FileTransform> {src: bent.spi1d, interpolation: linear}
  - !<ColorSpace>
    name: lost
    to_scene_reference: !<FileTransform> {src: lost.spi1d, interpolation: linear}
)";

// A first-version configuration without displays in XYZ; what it calls sRGB is gamma 2.2 over primaries of its own.
constexpr const char* OLD_CONFIG = R"(ocio_profile_version: 1
search_path: luts
roles: {default: wide, scene_linear: wide}
displays:
  Monitor:
    - !<View> {name: Plain, colorspace: sRGB}
colorspaces:
  - !<ColorSpace> {name: wide}
  - !<ColorSpace>
    name: sRGB
    to_reference: !<GroupTransform>
      children:
        - !<ExponentTransform> {value: [2.2, 2.2, 2.2, 1]}
        - !<MatrixTransform> {matrix: [0.5, 0, 0, 0, 0, 0.25, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]}
)";

constexpr const char* BENT = "Version 1\nFrom 0.0 1.0\nLength 3\nComponents 1\n{\n0.0\n0.25\n1.0\n}\n";
constexpr Float32 TOLERANCE = 2e-5F;

/// sRGB and linear_rgb to the curve between them.
Float32 Decode(Float32 value)
{
	return value <= 0.04045F ? value / 12.92F : std::pow((value + 0.055F) / 1.055F, 2.4F);
}

class Ocio : public ::testing::Test
{
protected:
	void SetUp() override
	{
		_folder = std::filesystem::path(::testing::TempDir()) / "ocio";
		std::filesystem::remove_all(_folder);
		std::filesystem::create_directories(_folder / "luts");
		Write("luts/bent.spi1d", BENT);
		Write("config.ocio", CONFIG);
		_config = Load("config.ocio");
	}
	void TearDown() override { std::filesystem::remove_all(_folder); }

	void Write(const char* name, std::string_view text) const { std::ofstream(_folder / name, std::ios::binary) << text; }
	Url UrlOf(const char* name) const { return TORVI_MUST(Url::FromSystemPath((_folder / name).native())); }
	static OcioConfigRef MakeConfig() { return TORVI_MUST(CreateObject<OcioConfigInterface>(ids::CLASS_OCIOCONFIG)); }
	Error TryLoad(const Url& url) const { return MakeConfig()->Load(url).TakeError(); }
	OcioConfigRef Load(const char* name) const
	{
		OcioConfigRef config = MakeConfig();
		const Result<void> result = config->Load(UrlOf(name));
		EXPECT_TRUE(result.IsOk()) << result.GetError().ToString();
		return config;
	}

	/// An ICC file of sRGB's primaries with that gamma and name.
	Url WriteIcc(const char* name, double gamma, const wchar_t* description) const
	{
		const cmsCIExyY white = {0.3127, 0.3290, 1.0};
		const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1.0}, {0.3, 0.6, 1.0}, {0.15, 0.06, 1.0}};
		cmsToneCurve* const curve = cmsBuildGamma(nullptr, gamma);
		cmsToneCurve* const curves[] = {curve, curve, curve};
		const cmsHPROFILE profile = cmsCreateRGBProfile(&white, &primaries, curves);
		cmsMLU* const text = cmsMLUalloc(nullptr, 1);
		cmsMLUsetWide(text, "en", "US", description);
		cmsWriteTag(profile, cmsSigProfileDescriptionTag, text);
		EXPECT_TRUE(cmsSaveProfileToFile(profile, (_folder / name).c_str()));
		cmsMLUfree(text);
		cmsFreeToneCurve(curve);
		cmsCloseProfile(profile);
		return UrlOf(name);
	}

	/// One colour through a processor.
	using Color = std::array<Float32, 3>;
	static void ExpectColor(const Result<OcioProcessorRef>& processor, Color color, const Color& expected, Float32 tolerance = TOLERANCE)
	{
		ASSERT_TRUE(processor.IsOk()) << processor.GetError().ToString();
		ASSERT_TRUE(processor.GetValue()->ConvertPixels(color.data(), 12, 1, 0).IsOk());
		for (std::size_t i = 0; i < 3; ++i)
			EXPECT_NEAR(color[i], expected[i], tolerance) << "channel " << i;
	}

	HostScope _host{&RegisterPixelFormats, &RegisterColor, &RegisterPlatform};
	std::filesystem::path _folder;
	OcioConfigRef _config;
};

TEST_F(Ocio, ColourSpacesConvertByNameAliasAndRole)
{
	constexpr UInt32 REVERSE = OcioConfigInterface::OPTION_REVERSE;
	ExpectColor(_config->CreateConversionFunction("sRGB", "light", 0), {0.5F, 0.02F, 1}, {Decode(0.5F), Decode(0.02F), 1});
	ExpectColor(_config->CreateConversionFunction("sRGB", "light", REVERSE), {Decode(0.5F), Decode(0.02F), 1}, {0.5F, 0.02F, 1});
	ExpectColor(_config->CreateConversionFunction("rotated", "scene_linear", 0), {0.1F, -0.2F, 3}, {-0.2F, 3, 0.1F});
	ExpectColor(_config->CreateConversionFunction("rotated", "scene_linear", REVERSE), {-0.2F, 3, 0.1F}, {0.1F, -0.2F, 3});
	ExpectColor(_config->CreateConversionFunction("bent", "light", 0), {0.25F, 0.5F, 0.75F}, {0.125F, 0.25F, 0.625F});
	ExpectColor(_config->CreateConversionFunction("bent", "light", REVERSE), {0.125F, 0.25F, 0.625F}, {0.25F, 0.5F, 0.75F});
	ExpectColor(_config->CreateConversionFunction("raw", "sRGB", 0), {0.25F, 0.5F, 7}, {0.25F, 0.5F, 7});
	const auto view = [&](const char* name) { return _config->CreateConversionFunctionWithViewTransform("light", name, "Monitor", 0); };
	ExpectColor(view("Plain"), {Decode(0.5F), 0, 1}, {0.5F, 0, 1});
	EXPECT_EQ(view("Opera").GetError().GetId(), errorids::ILLEGALSTATE);
	EXPECT_EQ(view(nullptr).GetError().GetId(), errorids::ILLEGALSTATE);
}

/// Pixels with profiles, the way everybody asks for them.
TEST_F(Ocio, LookupsConvertThroughTheConfiguration)
{
	using Pixel = std::array<Float32, 4>;
	struct Case
	{
		Id _source;
		ColorProfile _from;
		Id _destination;
		ColorProfile _to;
		Pixel _pixel;
		Pixel _expected;
		Float32 _tolerance;
	};
	const ColorProfile srgb = GetBuiltInColorProfile(ids::COLORPROFILE_SRGB), linear = GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB);
	const ColorProfile turned = TORVI_MUST(ColorProfile::CreateProfile(_config, "turned"));
	const ColorProfile film = TORVI_MUST(ColorProfile::CreateProfile(_config, "Film", "Monitor"));
	const ColorProfile screen = TORVI_MUST(ColorProfile::CreateProfile(_config, WriteIcc("screen.icc", 2.0, L"Mine")));
	const Pixel scene = {0.5F, 0.1F, 0.8F, 1}, seen = {0.5F, std::sqrt(0.05F), std::sqrt(0.4F), 1};
	const Case cases[] = {
		{ids::PIXELFORMAT_RGB_F32, turned, ids::PIXELFORMAT_RGB_F32, linear, {0.1F, -0.2F, 3, 1}, {-0.2F, 3, 0.1F, 1}, TOLERANCE},
		{ids::PIXELFORMAT_RGBA_F32,
		 srgb,
		 ids::PIXELFORMAT_RGBA_F32,
		 turned,
		 {0.5F, 0.02F, 1, 0.3F},
		 {1, Decode(0.5F), Decode(0.02F), 0.3F},
		 TOLERANCE},
		{ids::PIXELFORMAT_RGBA_U8,
		 srgb,
		 ids::PIXELFORMAT_RGBA_U8,
		 turned,
		 {0.2F, 0.6F, 1, 0.4F},
		 {1, Decode(0.2F), Decode(0.6F), 0.4F},
		 0.51F / 255},
		{ids::PIXELFORMAT_RGB_U8, srgb, ids::PIXELFORMAT_BGRA_U16, turned, {0.2F, 0.6F, 1, 1}, {1, Decode(0.2F), Decode(0.6F), 1}, 1e-4F},
		{ids::PIXELFORMAT_RGB_F32, linear, ids::PIXELFORMAT_RGB_F32, film, scene, seen, 1e-4F},
		{ids::PIXELFORMAT_RGB_F32, film, ids::PIXELFORMAT_RGB_F32, linear, seen, scene, 1e-4F},
		{ids::PIXELFORMAT_RGBA_F16, film, ids::PIXELFORMAT_BGR_U8, turned, seen, {0.8F, 0.5F, 0.1F, 1}, 1.0F / 255},
		{ids::PIXELFORMAT_RGB_F32, linear, ids::PIXELFORMAT_RGB_F32, screen, scene, seen, 1e-3F},
	};
	const PixelFormat floats = GetPixelFormat(ids::PIXELFORMAT_RGBA_F32);
	const auto plain = [](const PixelFormat& to, void* out, const PixelFormat& from, const void* in)
	{
		const PixelBuffer source(static_cast<const Byte*>(in), from->GetBitsPerPixel(), &from->GetChannelOffsets(), from);
		const PixelBuffer destination(static_cast<Byte*>(out), to->GetBitsPerPixel(), &to->GetChannelOffsets(), to);
		TORVI_MUST(to->ConvertPixelFromSlow(destination, 1, source, nullptr, nullptr, false, 0));
	};
	for (const Case& test : cases)
	{
		const PixelFormat from = GetPixelFormat(test._source), to = GetPixelFormat(test._destination);
		Byte given[16], made[16];
		plain(from, given, floats, test._pixel.data());
		Bool isColorConverted = false;
		ColorProfile profile = test._to;
		const ConvertPixelFunc convert = TORVI_MUST(to->GetConvertPixelFunc(from, from->GetChannelOffsets(), to->GetChannelOffsets(),
																			&test._from, &profile, true, isColorConverted));
		EXPECT_TRUE(isColorConverted && profile == test._to);
		ASSERT_TRUE(convert(PixelBuffer(made, to->GetBitsPerPixel()), 1, PixelBuffer(given, from->GetBitsPerPixel()), 0).IsOk());
		Pixel result;
		plain(floats, result.data(), to, made);
		for (std::size_t i = 0; i < 4; ++i)
			EXPECT_NEAR(result[i], test._expected[i], test._tolerance)
				<< from->ToString() << " to " << test._to.ToString() << ", channel " << i;
	}

	Write("odd.ocio", "ocio_profile_version: 2\nroles: {default: odd}\ncolorspaces: [!<ColorSpace> {name: odd}]\n"
					  "displays: {Monitor: [!<View> {name: Plain, colorspace: odd}]}\n");
	const auto conversions = FindDeclared<ColorProfileConvertStaticInterface>(ids::INTERFACE_COLORPROFILECONVERT);
	const ColorProfile odd = TORVI_MUST(ColorProfile::CreateProfile(Load("odd.ocio"), "odd"));
	const Error error = conversions->Init(floats, odd, floats, srgb, {}, 0).TakeError();
	EXPECT_NE(error.GetMessage().find("has no colour space that is known as sRGB"), std::string_view::npos) << error.ToString();
	EXPECT_TRUE(TORVI_MUST(conversions->InitGPU(linear, film, 0, 0))->GetGpuHandler());
}

/// A run of more than one chunk: value c of pixel i is `given`(i, c), and becomes `expected`(i, c). What lies between the pixels stays.
template <class T, class Given, class Expected>
void CheckRun(const OcioProcessorRef& processor, Int distance, const Given& given, const Expected& expected)
{
	constexpr Int COUNT = 700;
	const Int step = std::abs(distance) / Int(sizeof(T));
	std::vector<T> run(static_cast<std::size_t>(step * COUNT), T(77));
	for (Int i = 0; i < COUNT * 3; ++i)
		run[static_cast<std::size_t>(i / 3 * step + i % 3)] = given(i / 3, i % 3);
	ASSERT_TRUE(processor->ConvertPixels(distance > 0 ? run.data() : run.data() + (COUNT - 1) * step, distance, COUNT, 0).IsOk());
	for (Int i = 0; i < COUNT * step; ++i)
		ASSERT_EQ(run[static_cast<std::size_t>(i)], i % step < 3 ? expected(i / step, i % step) : T(77)) << distance << " " << i;
}

TEST_F(Ocio, RunsKeepWhatLiesBetweenTheirPixels)
{
	const OcioProcessorRef floats = TORVI_MUST(_config->CreateConversionFunction("turned", "light", 0));
	for (const Int distance : {12, 16, 20, -16})
		CheckRun<Float32>(
			floats, distance, [](Int i, Int c) { return Float32(i * 3 + c); }, [](Int i, Int c) { return Float32(i * 3 + (c + 1) % 3); });
	const OcioProcessorRef bytes = TORVI_MUST(_config->CreateConversionFunction("sRGB", "light", OcioConfigInterface::OPTION_EIGHT_BIT));
	for (const Int distance : {3, 4, 7})
		CheckRun<UChar>(
			bytes, distance, [](Int i, Int c) { return static_cast<UChar>(i + c); },
			[](Int i, Int c) { return static_cast<UChar>(std::lround(255 * Decode(Float32(static_cast<UChar>(i + c)) / 255))); });
}

TEST_F(Ocio, OddRunsAreRefusedOrLeftAlone)
{
	const OcioProcessorRef floats = TORVI_MUST(_config->CreateConversionFunction("turned", "light", 0));
	Color color = {1, 2, 3};
	EXPECT_TRUE(floats->ConvertPixels(color.data(), 0, 1000, 0).IsOk()); // one pixel, converted once
	EXPECT_EQ(color, Color({2, 3, 1}));
	EXPECT_EQ(floats->ConvertPixels(color.data(), 8, 2, 0).GetError().GetId(), errorids::ILLEGALARGUMENT);
	EXPECT_TRUE(floats->ConvertPixels(color.data(), 12, 0, 0).IsOk());
	EXPECT_TRUE(floats->ConvertPixels(color.data(), 12, -1, 0).IsOk());
	EXPECT_EQ(color, Color({2, 3, 1}));
	EXPECT_EQ(floats->ConvertPixels(static_cast<Float32*>(nullptr), 12, 1, 0).GetError().GetId(), errorids::NULLPTR);
	UChar bytes[3] = {};
	EXPECT_EQ(floats->ConvertPixels(bytes, 3, 1, 0).GetError().GetId(), errorids::ILLEGALSTATE);
	EXPECT_EQ(floats->GetGpuHandler().GetError().GetId(), errorids::ILLEGALSTATE);
}

TEST_F(Ocio, FindsOrMakesSrgbAndItsLinearLight)
{
	EXPECT_STREQ(TORVI_MUST(_config->GetColorSpaceName(0)), "sRGB");
	EXPECT_STREQ(TORVI_MUST(_config->GetColorSpaceName(1)), "light");
	EXPECT_EQ(_config->GetColorSpaceName(2).GetError().GetId(), errorids::ILLEGALARGUMENT);

	Write("old.ocio", OLD_CONFIG);
	const OcioConfigRef old = Load("old.ocio"); // its scene is linear, but not the light of its sRGB
	EXPECT_STREQ(TORVI_MUST(old->GetColorSpaceName(0)), "sRGB");
	const CString made = TORVI_MUST(old->GetColorSpaceName(1));
	ExpectColor(old->CreateConversionFunction("sRGB", made, 0), {0.5F, 0.02F, 1}, {Decode(0.5F), Decode(0.02F), 1}, 1e-4F);
	ExpectColor(old->CreateConversionFunction(made, "wide", 0), {1, 1, 1}, {0.5F, 0.25F, 1}, 1e-4F);

	Write("aces.ocio", R"(ocio_profile_version: 2
roles: {default: AP0, aces_interchange: AP0, scene_linear: AP0}
displays: {Monitor: [!<View> {name: Plain, colorspace: AP0}]}
colorspaces: [!<ColorSpace> {name: AP0}]
)");
	const OcioConfigRef aces = Load("aces.ocio");
	const CString srgb = TORVI_MUST(aces->GetColorSpaceName(0));
	ExpectColor(aces->CreateConversionFunction(srgb, "AP0", 0), {1, 0, 0}, {0.43963F, 0.08978F, 0.01754F});
	ExpectColor(aces->CreateConversionFunction(srgb, TORVI_MUST(aces->GetColorSpaceName(1)), 0), {0.5F, 0, 1}, {Decode(0.5F), 0, 1});
}

TEST_F(Ocio, IccProfilesBecomeDisplays)
{
	const Url icc = WriteIcc("screen.icc", 2.0, L"Screen $1");
	const CString name = TORVI_MUST(_config->AddIccDisplayProfile(icc));
	EXPECT_STREQ(name, "Screen _1");
	EXPECT_EQ(TORVI_MUST(_config->AddIccDisplayProfile(icc)), name);
	// Through the view transform that the configuration has for displays, which halves.
	ExpectColor(_config->CreateConversionFunction("light", name, 0), {0.5F, 0.1F, 0.8F}, {0.5F, std::sqrt(0.05F), std::sqrt(0.4F)}, 1e-3F);
	ExpectColor(_config->CreateConversionFunctionWithViewTransform("light", "Film", name, 0), {0.5F, 0.1F, 0.8F},
				{0.5F, std::sqrt(0.05F), std::sqrt(0.4F)}, 1e-3F);
	ExpectColor(_config->CreateConversionFunction("light", name, OcioConfigInterface::OPTION_REVERSE), {0.5F, 0.1F, 0.2F},
				{0.5F, 0.02F, 0.08F}, 1e-3F);

	const CString second = TORVI_MUST(_config->AddIccDisplayProfile(WriteIcc("other.icc", 1.8, L"Screen $1")));
	EXPECT_STREQ(second, "Screen _1 (2)");
	EXPECT_STREQ(name, "Screen _1");
	EXPECT_STREQ(TORVI_MUST(_config->AddIccDisplayProfile(WriteIcc("third.icc", 1.8, L"turned"))), "turned (2)");

	Write("old.ocio", OLD_CONFIG);
	const OcioConfigRef old = Load("old.ocio");
	const ColorProfile profile = TORVI_MUST(ColorProfile::CreateProfile(old, icc));
	EXPECT_EQ(profile.ToString(), "Screen _1 (OCIO)");
	const Float32 half = std::sqrt(Decode(0.5F));
	ExpectColor(old->CreateConversionFunction("sRGB", profile.GetRecord()->GetOcioName(), 0), {0.5F, 0.5F, 1}, {half, half, 1}, 2e-3F);
}

TEST_F(Ocio, WhatIsNoDisplayProfileIsRefused)
{
	Write("text.icc", "no profile at all");
	cmsToneCurve* const curve = cmsBuildGamma(nullptr, 2);
	const cmsHPROFILE grey = cmsCreateGrayProfile(cmsD50_xyY(), curve);
	cmsSaveProfileToFile(grey, (_folder / "grey.icc").c_str());
	cmsFreeToneCurve(curve);
	cmsCloseProfile(grey);
	for (const char* name : {"text.icc", "grey.icc", "none.icc", "luts/bent.spi1d"})
		EXPECT_FALSE(_config->AddIccDisplayProfile(UrlOf(name)).IsOk()) << name;
	EXPECT_TRUE(_config->IsEqual(*Load("config.ocio")));
}

TEST_F(Ocio, ProfilesRoundTripThroughTheirBytes)
{
	for (const ColorProfile& profile :
		 {TORVI_MUST(ColorProfile::CreateProfile(_config, "turned")), TORVI_MUST(ColorProfile::CreateProfile(_config, "Film", "Monitor"))})
	{
		const ColorProfile read = TORVI_MUST(ColorProfile::OpenProfileFromMemory(TORVI_MUST(profile.WriteProfileToMemory())));
		ASSERT_TRUE(read.GetOcioConfig());
		EXPECT_TRUE(read.GetOcioConfig()->IsEqual(*_config));
		EXPECT_STREQ(read.GetRecord()->GetOcioName(), profile.GetRecord()->GetOcioName());
		EXPECT_STREQ(read.GetRecord()->GetOcioSecondName(), profile.GetRecord()->GetOcioSecondName());
	}
	const Array<Byte> bytes = TORVI_MUST(TORVI_MUST(ColorProfile::CreateProfile(_config, "turned")).WriteProfileToMemory());
	std::filesystem::remove(_folder / "config.ocio");
	EXPECT_EQ(ColorProfile::OpenProfileFromMemory(bytes).GetError().GetId(), errorids::IO);
}

TEST_F(Ocio, EqualConfigurationsAreEqual)
{
	const OcioConfigRef same = Load("config.ocio");
	EXPECT_TRUE(_config->IsEqual(*same));
	EXPECT_EQ(_config->GetHashCodeImpl(), same->GetHashCodeImpl());
	std::string changed = CONFIG;
	Write("changed.ocio", changed.replace(changed.find("turned"), 6, "tilted"));
	EXPECT_FALSE(_config->IsEqual(*Load("changed.ocio")));

	const Url icc = WriteIcc("screen.icc", 2.0, L"Screen");
	TORVI_MUST(_config->AddIccDisplayProfile(icc));
	EXPECT_FALSE(_config->IsEqual(*same));
	TORVI_MUST(same->AddIccDisplayProfile(icc));
	EXPECT_TRUE(_config->IsEqual(*same));
	EXPECT_EQ(_config->Load(UrlOf("config.ocio")).GetError().GetId(), errorids::ILLEGALSTATE);
	EXPECT_EQ(_config->GetConfigUrl(), UrlOf("config.ocio"));
}

TEST_F(Ocio, ConfigurationsNeedNoFileAndTablesNoSearchPath)
{
	std::string text = CONFIG;
	const Ref<IoMemory> memory = TORVI_MUST(NewObject<IoMemory>(Array<Byte>(text.begin(), text.end())));
	const OcioConfigRef config = MakeConfig();
	ASSERT_TRUE(config->Load(TORVI_MUST(memory->GetUrl("config.ocio"))).IsOk());
	ExpectColor(config->CreateConversionFunction("turned", "light", 0), {1, 2, 3}, {2, 3, 1});
	Write("luts/beside.ocio", text.erase(text.find("search_path"), std::strlen("search_path: luts\n")));
	ExpectColor(Load("luts/beside.ocio")->CreateConversionFunction("bent", "light", 0), {0.25F, 0.5F, 0.75F}, {0.125F, 0.25F, 0.625F});
}

TEST_F(Ocio, DamagedConfigurationsAreRefused)
{
	EXPECT_EQ(TryLoad(UrlOf("none.ocio")).GetId(), errorids::IO);
	EXPECT_EQ(TryLoad(UrlOf("luts")).GetId(), errorids::IO);
	EXPECT_EQ(TryLoad(TORVI_MUST(Url::FromSystemPath("/dev/zero"))).GetId(), errorids::IO);
	EXPECT_EQ(TryLoad(Url()).GetId(), errorids::ILLEGALARGUMENT);
	const std::string whole = CONFIG;
	std::string without = CONFIG;
	without.replace(without.find("colorspace: sRGB"), 16, "colorspace: pink");
	const std::string deep = "ocio_profile_version: " + std::string(100'000, '[');
	const std::string loop = whole + "  - !<ColorSpace>\n    name: loop\n    to_scene_reference: !<GroupTransform>\n      children: &x\n"
									 "        - !<GroupTransform> {children: *x}\n";
	std::string doubles = "x0: &x0 [1, 2]\n";
	for (int i = 1; i < 40; ++i)
		doubles += Format("x@: &x@ [*x@, *x@]\n", i, i, i - 1, i - 1);
	for (const std::string& text :
		 {std::string(), loop, doubles + whole, std::string("\0\1\2\3", 4), std::string("ocio_profile_version: 9"), without, deep,
		  std::string("colorspaces: [1, 2"), whole.substr(0, whole.find("colorspaces:"))})
	{
		Write("damaged.ocio", text);
		const Error error = TryLoad(UrlOf("damaged.ocio"));
		EXPECT_EQ(error.GetId(), errorids::FILEFORMAT) << text.substr(0, 50) << error.ToString();
	}
	for (std::size_t length = 0; length < whole.size(); length += 7) // a cut text may be a smaller configuration
	{
		Write("damaged.ocio", std::string_view(whole).substr(0, length));
		const Error error = TryLoad(UrlOf("damaged.ocio"));
		EXPECT_TRUE(!error || error.GetId() == errorids::FILEFORMAT) << length << error.ToString();
	}
}

TEST_F(Ocio, MissingAndDamagedTablesFailWhereTheyAreNeeded)
{
	const Error error = _config->CreateConversionFunction("lost", "light", 0).TakeError();
	EXPECT_EQ(error.GetId(), errorids::IO);
	EXPECT_NE(error.GetMessage().find("lost.spi1d"), std::string_view::npos) << error.ToString();
	std::filesystem::create_symlink("/dev/zero", _folder / "luts/lost.spi1d"); // which has no end
	EXPECT_EQ(_config->CreateConversionFunction("lost", "light", 0).GetError().GetId(), errorids::IO);
	std::filesystem::remove(_folder / "luts/lost.spi1d");
	Write("luts/lost.spi1d", "no table");
	EXPECT_FALSE(_config->CreateConversionFunction("lost", "light", 0).IsOk());
	EXPECT_EQ(_config->CreateConversionFunction("nowhere", "light", 0).GetError().GetId(), errorids::ILLEGALSTATE);
	EXPECT_EQ(_config->CreateConversionFunction(nullptr, "light", 0).GetError().GetId(), errorids::NULLPTR);
	EXPECT_EQ(MakeConfig()->CreateConversionFunction("sRGB", "light", 0).GetError().GetId(), errorids::ILLEGALSTATE);
}

void AddView(std::string& config, std::string_view view)
{
	constexpr std::string_view PLAIN = "    - !<View> {name: Plain";
	config.insert(config.find(PLAIN), "    - !<View> " + std::string(view) + "\n");
}

void ExpectEndless(const Result<OcioProcessorRef>& processor)
{
	EXPECT_NE(processor.GetError().GetMessage().find("refer to each other"), std::string_view::npos) << processor.GetError().ToString();
}

/// Definitions that lead to each other, and a chain in which each step doubles the work.
TEST_F(Ocio, EndlessDefinitionsAreRefused)
{
	std::string text = CONFIG;
	const auto addSpace = [&](const std::string& name, const std::string& source, Int times)
	{
		text += "  - !<ColorSpace>\n    name: " + name + "\n    to_scene_reference: !<GroupTransform>\n      children:\n";
		for (Int i = 0; i < times; ++i)
			text += "        - !<ColorSpaceTransform> {src: " + source + ", dst: light}\n";
	};
	addSpace("hen", "egg", 1);
	addSpace("egg", "hen", 1);
	addSpace("double0", "turned", 2);
	for (int i = 1; i < 40; ++i)
		addSpace("double" + std::to_string(i), "double" + std::to_string(i - 1), 2);
	text +=
		"looks:\n  - !<Look> {name: mirror, process_space: light, transform: !<LookTransform> {src: light, dst: light, looks: +mirror}}\n";
	text += "named_transforms:\n  - !<NamedTransform> {name: self, transform: !<ColorSpaceTransform> {src: hen, dst: light}}\n";
	text += "  - !<NamedTransform> {name: seen, transform: !<DisplayViewTransform> {src: light, display: Monitor, view: Loop}}\n";
	AddView(text, "{name: Loop, colorspace: light, looks: +mirror}");
	Write("endless.ocio", text);
	const OcioConfigRef config = Load("endless.ocio");
	for (const char* name : {"hen", "egg", "double39", "self", "seen"})
		ExpectEndless(config->CreateConversionFunction(name, "light", 0));
	ExpectEndless(config->CreateConversionFunctionWithViewTransform("light", "Loop", "Monitor", 0));
	ExpectColor(config->CreateConversionFunction("double2", "light", 0), {1, 2, 3}, {3, 1, 2}); // turned eight times

	std::string view = CONFIG; // the way to the display leads over the display
	const std::size_t film = view.find("from_scene_reference");
	view.replace(film, view.find("display_colorspaces") - film, "from_scene_reference: !<ColorSpaceTransform> {src: light, dst: Screen}\n");
	Write("view.ocio", view);
	ExpectEndless(Load("view.ocio")->CreateConversionFunction("light", "Screen", 0));
	ExpectEndless(Load("view.ocio")->CreateConversionFunctionWithViewTransform("light", "Film", "Monitor", 0));
}

TEST_F(Ocio, ThreadsShareProcessorAndConfiguration)
{
	const OcioProcessorRef processor = TORVI_MUST(_config->CreateConversionFunction("bent", "turned", 0));
	const Url icc = WriteIcc("screen.icc", 2.0, L"Screen");
	std::atomic<Int> rightCount{0};
	const auto work = [&]()
	{
		for (int round = 0; round < 20; ++round)
		{
			std::vector<Float32> run(3000, 0.5F);
			TORVI_MUST(processor->ConvertPixels(run.data(), 12, 1000, 0));
			const CString display = TORVI_MUST(_config->AddIccDisplayProfile(icc));
			const OcioProcessorRef other =
				TORVI_MUST(_config->CreateConversionFunction(TORVI_MUST(_config->GetColorSpaceName(0)), display, 0));
			rightCount += std::ranges::all_of(run, [](Float32 value) { return value == 0.25F; }) && other;
		}
	};
	std::thread first(work);
	std::thread second(work);
	first.join();
	second.join();
	EXPECT_EQ(rightCount, 40);
}

TEST_F(Ocio, ShadersHaveFunctionAndTextures)
{
	const auto generate = [&](const char* source, UInt32 flags)
	{
		const OcioProcessorRef processor = TORVI_MUST(_config->CreateGpuProcessor(source, "light", flags, 0));
		Float32 pixel[3] = {};
		EXPECT_EQ(processor->ConvertPixels(pixel, 12, 1, 0).GetError().GetId(), errorids::ILLEGALSTATE);
		ColorProfileGpuShaderGeneratorRef generator = TORVI_MUST(TORVI_MUST(processor->GetGpuHandler())->CreateShaderGenerator());
		String program;
		EXPECT_EQ(generator->AddFactoryCode(program).GetError().GetId(), errorids::ILLEGALSTATE);
		TORVI_MUST(generator->Prepare());
		return generator;
	};
	const ColorProfileGpuShaderGeneratorRef bent = generate("bent", 0);
	EXPECT_EQ(bent->GetType(), "glsl");
	DataDictionary parameters;
	ASSERT_TRUE(bent->SetParameters(parameters).IsOk());
	String program = MakeString("// head\n");
	ASSERT_TRUE(bent->AddFactoryCode(program).IsOk());
	EXPECT_TRUE(program.starts_with("// head\n"));
	const String function = TORVI_MUST(parameters.Get<String>(ids::COLORPROFILEGPU_FUNCTION));
	EXPECT_NE(program.find(Format("vec4 @(", function)), String::npos) << program;

	const auto textures = TORVI_MUST(parameters.Get<Array<DataDictionary>>(ids::COLORPROFILEGPU_TEXTURES));
	ASSERT_EQ(textures.size(), 1U);
	const DataDictionary& texture = textures[0];
	EXPECT_NE(program.find(TORVI_MUST(texture.Get<String>(ids::COLORPROFILEGPU_SAMPLER))), String::npos);
	const Array<Byte> bytes = TORVI_MUST(texture.Get<Array<Byte>>(ids::COLORPROFILEGPU_VALUES));
	Int32 size = 4;
	for (const Id& key :
		 {ids::COLORPROFILEGPU_WIDTH, ids::COLORPROFILEGPU_HEIGHT, ids::COLORPROFILEGPU_DEPTH, ids::COLORPROFILEGPU_CHANNELS})
		size *= TORVI_MUST(texture.Get<Int32>(key));
	ASSERT_EQ(CountOf(bytes), size);
	Float32 middle = 0;
	std::memcpy(&middle, bytes.data() + size / 2 / 4 * 4, 4);
	EXPECT_EQ(middle, 0.25F);

	const auto specification = [](const ColorProfileGpuShaderGeneratorRef& generator)
	{ return TORVI_MUST(generator->GetProgramFacrorySpecification()); };
	EXPECT_EQ(specification(bent), specification(generate("bent", 0)));
	EXPECT_NE(specification(bent), specification(generate("bent", 1)));
	EXPECT_NE(specification(bent), specification(generate("turned", 0)));
}

TEST_F(Ocio, MemoryMayRunOut)
{
	const Url url = UrlOf("config.ocio");
	test::ForEachAllocationFailure(
		[&]() -> Result<void>
		{
			const OcioConfigRef config = TORVI_TRY(CreateObject<OcioConfigInterface>(ids::CLASS_OCIOCONFIG));
			TORVI_TRY(config->Load(url));
			TORVI_TRY(config->GetColorSpaceName(1));
			TORVI_TRY(config->CreateConversionFunction("turned", "light", 0));
			return OK;
		},
		[](const Result<void>& result, Bool hasFailed) {
			EXPECT_TRUE(result.IsOk() || (hasFailed && result.GetError().GetId() == errorids::OUTOFMEMORY)) << result.GetError().ToString();
		});
}

} // namespace
} // namespace torvi
