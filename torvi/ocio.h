// OpenColorIO configurations as colour management uses them. The host provides the class ids::CLASS_OCIOCONFIG; where it does not, profiles
// of that kind cannot be opened, and ICC profiles are not concerned.
#pragma once

#include "host/url.h"

namespace torvi
{

class ColorProfileGpuInterface;

/// Converts pixels in place from one colour space of a configuration to another. Any number of threads may run it.
class TORVI_EXPORT OcioProcessorInterface : public virtual ObjectInterface
{
public:
	/// `count` pixels that begin with red, green and blue in float32, `distance` bytes from pixel to pixel. What follows blue is kept.
	/// `flags` is 0.
	virtual Result<void> ConvertPixels(Float32* pixels, Int distance, Int count, UInt32 flags) const = 0;
	/// The same in 8 bits, for processors made for them.
	virtual Result<void> ConvertPixels(UChar* pixels, Int distance, Int count, UInt32 flags) const = 0;
	/// For processors made with CreateGpuProcessor.
	virtual Result<Ref<ColorProfileGpuInterface>> GetGpuHandler() const = 0;
};

using OcioProcessorRef = Ref<OcioProcessorInterface>;

class OcioConfigInterface;
using OcioConfigRef = Ref<OcioConfigInterface>;

class TORVI_EXPORT OcioConfigInterface : public virtual ObjectInterface
{
public:
	/// Reads the configuration; called once on a new object. IsEqual tells whether two objects hold the same configuration.
	virtual Result<void> Load(const Url& url) = 0;
	virtual Url GetConfigUrl() const = 0;
	/// Makes an ICC display profile known to the configuration; gives the name it has there, which lives as long as the configuration.
	virtual Result<CString> AddIccDisplayProfile(const Url& iccProfile) = 0;
	/// The name of the sRGB colour space of the configuration (0) or of its linear one (1).
	virtual Result<CString> GetColorSpaceName(Int32 which) const = 0;

	static constexpr UInt32 OPTION_REVERSE = 1;    ///< from the destination to the source
	static constexpr UInt32 OPTION_EIGHT_BIT = 32; ///< for the 8-bit form of ConvertPixels

	/// From one colour space to another, by name.
	virtual Result<OcioProcessorRef> CreateConversionFunction(CString source, CString destination, UInt32 options) const = 0;
	/// From a colour space to a display, whose name is `display`, through one of its views.
	virtual Result<OcioProcessorRef> CreateConversionFunctionWithViewTransform(CString source, CString view, CString display,
																			   UInt32 options) const = 0;
	/// The same for a graphics processor. Bit 0 of `flags1`: from the destination to the source.
	virtual Result<OcioProcessorRef> CreateGpuProcessor(CString source, CString destination, UInt32 flags1, UInt32 flags2) const = 0;
	virtual Result<OcioProcessorRef> CreateGpuProcessorWithViewTransform(CString source, CString view, CString display, UInt32 flags1,
																		 UInt32 flags2) const = 0;
};

namespace ids
{
inline constexpr Id CLASS_OCIOCONFIG = "net.torvi.image.interface.ocioconfig";
} // namespace ids

} // namespace torvi
