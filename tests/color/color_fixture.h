// A started module of colour with a host's OCIO configuration that notes what it is asked for.
#pragma once

#include "color/lcms_adapter.h"
#include "tests/support/host_scope.h"
#include "torvi/gfx_image_colorprofile_convert.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace torvi::test
{

/// Halves red, green and blue, whatever it was made for.
class FakeOcioProcessor final : public OcioProcessorInterface
{
public:
	Result<void> ConvertPixels(Float32* pixels, Int distance, Int count, UInt32 flags) const override;
	Result<void> ConvertPixels(UChar* pixels, Int distance, Int count, UInt32 flags) const override;
	Result<Ref<ColorProfileGpuInterface>> GetGpuHandler() const override;
};

/// Keeps what it was initialised with.
class FakeGpuHandler final : public ColorProfileGpuInterface
{
public:
	Result<void> Init(const ColorProfileGpuSetup& setup) override;
	Result<ColorProfileGpuShaderGeneratorRef> CreateShaderGenerator() override { return UnsupportedOperationError("No shaders here."); }

	ColorProfileGpuSetup _setup;
};

/// Holds only its Url. A path with "missing" in it cannot be loaded; configurations of one Url are equal.
class FakeOcioConfig final : public OcioConfigInterface
{
public:
	Result<void> Load(const Url& url) override;
	Url GetConfigUrl() const override { return _url; }
	Result<CString> AddIccDisplayProfile(const Url& iccProfile) override;
	Result<CString> GetColorSpaceName(Int32 which) const override { return which == 0 ? "sRGB" : "linear"; }
	Bool IsEqual(const ObjectInterface& other) const override;
	/// Make a FakeOcioProcessor and note the call; a source named "broken" fails.
	Result<OcioProcessorRef> CreateConversionFunction(CString source, CString destination, UInt32 options) const override;
	Result<OcioProcessorRef> CreateConversionFunctionWithViewTransform(CString source, CString view, CString display,
																	   UInt32 options) const override;
	Result<OcioProcessorRef> CreateGpuProcessor(CString source, CString destination, UInt32 flags1, UInt32 flags2) const override;
	Result<OcioProcessorRef> CreateGpuProcessorWithViewTransform(CString source, CString view, CString display, UInt32 flags1,
																 UInt32 flags2) const override;

	static Int s_loadCount;
	static std::string s_lastCall; ///< "source > destination (view) flags"

private:
	Url _url;
	String _displayName;
};

/// A started module of colour over the pixel formats, with FakeOcioConfig as the host's class of configurations.
class ColorTest : public ::testing::Test
{
protected:
	ColorTest() { Start(); }
	~ColorTest() override { _host.reset(); }

	void Start();

	/// A loaded configuration of that path.
	static OcioConfigRef MakeConfig(std::string_view path = "/ocio/config.ocio");

	std::optional<HostScope> _host;
};

class ConversionTest : public ColorTest
{
protected:
	/// A profile of its own: RGB with a gamma of 1.8.
	static ColorProfile MakeWideProfile();
	static ColorProfile MakeCmykProfile();
	static PixelFormat FormatOf(std::string_view shortName);
	static Ref<ColorProfileConvertStaticInterface> GetConversions();
	/// Init with perceptual intent; fails the test on an error and gives null.
	static ColorProfileConvert MakeConversion(std::string_view source, const ColorProfile& srcProfile, std::string_view destination,
											  const ColorProfile& dstProfile, UInt32 flags = 0);
	/// All packed pixels of `pixels`; the destination is filled with 0xA5 before.
	static std::vector<Byte> Convert(std::string_view source, const ColorProfile& srcProfile, std::string_view destination,
									 const ColorProfile& dstProfile, const std::vector<Byte>& pixels, UInt32 flags = 0);
	/// "id: message" of an Init that must fail.
	static std::string FailureOf(std::string_view source, const ColorProfile& srcProfile, std::string_view destination,
								 const ColorProfile& dstProfile, COLORCONVERSIONINTENT intent = COLORCONVERSIONINTENT::PERCEPTUAL);

	ColorProfile _srgb = GetBuiltInColorProfile(ids::COLORPROFILE_SRGB), _linear = GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB),
				 _wide = MakeWideProfile();
};

/// The packed bytes of pixels whose values are of type T.
template <class T>
std::vector<Byte> BytesOfValues(std::initializer_list<T> values)
{
	const auto* const first = reinterpret_cast<const Byte*>(values.begin());
	return std::vector<Byte>(first, first + values.size() * sizeof(T));
}

/// As Convert.
std::vector<Byte> ConvertPacked(const ColorProfileConvert& conversion, const std::vector<Byte>& source, const PixelFormat& srcFormat,
								const PixelFormat& dstFormat);

/// The bytes of an RGB profile with that gamma and text.
Array<Byte> MakeRgbProfile(const std::wstring& description, double gamma = 1.8);
Array<Byte> BytesOf(const IccProfile& profile);

/// "id: message", for comparisons.
std::string TextOf(const Error& error);

} // namespace torvi::test
