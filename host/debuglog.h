// Messages for whoever looks for the reason of something. They are dropped unless somebody listens; errors reach their users as results.
#pragma once

#include "host/string.h"

namespace torvi
{

/// Gets each message on the thread that it comes from, several at a time.
using DebugLogHandler = void (*)(std::string_view message) noexcept;

/// Installs the handler for the whole process and gives the earlier one; null is silence.
TORVI_EXPORT DebugLogHandler SetDebugLogHandler(DebugLogHandler handler) noexcept;

TORVI_EXPORT DebugLogHandler GetDebugLogHandler() noexcept;

/// Hands a formatted message to the handler. Without one, or without memory, nothing happens.
template <class... Arguments>
void DebugLog(const char* format, const Arguments&... arguments) noexcept
{
	const DebugLogHandler handler = GetDebugLogHandler();
	if (handler == nullptr)
		return;
	try
	{
		handler(Format(format, arguments...));
	}
	catch (...)
	{
	}
}

} // namespace torvi
