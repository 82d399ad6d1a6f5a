// The kernels from every source to the GREY formats.
#include "pixelformat/kernel_default.h"

namespace torvi
{

template const KernelRow& KernelRowTo<FixedFormat::GREY_U8>();
template const KernelRow& KernelRowTo<FixedFormat::GREY_U16>();
template const KernelRow& KernelRowTo<FixedFormat::GREY_F16>();
template const KernelRow& KernelRowTo<FixedFormat::GREY_F32>();
template const KernelRow& KernelRowTo<FixedFormat::GREY_F64>();

} // namespace torvi
