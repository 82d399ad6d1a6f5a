// The conversions from and to floats whose loops the compiler does not make good vectors of by itself. Values are those of
// `ConvertValue`, bit for bit.
#pragma once

#include "host/halffloat.h"
#include "host/types.h"

#include <concepts>

namespace torvi
{

/// Converts `count` values that lie side by side, as a `LinearKernel`. Defined for the pairs below.
template <class D, class S>
void ConvertFloats(Byte* destination, const Byte* source, Int count);

/// Whether there is a `ConvertFloats` for the pair.
template <class D, class S>
constexpr bool HAS_CONVERT_FLOATS = false;

#define TORVI_CONVERT_FLOATS(D, S)                                                                                                         \
	template <>                                                                                                                            \
	inline constexpr bool HAS_CONVERT_FLOATS<D, S> = true;                                                                                 \
	extern template void ConvertFloats<D, S>(Byte * destination, const Byte* source, Int count);
#include "pixelformat/kernel_linear_float.inc"
#undef TORVI_CONVERT_FLOATS

} // namespace torvi
