// From names to a transform of the library.
#pragma once

#include "platform/ocio/ocio_library.h"

namespace torvi
{

/// What a conversion is asked for with. Names of colour spaces may be aliases or roles.
struct OcioTransformNames
{
	const char* _source;
	const char* _destination; ///< a colour space; with a view, a display
	const char* _view = nullptr;
	Bool _isReverse = false; ///< from the destination to the source
};

/// Illegal-state error for names that the configuration does not have, and for colour spaces that are defined by each other without end;
/// io error for a table whose file is missing. Does not throw. Any thread.
Result<ocio::ConstProcessorRcPtr> MakeOcioTransform(const ocio::ConstConfigRcPtr& config, const OcioTransformNames& names);

} // namespace torvi
