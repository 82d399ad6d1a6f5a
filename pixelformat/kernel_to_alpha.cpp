// The kernels from every source to the ALPHA formats.
#include "pixelformat/kernel_default.h"

namespace torvi
{

template const KernelRow& KernelRowTo<FixedFormat::ALPHA_U8>();
template const KernelRow& KernelRowTo<FixedFormat::ALPHA_U16>();
template const KernelRow& KernelRowTo<FixedFormat::ALPHA_F16>();
template const KernelRow& KernelRowTo<FixedFormat::ALPHA_F32>();
template const KernelRow& KernelRowTo<FixedFormat::ALPHA_F64>();

} // namespace torvi
