// Urls: where a stream comes from or goes to. A Url is a value: a scheme, a path with "/" between its parts, and the provider of the
// scheme. Files need no provider; memory and the schemes of tests bring theirs.
#pragma once

#include "host/datatype.h"
#include "host/stream.h"

namespace torvi
{

/// Opens the streams of one scheme.
class TORVI_EXPORT UrlProviderInterface : public virtual ObjectInterface
{
public:
	virtual Result<InputStreamRef> OpenInputStream(std::string_view path) = 0;
	/// Creates the target or cuts it to length 0.
	virtual Result<OutputStreamRef> OpenOutputStream(std::string_view path) = 0;
};

using UrlProviderRef = Ref<UrlProviderInterface>;

class TORVI_EXPORT Url
{
public:
	/// Empty.
	Url() noexcept = default;

	/// A file by its path as the system writes it. A relative path stays relative to the working directory.
	static Result<Url> FromSystemPath(std::string_view path);
	/// A place of a provider; `scheme` is without ":".
	static Result<Url> Make(std::string_view scheme, std::string_view path, UrlProviderRef provider);

	/// The host's io error if it cannot be opened; an illegal-argument error for the empty Url.
	Result<InputStreamRef> OpenInputStream() const;
	Result<OutputStreamRef> OpenOutputStream() const;

	Bool IsEmpty() const noexcept { return _path.empty(); }
	/// "file", "memory" or the provider's.
	String GetScheme() const;
	/// The last part of the path; empty if the path ends in "/".
	String GetName() const;
	/// Replaces the last part.
	Result<void> SetName(std::string_view name);
	/// All but the last part, with the same scheme.
	Result<Url> GetDirectory() const;
	/// Adds a part.
	Result<void> Append(std::string_view name);
	/// True if the name ends in "." and `suffix`, without regard to case. `suffix` is without the dot.
	Bool CheckSuffix(std::string_view suffix) const;
	/// The path as the system writes it; illegal-state error for a Url that is no file.
	Result<String> GetSystemPath() const;

	/// The path of a file, "scheme:path" else.
	String ToString(std::string_view format = {}) const;
	UInt64 GetHashCode() const;
	std::strong_ordering Compare(const Url& other) const;
	friend Bool operator==(const Url& a, const Url& b) { return a.Compare(b) == 0; }

private:
	String _scheme;
	String _path;
	UrlProviderRef _provider;
};

} // namespace torvi

TORVI_DATATYPE(torvi::Url, "net.torvi.datatype.url")
