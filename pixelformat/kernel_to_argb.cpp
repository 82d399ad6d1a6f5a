// The kernels from every source to the ARGB formats.
#include "pixelformat/kernel_default.h"

namespace torvi
{

template const KernelRow& KernelRowTo<FixedFormat::ARGB_U8>();
template const KernelRow& KernelRowTo<FixedFormat::ARGB_U16>();
template const KernelRow& KernelRowTo<FixedFormat::ARGB_F32>();
template const KernelRow& KernelRowTo<FixedFormat::ARGB_F64>();

} // namespace torvi
