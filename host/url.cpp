// Urls as values: taking their paths apart, and opening what they name.
#include "host/url.h"

#include "host/filestream.h"

namespace torvi
{

namespace
{

constexpr std::string_view FILE_SCHEME = "file";

/// The directory part of a path, with the "/" that ends it; empty if there is none.
std::string_view DirectoryPart(std::string_view path)
{
	return path.substr(0, path.rfind('/') + 1);
}

} // namespace

Result<Url> Url::FromSystemPath(std::string_view path)
{
	return Make(FILE_SCHEME, path, UrlProviderRef());
}

Result<Url> Url::Make(std::string_view scheme, std::string_view path, UrlProviderRef provider)
{
	return NoThrow(
		[&]() -> Result<Url>
		{
			Url url;
			url._scheme.assign(scheme);
			url._path.assign(path);
			url._provider = std::move(provider);
			return url;
		});
}

Result<InputStreamRef> Url::OpenInputStream() const
{
	TORVI_CHECK(!IsEmpty(), IllegalArgumentError("An empty Url can not be opened."));
	if (_provider)
		return NoThrow([&]() { return _provider->OpenInputStream(_path); });
	TORVI_CHECK(_scheme == FILE_SCHEME, IllegalArgumentError("The scheme \"@\" has no provider.", _scheme));
	return OpenFileForReading(_path);
}

Result<OutputStreamRef> Url::OpenOutputStream() const
{
	TORVI_CHECK(!IsEmpty(), IllegalArgumentError("An empty Url can not be opened."));
	if (_provider)
		return NoThrow([&]() { return _provider->OpenOutputStream(_path); });
	TORVI_CHECK(_scheme == FILE_SCHEME, IllegalArgumentError("The scheme \"@\" has no provider.", _scheme));
	return OpenFileForWriting(_path);
}

String Url::GetScheme() const
{
	return _scheme;
}

String Url::GetName() const
{
	return MakeString(std::string_view(_path).substr(DirectoryPart(_path).size()));
}

Result<void> Url::SetName(std::string_view name)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			_path.replace(DirectoryPart(_path).size(), String::npos, name);
			return OK;
		});
}

Result<Url> Url::GetDirectory() const
{
	std::string_view directory = DirectoryPart(_path);
	while (directory.size() > 1 && directory.ends_with('/')) // the root keeps its "/"
		directory.remove_suffix(1);
	return Make(_scheme, directory, _provider);
}

Result<void> Url::Append(std::string_view name)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			_path = Format("@@@", _path, _path.empty() || _path.ends_with('/') ? "" : "/", name);
			return OK;
		});
}

Bool Url::CheckSuffix(std::string_view suffix) const
{
	const std::string_view name = std::string_view(_path).substr(DirectoryPart(_path).size());
	if (name.size() <= suffix.size() || name[name.size() - suffix.size() - 1] != '.')
		return false;
	const std::string_view end = name.substr(name.size() - suffix.size());
	return NoThrow([&]() -> Result<Bool> { return ComparePart(end, suffix, StringCompareMode::CASEINSENSITIVE) == 0; }).ValueOr(false);
}

Result<String> Url::GetSystemPath() const
{
	TORVI_CHECK(_scheme == FILE_SCHEME, IllegalStateError("A Url of the scheme \"@\" has no path in the file system.", _scheme));
	return NoThrow([&]() -> Result<String> { return _path; });
}

String Url::ToString(std::string_view) const
{
	return _scheme.empty() || _scheme == FILE_SCHEME ? _path : Format("@:@", _scheme, _path);
}

UInt64 Url::GetHashCode() const
{
	const UInt64 path = CombineHash(HashText(_scheme.data(), _scheme.size()), HashText(_path.data(), _path.size()));
	return CombineHash(path, HashAddress(_provider.GetPointer()));
}

std::strong_ordering Url::Compare(const Url& other) const
{
	if (const int scheme = _scheme.compare(other._scheme); scheme != 0)
		return scheme <=> 0;
	if (const int path = _path.compare(other._path); path != 0)
		return path <=> 0;
	return std::compare_three_way()(_provider.GetPointer(), other._provider.GetPointer());
}

} // namespace torvi
