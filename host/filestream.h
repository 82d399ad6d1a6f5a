// Streams over the files of the system. Pipes and terminals can be read and written but neither seek nor know their length.
#pragma once

#include "host/stream.h"

namespace torvi
{

/// Opens a file for reading. The io error names the path and the system's reason; a directory is such an error. A named pipe that nobody
/// writes to reads as empty.
Result<InputStreamRef> OpenFileForReading(std::string_view path);

/// Writes a new file, which takes the place of an earlier one with Close, whole and in one step. A stream that goes without Close leaves
/// all as it was. Only where the folder takes no new file, the earlier one is cut to length 0 and written itself. Devices and pipes get
/// the bytes at once; a named pipe that nobody reads from is an io error.
Result<OutputStreamRef> OpenFileForWriting(std::string_view path);

} // namespace torvi
