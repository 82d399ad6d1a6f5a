// The facts of the running work.
#include "host/crashreport.h"

#include "host/result.h"

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

} // namespace torvi
