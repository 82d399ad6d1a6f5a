// Means are taken of planes: the pixels of a chunk are taken apart, and what becomes of them is put together.
#include "pixelformat/kernel_mean.h"

#include "pixelformat/kernel_linear.h"
#include "pixelformat/kernel_values.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr Int CHUNK = 128; // pixels

template <class T>
struct alignas(64) Plane
{
	std::array<Byte, CHUNK * sizeof(T)> _bytes;
};

template <class T>
void MeanOfPlanes(Byte* __restrict destination, const Byte* __restrict red, const Byte* __restrict green, const Byte* __restrict blue,
				  Int count)
{
	constexpr Int SIZE = sizeof(T);
	for (Int i = 0; i < count; ++i)
		StoreValue(destination + i * SIZE,
				   MeanOfThree(LoadValue<T>(red + i * SIZE), LoadValue<T>(green + i * SIZE), LoadValue<T>(blue + i * SIZE)));
}

/// The same as for other types, in three loops that the compiler makes vectors of.
template <>
void MeanOfPlanes<HalfFloat>(Byte* destination, const Byte* red, const Byte* green, const Byte* blue, Int count)
{
	constexpr Int SIZE = sizeof(HalfFloat);
	const LinearKernel widen = LinearKernelFor(ValueType::F32, ValueType::F16), narrow = LinearKernelFor(ValueType::F16, ValueType::F32);
	std::array<std::array<Float32, CHUNK>, 3> colours;
	std::array<Float32, CHUNK> means;
	for (Int done = 0; done < count; done += CHUNK)
	{
		const Int part = std::min(CHUNK, count - done);
		widen(reinterpret_cast<Byte*>(colours[0].data()), red + done * SIZE, part);
		widen(reinterpret_cast<Byte*>(colours[1].data()), green + done * SIZE, part);
		widen(reinterpret_cast<Byte*>(colours[2].data()), blue + done * SIZE, part);
		for (std::size_t i = 0; i < static_cast<std::size_t>(part); ++i)
			means[i] = (colours[0][i] + colours[1][i] + colours[2][i]) / 3.0f;
		narrow(destination + done * SIZE, reinterpret_cast<const Byte*>(means.data()), part);
	}
}

template <class T>
void Mean(Byte* destination, const Byte* source, Int count, const MeanMap& map)
{
	constexpr Int SIZE = sizeof(T);
	std::array<Plane<T>, MAXIMUM_CHANNELS> sourcePlanes, resultPlanes;
	PlanePointers from;
	ConstPlanePointers to;
	for (std::size_t i = 0; i < MAXIMUM_CHANNELS; ++i)
		from[i] = sourcePlanes[i]._bytes.data();
	const auto channels = static_cast<std::size_t>(map._destinationCount);
	for (std::size_t i = 0; i < channels; ++i)
	{
		const MeanPick& pick = map._picks[i];
		Byte* const result = resultPlanes[i]._bytes.data();
		to[i] = pick._kind == MeanPick::Kind::Channel ? from[pick._sources[0]] : result;
		if (pick._kind == MeanPick::Kind::Fill)
			for (Int pixel = 0; pixel < CHUNK; ++pixel)
				std::memcpy(result + pixel * SIZE, &pick._fill, SIZE);
	}
	const DeinterleaveKernel takeApart = DeinterleaveKernelFor(SIZE, map._sourceCount);
	const InterleaveKernel putTogether = InterleaveKernelFor(SIZE, map._destinationCount);
	for (Int done = 0; done < count; done += CHUNK)
	{
		const Int part = std::min(CHUNK, count - done);
		Byte* const result = destination + done * map._destinationCount * SIZE;
		takeApart(from, source + done * map._sourceCount * SIZE, part);
		for (std::size_t i = 0; i < channels; ++i)
		{
			const MeanPick& pick = map._picks[i];
			if (pick._kind == MeanPick::Kind::Mean)
				MeanOfPlanes<T>(channels == 1 ? result : resultPlanes[i]._bytes.data(), from[pick._sources[0]], from[pick._sources[1]],
								from[pick._sources[2]], part);
		}
		if (channels > 1)
			putTogether(result, to, part);
	}
}

template <class T>
constexpr bool HAS_MEAN = !std::same_as<T, Char> && !std::same_as<T, Int16>;

} // namespace

MeanKernel MeanKernelFor(ValueType type)
{
	return WithValueOfType(type,
						   [](auto value) -> MeanKernel
						   {
							   if constexpr (HAS_MEAN<decltype(value)>)
								   return &Mean<decltype(value)>;
							   else
								   return nullptr;
						   });
}

PlaneMeanKernel PlaneMeanKernelFor(ValueType type)
{
	return WithValueOfType(type,
						   [](auto value) -> PlaneMeanKernel
						   {
							   if constexpr (HAS_MEAN<decltype(value)>)
								   return &MeanOfPlanes<decltype(value)>;
							   else
								   return nullptr;
						   });
}

} // namespace torvi
