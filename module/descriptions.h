// The stored defaults of export options, which the library carries as text.
#pragma once

#include "host/module.h"

#include <string_view>

namespace torvi
{

/// The text of descriptions.json.
std::string_view GetDescriptionsText() noexcept;

/// Makes the descriptions known to the data description database for as long as the module runs.
Result<void> RegisterDescriptions(Module& module);

} // namespace torvi
