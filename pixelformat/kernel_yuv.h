// YUV 4:2:2 in its two byte orders: two bytes per pixel, luma and one chroma value, and two pixels that share their chroma. A stride is
// the distance from pixel to pixel, so the second pixel of a pair lies one stride behind the first.
#pragma once

#include "pixelformat/fixed_plan.h"

namespace torvi
{

/// I422A is Y0, U, Y1, V; I422B is U, Y0, V, Y1.
enum class YuvFormat : UChar
{
	I422A,
	I422B
};

constexpr Int YUV_PIXEL_SIZE = 2;

/// The plan from rgb, rgba, rgbx, argb, xrgb, bgr, bgra, bgrx in U8 or rgb in U16, F32, F64; empty for any other. Chroma is that of the
/// first pixel of a pair. Plans are for whole pairs: refusing an odd count is the caller's part.
std::optional<ConversionPlan> YuvPlanFrom(YuvFormat destination, const FixedPlaces& source);

/// The plan to one of the same eleven; empty for any other. Alpha is full, an unused channel 0.
std::optional<ConversionPlan> YuvPlanTo(const FixedPlaces& destination, YuvFormat source);

} // namespace torvi
