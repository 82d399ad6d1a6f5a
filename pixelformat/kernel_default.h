// The template behind all kernels between two fixed formats in their default layouts. Offsets are facts of the compiler; runs whose
// strides are the pixel sizes take a loop that vectorises. Only the files that instantiate rows include this.
#pragma once

#include "pixelformat/kernel_copy.h"
#include "pixelformat/kernel_layout.h"
#include "pixelformat/kernel_rows.h"

#include <utility>

namespace torvi
{

/// The value of one destination channel.
template <Channel CHANNEL, class D, class S>
TORVI_KERNEL_INLINE typename D::Value PickChannel(const Byte* pixel)
{
	using enum Channel;
	using Value = typename D::Value;
	if constexpr (CHANNEL == Unused)
		return Value();
	else if constexpr (S::Has(CHANNEL))
		return ConvertValue<Value>(S::template Load<CHANNEL>(pixel));
	else if constexpr (CHANNEL == Alpha)
		return FULL_SCALE<Value>;
	else if constexpr (CHANNEL == Grey && S::Has(Red))
		return ConvertValue<Value>(
			MeanOfThree(S::template Load<Red>(pixel), S::template Load<Green>(pixel), S::template Load<Blue>(pixel)));
	else if constexpr (CHANNEL == Grey)
		return Value();
	else
	{
		constexpr Channel ONE = S::Has(Grey) ? Grey : Alpha;
		return ConvertValue<Value>(S::template Load<ONE>(pixel));
	}
}

template <class D, class S>
TORVI_KERNEL_INLINE void ConvertPixel(Byte* destination, const Byte* source)
{
	[&]<std::size_t... INDEX>(std::index_sequence<INDEX...>)
	{
		(StoreValue(destination + Int(INDEX) * D::VALUE_SIZE, PickChannel<D::INFO._channels[INDEX], D, S>(source)), ...);
	}
	(std::make_index_sequence<D::COUNT>());
}

/// Same channels in the same order: the number of channels no longer matters.
template <class D, class S>
constexpr bool SAME_CHANNELS = D::COUNT == S::COUNT&& D::INFO._channels == S::INFO._channels && !D::Has(Channel::Unused);

template <FixedFormat DESTINATION, FixedFormat SOURCE>
void ConvertDefault(const KernelRun& run)
{
	using D = Layout<DESTINATION>;
	using S = Layout<SOURCE>;
	if constexpr (DESTINATION == SOURCE)
		CopyPixels(run, D::PIXEL_SIZE);
	else if (SAME_CHANNELS<D, S> && run._destinationStride == D::PIXEL_SIZE && run._sourceStride == S::PIXEL_SIZE)
		ForEachContiguous<D::VALUE_SIZE, S::VALUE_SIZE>(
			run._destination, run._source, run._count * D::COUNT,
			[](Byte* destination, const Byte* source)
			{ StoreValue(destination, ConvertValue<typename D::Value>(LoadValue<typename S::Value>(source))); });
	else
		ForEachPixel<D::PIXEL_SIZE, S::PIXEL_SIZE>(run, &ConvertPixel<D, S>);
}

template <FixedFormat DESTINATION>
const KernelRow& KernelRowTo()
{
	static constexpr KernelRow ROW = []<std::size_t... SOURCE>(std::index_sequence<SOURCE...>)
	{
		return KernelRow{&ConvertDefault<DESTINATION, static_cast<FixedFormat>(SOURCE)>...};
	}
	(std::make_index_sequence<FIXED_SOURCE_COUNT>());
	return ROW;
}

} // namespace torvi
