// The functions behind the steps of a channel plan, one per pair of data types.
#include "pixelformat/kernel_channel.h"

#include "pixelformat/kernel_layout.h"

#include <algorithm>
#include <utility>

namespace torvi
{

namespace
{

constexpr Int PIXELS_AT_A_TIME = 256;

KernelRun Shifted(const KernelRun& run, Int destinationOffset, Int sourceOffset)
{
	return {run._destination + destinationOffset, run._destinationStride, run._source + sourceOffset, run._sourceStride, run._count};
}

template <class D, class S>
void MoveChannel(const KernelRun& run, const ChannelStep& step)
{
	ForEachPixel<sizeof(D), sizeof(S)>(Shifted(run, step._destinationOffset, step._sourceOffsets[0]),
									   [](Byte* destination, const Byte* source)
									   { StoreValue(destination, ConvertValue<D>(LoadValue<S>(source))); });
}

template <class D, class S>
void MoveMean(const KernelRun& run, const ChannelStep& step)
{
	const std::array<Int, 3> offsets = step._sourceOffsets;
	ForEachPixel<sizeof(D), sizeof(S)>(
		Shifted(run, step._destinationOffset, 0),
		[&offsets](Byte* destination, const Byte* source)
		{
			StoreValue(destination, ConvertValue<D>(MeanOfThree(LoadValue<S>(source + offsets[0]), LoadValue<S>(source + offsets[1]),
																LoadValue<S>(source + offsets[2]))));
		});
}

template <class T>
void FillChannel(const KernelRun& run, const ChannelStep& step)
{
	Byte* const destination = run._destination + step._destinationOffset;
	const Int stride = run._destinationStride;
	const T value = static_cast<T>(step._fill);
	for (Int i = 0, count = run._count; i < count; ++i)
		StoreValue(destination + i * stride, value);
}

constexpr std::size_t TYPE_COUNT = VALUE_TYPE_COUNT;
using FunctionTable = std::array<std::array<ChannelStep::Function, TYPE_COUNT>, TYPE_COUNT>; // by destination, then source

template <ValueType TYPE>
constexpr bool HAS_MEAN = TYPE == ValueType::U8 || TYPE == ValueType::U16 || TYPE == ValueType::F32 || TYPE == ValueType::F64;

template <std::size_t D, std::size_t S>
constexpr ChannelStep::Function MeanFunction()
{
	if constexpr (HAS_MEAN<static_cast<ValueType>(S)>)
		return &MoveMean<ValueOf<static_cast<ValueType>(D)>, ValueOf<static_cast<ValueType>(S)>>;
	else
		return nullptr;
}

template <std::size_t... PAIR>
constexpr FunctionTable MakeMovers(std::index_sequence<PAIR...>)
{
	FunctionTable table = {};
	((table[PAIR / TYPE_COUNT][PAIR % TYPE_COUNT] =
		  &MoveChannel<ValueOf<static_cast<ValueType>(PAIR / TYPE_COUNT)>, ValueOf<static_cast<ValueType>(PAIR % TYPE_COUNT)>>),
	 ...);
	return table;
}

template <std::size_t... PAIR>
constexpr FunctionTable MakeMeans(std::index_sequence<PAIR...>)
{
	FunctionTable table = {};
	((table[PAIR / TYPE_COUNT][PAIR % TYPE_COUNT] = MeanFunction<PAIR / TYPE_COUNT, PAIR % TYPE_COUNT>()), ...);
	return table;
}

constexpr FunctionTable MOVERS = MakeMovers(std::make_index_sequence<TYPE_COUNT * TYPE_COUNT>());
constexpr FunctionTable MEANS = MakeMeans(std::make_index_sequence<TYPE_COUNT * TYPE_COUNT>());

ChannelStep::Function FillOfSize(Int size)
{
	switch (size)
	{
	case 1:
		return &FillChannel<UChar>;
	case 2:
		return &FillChannel<UInt16>;
	case 4:
		return &FillChannel<UInt32>;
	default:
		return &FillChannel<UInt64>;
	}
}

template <std::size_t... TYPE>
UInt64 FillBits(ValueType type, UChar value, std::index_sequence<TYPE...>)
{
	std::array<Byte, 8> bytes = {};
	((static_cast<std::size_t>(type) == TYPE ? StoreValue(bytes.data(), ConvertValue<ValueOf<static_cast<ValueType>(TYPE)>>(value))
											 : void()),
	 ...);
	UInt64 bits = 0; // from the lowest byte, also where the machine's order is another
	switch (SizeOf(type))
	{
	case 1:
		bits = LoadValue<UChar>(bytes.data());
		break;
	case 2:
		bits = LoadValue<UInt16>(bytes.data());
		break;
	case 4:
		bits = LoadValue<UInt32>(bytes.data());
		break;
	default:
		bits = LoadValue<UInt64>(bytes.data());
		break;
	}
	return bits;
}

} // namespace

ChannelStep MoverStep(const ChannelPlace& destination, const ChannelPlace& source)
{
	const auto function = MOVERS[static_cast<std::size_t>(destination._type)][static_cast<std::size_t>(source._type)];
	return {function, destination._offset, {source._offset, 0, 0}, 0};
}

ChannelStep MeanStep(const ChannelPlace& destination, ValueType sourceType, const std::array<Int, 3>& sourceOffsets)
{
	const auto function = MEANS[static_cast<std::size_t>(destination._type)][static_cast<std::size_t>(sourceType)];
	return {function, destination._offset, sourceOffsets, 0};
}

ChannelStep FillStep(const ChannelPlace& destination, UChar value)
{
	const UInt64 bits = FillBits(destination._type, value, std::make_index_sequence<TYPE_COUNT>());
	return {FillOfSize(SizeOf(destination._type)), destination._offset, {}, bits};
}

ChannelStep ZeroStep(const ChannelPlace& destination)
{
	return {FillOfSize(SizeOf(destination._type)), destination._offset, {}, 0};
}

void RunSteps(Block<const ChannelStep> steps, const KernelRun& run)
{
	for (Int done = 0; done < run._count; done += PIXELS_AT_A_TIME)
	{
		const KernelRun part = {run._destination + done * run._destinationStride, run._destinationStride,
								run._source + done * run._sourceStride, run._sourceStride, std::min(PIXELS_AT_A_TIME, run._count - done)};
		for (const ChannelStep& step : steps)
			step._function(part, step);
	}
}

} // namespace torvi
