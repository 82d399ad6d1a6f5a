// Colour profiles: what the numbers of an image mean. A ColorProfile is a small value that may be empty, with a shared immutable record
// behind it: an ICC profile (ISO 15076-1), or a named transform of an OpenColorIO configuration. Values may be used from any thread.
#pragma once

#include "host/dataserialize.h"
#include "host/registry.h"
#include "host/url.h"
#include "torvi/ocio.h"

#include <atomic>

namespace torvi
{

class ColorProfile;
class ColorSpaceInterface;
class PixelFormatInterface;
using ColorSpace = Ref<ColorSpaceInterface>;

/// The texts that a profile carries.
enum class ColorProfileInfo : UInt32
{
	DESCRIPTION = 0,
	MANUFACTURER = 1,
	MODEL = 2,
	COPYRIGHT = 3,
	NAME = 4,       ///< the record's own description
	CONFIGPATH = 5, ///< system path of the OCIO configuration
};

/// The record behind a profile. Two values with the same record are equal; equal bytes opened from memory have the same record.
class TORVI_EXPORT ColorProfileRecordInterface : public virtual ObjectInterface
{
public:
	/// The profile's byte form: an ICC file, or the OCIO blob. IllegalStateError "no color profile"; UnknownError for a failure of the
	/// library.
	virtual Result<Array<Byte>> WriteProfile() = 0;
	/// The empty text for an unknown selector.
	virtual String GetInfo(ColorProfileInfo selector) const = 0;
	/// CRC-32C of the content; the identity of the record.
	virtual UInt32 GetCrc() const = 0;
	/// An ICC profile that is open.
	virtual Bool HasProfile() const = 0;
	/// Null where the profile's model is none of ours.
	virtual ColorSpace GetColorSpace() const = 0;
	virtual OcioConfigRef GetOcioConfig() const = 0;
	/// True for a transform of an OCIO configuration.
	virtual Bool IsOcio() const = 0;
	virtual CString GetOcioName() const = 0;
	/// The view, of a display and view transform; else empty.
	virtual CString GetOcioSecondName() const = 0;
};

/// Static: declared under ids::INTERFACE_COLORPROFILESTATIC.
class TORVI_EXPORT ColorProfileStaticInterface : public virtual ObjectInterface
{
public:
	virtual Result<ColorProfile> OpenProfileFromFile(const Url& url) = 0;
	virtual Result<ColorProfile> OpenProfileFromMemory(Block<const Byte> bytes) = 0;
	virtual Result<ColorProfile> CreateColorSpaceProfile(const OcioConfigRef& config, CString name) = 0;
	virtual Result<ColorProfile> CreateDisplayProfile(const OcioConfigRef& config, const Url& iccProfile) = 0;
	virtual Result<ColorProfile> CreateDisplayViewProfile(const OcioConfigRef& config, CString secondName, CString name) = 0;
	/// From two profiles of one configuration; neither may be null.
	virtual Result<ColorProfile> CreateDisplayViewProfile(const ColorProfile* a, const ColorProfile* b) = 0;
};

namespace ids
{
inline constexpr Id INTERFACE_COLORPROFILESTATIC = "net.torvi.image.interface.colorprofile";
inline constexpr Id REGISTRY_COLORPROFILES = "net.torvi.image.registry.colorprofiles";
inline constexpr Id COLORPROFILE_NONE = "net.torvi.image.colorprofile.none";
inline constexpr Id COLORPROFILE_SRGB = "net.torvi.image.colorprofile.srgb";
inline constexpr Id COLORPROFILE_SGREY = "net.torvi.image.colorprofile.sgrey";
inline constexpr Id COLORPROFILE_CMYKDEFAULT = "net.torvi.image.colorprofile.cmykdefault";
inline constexpr Id COLORPROFILE_YUVDEFAULT = "net.torvi.image.colorprofile.yuvdefault";
inline constexpr Id COLORPROFILE_LINEARRGB = "net.torvi.image.colorprofile.linear_rgb";
inline constexpr Id COLORPROFILE_LINEARGREY = "net.torvi.image.colorprofile.linear_grey";
} // namespace ids

class ColorProfile
{
public:
	/// The null profile.
	ColorProfile() noexcept = default;
	explicit ColorProfile(Ref<ColorProfileRecordInterface> record) noexcept : _record(std::move(record)) {}

	/// The same record, or both empty. The monitor mode does not count.
	Bool IsEqual(const ColorProfile& other) const noexcept { return _record == other._record; }
	friend Bool operator==(const ColorProfile& a, const ColorProfile& b) noexcept { return a.IsEqual(b); }
	Bool IsEmpty() const noexcept { return !_record; }

	/// MediaSessionWrongTypeError for bytes that are no profile; see the messages there. Every sRGB profile opens as the built-in one.
	static Result<ColorProfile> OpenProfileFromFile(const Url& url) { return TORVI_TRY(GetStatic())->OpenProfileFromFile(url); }
	static Result<ColorProfile> OpenProfileFromMemory(Block<const Byte> bytes)
	{
		return TORVI_TRY(GetStatic())->OpenProfileFromMemory(bytes);
	}
	/// A colour space of an OCIO configuration.
	static Result<ColorProfile> CreateProfile(const OcioConfigRef& config, CString name)
	{
		return TORVI_TRY(GetStatic())->CreateColorSpaceProfile(config, name);
	}
	/// An ICC display profile that the configuration adds to itself.
	static Result<ColorProfile> CreateProfile(const OcioConfigRef& config, const Url& iccProfile)
	{
		return TORVI_TRY(GetStatic())->CreateDisplayProfile(config, iccProfile);
	}
	/// A display and view transform.
	static Result<ColorProfile> CreateProfile(const OcioConfigRef& config, CString secondName, CString name)
	{
		return TORVI_TRY(GetStatic())->CreateDisplayViewProfile(config, secondName, name);
	}
	/// The same from two profiles of one configuration.
	static Result<ColorProfile> CreateProfile(const ColorProfile& a, const ColorProfile& b)
	{
		return TORVI_TRY(GetStatic())->CreateDisplayViewProfile(&a, &b);
	}

