// Conversions of pixels on the processor of the machine.
#pragma once

#include "platform/ocio/ocio_library.h"
#include "torvi/ocio.h"

namespace torvi
{

enum class OcioPixelDepth
{
	FLOAT,
	EIGHT_BIT
};

/// May throw what the library throws.
Result<OcioProcessorRef> MakeOcioProcessor(const ocio::Processor& transform, OcioPixelDepth depth);

} // namespace torvi
