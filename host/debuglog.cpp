// The one handler of the process.
#include "host/debuglog.h"

#include <atomic>

namespace torvi
{

namespace
{

std::atomic<DebugLogHandler> s_handler = nullptr;

} // namespace

DebugLogHandler SetDebugLogHandler(DebugLogHandler handler) noexcept
{
	return s_handler.exchange(handler);
}

DebugLogHandler GetDebugLogHandler() noexcept
{
	return s_handler;
}

} // namespace torvi
