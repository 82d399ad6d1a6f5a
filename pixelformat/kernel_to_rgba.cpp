// The kernels from every source to the RGBA formats.
#include "pixelformat/kernel_default.h"

namespace torvi
{

template const KernelRow& KernelRowTo<FixedFormat::RGBA_U8>();
template const KernelRow& KernelRowTo<FixedFormat::RGBA_U16>();
template const KernelRow& KernelRowTo<FixedFormat::RGBA_U32>();
template const KernelRow& KernelRowTo<FixedFormat::RGBA_S32>();
template const KernelRow& KernelRowTo<FixedFormat::RGBA_F16>();
template const KernelRow& KernelRowTo<FixedFormat::RGBA_F32>();
template const KernelRow& KernelRowTo<FixedFormat::RGBA_F64>();

} // namespace torvi
