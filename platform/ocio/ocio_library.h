// OpenColorIO's names, and the border that none of its exceptions crosses.
#pragma once

#include "host/result.h"

#include <OpenColorIO/OpenColorIO.h>
#include <filesystem>

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

/// Pictures carry the paths of configurations, and these those of tables: opening a pipe or a terminal that one names would wait for ever,
/// and some devices have no end. Io error for what is there and is no file. May throw std::bad_alloc.
inline Result<void> CheckRegularFile(std::string_view path)
{
	std::error_code failure;
	const std::filesystem::file_status status = std::filesystem::status(path, failure);
	TORVI_CHECK(!std::filesystem::exists(status) || std::filesystem::is_regular_file(status), IoError("@ is no file.", path));
	return OK;
}

} // namespace torvi
