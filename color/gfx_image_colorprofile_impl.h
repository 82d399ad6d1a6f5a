// Colour profiles: the record behind a profile, and how records come to be.
#pragma once

#include "color/lcms_adapter.h"
#include "color/profile_map.h"
#include "torvi/gfx_image_colorprofile.h"

namespace torvi
{

/// What a record is made from: an ICC profile with its bytes, or the names of an OCIO transform. See the interface for the fields.
struct ColorProfileContent
{
	IccProfile _handle;
	Array<Byte> _data;
	UInt32 _crc = 0;
	String _description;
	OcioConfigRef _ocioConfig;
	String _name;
	String _secondName;
};

/// Never changes after it was made; may be used from any thread.
class ColorProfileRecordImpl final : public ColorProfileRecordInterface
{
public:
	explicit ColorProfileRecordImpl(ColorProfileContent&& content) noexcept : _content(std::move(content)) {}
	~ColorProfileRecordImpl() override { GetProfileMap().Remove(_mapNode); }

	Result<Array<Byte>> WriteProfile() override;
	String GetInfo(ColorProfileInfo selector) const override;
	UInt32 GetCrc() const override { return _content._crc; }
	Bool HasProfile() const override { return _content._handle != nullptr; }
	ColorSpace GetColorSpace() const override;
	OcioConfigRef GetOcioConfig() const override { return _content._ocioConfig; }
	Bool IsOcio() const override { return !HasProfile(); }
	CString GetOcioName() const override { return _content._name.c_str(); }
	CString GetOcioSecondName() const override { return _content._secondName.c_str(); }

	/// Valid as long as this record; null for an OCIO profile.
	cmsHPROFILE GetHandle() const noexcept { return _content._handle.get(); }
	ProfileMapNode& GetMapNode() noexcept { return _mapNode; }

private:
	ColorProfileContent _content;
	ProfileMapNode _mapNode;
};

using ColorProfileRecordImplRef = Ref<ColorProfileRecordImpl>;

/// A record of an ICC profile that was opened under `watch`, and its bytes; `crc` is that of the bytes. It is not in the map.
Result<ColorProfileRecordImplRef> MakeIccRecord(IccProfile handle, Array<Byte> data, UInt32 crc, const LcmsMemoryWatch& watch);

/// A record of an ICC file or an OCIO blob in memory. It is not in the map. NullptrError "mem is nullptr" for no bytes,
/// MediaSessionWrongTypeError "cmsOpenProfileFromMem failed.", or an error of the blob or of its configuration.
Result<ColorProfileRecordImplRef> ReadProfile(Block<const Byte> bytes, UInt32 crc);

/// The object behind the static functions of ColorProfile.
class ColorProfileStaticImpl final : public ColorProfileStaticInterface
{
public:
	Result<ColorProfile> OpenProfileFromFile(const Url& url) override;
	Result<ColorProfile> OpenProfileFromMemory(Block<const Byte> bytes) override;
	Result<ColorProfile> CreateColorSpaceProfile(const OcioConfigRef& config, CString name) override;
	Result<ColorProfile> CreateDisplayProfile(const OcioConfigRef& config, const Url& iccProfile) override;
	Result<ColorProfile> CreateDisplayViewProfile(const OcioConfigRef& config, CString secondName, CString name) override;
	Result<ColorProfile> CreateDisplayViewProfile(const ColorProfile* a, const ColorProfile* b) override;
};

} // namespace torvi
