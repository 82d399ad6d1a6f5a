// Opening, creating, writing and describing of colour profiles.
#include "color/gfx_image_colorprofile_impl.h"

#include "color/crc32c.h"
#include "color/ocio_blob.h"
#include "color/ocio_config_list.h"
#include "torvi/gfx_image_pixelformat.h"
#include "torvi/mediasession_errors.h"

#include <algorithm>
#include <array>

namespace torvi
{

namespace
{

/// The signature of an ICC file (ISO 15076-1, 7.2.11).
Bool HasIccMagic(Block<const Byte> bytes) noexcept
{
	constexpr std::array<Byte, 4> SIGNATURE = {'a', 'c', 's', 'p'};
	constexpr std::size_t OFFSET = 36;
	return bytes.size() >= OFFSET + SIGNATURE.size() && std::ranges::equal(bytes.subspan(OFFSET, SIGNATURE.size()), SIGNATURE);
}

Result<ColorProfileRecordImplRef> MakeRecord(ColorProfileContent content)
{
	return NewObject<ColorProfileRecordImpl>(std::move(content));
}

/// Profiles of one configuration and the same names are the same.
UInt32 CrcOfTransform(const ColorProfileContent& content) noexcept
{
	const auto hashOf = [](const String& text) { return HashText(text.data(), text.size()); };
	const std::array<UInt64, 3> words = {static_cast<UInt64>(reinterpret_cast<std::uintptr_t>(content._ocioConfig.GetPointer())),
										 hashOf(content._name), hashOf(content._secondName)};
	return Crc32c({reinterpret_cast<const Byte*>(words.data()), sizeof(words)});
}

Result<ColorProfileRecordImplRef> MakeOcioRecord(const OcioConfigRef& config, String name, String secondName, String description)
{
	ColorProfileContent content;
	content._description = std::move(description);
	content._ocioConfig = config;
	content._name = std::move(name);
	content._secondName = std::move(secondName);
	content._crc = CrcOfTransform(content);
	return MakeRecord(std::move(content));
}

/// The record of the same content that lives already, or this one.
ColorProfile ShareRecord(const ColorProfileRecordImplRef& record) noexcept
{
	return ColorProfile(GetProfileMap().FindOrInsert(record));
}

Result<ColorProfile> CreateTransformProfile(const OcioConfigRef& config, std::string_view secondName, std::string_view name)
{
	TORVI_CHECK(config, NullptrError("A profile of an OCIO configuration needs the configuration."));
	String description = secondName.empty() ? MakeString(name) : Format("(@, @)", secondName, name);
	return ShareRecord(TORVI_TRY(MakeOcioRecord(config, MakeString(name), MakeString(secondName), std::move(description))));
}

std::string_view TextOf(CString text) noexcept
{
	return text != nullptr ? std::string_view(text) : std::string_view();
}

/// An object of the host's class that has read the configuration, or an equal one that other profiles have; null for the empty path.
Result<OcioConfigRef> LoadOcioConfig(const String& path)
{
	if (path.empty())
		return OcioConfigRef();
	const Url url = TORVI_TRY(Url::FromSystemPath(path));
	const OcioConfigRef config = TORVI_TRY(CreateObject<OcioConfigInterface>(ids::CLASS_OCIOCONFIG));
	TORVI_TRY(config->Load(url));
	return GetOcioConfigList().FindOrInsert(config);
}

Result<ColorProfileRecordImplRef> ReadOcioProfile(Block<const Byte> bytes)
{
	OcioBlob blob = TORVI_TRY(ReadOcioBlob(bytes));
	const OcioConfigRef config = TORVI_TRY(LoadOcioConfig(blob._path));
	String description = FromUtf32(ToUtf32(blob._name)); // the name is any bytes, the description is text
	return MakeOcioRecord(config, std::move(blob._name), std::move(blob._secondName), std::move(description));
}

/// Profiles that call themselves sRGB differ in their bytes and mean the same: all of them become the built-in one. Null for other
/// profiles.
ColorProfile FindBuiltInEqual(const ColorProfileRecordImplRef& record)
{
	const String description = ToUpper(record->GetInfo(ColorProfileInfo::NAME));
	const auto holds = [&](const char* text) { return description.find(text) != String::npos; };
	return holds("SRGB IEC61966-2") && !holds("LINEAR") ? GetBuiltInColorProfile(ids::COLORPROFILE_SRGB) : ColorProfile();
}

/// The path of the configuration as the system writes it; empty for one that was not read from anywhere.
Result<String> GetConfigPath(const OcioConfigRef& config)
{
	const Url url = config->GetConfigUrl();
	if (url.IsEmpty())
		return String();
	return url.GetSystemPath();
}

Id ColorSpaceIdOf(cmsColorSpaceSignature signature) noexcept
{
	switch (signature)
	{
	case cmsSigRgbData:
		return ids::COLORSPACE_RGB;
	case cmsSigGrayData:
		return ids::COLORSPACE_GREY;
	case cmsSigCmykData:
		return ids::COLORSPACE_CMYK;
	case cmsSigYCbCrData:
		return ids::COLORSPACE_YUV;
	default:
		return Id();
	}
}

} // namespace

Result<Array<Byte>> ColorProfileRecordImpl::WriteProfile()
{
	return NoThrow(
		[&]() -> Result<Array<Byte>>
		{
			TORVI_CHECK(HasProfile() || _content._ocioConfig, IllegalStateError("no color profile"));
			if (HasProfile())
				return Array<Byte>(_content._data);
			String path = TORVI_TRY(GetConfigPath(_content._ocioConfig));
			return WriteOcioBlob({std::move(path), _content._name, _content._secondName});
		});
}

String ColorProfileRecordImpl::GetInfo(ColorProfileInfo selector) const
{
	switch (selector)
	{
	case ColorProfileInfo::DESCRIPTION:
		return ReadIccText(_content._handle, cmsInfoDescription);
	case ColorProfileInfo::MANUFACTURER:
		return ReadIccText(_content._handle, cmsInfoManufacturer);
	case ColorProfileInfo::MODEL:
		return ReadIccText(_content._handle, cmsInfoModel);
	case ColorProfileInfo::COPYRIGHT:
		return ReadIccText(_content._handle, cmsInfoCopyright);
	case ColorProfileInfo::NAME:
		return _content._description;
	case ColorProfileInfo::CONFIGPATH:
		return _content._ocioConfig ? GetConfigPath(_content._ocioConfig).ValueOr(String()) : String();
	}
	return String();
}

ColorSpace ColorProfileRecordImpl::GetColorSpace() const
{
	const Id id = IsOcio() ? ids::COLORSPACE_RGB : ColorSpaceIdOf(cmsGetColorSpace(GetHandle()));
	return id.IsEmpty() ? ColorSpace() : FindDeclared<ColorSpaceInterface>(id);
}

Result<ColorProfileRecordImplRef> MakeIccRecord(IccProfile handle, Array<Byte> data, UInt32 crc, const LcmsMemoryWatch& watch)
{
	ColorProfileContent content;
	content._handle = std::move(handle);
	content._description = ReadIccText(content._handle, cmsInfoDescription);
	TORVI_CHECK(!watch.HasFailed(), OutOfMemoryError());
	content._data = std::move(data);
	content._crc = crc;
	return MakeRecord(std::move(content));
}

Result<ColorProfileRecordImplRef> ReadProfile(Block<const Byte> bytes, UInt32 crc)
{
	TORVI_CHECK(!bytes.empty(), NullptrError("mem is nullptr"));
	if (!HasIccMagic(bytes) && HasOcioMagic(bytes))
		return ReadOcioProfile(bytes);
	Array<Byte> data(bytes.begin(), bytes.end());
	const LcmsMemoryWatch watch;
	IccProfile handle = OpenIccProfile(data);
	TORVI_CHECK(!watch.HasFailed(), OutOfMemoryError());
	TORVI_CHECK(handle, MediaSessionWrongTypeError("cmsOpenProfileFromMem failed."));
	return MakeIccRecord(std::move(handle), std::move(data), crc, watch);
}

Result<ColorProfile> ColorProfileStaticImpl::OpenProfileFromMemory(Block<const Byte> bytes)
{
	return NoThrow(
		[&]() -> Result<ColorProfile>
		{
			TORVI_CHECK(HasIccMagic(bytes) || HasOcioMagic(bytes),
						MediaSessionWrongTypeError("found invalid magic number in color profile."));
			const UInt32 crc = Crc32c(bytes);
			if (ColorProfileRecordImplRef known = GetProfileMap().Find(crc))
				return ColorProfile(known);
			const ColorProfileRecordImplRef record = TORVI_TRY(ReadProfile(bytes, crc));
			ColorProfile builtIn = FindBuiltInEqual(record);
			return builtIn.IsEmpty() ? ShareRecord(record) : std::move(builtIn);
		});
}

Result<ColorProfile> ColorProfileStaticImpl::OpenProfileFromFile(const Url& url)
{
	return NoThrow(
		[&]() -> Result<ColorProfile>
		{
			// The profile is opened anew from the bytes, so that the file does not stay open behind it.
			Array<Byte> data = TORVI_TRY(ReadIccStream(TORVI_TRY(url.OpenInputStream())));
			const UInt32 crc = Crc32c(data);
			ColorProfileRecordImplRef record = TORVI_TRY(ReadProfile(data, crc));
			ColorProfile builtIn = FindBuiltInEqual(record);
			return builtIn.IsEmpty() ? ColorProfile(record) : std::move(builtIn);
		});
}

Result<ColorProfile> ColorProfileStaticImpl::CreateColorSpaceProfile(const OcioConfigRef& config, CString name)
{
	return NoThrow([&]() { return CreateTransformProfile(config, {}, TextOf(name)); });
}

Result<ColorProfile> ColorProfileStaticImpl::CreateDisplayProfile(const OcioConfigRef& config, const Url& iccProfile)
{
	return NoThrow(
		[&]() -> Result<ColorProfile>
		{
			TORVI_CHECK(config, NullptrError("A profile of an OCIO configuration needs the configuration."));
			const CString name = TORVI_TRY(config->AddIccDisplayProfile(iccProfile));
			return CreateTransformProfile(config, {}, TextOf(name));
		});
}

Result<ColorProfile> ColorProfileStaticImpl::CreateDisplayViewProfile(const OcioConfigRef& config, CString secondName, CString name)
{
	return NoThrow([&]() { return CreateTransformProfile(config, TextOf(secondName), TextOf(name)); });
}

Result<ColorProfile> ColorProfileStaticImpl::CreateDisplayViewProfile(const ColorProfile* a, const ColorProfile* b)
{
	return NoThrow(
		[&]() -> Result<ColorProfile>
		{
			TORVI_CHECK(a != nullptr && b != nullptr, IllegalStateError("no profiles passed"));
			TORVI_CHECK(!a->IsEmpty() && !b->IsEmpty(), IllegalStateError("at least one profile is empty"));
			const OcioConfigRef config = a->GetOcioConfig();
			const OcioConfigRef other = b->GetOcioConfig();
			TORVI_CHECK(config && other && (config == other || config->IsEqual(*other)),
						IllegalStateError("both transforms must have been generated by the same OCIO config"));
			return CreateTransformProfile(config, a->GetInfo(ColorProfileInfo::NAME), b->GetInfo(ColorProfileInfo::NAME));
		});
}

} // namespace torvi
