// The kernels from every source to the GREYA formats.
#include "pixelformat/kernel_default.h"

namespace torvi
{

template const KernelRow& KernelRowTo<FixedFormat::GREYA_U8>();
template const KernelRow& KernelRowTo<FixedFormat::GREYA_U16>();
template const KernelRow& KernelRowTo<FixedFormat::GREYA_F16>();
template const KernelRow& KernelRowTo<FixedFormat::GREYA_F32>();
template const KernelRow& KernelRowTo<FixedFormat::GREYA_F64>();

} // namespace torvi
