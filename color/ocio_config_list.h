// Configurations that profiles were read with. Each profile names a file, and each reading makes an object of it; of equal ones all
// profiles share the first, so that equal profiles are one, and their conversions are made once.
#pragma once

#include "torvi/ocio.h"

#include <mutex>

namespace torvi
{

/// Keeps no configuration alive. Any thread.
class OcioConfigList
{
public:
	/// The living configuration that is equal, if there is one; else enters `config` and gives it back.
	OcioConfigRef FindOrInsert(const OcioConfigRef& config);

private:
	std::mutex _lock;
	Array<WeakRef<OcioConfigInterface>> _configs;
};

/// The one list of the process.
OcioConfigList& GetOcioConfigList() noexcept;

} // namespace torvi
