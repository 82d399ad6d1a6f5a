// The facts of the running work, and the debug log.
#include "host/crashreport.h"

#include "host/result.h"

#include <atomic>
#include <mutex>

namespace torvi
{

namespace
{

struct Properties
{
	std::mutex _lock;
	HashMap<String, String> _values;
};

Properties& GetProperties()
{
	static Properties properties;
	return properties;
}

std::atomic<DebugLog::Sink> s_sink{nullptr};

} // namespace

void CrashReportServices::SetProperty(std::string_view name, std::string_view value) noexcept
{
	Properties& properties = GetProperties();
	const std::lock_guard guard(properties._lock);
	try
	{
		properties._values.insert_or_assign(MakeString(name), MakeString(value));
	}
	catch (const std::bad_alloc&)
	{
		std::erase_if(properties._values, [&](const auto& entry) { return entry.first == name; }); // the old value would be wrong
	}
}

String CrashReportServices::GetProperty(std::string_view name)
{
	Properties& properties = GetProperties();
	const std::lock_guard guard(properties._lock);
	const auto found = properties._values.find(MakeString(name));
	return found != properties._values.end() ? found->second : String();
}

DebugLog::Sink DebugLog::SetSink(Sink sink) noexcept
{
	return s_sink.exchange(sink, std::memory_order_acq_rel);
}

void DebugLog::Write(std::string_view text) noexcept
{
	if (const Sink sink = s_sink.load(std::memory_order_acquire))
		sink(text);
}

} // namespace torvi
