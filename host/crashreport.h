// Facts about the running work that the host adds to a report if it dies, and the debug log, which is silent unless a sink is set.
#pragma once

#include "host/string.h"

namespace torvi
{

namespace CrashReportServices
{
/// Replaces the value under `name`. Never fails: without memory the fact is left out. Any thread.
TORVI_EXPORT void SetProperty(std::string_view name, std::string_view value) noexcept;
TORVI_EXPORT String GetProperty(std::string_view name);
} // namespace CrashReportServices

namespace DebugLog
{
using Sink = void (*)(std::string_view text) noexcept;
/// Null, the normal state, drops all text. Gives the earlier sink.
TORVI_EXPORT Sink SetSink(Sink sink) noexcept;
TORVI_EXPORT void Write(std::string_view text) noexcept;
} // namespace DebugLog

} // namespace torvi
