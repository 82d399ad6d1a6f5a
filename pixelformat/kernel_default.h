// The template behind all kernels between two fixed formats in their default layouts. Offsets are facts of the compiler; runs whose
// strides are the pixel sizes take a loop that vectorises. Only the files that instantiate rows include this.
#pragma once

#include "pixelformat/kernel_copy.h"
#include "pixelformat/kernel_rows.h"
#include "pixelformat/kernel_values.h"

#include <utility>

namespace torvi
{

/// A format as seen by the compiler.
template <FixedFormat FORMAT>
struct Layout
{
	static constexpr const FixedFormatInfo& INFO = InfoOf(FORMAT);
	using Value = ValueOf<INFO._type>;
	static constexpr Int VALUE_SIZE = sizeof(Value);
	static constexpr Int COUNT = INFO._channelCount;
	static constexpr Int PIXEL_SIZE = COUNT * VALUE_SIZE;
	static constexpr bool Has(Channel channel) { return INFO.Has(channel); }

	template <Channel CHANNEL>
	TORVI_KERNEL_INLINE static Value Load(const Byte* pixel)
	{
		constexpr Int INDEX = INFO.Find(CHANNEL);
		static_assert(INDEX >= 0);
		return LoadValue<Value>(pixel + INDEX * VALUE_SIZE);
	}
};

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
	[&]<std::size_t... INDEX>(std::index_sequence<INDEX...>) {
		(StoreValue(destination + Int(INDEX) * D::VALUE_SIZE, PickChannel<D::INFO._channels[INDEX], D, S>(source)), ...);
	}(std::make_index_sequence<D::COUNT>());
}

/// Same channels in the same order: the number of channels no longer matters.
template <class D, class S>
constexpr bool SAME_CHANNELS = D::COUNT == S::COUNT && D::INFO._channels == S::INFO._channels && !D::Has(Channel::Unused);

template <class D, class S>
TORVI_KERNEL_INLINE void ConvertContiguous(Byte* __restrict destination, const Byte* __restrict source, Int count)
{
	if constexpr (SAME_CHANNELS<D, S>)
		for (Int i = 0; i < count * D::COUNT; ++i)
			StoreValue(destination + i * D::VALUE_SIZE,
				ConvertValue<typename D::Value>(LoadValue<typename S::Value>(source + i * S::VALUE_SIZE)));
	else
		for (Int i = 0; i < count; ++i)
			ConvertPixel<D, S>(destination + i * D::PIXEL_SIZE, source + i * S::PIXEL_SIZE);
}

template <FixedFormat DESTINATION, FixedFormat SOURCE>
void ConvertDefault(const KernelRun& run)
{
	using D = Layout<DESTINATION>;
	using S = Layout<SOURCE>;
	const KernelRun local = run; // the stores below might alias `run`
	if constexpr (DESTINATION == SOURCE)
		CopyPixels(local, D::PIXEL_SIZE);
	else if (local._destinationStride == D::PIXEL_SIZE && local._sourceStride == S::PIXEL_SIZE)
		ConvertContiguous<D, S>(local._destination, local._source, local._count);
	else
		for (Int i = 0; i < local._count; ++i)
			ConvertPixel<D, S>(local._destination + i * local._destinationStride, local._source + i * local._sourceStride);
}

template <FixedFormat DESTINATION>
const KernelRow& KernelRowTo()
{
	static constexpr KernelRow ROW = []<std::size_t... SOURCE>(std::index_sequence<SOURCE...>) {
		return KernelRow{&ConvertDefault<DESTINATION, static_cast<FixedFormat>(SOURCE)>...};
	}(std::make_index_sequence<FIXED_SOURCE_COUNT>());
	return ROW;
}

} // namespace torvi
