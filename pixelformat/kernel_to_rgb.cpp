// The kernels from every source to the RGB formats.
#include "pixelformat/kernel_default.h"

namespace torvi
{

template const KernelRow& KernelRowTo<FixedFormat::RGB_U8>();
template const KernelRow& KernelRowTo<FixedFormat::RGB_U16>();
template const KernelRow& KernelRowTo<FixedFormat::RGB_U32>();
template const KernelRow& KernelRowTo<FixedFormat::RGB_S32>();
template const KernelRow& KernelRowTo<FixedFormat::RGB_F16>();
template const KernelRow& KernelRowTo<FixedFormat::RGB_F32>();
template const KernelRow& KernelRowTo<FixedFormat::RGB_F64>();

} // namespace torvi
