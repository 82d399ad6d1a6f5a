// The kernels from every source to the AGREY formats.
#include "pixelformat/kernel_default.h"

namespace torvi
{

template const KernelRow& KernelRowTo<FixedFormat::AGREY_U8>();
template const KernelRow& KernelRowTo<FixedFormat::AGREY_U16>();
template const KernelRow& KernelRowTo<FixedFormat::AGREY_F16>();
template const KernelRow& KernelRowTo<FixedFormat::AGREY_F32>();
template const KernelRow& KernelRowTo<FixedFormat::AGREY_F64>();

} // namespace torvi
