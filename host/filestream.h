// Streams over the files of the system. Pipes and terminals can be read and written but neither seek nor know their length.
#pragma once

#include "host/stream.h"

namespace torvi
{

/// Opens a file for reading. The io error names the path and the system's reason; a directory is such an error. A named pipe that nobody
/// writes to reads as empty.
Result<InputStreamRef> OpenFileForReading(std::string_view path);

/// Creates a file or cuts it to length 0. A named pipe that nobody reads from is an io error.
Result<OutputStreamRef> OpenFileForWriting(std::string_view path);

} // namespace torvi
