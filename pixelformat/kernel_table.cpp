// Gathers the rows of kernels that the files of the families instantiate, and maps channels to the roles of the offset kernels.
#include "pixelformat/kernel_table.h"

#include "pixelformat/kernel_copy.h"
#include "pixelformat/kernel_rows.h"

namespace torvi
{

namespace
{

constexpr std::array<const KernelRow& (*)(), FIXED_FORMAT_COUNT> ROWS = {
#define FIXED_FORMAT(family, type, ...) &KernelRowTo<FixedFormat::family##_##type>,
#include "pixelformat/fixed_formats.inc"
#undef FIXED_FORMAT
};

const OffsetKernelRows& OffsetRowsOf(ValueType destination)
{
	switch (destination)
	{
	case ValueType::U8:
		return OffsetKernelRowsTo<ValueType::U8>();
	case ValueType::U16:
		return OffsetKernelRowsTo<ValueType::U16>();
	case ValueType::U32:
		return OffsetKernelRowsTo<ValueType::U32>();
	case ValueType::S32:
		return OffsetKernelRowsTo<ValueType::S32>();
	case ValueType::F16:
		return OffsetKernelRowsTo<ValueType::F16>();
	case ValueType::F32:
		return OffsetKernelRowsTo<ValueType::F32>();
	default:
		return OffsetKernelRowsTo<ValueType::F64>();
	}
}

bool FitsFormat(FixedFormat format, Block<const BITS> offsets)
{
	return CountOf(offsets) == InfoOf(format)._channelCount + 1;
}

constexpr std::size_t RoleOf(Channel channel)
{
	switch (channel)
	{
	case Channel::Green:
		return 1;
	case Channel::Blue:
		return 2;
	case Channel::Alpha:
	case Channel::Unused:
		return 3;
	default:
		return 0;
	}
}

} // namespace

Block<const RunKernel> KernelsTo(FixedFormat destination)
{
	return ROWS[static_cast<std::size_t>(destination)]();
}

OffsetKernel OffsetKernelFor(FixedFormat destination, FixedFormat source)
{
	if (destination == source)
		return ChannelCopyKernel(destination);
	const FixedFormatInfo& to = InfoOf(destination);
	const FixedFormatInfo& from = InfoOf(source);
	return OffsetRowsOf(to._type)[static_cast<std::size_t>(from._type)][static_cast<std::size_t>(ColourModeOf(to, from))]
								 [static_cast<std::size_t>(LastModeOf(to, from))];
}

bool IsDefaultLayout(FixedFormat format, Block<const BITS> offsets)
{
	if (!FitsFormat(format, offsets))
		return false;
	const FixedFormatInfo& info = InfoOf(format);
	for (Int i = 0; i < info._channelCount; ++i)
		if (offsets[static_cast<std::size_t>(i)] != info.GetBitOffset(i))
			return false;
	return true;
}

std::optional<std::array<Int, MAXIMUM_CHANNELS>> OffsetsByRole(FixedFormat format, Block<const BITS> offsets)
{
	if (!FitsFormat(format, offsets))
		return std::nullopt;
	const FixedFormatInfo& info = InfoOf(format);
	std::array<Int, MAXIMUM_CHANNELS> byRole = {};
	for (std::size_t i = 0; i < static_cast<std::size_t>(info._channelCount); ++i)
		byRole[RoleOf(info._channels[i])] = BytesOf(offsets[i]);
	if (info._family == FixedFamily::ALPHA)
		byRole[0] = byRole[3];
	return byRole;
}

std::optional<KernelOffsets> MakeKernelOffsets(FixedFormat destination, Block<const BITS> destinationOffsets, FixedFormat source,
											   Block<const BITS> sourceOffsets)
{
	const auto to = OffsetsByRole(destination, destinationOffsets);
	const auto from = OffsetsByRole(source, sourceOffsets);
	if (!to || !from)
		return std::nullopt;
	return KernelOffsets{*to, *from};
}

} // namespace torvi
