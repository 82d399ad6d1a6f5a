// RGBE, four bytes red, green, blue and a shared exponent, as the Radiance picture format has it: one pixel and whole runs.
#pragma once

#include "pixelformat/fixed_plan.h"

namespace torvi
{

constexpr Int RGBE_PIXEL_SIZE = 4;

/// Colours up to 1e-32 are four zero bytes. From 2^127 up the exponent byte wraps to 0, which reads as black; infinities count as the
/// largest number. Of a negative channel the cut integer's low byte is stored. A NaN channel gives 0, and where it is red, black.
std::array<Byte, RGBE_PIXEL_SIZE> EncodeRgbe(Float32 red, Float32 green, Float32 blue);

/// The colours of a pixel: half a step is added to every mantissa; an exponent byte of 0 is black.
std::array<Float32, 3> DecodeRgbe(const Byte* pixel);

/// The plan from rgb in U8, U16, F16, F32, F64; empty for any other format.
std::optional<ConversionPlan> RgbePlanFrom(const FixedPlaces& source);

/// The plan to one of the same five; empty for any other format.
std::optional<ConversionPlan> RgbePlanTo(const FixedPlaces& destination);

} // namespace torvi
