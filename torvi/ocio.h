// OpenColorIO configurations as colour management uses them. The host provides the class ids::CLASS_OCIOCONFIG; where it does not, profiles
// of that kind cannot be opened, and ICC profiles are not concerned.
#pragma once

#include "host/url.h"

namespace torvi
{

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
};

namespace ids
{
inline constexpr Id CLASS_OCIOCONFIG = "net.torvi.image.interface.ocioconfig";
} // namespace ids

} // namespace torvi
