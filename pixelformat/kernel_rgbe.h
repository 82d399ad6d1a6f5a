// RGBE, four bytes red, green, blue and a shared exponent, as the Radiance picture format has it: one pixel and whole runs. The kernels
// do not look at channel offsets: the fixed format on the other side is always in its default layout.
#pragma once

#include "pixelformat/kernel_run.h"

namespace torvi
{

constexpr Int RGBE_PIXEL_SIZE = 4;

/// Colours up to 1e-32 are four zero bytes. From 2^127 up the exponent byte wraps to 0, which reads as black; infinities count as the
/// largest number. Of a negative channel the cut integer's low byte is stored. A NaN channel gives 0, and where it is red, black.
std::array<Byte, RGBE_PIXEL_SIZE> EncodeRgbe(Float32 red, Float32 green, Float32 blue);

/// The colours of a pixel: half a step is added to every mantissa; an exponent byte of 0 is black.
std::array<Float32, 3> DecodeRgbe(const Byte* pixel);

/// The kernel from rgb in U8, U16, F16, F32, F64; empty for any other format.
RunKernel RgbeKernelFrom(FixedFormat source);

/// The kernel to one of the same five; empty for any other format.
RunKernel RgbeKernelTo(FixedFormat destination);

/// The copy of the format to itself, which takes overlapping runs.
RunKernel RgbeCopyKernel();

} // namespace torvi
