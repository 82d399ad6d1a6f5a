// The zip stream conversions: zlib's format (RFC 1950) over any stream, in either direction, without holding the whole.
#pragma once

#include "host/data.h"
#include "host/stream.h"

namespace torvi
{

namespace ids
{
inline constexpr Id STREAMCONVERSION_ZIP_DECODER = "net.torvi.streamconversion.zip.decoder";
inline constexpr Id STREAMCONVERSION_ZIP_ENCODER = "net.torvi.streamconversion.zip.encoder";
/// Setting of the encoder, any integer type: zlib's level from 0, stored, to 9, smallest. Without it zlib chooses.
inline constexpr Id STREAMCONVERSION_ZIP_ENCODER_COMPRESSION = "net.torvi.streamconversion.zip.encoder.compression";
} // namespace ids

/// A conversion of bytes between streams; made by its class id. Settings are its data, read when a stream is connected.
class TORVI_EXPORT StreamConversionInterface : public virtual DataDictionaryObjectInterface
{
public:
	/// A stream that reads `source` converted. Closing it does not close the source. Damaged data, also data that ends too early, is a
	/// file-format error at the read that meets it. The source is read ahead in steps of a few KiB. Both conversions hold constant memory.
	/// Unsupported-operation error of the encoder.
	virtual Result<InputStreamRef> ConnectInput(const InputStreamRef& source) = 0;
	/// A stream whose written bytes arrive in `target` converted. Close writes the end and does not close the target; a stream that goes
	/// without Close leaves the target incomplete. Unsupported-operation error of the decoder.
	virtual Result<OutputStreamRef> ConnectOutput(const OutputStreamRef& target) = 0;
};

using StreamConversionRef = Ref<StreamConversionInterface>;

class Module;
Result<void> RegisterZipConversions(Module& module);

} // namespace torvi
