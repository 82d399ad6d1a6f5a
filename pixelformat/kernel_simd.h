// The vector library with the instruction set that the build is for, and the few operations that it has only in a slower form. Only
// kernel files include this. Where the instruction set has no shuffles of bytes (plain x86-64) TORVI_HAS_VECTORS is 0, and kernels are
// what the compiler makes of their plain loops.
#pragma once

#include "host/types.h"

#include <hwy/highway.h>

#define TORVI_HAS_VECTORS (HWY_TARGET != HWY_SCALAR)
#if TORVI_HAS_VECTORS

namespace torvi
{

namespace simd
{

using namespace hwy::HWY_NAMESPACE; // NOLINT(google-build-using-namespace): the library's own namespace is named after the target

// Vectors as wide as the machine has them, and those with as many lanes of other types.
using Floats = ScalableTag<Float32>;
using Ints = Rebind<Int32, Floats>;
using UInts = Rebind<UInt32, Floats>;
using Doubles = ScalableTag<Float64>;
using DoubleInts = Rebind<Int32, Doubles>;
constexpr Int LANES = HWY_LANES(Float32);
constexpr Int DOUBLE_LANES = HWY_LANES(Float64);

template <class Tag>
HWY_INLINE VFromD<Tag> LoadAt(Tag tag, const Byte* source)
{
	return LoadU(tag, reinterpret_cast<const TFromD<Tag>*>(source));
}

template <class Tag>
HWY_INLINE void StoreAt(VFromD<Tag> vector, Tag tag, Byte* destination)
{
	StoreU(vector, tag, reinterpret_cast<TFromD<Tag>*>(destination));
}

/// Cuts floats below 2^31. What is below -2^31 and NaN become negative numbers, or 0; the library's own ConvertTo makes the largest number
/// of NaN on x86.
HWY_INLINE VFromD<Ints> Truncate(VFromD<Floats> floats)
{
#if HWY_TARGET == HWY_AVX2
	return VFromD<Ints>{_mm256_cvttps_epi32(floats.raw)};
#elif HWY_ARCH_X86 && HWY_TARGET < HWY_AVX2
	return VFromD<Ints>{_mm512_cvttps_epi32(floats.raw)};
#elif HWY_ARCH_X86
	return VFromD<Ints>{_mm_cvttps_epi32(floats.raw)};
#else
	return ConvertTo(Ints(), floats);
#endif
}

/// The same for two vectors of doubles.
HWY_INLINE VFromD<Ints> Truncate(VFromD<Doubles> low, VFromD<Doubles> high)
{
#if HWY_TARGET == HWY_AVX2
	return VFromD<Ints>{_mm256_set_m128i(_mm256_cvttpd_epi32(high.raw), _mm256_cvttpd_epi32(low.raw))};
#elif HWY_ARCH_X86 && HWY_TARGET < HWY_AVX2
	const __m512i lowHalf = _mm512_castsi256_si512(_mm512_cvttpd_epi32(low.raw));
	return VFromD<Ints>{_mm512_inserti64x4(lowHalf, _mm512_cvttpd_epi32(high.raw), 1)};
#elif HWY_ARCH_X86
	return VFromD<Ints>{_mm_unpacklo_epi64(_mm_cvttpd_epi32(low.raw), _mm_cvttpd_epi32(high.raw))};
#else
	return Combine(Ints(), DemoteTo(DoubleInts(), high), DemoteTo(DoubleInts(), low));
#endif
}

/// Stores four vectors of numbers below 256 as bytes, negative ones as 0.
HWY_INLINE void StoreAsBytes(VFromD<Ints> a, VFromD<Ints> b, VFromD<Ints> c, VFromD<Ints> d, Byte* destination)
{
#if HWY_TARGET == HWY_AVX2
	const __m256i packed = _mm256_packus_epi16(_mm256_packs_epi32(a.raw, b.raw), _mm256_packs_epi32(c.raw, d.raw));
	const __m256i inOrder = _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
	_mm256_storeu_si256(reinterpret_cast<__m256i*>(destination), inOrder);
#else
	const Rebind<UChar, Floats> bytes;
	StoreAt(DemoteTo(bytes, a), bytes, destination);
	StoreAt(DemoteTo(bytes, b), bytes, destination + LANES);
	StoreAt(DemoteTo(bytes, c), bytes, destination + 2 * LANES);
	StoreAt(DemoteTo(bytes, d), bytes, destination + 3 * LANES);
#endif
}

/// Stores two vectors of numbers below 65536 in 16 bits, negative ones as 0.
HWY_INLINE void StoreAsShorts(VFromD<Ints> a, VFromD<Ints> b, Byte* destination)
{
#if HWY_TARGET == HWY_AVX2
	const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi32(a.raw, b.raw), 0xD8);
	_mm256_storeu_si256(reinterpret_cast<__m256i*>(destination), packed);
#else
	const Rebind<UInt16, Floats> shorts;
	StoreAt(DemoteTo(shorts, a), shorts, destination);
	StoreAt(DemoteTo(shorts, b), shorts, destination + 2 * LANES);
#endif
}

} // namespace simd

} // namespace torvi

#endif
