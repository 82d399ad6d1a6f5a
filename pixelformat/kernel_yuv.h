// YUV 4:2:2 in its two byte orders: two bytes per pixel, luma and one chroma value, and two pixels that share their chroma. A stride is
// the distance from pixel to pixel, so the second pixel of a pair lies one stride behind the first. The kernels convert whole pairs: of
// an odd count the last pixel is left alone, and refusing such a count is the caller's part. They do not look at channel offsets.
#pragma once

#include "pixelformat/kernel_run.h"

namespace torvi
{

/// I422A is Y0, U, Y1, V; I422B is U, Y0, V, Y1.
enum class YuvFormat : UChar
{
	I422A,
	I422B
};

constexpr Int YUV_PIXEL_SIZE = 2;

/// The kernel from rgb, rgba, rgbx, argb, xrgb, bgr, bgra, bgrx in U8 or rgb in U16, F32, F64; empty for any other. Chroma is that of the
/// first pixel of a pair.
RunKernel YuvKernelFrom(YuvFormat destination, FixedFormat source);

/// The kernel to one of the same eleven; empty for any other. Alpha is full, an unused channel 0.
RunKernel YuvKernelTo(FixedFormat destination, YuvFormat source);

/// The copy of a format to itself, pixel by pixel; it takes overlapping runs.
RunKernel YuvCopyKernel();

} // namespace torvi
