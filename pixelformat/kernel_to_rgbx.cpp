// The kernels from every source to the formats with an unused byte (XRGB, RGBX, BGRX).
#include "pixelformat/kernel_default.h"

namespace torvi
{

template const KernelRow& KernelRowTo<FixedFormat::XRGB_U8>();
template const KernelRow& KernelRowTo<FixedFormat::RGBX_U8>();
template const KernelRow& KernelRowTo<FixedFormat::BGRX_U8>();

} // namespace torvi
