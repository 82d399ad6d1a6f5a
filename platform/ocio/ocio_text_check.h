// A look at the text of a configuration before the library reads it.
#pragma once

#include "host/result.h"

#include <string>

namespace torvi
{

/// YAML may repeat a part by an alias. The library builds each repetition anew, and without end where a part repeats itself: file-format
/// error for that, and for more parts in all than any honest configuration has. Throws the YAML library's exceptions, which are standard
/// ones, for text that is no YAML.
Result<void> CheckOcioText(const std::string& text);

} // namespace torvi
