// The kernels with captured offsets to the floating-point types.
#include "pixelformat/kernel_offset.h"

namespace torvi
{

template const OffsetKernelRows& OffsetKernelRowsTo<ValueType::F16>();
template const OffsetKernelRows& OffsetKernelRowsTo<ValueType::F32>();
template const OffsetKernelRows& OffsetKernelRowsTo<ValueType::F64>();

} // namespace torvi
