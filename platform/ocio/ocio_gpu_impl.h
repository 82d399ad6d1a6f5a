// Conversions on a graphics processor, as program text and tables.
#pragma once

#include "platform/ocio/ocio_library.h"
#include "torvi/ocio.h"

namespace torvi
{

/// A processor that has a handler and converts no pixels itself. May throw what the library throws.
Result<OcioProcessorRef> MakeOcioGpuProcessor(const ocio::Processor& transform);

} // namespace torvi
