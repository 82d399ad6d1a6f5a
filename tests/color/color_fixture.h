// A started module of colour profiles with the objects of other folders that it asks for: colour spaces and the host's OCIO configuration.
#pragma once

#include "color/lcms_adapter.h"
#include "host/module.h"
#include "torvi/gfx_image_colorprofile.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace torvi::test
{

/// Holds only its Url. A path with "missing" in it cannot be loaded; configurations of one Url are equal.
class FakeOcioConfig final : public OcioConfigInterface
{
public:
	Result<void> Load(const Url& url) override;
	Url GetConfigUrl() const override { return _url; }
	Result<CString> AddIccDisplayProfile(const Url& iccProfile) override;
	Result<CString> GetColorSpaceName(Int32 which) const override { return which == 0 ? "sRGB" : "linear"; }
	Bool IsEqual(const ObjectInterface& other) const override;
	Result<OcioProcessorRef> CreateConversionFunction(CString, CString, UInt32) const override { return NoProcessor(); }
	Result<OcioProcessorRef> CreateConversionFunctionWithViewTransform(CString, CString, CString, UInt32) const override
	{
		return NoProcessor();
	}
	Result<OcioProcessorRef> CreateGpuProcessor(CString, CString, UInt32, UInt32) const override { return NoProcessor(); }
	Result<OcioProcessorRef> CreateGpuProcessorWithViewTransform(CString, CString, CString, UInt32, UInt32) const override
	{
		return NoProcessor();
	}

	static Int s_loadCount;

private:
	static Result<OcioProcessorRef> NoProcessor() { return UnsupportedOperationError("No processors here."); }

	Url _url;
	String _displayName;
};

struct ColorTestHost
{
	HostServices _services;
	Module _module{_services};
};

class ColorTest : public ::testing::Test
{
protected:
	void SetUp() override { ASSERT_TRUE(Start().IsOk()); }
	void TearDown() override { Stop(); }

	Result<void> Start();
	void Stop() noexcept;

	/// A loaded configuration of that path.
	static OcioConfigRef MakeConfig(std::string_view path);

	std::optional<ColorTestHost> _host;
};

/// The bytes of an RGB profile with that gamma and text.
Array<Byte> MakeRgbProfile(const std::wstring& description, double gamma = 1.8);
Array<Byte> BytesOf(const IccProfile& profile);

/// "id: message", for comparisons.
std::string TextOf(const Error& error);

} // namespace torvi::test
