// The library follows references between colour spaces, looks and views by recursion and without a limit, and opens whatever a
// configuration names as a table. This looks first.
#pragma once

#include "platform/ocio/ocio_transform.h"

namespace torvi
{

/// Illegal-state error where the named conversion leads into definitions that nest without end, deeper than any honest configuration, or
/// so often that the transform would not fit in memory; io error for a table that is there and is no file. Names that the configuration
/// does not have, and tables that are missing, are left to the library. May throw what the library throws.
Result<void> CheckOcioNesting(const ocio::Config& config, const OcioTransformNames& names);

} // namespace torvi
