// What the system says of the libraries that it reads and writes files with.
#pragma once

#include "host/module.h"

namespace torvi
{

/// Declares an object under `id`, in the registry ids::REGISTRY_MODULEINFO, with these texts.
Result<void> RegisterModuleInfo(Module& module, const Id& id, std::string_view name, std::string_view description,
								std::string_view version);

} // namespace torvi
