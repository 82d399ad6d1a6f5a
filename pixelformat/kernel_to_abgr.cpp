// The kernels from every source to the ABGR formats.
#include "pixelformat/kernel_default.h"

namespace torvi
{

template const KernelRow& KernelRowTo<FixedFormat::ABGR_U8>();
template const KernelRow& KernelRowTo<FixedFormat::ABGR_F32>();

} // namespace torvi
