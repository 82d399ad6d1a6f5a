// The transfer curves of sRGB (IEC 61966-2-1) over pixels of float32, in both directions. Values below 0 stay, values above 1 are not
// clamped. Every result is that of `powf` of the C library, bit for bit.
#pragma once

#include "host/types.h"

namespace torvi
{

enum class SrgbCurve
{
	TO_LINEAR,
	FROM_LINEAR
};

/// Pixels that begin with red, green and blue. Distances are in bytes and may be anything, 0 on the source too; both sides may be the same
/// run.
struct FloatRun
{
	Byte* _destination;
	Int _destinationDistance;
	const Byte* _source;
	Int _sourceDistance;
	Int _count;
};

/// Pixels of CHANNELS floats, 3 or 4; the fourth is copied as it is.
template <SrgbCurve CURVE, Int CHANNELS>
void ApplySrgbCurve(const FloatRun& run);

/// One value.
template <SrgbCurve CURVE>
Float32 ApplySrgbCurve(Float32 value);

} // namespace torvi
