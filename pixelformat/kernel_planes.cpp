// Interleaved loads and stores of whole vectors; the last pixels go one by one.
#include "pixelformat/kernel_planes.h"

#include "pixelformat/kernel_simd.h"
#include "pixelformat/kernel_values.h"

#include <algorithm>

namespace torvi
{

namespace
{

#if TORVI_HAS_VECTORS

template <class T, Int CHANNELS>
TORVI_KERNEL_INLINE Int InterleaveVectors(Byte* destination, const ConstPlanePointers& planes, Int pixels)
{
	const simd::ScalableTag<T> tag;
	constexpr Int LANES = HWY_LANES(T), SIZE = sizeof(T);
	Int i = 0;
	for (; i + LANES <= pixels; i += LANES)
	{
		T* const to = reinterpret_cast<T*>(destination + i * CHANNELS * SIZE);
		const auto a = simd::LoadAt(tag, planes[0] + i * SIZE), b = simd::LoadAt(tag, planes[1] + i * SIZE);
		if constexpr (CHANNELS == 2)
			simd::StoreInterleaved2(a, b, tag, to);
		else
		{
			const auto c = simd::LoadAt(tag, planes[2] + i * SIZE);
			if constexpr (CHANNELS == 3)
				simd::StoreInterleaved3(a, b, c, tag, to);
			else
				simd::StoreInterleaved4(a, b, c, simd::LoadAt(tag, planes[3] + i * SIZE), tag, to);
		}
	}
	return i;
}

template <class T, Int CHANNELS>
TORVI_KERNEL_INLINE Int DeinterleaveVectors(const PlanePointers& planes, const Byte* source, Int pixels)
{
	const simd::ScalableTag<T> tag;
	constexpr Int LANES = HWY_LANES(T), SIZE = sizeof(T);
	Int i = 0;
	for (; i + LANES <= pixels; i += LANES)
	{
		const T* const from = reinterpret_cast<const T*>(source + i * CHANNELS * SIZE);
		simd::VFromD<decltype(tag)> a, b, c, d;
		if constexpr (CHANNELS == 2)
			simd::LoadInterleaved2(tag, from, a, b);
		else if constexpr (CHANNELS == 3)
			simd::LoadInterleaved3(tag, from, a, b, c);
		else
			simd::LoadInterleaved4(tag, from, a, b, c, d);
		simd::StoreAt(a, tag, planes[0] + i * SIZE);
		simd::StoreAt(b, tag, planes[1] + i * SIZE);
		if constexpr (CHANNELS >= 3)
			simd::StoreAt(c, tag, planes[2] + i * SIZE);
		if constexpr (CHANNELS >= 4)
			simd::StoreAt(d, tag, planes[3] + i * SIZE);
	}
	return i;
}

#else

template <class T, Int CHANNELS>
Int InterleaveVectors(Byte*, const ConstPlanePointers&, Int)
{
	return 0;
}

template <class T, Int CHANNELS>
Int DeinterleaveVectors(const PlanePointers&, const Byte*, Int)
{
	return 0;
}

#endif

template <class T, Int CHANNELS>
void Interleave(Byte* destination, const ConstPlanePointers& pointers, Int pixels)
{
	constexpr Int SIZE = sizeof(T);
	const ConstPlanePointers planes = pointers; // the stores below might alias what is passed in
	if constexpr (CHANNELS == 1)
		std::memcpy(destination, planes[0], static_cast<std::size_t>(pixels * SIZE));
	else
		for (Int i = InterleaveVectors<T, CHANNELS>(destination, planes, pixels); i < pixels; ++i)
			for (Int channel = 0; channel < CHANNELS; ++channel)
				StoreValue(destination + (i * CHANNELS + channel) * SIZE,
						   LoadValue<T>(planes[static_cast<std::size_t>(channel)] + i * SIZE));
}

template <class T, Int CHANNELS>
void Deinterleave(const PlanePointers& pointers, const Byte* source, Int pixels)
{
	constexpr Int SIZE = sizeof(T);
	const PlanePointers planes = pointers; // the stores below might alias what is passed in
	if constexpr (CHANNELS == 1)
		std::memcpy(planes[0], source, static_cast<std::size_t>(pixels * SIZE));
	else
		for (Int i = DeinterleaveVectors<T, CHANNELS>(planes, source, pixels); i < pixels; ++i)
			for (Int channel = 0; channel < CHANNELS; ++channel)
				StoreValue(planes[static_cast<std::size_t>(channel)] + i * SIZE, LoadValue<T>(source + (i * CHANNELS + channel) * SIZE));
}

constexpr Int CHUNK = 128; // pixels

/// Five channels are one, and four that lie side by side for a while.
template <class T>
void InterleaveFive(Byte* destination, const ConstPlanePointers& pointers, Int pixels)
{
	constexpr Int SIZE = sizeof(T);
	const ConstPlanePointers planes = pointers;
	alignas(64) std::array<Byte, CHUNK * 4 * sizeof(T)> buffer;
	for (Int done = 0; done < pixels; done += CHUNK)
	{
		const Int part = std::min(CHUNK, pixels - done);
		const auto from = [&](std::size_t channel) { return planes[channel] + done * SIZE; };
		Interleave<T, 4>(buffer.data(), {from(1), from(2), from(3), from(4)}, part);
		const Byte* const first = from(0);
		Byte* const __restrict to = destination + done * 5 * SIZE;
		for (Int i = 0; i < part; ++i)
		{
			StoreValue(to + i * 5 * SIZE, LoadValue<T>(first + i * SIZE));
			std::memcpy(to + (i * 5 + 1) * SIZE, buffer.data() + i * 4 * SIZE, 4 * SIZE);
		}
	}
}

template <class T>
void DeinterleaveFive(const PlanePointers& pointers, const Byte* source, Int pixels)
{
	constexpr Int SIZE = sizeof(T);
	const PlanePointers planes = pointers;
	alignas(64) std::array<Byte, CHUNK * 4 * sizeof(T)> buffer;
	for (Int done = 0; done < pixels; done += CHUNK)
	{
		const Int part = std::min(CHUNK, pixels - done);
		const auto to = [&](std::size_t channel) { return planes[channel] + done * SIZE; };
		Byte* const __restrict first = to(0);
		const Byte* const from = source + done * 5 * SIZE;
		for (Int i = 0; i < part; ++i)
		{
			StoreValue(first + i * SIZE, LoadValue<T>(from + i * 5 * SIZE));
			std::memcpy(buffer.data() + i * 4 * SIZE, from + (i * 5 + 1) * SIZE, 4 * SIZE);
		}
		Deinterleave<T, 4>({to(1), to(2), to(3), to(4)}, buffer.data(), part);
	}
}

template <class T>
constexpr std::array<InterleaveKernel, MAXIMUM_CHANNELS> INTERLEAVE = {&Interleave<T, 1>, &Interleave<T, 2>, &Interleave<T, 3>,
																	   &Interleave<T, 4>, &InterleaveFive<T>};
template <class T>
constexpr std::array<DeinterleaveKernel, MAXIMUM_CHANNELS> DEINTERLEAVE = {&Deinterleave<T, 1>, &Deinterleave<T, 2>, &Deinterleave<T, 3>,
																		   &Deinterleave<T, 4>, &DeinterleaveFive<T>};

} // namespace

InterleaveKernel InterleaveKernelFor(Int valueSize, Int channels)
{
	return WithValueOfSize(valueSize, [&](auto value) { return INTERLEAVE<decltype(value)>[static_cast<std::size_t>(channels - 1)]; });
}

DeinterleaveKernel DeinterleaveKernelFor(Int valueSize, Int channels)
{
	return WithValueOfSize(valueSize, [&](auto value) { return DEINTERLEAVE<decltype(value)>[static_cast<std::size_t>(channels - 1)]; });
}

} // namespace torvi
