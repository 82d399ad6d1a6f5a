// Where the commands read from and write to: files, pipes, and "-" for the standard streams.
#pragma once

#include "host/iomemory.h"

#include <functional>
#include <string>

namespace torvi::tool
{

/// "-" and pipes are read to their end into memory, since formats look at a file more than once.
Result<Url> OpenInput(const std::string& name);
/// All bytes of a file, a pipe or "-".
Result<Array<Byte>> ReadInput(const std::string& name);

/// Calls `write` with the Url to write to. "-" is standard output, written when all is there.
Result<void> WriteOutput(const std::string& name, const std::function<Result<void>(const Url&)>& write);

/// Takes bytes in order.
using ByteSink = std::function<Result<void>(Block<const Byte>)>;
/// The same for bytes that come in order; those for standard output go there at once.
Result<void> WriteBytes(const std::string& name, const std::function<Result<void>(const ByteSink&)>& write);

/// Text to standard output.
Result<void> Print(std::string_view text);

} // namespace torvi::tool
