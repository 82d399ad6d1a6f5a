// The error manager of libjpeg.
#include "media_io/jpg_guard.h"

#include "torvi/mediasession_errors.h"

#include <cstdlib>
#include <jerror.h>

namespace torvi
{

Error JpgGuard::MakeError(std::string_view text) noexcept
{
	return MediaConverterError("Error loading jpg: @", text);
}

void JpgGuard::Attach(jpeg_common_struct& library) noexcept
{
	library.err = jpeg_std_error(&_manager);
	library.client_data = this;
	_manager.error_exit = &RaiseError;
	_manager.output_message = [](j_common_ptr) {};
}

Result<void> JpgGuard::Enter(void (*call)(const void*), const void* calls) noexcept
{
	_isArmed = true;
	if (setjmp(_target) == 0)
		call(calls);
	_isArmed = false;
	return _error ? Result<void>(std::move(_error)) : OK;
}

void JpgGuard::RaiseError(jpeg_common_struct* library)
{
	JpgGuard& guard = *static_cast<JpgGuard*>(library->client_data);
	guard.TakeError(*library);
	if (!guard._isArmed)
		std::abort(); // a call outside of Run; the library must not get control back
	std::longjmp(guard._target, 1);
}

/// The library's error as one of ours, unless an earlier one is kept.
void JpgGuard::TakeError(jpeg_common_struct& library) noexcept
{
	if (_error)
		return;
	if (_manager.msg_code == JERR_OUT_OF_MEMORY)
	{
		_error = OutOfMemoryError();
		return;
	}
	char text[JMSG_LENGTH_MAX];
	_manager.format_message(&library, text);
	_error = MakeError(text);
	if (_cause)
		_error.SetCause(std::move(_cause));
}

} // namespace torvi
