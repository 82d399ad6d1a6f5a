// The kernels from every source to the RGB formats of integers.
#include "pixelformat/kernel_default.h"

namespace torvi
{

template const KernelRow& KernelRowTo<FixedFormat::RGB_U8>();
template const KernelRow& KernelRowTo<FixedFormat::RGB_U16>();
template const KernelRow& KernelRowTo<FixedFormat::RGB_U32>();
template const KernelRow& KernelRowTo<FixedFormat::RGB_S32>();

} // namespace torvi
