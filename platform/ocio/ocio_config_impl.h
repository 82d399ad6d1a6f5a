// A configuration of OpenColorIO behind the interface that colour profiles ask for.
#pragma once

#include "platform/ocio/ocio_srgb_spaces.h"
#include "platform/ocio/ocio_transform.h"
#include "torvi/ocio.h"

#include <deque>
#include <mutex>

namespace torvi
{

/// After Load any number of threads may use it.
class OcioConfigImpl final : public OcioConfigInterface
{
public:
	/// File-format error for bytes that are no configuration, or one that contradicts itself; illegal-state error for a second call. Files
	/// that the configuration names are looked for from its own folder on, when they are needed.
	Result<void> Load(const Url& url) override;
	Url GetConfigUrl() const override { return _url; }
	/// The same file added again has the same name.
	Result<CString> AddIccDisplayProfile(const Url& iccProfile) override;
	Result<CString> GetColorSpaceName(Int32 which) const override;

	Result<OcioProcessorRef> CreateConversionFunction(CString source, CString destination, UInt32 options) const override;
	Result<OcioProcessorRef> CreateConversionFunctionWithViewTransform(CString source, CString view, CString display,
																	   UInt32 options) const override;
	Result<OcioProcessorRef> CreateGpuProcessor(CString source, CString destination, UInt32 flags1, UInt32 flags2) const override;
	Result<OcioProcessorRef> CreateGpuProcessorWithViewTransform(CString source, CString view, CString display, UInt32 flags1,
																 UInt32 flags2) const override;

	/// The same text, the same files behind it and the same displays added.
	Bool IsEqual(const ObjectInterface& other) const override;
	UInt64 GetHashCodeImpl() const override { return HashText(_identity.data(), _identity.size()); }
	std::pair<UInt64, UInt64> GetUniqueHashCodeImpl() const override { return {GetHashCodeImpl(), 43}; }

private:
	struct IccDisplay
	{
		String _path;
		String _name;

		friend Bool operator==(const IccDisplay&, const IccDisplay&) = default;
	};

	ocio::ConstConfigRcPtr GetConfig() const;
	Result<ocio::ConstProcessorRcPtr> MakeTransform(const OcioTransformNames& names) const;
	Result<void> FindSrgbSpaces() const;

	Url _url;
	String _identity; ///< the library's hash of what was loaded

	mutable std::mutex _lock;               ///< for what follows
	mutable ocio::ConstConfigRcPtr _config; ///< never changed; replaced when colour spaces join
	mutable Bool _hasSrgbSpaces = false;
	mutable String _srgbName;   ///< set once, as names are given away that live as long as this object
	mutable String _linearName; ///< the same
	std::deque<IccDisplay, HostAllocator<IccDisplay>> _displays;
};

} // namespace torvi
