// The kernels with captured offsets to the integer types.
#include "pixelformat/kernel_offset.h"

namespace torvi
{

template const OffsetKernelRows& OffsetKernelRowsTo<ValueType::U8>();
template const OffsetKernelRows& OffsetKernelRowsTo<ValueType::U16>();
template const OffsetKernelRows& OffsetKernelRowsTo<ValueType::U32>();
template const OffsetKernelRows& OffsetKernelRowsTo<ValueType::S32>();

} // namespace torvi
