// File formats, the handlers that open their files, and the service that finds the handlers which fit a file.
#pragma once

#include "host/data.h"
#include "host/delegate.h"
#include "host/url.h"

namespace torvi
{

namespace ids
{
/// Array of String: suffixes without the dot, in lower case, the main one first.
inline constexpr Id FILEFORMAT_COMMONSUFFIXES = "net.torvi.fileformat.commonsuffixes";
} // namespace ids

/// A format, by what its files hold. Immutable after the start.
class TORVI_EXPORT FileFormatInterface : public virtual DataDictionaryObjectInterface
{
public:
	/// Whether the file is of this format. `stream` stands at the file's start and is this call's alone. False for a short file; an error
	/// only if reading failed.
	virtual Result<Bool> Detect(const Url& url, const InputStreamRef& stream) const = 0;
};

using FileFormatRef = Ref<FileFormatInterface>;

/// The base of all file format classes.
class TORVI_EXPORT FileFormatBaseImpl : public DataDictionaryObjectImpl, public virtual FileFormatInterface
{
public:
	/// Function-not-implemented error.
	Result<Bool> Detect(const Url& url, const InputStreamRef& stream) const override;
};

/// Ties a format to the class of objects that open its files.
class TORVI_EXPORT FileFormatHandlerInterface : public virtual ObjectInterface
{
public:
	virtual Result<FileFormatRef> GetFileFormat() const = 0;
	/// The data type of the reference that CreateHandler's object is used through.
	virtual DataType GetHandlerType() const = 0;
	/// An object that is ready to open `url`; it opens nothing yet.
	virtual Result<ObjectRef> CreateHandler(const Url& url) const = 0;
	/// Handlers are tried in ascending order of this number, then in order of registration.
	virtual Int GetDependends() const = 0;
};

using FileFormatHandlerRef = Ref<FileFormatHandlerInterface>;

namespace FileFormatDetection
{
/// Called for a handler whose format fits: true accepts it, false goes on, an error ends the search.
using TryHandler = Delegate<Result<Bool>(const FileFormatHandlerRef& handler)>;

/// The handlers of the wanted types whose format fits `url`, in order. With a `tryHandler` the walk ends at the first that it accepts,
/// which is then the only entry; without one all that fit are given. Each format gets a stream of its own. A file that cannot be opened is
/// the error of opening; a format that fails to read is passed over, unless memory ran out. `flags` is 0.
TORVI_EXPORT Result<Array<FileFormatHandlerRef>> DetectAll(const Url& url, Block<const DataType> types, UInt32 flags,
														   const TryHandler& tryHandler);
} // namespace FileFormatDetection

class Module;
/// The class net.torvi.class.fileformatbase.
Result<void> RegisterFileFormatBase(Module& module);

} // namespace torvi
