// Sums go 16 bytes at a time: a vector is added to itself moved by one sample, two, four and so on, then to the last sum before it. The
// other loops are plain ones that compilers turn into vectors. What is left at the end of a row, and all where there are no vectors, goes
// sample by sample.
#include "media_io/psd_prediction.h"

#include <bit>
#include <cstring>

#include <hwy/highway.h>

namespace torvi
{

namespace
{

namespace simd = hwy::HWY_NAMESPACE;

template <class T>
T Load(const Byte* bytes) noexcept
{
	T value;
	std::memcpy(&value, bytes, sizeof(T));
	return value;
}

template <class T>
void Store(T value, Byte* bytes) noexcept
{
	std::memcpy(bytes, &value, sizeof(T));
}

#if HWY_TARGET != HWY_SCALAR

constexpr Int VECTOR_BYTES = 16;

/// Sums whole vectors; gives the bytes that are done.
template <class T>
Int SumVectors(Block<Byte> row) noexcept
{
	const simd::Full128<T> lanes;
	const simd::Full128<Byte> bytes;
	alignas(VECTOR_BYTES) Byte lastSample[VECTOR_BYTES];
	for (std::size_t i = 0; i < sizeof(lastSample); ++i)
		lastSample[i] = static_cast<Byte>(sizeof(lastSample) - sizeof(T) + i % sizeof(T));
	const auto last = simd::Load(bytes, lastSample);
	auto carry = simd::Zero(bytes);
	Int done = 0;
	for (; done + VECTOR_BYTES <= CountOf(row); done += VECTOR_BYTES)
	{
		Byte* const at = row.data() + done;
		auto sums = simd::BitCast(lanes, simd::LoadU(bytes, at));
		sums = simd::Add(sums, simd::ShiftLeftLanes<1>(lanes, sums));
		sums = simd::Add(sums, simd::ShiftLeftLanes<2>(lanes, sums));
		sums = simd::Add(sums, simd::ShiftLeftLanes<4>(lanes, sums));
		if constexpr (sizeof(T) == 1)
			sums = simd::Add(sums, simd::ShiftLeftLanes<8>(lanes, sums));
		sums = simd::Add(sums, simd::BitCast(lanes, carry));
		simd::StoreU(simd::BitCast(bytes, sums), bytes, at);
		carry = simd::TableLookupBytes(simd::BitCast(bytes, sums), last);
	}
	return done;
}

#else

template <class T>
Int SumVectors(Block<Byte>) noexcept
{
	return 0;
}

#endif

template <class T>
void Sum(Block<Byte> row) noexcept
{
	constexpr Int SIZE = sizeof(T);
	const Int done = SumVectors<T>(row);
	T sum = done > 0 ? Load<T>(row.data() + done - SIZE) : T(0);
	for (Int i = done; i + SIZE <= CountOf(row); i += SIZE)
	{
		sum = static_cast<T>(sum + Load<T>(row.data() + i));
		Store(sum, row.data() + i);
	}
}

} // namespace

void SumBytes(Block<Byte> row) noexcept
{
	Sum<Byte>(row);
}

void SumUInt16(Block<Byte> row) noexcept
{
	Sum<UInt16>(row);
}

void JoinBytePlanes(Block<const Byte> planes, Block<Byte> samples) noexcept
{
	const Int count = CountOf(samples) / 4;
	const Byte* const __restrict from = planes.data();
	Byte* const __restrict to = samples.data();
	for (Int i = 0; i < count; ++i)
	{
		const UInt32 sample =
			UInt32(from[i]) << 24 | UInt32(from[count + i]) << 16 | UInt32(from[2 * count + i]) << 8 | from[3 * count + i];
		Store(sample, to + 4 * i);
	}
}

void SwapSamples(Block<Byte> row, Int bytesPerSample) noexcept
{
	Byte* const bytes = row.data();
	const Int size = CountOf(row);
	if (bytesPerSample == 2)
	{
		for (Int i = 0; i + 2 <= size; i += 2)
			Store(__builtin_bswap16(Load<UInt16>(bytes + i)), bytes + i);
	}
	else if (bytesPerSample == 4)
	{
		for (Int i = 0; i + 4 <= size; i += 4)
			Store(__builtin_bswap32(Load<UInt32>(bytes + i)), bytes + i);
	}
}

} // namespace torvi
