// The kernels from every source to the BGR formats.
#include "pixelformat/kernel_default.h"

namespace torvi
{

template const KernelRow& KernelRowTo<FixedFormat::BGR_U8>();
template const KernelRow& KernelRowTo<FixedFormat::BGR_U16>();
template const KernelRow& KernelRowTo<FixedFormat::BGR_F32>();

} // namespace torvi
