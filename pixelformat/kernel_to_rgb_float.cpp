// The kernels from every source to the RGB formats of floats.
#include "pixelformat/kernel_default.h"

namespace torvi
{

template const KernelRow& KernelRowTo<FixedFormat::RGB_F16>();
template const KernelRow& KernelRowTo<FixedFormat::RGB_F32>();
template const KernelRow& KernelRowTo<FixedFormat::RGB_F64>();

} // namespace torvi
