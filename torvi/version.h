// The version of the library, at compile time and at run time. The build reads the number from here.
#pragma once

#include "host/types.h"

namespace torvi
{

/// The version that a program was compiled against, as "major.minor.patch".
inline constexpr char VERSION_TEXT[] = "0.1.0";

/// The version of the library that the program runs with, in the form of VERSION_TEXT. The text lives as long as the library.
/// Any thread may call this, before and after the module's start too. Hosts compare it with VERSION_TEXT, since headers and
/// library of different builds do not fit together.
TORVI_EXPORT const char* GetLibraryVersion();

} // namespace torvi
