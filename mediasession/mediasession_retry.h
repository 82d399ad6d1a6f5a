// What the import routine asks of an output before it tries the next importer on the same file.
#pragma once

#include "host/object.h"

namespace torvi
{

/// Outputs that change something before they know that the importer can read the file.
class MediaOutputRetryInterface : public virtual ObjectInterface
{
public:
	/// Takes back what the run since the last reset has built.
	virtual Result<void> DiscardOutput() = 0;
};

} // namespace torvi
