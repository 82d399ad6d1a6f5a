// Reading configurations and answering by name.
#include "platform/ocio/ocio_config_impl.h"

#include "platform/ocio/ocio_gpu_impl.h"
#include "platform/ocio/ocio_icc_display.h"
#include "platform/ocio/ocio_processor_impl.h"
#include "platform/ocio/ocio_spaces.h"
#include "platform/ocio/ocio_text_check.h"
#include "torvi/gfx_image_colorprofile.h"
#include "torvi/gfx_image_colorprofile_gpu.h"

#include <algorithm>
#include <filesystem>
#include <locale>
#include <sstream>

namespace torvi
{

namespace
{

constexpr std::size_t MAXIMUM_SIZE =
	4 * 1024 * 1024; ///< of a configuration's text, which takes a hundred times that while it is read; published ones have a tenth
constexpr UInt32 GPU_FLAG_REVERSE = 1;
constexpr std::string_view FILE_SCHEME = "file";

Result<std::string> ReadText(const Url& url)
{
	const InputStreamRef stream = TORVI_TRY(url.OpenInputStream());
	std::string text;
	Array<Byte> chunk(65536);
	for (;;)
	{
		const Int count = TORVI_TRY(stream->ReadEOS(chunk));
		text.append(reinterpret_cast<const char*>(chunk.data()), static_cast<std::size_t>(count));
		TORVI_CHECK(text.size() <= MAXIMUM_SIZE, FileFormatError("@ is too long for an OpenColorIO configuration.", url));
		if (count < CountOf(chunk))
			return text;
	}
}

Result<String> GetAbsolutePath(const Url& url)
{
	const String path = TORVI_TRY(url.GetSystemPath());
	std::error_code failure;
	const std::filesystem::path absolute = std::filesystem::absolute(std::string_view(path), failure);
	TORVI_CHECK(!failure, IoError("The path @ can not be made absolute.", path));
	return MakeString(absolute.native());
}

/// The folder that relative paths of the configuration start from; empty for one that is no file.
Result<std::string> GetWorkingFolder(const Url& url)
{
	if (url.GetScheme() != FILE_SCHEME)
		return std::string();
	const String path = TORVI_TRY(GetAbsolutePath(url));
	return std::filesystem::path(std::string_view(path)).parent_path().string();
}

ocio::ConstConfigRcPtr ParseConfig(const std::string& text, const std::string& folder)
{
	std::istringstream stream(text);
	stream.imbue(std::locale::classic());
	const ocio::ConfigRcPtr config = ocio::Config::CreateFromStream(stream)->createEditableCopy();
	if (!folder.empty())
		config->setWorkingDir(folder.c_str());
	if (*config->getSearchPath() == 0) // the folder itself then, which the library knows, but refuses to take as valid
		config->setSearchPath(".");
	config->validate();
	return config;
}

Result<ocio::ConstConfigRcPtr> ReadConfig(const Url& url)
{
	if (url.GetScheme() == FILE_SCHEME)
	{
		const String path = TORVI_TRY(url.GetSystemPath());
		TORVI_TRY(CheckRegularFile(path));
	}
	const std::string text = TORVI_TRY(ReadText(url));
	const std::string folder = TORVI_TRY(GetWorkingFolder(url));
	Result<ocio::ConstConfigRcPtr> config = CallOcio(
		[&]() -> Result<ocio::ConstConfigRcPtr>
		{
			TORVI_TRY(CheckOcioText(text));
			return ParseConfig(text, folder);
		});
	if (config.IsOk() || config.GetError().GetId() == errorids::OUTOFMEMORY)
		return config;
	return FileFormatError("@ is no OpenColorIO configuration: @", url, config.GetError().GetMessage());
}

/// A name for a display: what the profile calls itself, without the marks of variables. Names of colour spaces must not have those.
Result<String> ReadDisplayName(const Url& iccProfile)
{
	const ColorProfile profile = TORVI_TRY(ColorProfile::OpenProfileFromFile(iccProfile));
	TORVI_CHECK(profile.HasProfile(), FileFormatError("@ is no ICC profile.", iccProfile));
	String name = profile.GetInfo(ColorProfileInfo::DESCRIPTION);
	if (name.empty())
		name = iccProfile.GetName();
	std::ranges::replace_if(
		name, [](char c) { return c == '$' || c == '%'; }, '_');
	return name;
}

OcioPixelDepth DepthOf(UInt32 options)
{
	return (options & OcioConfigInterface::OPTION_EIGHT_BIT) != 0 ? OcioPixelDepth::EIGHT_BIT : OcioPixelDepth::FLOAT;
}

Bool IsReverse(UInt32 options)
{
	return (options & OcioConfigInterface::OPTION_REVERSE) != 0;
}

/// Null means "no view" further down.
const char* ViewOf(CString view)
{
	return view != nullptr ? view : "";
}

} // namespace

Result<void> OcioConfigImpl::Load(const Url& url)
{
	return CallOcio(
		[&]() -> Result<void>
		{
			TORVI_CHECK(!GetConfig(), IllegalStateError("The configuration @ is loaded already.", _url));
			ocio::ConstConfigRcPtr config = TORVI_TRY(ReadConfig(url));
			_identity = MakeString(config->getCacheID());
			_url = url;
			const std::lock_guard lock(_lock);
			_config = std::move(config);
			return OK;
		});
}

ocio::ConstConfigRcPtr OcioConfigImpl::GetConfig() const
{
	const std::lock_guard lock(_lock);
	return _config;
}

Result<void> OcioConfigImpl::FindSrgbSpaces() const
{
	TORVI_CHECK(_config, IllegalStateError("No configuration is loaded."));
	if (_hasSrgbSpaces)
		return OK;
	OcioSrgbSpaces spaces = FindOcioSrgbSpaces(_config);
	_config = std::move(spaces._config);
	_srgbName = std::move(spaces._srgb);
	_linearName = std::move(spaces._linear);
	_hasSrgbSpaces = true;
	return OK;
}

Result<CString> OcioConfigImpl::GetColorSpaceName(Int32 which) const
{
	return CallOcio(
		[&]() -> Result<CString>
		{
			TORVI_CHECK(which == 0 || which == 1, IllegalArgumentError("There is no colour space of the number @.", which));
			const std::lock_guard lock(_lock);
			TORVI_TRY(FindSrgbSpaces());
			const String& name = which == 0 ? _srgbName : _linearName;
			TORVI_CHECK(!name.empty(), IllegalStateError("The configuration @ has no colour space that is known as sRGB or linear.", _url));
			return name.c_str();
		});
}

Result<CString> OcioConfigImpl::AddIccDisplayProfile(const Url& iccProfile)
{
	return CallOcio(
		[&]() -> Result<CString>
		{
			const String name = TORVI_TRY(ReadDisplayName(iccProfile));
			const String path = TORVI_TRY(GetAbsolutePath(iccProfile));
			const std::lock_guard lock(_lock);
			TORVI_TRY(FindSrgbSpaces());
			if (const auto known = std::ranges::find(_displays, path, &IccDisplay::_path); known != _displays.end())
				return known->_name.c_str();
			IccDisplay display = {path, MakeUniqueSpaceName(*_config, name)};
			ocio::ConstConfigRcPtr config = AddOcioIccDisplay(_config, display._name.c_str(), path.c_str(), _linearName.c_str());
			_displays.push_back(std::move(display));
			_config = std::move(config);
			return _displays.back()._name.c_str();
		});
}

Result<ocio::ConstProcessorRcPtr> OcioConfigImpl::MakeTransform(const OcioTransformNames& names) const
{
	const ocio::ConstConfigRcPtr config = GetConfig();
	TORVI_CHECK(config, IllegalStateError("No configuration is loaded."));
	return MakeOcioTransform(config, names);
}

Result<OcioProcessorRef> OcioConfigImpl::CreateConversionFunction(CString source, CString destination, UInt32 options) const
{
	return CallOcio(
		[&]() -> Result<OcioProcessorRef> {
			return MakeOcioProcessor(*TORVI_TRY(MakeTransform({source, destination, nullptr, IsReverse(options)})), DepthOf(options));
		});
}

Result<OcioProcessorRef> OcioConfigImpl::CreateConversionFunctionWithViewTransform(CString source, CString view, CString display,
																				   UInt32 options) const
{
	return CallOcio(
		[&]() -> Result<OcioProcessorRef> {
			return MakeOcioProcessor(*TORVI_TRY(MakeTransform({source, display, ViewOf(view), IsReverse(options)})), DepthOf(options));
		});
}

Result<OcioProcessorRef> OcioConfigImpl::CreateGpuProcessor(CString source, CString destination, UInt32 flags1, UInt32) const
{
	const Bool isReverse = (flags1 & GPU_FLAG_REVERSE) != 0;
	return CallOcio(
		[&]() -> Result<OcioProcessorRef> {
			return MakeOcioGpuProcessor(*TORVI_TRY(MakeTransform({source, destination, nullptr, isReverse})));
		});
}

Result<OcioProcessorRef> OcioConfigImpl::CreateGpuProcessorWithViewTransform(CString source, CString view, CString display, UInt32 flags1,
																			 UInt32) const
{
	const Bool isReverse = (flags1 & GPU_FLAG_REVERSE) != 0;
	return CallOcio(
		[&]() -> Result<OcioProcessorRef> {
			return MakeOcioGpuProcessor(*TORVI_TRY(MakeTransform({source, display, ViewOf(view), isReverse})));
		});
}

Bool OcioConfigImpl::IsEqual(const ObjectInterface& other) const
{
	const auto* const config = dynamic_cast<const OcioConfigImpl*>(&other);
	if (config == nullptr || config == this)
		return config != nullptr;
	const std::scoped_lock lock(_lock, config->_lock);
	return static_cast<Bool>(_config) == static_cast<Bool>(config->_config) && _identity == config->_identity &&
		   _displays == config->_displays;
}

} // namespace torvi