	/// IllegalStateError "no profile found" for the null profile.
	Result<Array<Byte>> WriteProfileToMemory() const
	{
		TORVI_CHECK(_record, IllegalStateError("no profile found"));
		return _record->WriteProfile();
	}
	Result<void> WriteProfileToFile(const Url& url) const
	{
		const Array<Byte> bytes = TORVI_TRY(WriteProfileToMemory());
		const OutputStreamRef stream = TORVI_TRY(url.OpenOutputStream());
		TORVI_TRY(stream->Write(bytes));
		return stream->Close();
	}
	String GetInfo(ColorProfileInfo selector) const { return _record ? _record->GetInfo(selector) : String(); }
	/// 0 for the null profile.
	UInt32 GetCrc() const { return _record ? _record->GetCrc() : 0; }
	Bool HasProfile() const { return _record && _record->HasProfile(); }
	/// True for the null profile, and where the colour space is that of the format.
	Bool CheckCompatiblePixelFormat(const PixelFormatInterface& format) const;
	/// A mark of the value, not of the record; copies carry it.
	Bool IsMonitorProfileMode() const noexcept { return _monitorMode.Get(); }
	UInt64 GetHashCode() const { return GetCrc(); }
	std::pair<UInt64, UInt64> GetUniqueHashCode() const
	{
		return _record ? std::pair<UInt64, UInt64>(GetCrc(), 42) : std::pair<UInt64, UInt64>();
	}
	/// Null for the null profile and for profiles of another model; an OCIO profile is always rgb.
	ColorSpace GetColorSpace() const;
	/// "<<no profile>>", "@ (OCIO)" with the description, or the ICC description.
	String ToString(std::string_view = {}) const
	{
		if (!_record)
			return MakeString("<<no profile>>");
		return _record->IsOcio() ? Format("@ (OCIO)", _record->GetInfo(ColorProfileInfo::NAME))
								 : _record->GetInfo(ColorProfileInfo::DESCRIPTION);
	}
	OcioConfigRef GetOcioConfig() const { return _record ? _record->GetOcioConfig() : OcioConfigRef(); }
	Bool IsOcioDisplayViewTransform() const { return _record && _record->GetOcioSecondName()[0] != 0; }
	/// Always true. Threads may set and ask for the mode of one value at once.
	Bool SetMonitorProfileMode(Bool monitorMode) noexcept
	{
		_monitorMode.Set(monitorMode);
		return true;
	}
	/// One element "_profile", the bytes of WriteProfileToMemory.
	Result<void> DescribeIO(DataSerialize& serializer)
	{
		Array<Byte> bytes;
		if (!serializer.IsReading())
			bytes = TORVI_TRY(WriteProfileToMemory());
		TORVI_TRY(serializer.DescribeElement("_profile", bytes));
		if (serializer.IsReading())
			*this = TORVI_TRY(OpenProfileFromMemory(bytes));
		return OK;
	}

	const Ref<ColorProfileRecordInterface>& GetRecord() const noexcept { return _record; }

private:
	static Result<Ref<ColorProfileStaticInterface>> GetStatic()
	{
		Ref<ColorProfileStaticInterface> object = FindDeclared<ColorProfileStaticInterface>(ids::INTERFACE_COLORPROFILESTATIC);
		TORVI_CHECK(object, IllegalStateError("Colour profiles are not available."));
		return object;
	}

	/// A flag that may be set while others read it.
	class MonitorMode
	{
	public:
		MonitorMode() noexcept = default;
		MonitorMode(const MonitorMode& other) noexcept : _isSet(other.Get()) {}
		MonitorMode& operator=(const MonitorMode& other) noexcept
		{
			Set(other.Get());
			return *this;
		}
		Bool Get() const noexcept { return _isSet.load(std::memory_order_relaxed); }
		void Set(Bool isSet) noexcept { _isSet.store(isSet, std::memory_order_relaxed); }

	private:
		std::atomic<Bool> _isSet{false};
	};

	Ref<ColorProfileRecordInterface> _record;
	MonitorMode _monitorMode;
};

/// An entry of the registry of built-in profiles.
class ColorProfileObject final : public ObjectInterface
{
public:
	explicit ColorProfileObject(ColorProfile profile) : _profile(std::move(profile)) {}
	const ColorProfile& GetProfile() const noexcept { return _profile; }
	String ToString(std::string_view format) const override { return _profile.ToString(format); }

private:
	ColorProfile _profile;
};

/// The built-in profile of that id; the null profile if there is none.
inline ColorProfile GetBuiltInColorProfile(const Id& id)
{
	const Ref<ColorProfileObject> object = FindDeclared<ColorProfileObject>(id);
	return object ? object->GetProfile() : ColorProfile();
}

} // namespace torvi

TORVI_DATATYPE(torvi::ColorProfile, "net.torvi.image.interface.colorprofile")
