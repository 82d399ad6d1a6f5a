// Conversion of values that lie side by side, whatever channels they are: one loop per pair of data types.
#pragma once

#include "pixelformat/fixed_formats.h"

namespace torvi
{

/// Converts `count` values. Neither side needs to be aligned; the two must not overlap.
using LinearKernel = void (*)(Byte* destination, const Byte* source, Int count);

/// The conversion between two types; for equal types the copy.
LinearKernel LinearKernelFor(ValueType destination, ValueType source);

} // namespace torvi
