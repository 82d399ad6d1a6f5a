// Errors: an id, a message, a cause and the place they were made. An Error is a move-only handle to a shared record; Share gives a
// second handle, for the few places that remember a failure.
#pragma once

#include "host/id.h"
#include "host/sourcelocation.h"
#include "host/string.h"

#include <atomic>

namespace torvi
{

namespace errorids
{
inline constexpr Id ILLEGALARGUMENT = "net.torvi.error.illegalargument";
inline constexpr Id ILLEGALSTATE = "net.torvi.error.illegalstate";
inline constexpr Id NULLPTR = "net.torvi.error.nullptr";
inline constexpr Id OUTOFMEMORY = "net.torvi.error.outofmemory";
inline constexpr Id FUNCTIONNOTIMPLEMENTED = "net.torvi.error.functionnotimplemented";
inline constexpr Id UNSUPPORTEDOPERATION = "net.torvi.error.unsupportedoperation";
inline constexpr Id FILEFORMAT = "net.torvi.error.fileformat";
inline constexpr Id IO = "net.torvi.error.io";
inline constexpr Id UNKNOWN = "net.torvi.error.unknown";
inline constexpr Id SYSTEM = "net.torvi.error.system";
inline constexpr Id UNREGISTEREDDATATYPE = "net.torvi.error.unregistereddatatype";
inline constexpr Id OPERATIONCANCELLED = "net.torvi.error.operationcancelled";
/// A dictionary, description or registry has no entry of that key.
inline constexpr Id KEYNOTFOUND = "net.torvi.error.keynotfound";
/// A value has another data type than the one that was asked for.
inline constexpr Id WRONGDATATYPE = "net.torvi.error.wrongdatatype";
} // namespace errorids

/// A message text together with the place in the source that it was written at.
struct ErrorMessage
{
	ErrorMessage(const char* text = "", SourceLocation location = SourceLocation::current()) : _text(text), _location(location) {}

	const char* _text;
	SourceLocation _location;
};

class [[nodiscard]] Error
{
public:
	/// No error.
	Error() noexcept = default;
	Error(Error&& other) noexcept : _record(other._record) { other._record = nullptr; }
	TORVI_EXPORT Error& operator=(Error&& other) noexcept;
	Error(const Error&) = delete;
	Error& operator=(const Error&) = delete;
	~Error()
	{
		if (_record != nullptr)
			Release();
	}

	/// Makes an error. If there is no memory for it, it is the out-of-memory error instead.
	TORVI_EXPORT static Error Make(const Id& id, std::string_view message, SourceLocation location) noexcept;

	/// The out-of-memory error. Never allocates.
	TORVI_EXPORT static Error MakeOutOfMemory() noexcept;

	/// Another handle to the same error.
	TORVI_EXPORT Error Share() const noexcept;

	explicit operator bool() const noexcept { return _record != nullptr; }

	/// The empty id, text and location when there is no error.
	TORVI_EXPORT Id GetId() const noexcept;
	TORVI_EXPORT std::string_view GetMessage() const noexcept;
	TORVI_EXPORT SourceLocation GetLocation() const noexcept;

	/// The error that led to this one; one that is no error where there is none. Valid as long as this error.
	TORVI_EXPORT const Error& GetCause() const noexcept;

	/// The end of the chain of causes: this error itself if it has none.
	TORVI_EXPORT const Error& GetInnermostCause() const noexcept;

	/// These change the record that shared handles see too; they are meant for the maker. The out-of-memory error stays as it is.
	TORVI_EXPORT Error& SetMessage(std::string_view message) noexcept;
	TORVI_EXPORT Error& SetLocation(SourceLocation location) noexcept;
	TORVI_EXPORT Error& SetCause(Error cause) noexcept;

	/// "id: message (file:line)", and the causes behind " <- ".
	TORVI_EXPORT String ToString(std::string_view format = {}) const;

private:
	struct Record;
	explicit Error(Record* record) noexcept : _record(record) {}
	TORVI_EXPORT void Release() noexcept;

	Record* _record = nullptr;
};

inline Error OutOfMemoryError() noexcept
{
	return Error::MakeOutOfMemory();
}

namespace detail
{
template <class... Arguments>
Error MakeError(const Id& id, const ErrorMessage& message, const Arguments&... arguments) noexcept
{
	if constexpr (sizeof...(Arguments) == 0)
		return Error::Make(id, message._text, message._location);
	else
	{
		try
		{
			return Error::Make(id, Format(message._text, arguments...), message._location);
		}
		catch (...)
		{
			return OutOfMemoryError();
		}
	}
}
} // namespace detail

// One maker per id: Name("A text with @ and @{x}.", values...). A default argument of its own keeps the caller's location.
#define TORVI_ERROR_MAKER(Name, id)                                                                                                        \
	inline Error Name(ErrorMessage message = ErrorMessage("", SourceLocation::current())) noexcept                                         \
	{                                                                                                                                      \
		return ::torvi::detail::MakeError(id, message);                                                                                    \
	}                                                                                                                                      \
	template <class First, class... Rest>                                                                                                  \
	Error Name(ErrorMessage message, const First& first, const Rest&... rest) noexcept                                                     \
	{                                                                                                                                      \
		return ::torvi::detail::MakeError(id, message, first, rest...);                                                                    \
	}

TORVI_ERROR_MAKER(IllegalArgumentError, errorids::ILLEGALARGUMENT)
TORVI_ERROR_MAKER(IllegalStateError, errorids::ILLEGALSTATE)
TORVI_ERROR_MAKER(NullptrError, errorids::NULLPTR)
TORVI_ERROR_MAKER(FunctionNotImplementedError, errorids::FUNCTIONNOTIMPLEMENTED)
TORVI_ERROR_MAKER(UnsupportedOperationError, errorids::UNSUPPORTEDOPERATION)
TORVI_ERROR_MAKER(FileFormatError, errorids::FILEFORMAT)
TORVI_ERROR_MAKER(IoError, errorids::IO)
TORVI_ERROR_MAKER(UnknownError, errorids::UNKNOWN)
TORVI_ERROR_MAKER(SystemError, errorids::SYSTEM)
TORVI_ERROR_MAKER(UnregisteredDataTypeError, errorids::UNREGISTEREDDATATYPE)
TORVI_ERROR_MAKER(OperationCancelledError, errorids::OPERATIONCANCELLED)
TORVI_ERROR_MAKER(KeyNotFoundError, errorids::KEYNOTFOUND)
TORVI_ERROR_MAKER(WrongDataTypeError, errorids::WRONGDATATYPE)

} // namespace torvi
