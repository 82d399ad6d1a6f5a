// Registration of channel types with their channels, and the numbers behind the data types of channels.
#pragma once

#include "host/module.h"
#include "pixelformat/fixed_formats.h"
#include "torvi/gfx_image_pixelformat.h"

#include <optional>

namespace torvi
{

/// The nine data types of channels.
DataType DataTypeOf(ValueType type);
/// Empty for any other data type.
std::optional<ValueType> ValueTypeOf(DataType type);

/// The text of one channel value, from any address.
String ChannelValueToString(ValueType type, const Byte* value);

/// Whether two floats differ by at most `threshold`, which is on the 8-bit scale.
Bool IsIdenticalFloat(Float32 a, Float32 b, UChar threshold);

/// The class of channels of each data type, then an object for each channel type.
Result<void> RegisterChannelTypes(Module& module);

} // namespace torvi
