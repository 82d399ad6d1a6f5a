// What all fuzz targets share: the module that inputs run in, inputs as files, and promises that a target holds the library to.
#pragma once

#include "host/url.h"

namespace torvi::fuzz
{

/// Sees to it that the module runs; a target calls it first for each input. Now and then the module is a new one, since what inputs bring,
/// such as pixel formats and conversions, is kept until the module ends.
void PrepareModule();

/// A file in memory with the bytes of an input.
Url MakeFile(Block<const Byte> bytes);

/// Ends the process, which is a find, unless the promise is held.
void Require(Bool isHeld, const char* promise);

} // namespace torvi::fuzz
