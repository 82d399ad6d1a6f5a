// How the files of kernels and the table meet: each destination has one row, instantiated in exactly one file.
#pragma once

#include "pixelformat/kernel_run.h"

namespace torvi
{

/// The kernels of one destination in its default layout, by source.
using KernelRow = std::array<RunKernel, FIXED_SOURCE_COUNT>;

template <FixedFormat DESTINATION>
const KernelRow& KernelRowTo();

/// Which colours an offset kernel writes from which: three from three, three from one, one from one, one from the mean of three, a zero.
enum class ColourMode : UChar
{
	None,
	ThreeFromThree,
	ThreeFromOne,
	OneFromOne,
	OneFromMean,
	OneFromNothing
};

/// What it writes to the last role: nothing, the alpha of the source, full scale, or zero to an unused channel.
enum class LastMode : UChar
{
	None,
	Copy,
	Full,
	Zero
};

constexpr std::size_t COLOUR_MODE_COUNT = 6;
constexpr std::size_t LAST_MODE_COUNT = 4;

/// The offset kernels of one destination type, by source type and modes; empty where no pair of formats needs one.
using OffsetKernelRows = std::array<std::array<std::array<OffsetKernel, LAST_MODE_COUNT>, COLOUR_MODE_COUNT>, VALUE_TYPE_COUNT>;

template <ValueType DESTINATION>
const OffsetKernelRows& OffsetKernelRowsTo();

constexpr ColourMode ColourModeOf(const FixedFormatInfo& destination, const FixedFormatInfo& source)
{
	if (destination.Has(Channel::Red))
		return source.Has(Channel::Red) ? ColourMode::ThreeFromThree : ColourMode::ThreeFromOne;
	if (!destination.Has(Channel::Grey))
		return ColourMode::None;
	if (source.Has(Channel::Grey))
		return ColourMode::OneFromOne;
	return source.Has(Channel::Red) ? ColourMode::OneFromMean : ColourMode::OneFromNothing;
}

constexpr LastMode LastModeOf(const FixedFormatInfo& destination, const FixedFormatInfo& source)
{
	if (destination.Has(Channel::Unused))
		return LastMode::Zero;
	if (!destination.Has(Channel::Alpha))
		return LastMode::None;
	return source.Has(Channel::Alpha) ? LastMode::Copy : LastMode::Full;
}

} // namespace torvi
