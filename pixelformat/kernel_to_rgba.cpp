// The kernels from every source to the RGBA formats of integers.
#include "pixelformat/kernel_default.h"

namespace torvi
{

template const KernelRow& KernelRowTo<FixedFormat::RGBA_U8>();
template const KernelRow& KernelRowTo<FixedFormat::RGBA_U16>();
template const KernelRow& KernelRowTo<FixedFormat::RGBA_U32>();
template const KernelRow& KernelRowTo<FixedFormat::RGBA_S32>();

} // namespace torvi
