// A short list: a process has few configurations.
#include "color/ocio_config_list.h"

namespace torvi
{

OcioConfigRef OcioConfigList::FindOrInsert(const OcioConfigRef& config)
{
	const std::lock_guard guard(_lock);
	std::erase_if(_configs, [](const WeakRef<OcioConfigInterface>& entry) { return !entry.Lock(); });
	for (const WeakRef<OcioConfigInterface>& entry : _configs)
	{
		if (OcioConfigRef known = entry.Lock(); known && known->IsEqual(*config))
			return known;
	}
	_configs.emplace_back(config);
	return config;
}

OcioConfigList& GetOcioConfigList() noexcept
{
	static OcioConfigList s_list;
	return s_list;
}

} // namespace torvi
