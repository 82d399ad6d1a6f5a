// Writing past the cache, for runs that are much larger than it.
#pragma once

#include "host/types.h"

namespace torvi
{

constexpr Int STREAM_ALIGNMENT = 64;

/// Copies `bytes` bytes to `destination`, which is aligned to STREAM_ALIGNMENT, without bringing it into the cache. Other threads may see
/// the bytes only after `EndStream`.
void StreamCopy(Byte* destination, const Byte* source, Int bytes);

void EndStream();

/// Begins to bring `bytes` bytes into the cache.
void FetchAhead(const Byte* source, Int bytes);

} // namespace torvi
