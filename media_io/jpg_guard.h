// The bridge over the long jumps of libjpeg: calls run inside a guard, which turns the library's fatal errors into results. Nothing is
// printed.
#pragma once

#include "host/result.h"

#include <csetjmp>
#include <cstdio> // the library's header needs it
#include <jpeglib.h>

namespace torvi
{

/// The error manager of one library object. No C++ object with a destructor may live between Run and the library's callbacks, nor in a
/// callback that raises an error.
class JpgGuard
{
public:
	JpgGuard() = default;
	JpgGuard(const JpgGuard&) = delete;
	JpgGuard& operator=(const JpgGuard&) = delete;

	/// Makes this the library object's error manager; before it is created.
	void Attach(jpeg_common_struct& library) noexcept;

	/// Runs calls into the library. The error that was kept or raised meanwhile is the result, after which the library object can only be
	/// destroyed.
	template <class Calls>
	Result<void> Run(const Calls& calls)
	{
		static_assert(std::is_trivially_destructible_v<Calls>, "the library may jump over it");
		return Enter([](const void* object) { (*static_cast<const Calls*>(object))(); }, &calls);
	}

	/// For callbacks that end with a plain failure: keeps the error for the result of Run.
	void KeepError(Error error) noexcept { _error = std::move(error); }
	/// For callbacks that go on to raise an error of the library: keeps what led to it.
	void KeepCause(Error cause) noexcept { _cause = std::move(cause); }

	/// "Error loading jpg: @" with a text that the library would give, or one like it.
	static Error MakeError(std::string_view text) noexcept;

private:
	Result<void> Enter(void (*call)(const void*), const void* calls) noexcept;
	[[noreturn]] static void RaiseError(jpeg_common_struct* library);
	void TakeError(jpeg_common_struct& library) noexcept;

	jpeg_error_mgr _manager = {};
	std::jmp_buf _target;
	Bool _isArmed = false; ///< whether there is a frame to jump to
	Error _error;
	Error _cause;
};

} // namespace torvi
