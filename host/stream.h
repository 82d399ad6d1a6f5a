// Byte streams, each used by one thread at a time; sequential and of unknown length unless they say otherwise. The last reference closes a
// stream; but only Close reports what went wrong with that, and only with Close is what was written sure to be there.
#pragma once

#include "host/object.h"

namespace torvi
{

class TORVI_EXPORT BaseStreamInterface : public virtual ObjectInterface
{
public:
	/// Bytes in all. Unsupported-operation error where the length is not known, as on a pipe.
	virtual Result<Int> GetStreamLength() const;
	/// The position of the next byte, from 0.
	virtual Int GetPosition() const = 0;
	/// Closes the stream; further calls but Close are illegal-state errors. A second Close succeeds.
	virtual Result<void> Close() = 0;
	virtual Bool SeekSupported() const { return false; }
	/// Moves to an absolute position. Unsupported-operation error without SeekSupported, illegal-argument error below 0. A position behind
	/// the end is allowed; reading there finds the end.
	virtual Result<void> Seek(Int position);
};

class TORVI_EXPORT InputStreamInterface : public virtual BaseStreamInterface
{
public:
	/// Reads up to the size of `block` and gives the count read; a short count means the end of the stream and is no failure.
	virtual Result<Int> ReadEOS(Block<Byte> block) = 0;
	/// Moves forward by `count` bytes, by reading where seeking is not supported. Skipping over the end is the read error of ReadBlock;
	/// illegal-argument error for a negative count.
	virtual Result<void> Skip(Int count);

	/// Reads the whole block; the host's read error "The data ends @ bytes too early." if the stream ends before.
	Result<void> ReadBlock(Block<Byte> block);
};

class TORVI_EXPORT OutputStreamInterface : public virtual BaseStreamInterface
{
public:
	virtual Result<void> Write(Block<const Byte> block) = 0;
	virtual Result<void> Flush() = 0;
};

using BaseStreamRef = Ref<BaseStreamInterface>;
using InputStreamRef = Ref<InputStreamInterface>;
using OutputStreamRef = Ref<OutputStreamInterface>;

/// The one read error for data that ends too early, in every reader.
TORVI_EXPORT Error EndOfDataError(Int missingBytes, SourceLocation location = SourceLocation::current());

/// What every call on a closed stream but Close gives.
TORVI_EXPORT Error ClosedStreamError(SourceLocation location = SourceLocation::current());

} // namespace torvi
