// The kernels from every source to the BGRA formats.
#include "pixelformat/kernel_default.h"

namespace torvi
{

template const KernelRow& KernelRowTo<FixedFormat::BGRA_U8>();
template const KernelRow& KernelRowTo<FixedFormat::BGRA_U16>();
template const KernelRow& KernelRowTo<FixedFormat::BGRA_F16>();
template const KernelRow& KernelRowTo<FixedFormat::BGRA_F32>();

} // namespace torvi
