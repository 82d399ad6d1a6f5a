// OpenColorIO's names, and the border that none of its exceptions crosses.
#pragma once

#include "host/result.h"

#include <OpenColorIO/OpenColorIO.h>

namespace torvi
{

namespace ocio = OCIO_NAMESPACE;

/// Runs a function that calls the library and gives a Result. A file that is missing becomes an io error, what else the library throws an
/// illegal-state error with its text, and a failed allocation the out-of-memory error.
template <class Function>
auto CallOcio(Function&& function) noexcept -> std::invoke_result_t<Function>
{
	return NoThrow(
		[&]() -> std::invoke_result_t<Function>
		{
			try
			{
				return function();
			}
			catch (const ocio::ExceptionMissingFile& exception)
			{
				return IoError("OpenColorIO: @", exception.what());
			}
			catch (const ocio::Exception& exception)
			{
				return IllegalStateError("OpenColorIO: @", exception.what());
			}
		});
}

} // namespace torvi
