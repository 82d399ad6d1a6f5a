// The zip stream conversions: zlib's format (RFC 1950) over any stream, in either direction, without holding the whole.
#pragma once

#include "host/stream.h"

namespace torvi
{

namespace ids
{
inline constexpr Id STREAMCONVERSION_ZIP_DECODER = "net.torvi.streamconversion.zip.decoder";
inline constexpr Id STREAMCONVERSION_ZIP_ENCODER = "net.torvi.streamconversion.zip.encoder";
} // namespace ids

/// A conversion of bytes between streams; made by its class id.
class TORVI_EXPORT StreamConversionInterface : public virtual ObjectInterface
{
public:
	/// A stream that reads `source` converted. Closing it does not close the source. Damaged data is a file-format error at the read that
	/// meets it.
	virtual Result<InputStreamRef> ConnectInput(const InputStreamRef& source) = 0;
	/// A stream whose written bytes arrive in `target` converted. Close writes the end and does not close the target.
	virtual Result<OutputStreamRef> ConnectOutput(const OutputStreamRef& target) = 0;
};

using StreamConversionRef = Ref<StreamConversionInterface>;

class Module;
Result<void> RegisterZipConversions(Module& module);

} // namespace torvi
