// The template behind the kernels with captured channel offsets. The order of channels is a matter of the offsets, so one kernel serves
// all pairs of formats with the same data types, the same kinds of colours and the same kind of last channel.
#pragma once

#include "pixelformat/kernel_rows.h"
#include "pixelformat/kernel_values.h"

#include <utility>

namespace torvi
{

template <class D, class S, ColourMode COLOURS>
TORVI_KERNEL_INLINE void ConvertColours(Byte* destination, const Byte* source, const KernelOffsets& offsets)
{
	const auto load = [&](std::size_t role) { return LoadValue<S>(source + offsets._source[role]); };
	const auto store = [&](std::size_t role, D value) { StoreValue(destination + offsets._destination[role], value); };
	if constexpr (COLOURS == ColourMode::ThreeFromThree)
	{
		const S red = load(0), green = load(1), blue = load(2);
		store(0, ConvertValue<D>(red));
		store(1, ConvertValue<D>(green));
		store(2, ConvertValue<D>(blue));
	}
	else if constexpr (COLOURS == ColourMode::ThreeFromOne)
	{
		const D value = ConvertValue<D>(load(0));
		store(0, value);
		store(1, value);
		store(2, value);
	}
	else if constexpr (COLOURS == ColourMode::OneFromOne)
		store(0, ConvertValue<D>(load(0)));
	else if constexpr (COLOURS == ColourMode::OneFromMean)
		store(0, ConvertValue<D>(MeanOfThree(load(0), load(1), load(2))));
	else if constexpr (COLOURS == ColourMode::OneFromNothing)
		store(0, D());
}

template <class D, class S, ColourMode COLOURS, LastMode LAST>
void ConvertWithOffsets(const KernelRun& run, const KernelOffsets& offsets)
{
	const KernelRun local = run; // the stores below might alias what is passed in
	const KernelOffsets places = offsets;
	for (Int i = 0; i < local._count; ++i)
	{
		Byte* const destination = local._destination + i * local._destinationStride;
		const Byte* const source = local._source + i * local._sourceStride;
		ConvertColours<D, S, COLOURS>(destination, source, places);
		if constexpr (LAST == LastMode::Copy)
			StoreValue(destination + places._destination[3], ConvertValue<D>(LoadValue<S>(source + places._source[3])));
		else if constexpr (LAST == LastMode::Full)
			StoreValue(destination + places._destination[3], FULL_SCALE<D>);
		else if constexpr (LAST == LastMode::Zero)
			StoreValue(destination + places._destination[3], D());
	}
}

/// Which kernels the pairs of fixed formats need, for one destination type.
using NeededKernels = std::array<std::array<std::array<bool, LAST_MODE_COUNT>, COLOUR_MODE_COUNT>, VALUE_TYPE_COUNT>;

template <ValueType DESTINATION>
constexpr NeededKernels NEEDED_KERNELS = []
{
	NeededKernels needed = {};
	for (const FixedFormatInfo& destination : FIXED_FORMATS)
		for (const FixedFormatInfo& source : FIXED_FORMATS)
			if (destination._type == DESTINATION && IsDirectSource(source._format))
				needed[static_cast<std::size_t>(source._type)][static_cast<std::size_t>(ColourModeOf(destination, source))]
					  [static_cast<std::size_t>(LastModeOf(destination, source))] = true;
	return needed;
}();

template <ValueType DESTINATION, std::size_t SOURCE, std::size_t COLOURS, std::size_t LAST>
constexpr OffsetKernel OffsetKernelIfNeeded()
{
	if constexpr (NEEDED_KERNELS<DESTINATION>[SOURCE][COLOURS][LAST])
		return &ConvertWithOffsets<ValueOf<DESTINATION>, ValueOf<static_cast<ValueType>(SOURCE)>, static_cast<ColourMode>(COLOURS),
								   static_cast<LastMode>(LAST)>;
	else
		return nullptr;
}

template <ValueType DESTINATION, std::size_t... INDEX>
constexpr OffsetKernelRows MakeOffsetKernelRows(std::index_sequence<INDEX...>)
{
	constexpr std::size_t PER_TYPE = COLOUR_MODE_COUNT * LAST_MODE_COUNT;
	OffsetKernelRows rows = {};
	((rows[INDEX / PER_TYPE][INDEX / LAST_MODE_COUNT % COLOUR_MODE_COUNT][INDEX % LAST_MODE_COUNT] =
		  OffsetKernelIfNeeded<DESTINATION, INDEX / PER_TYPE, INDEX / LAST_MODE_COUNT % COLOUR_MODE_COUNT, INDEX % LAST_MODE_COUNT>()),
	 ...);
	return rows;
}

template <ValueType DESTINATION>
const OffsetKernelRows& OffsetKernelRowsTo()
{
	static constexpr OffsetKernelRows ROWS =
		MakeOffsetKernelRows<DESTINATION>(std::make_index_sequence<VALUE_TYPE_COUNT * COLOUR_MODE_COUNT * LAST_MODE_COUNT>());
	return ROWS;
}

} // namespace torvi
