// Facts about the running work that the host adds to a report if it dies.
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

} // namespace torvi
