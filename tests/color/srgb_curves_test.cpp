// The curves of sRGB, against the formulas with `powf`.
#include "color/srgb_curves.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace torvi::test
{

namespace
{

template <SrgbCurve CURVE>
Float32 Formula(Float32 x)
{
	if (CURVE == SrgbCurve::TO_LINEAR)
	{
		if (x <= 0.0f)
			return x;
		return x <= 0.04045f ? x * 0.07739938f : powf((x + 0.055f) * 0.9478673f, 2.4f);
	}
	if (x < 0.0f)
		return x;
	return x <= 0.0031308f ? x * 12.92f : 1.055f * powf(x, 0.41666666f) - 0.055f;
}

Bool AreSameBits(Float32 a, Float32 b)
{
	return std::bit_cast<UInt32>(a) == std::bit_cast<UInt32>(b) || (std::isnan(a) && std::isnan(b));
}

template <SrgbCurve CURVE, Int CHANNELS>
std::vector<Float32> ApplyPacked(const std::vector<Float32>& values)
{
	std::vector<Float32> results(values.size(), -7.0f);
	ApplySrgbCurve<CURVE, CHANNELS>({reinterpret_cast<Byte*>(results.data()), CHANNELS * 4, reinterpret_cast<const Byte*>(values.data()),
									 CHANNELS * 4, static_cast<Int>(values.size()) / CHANNELS});
	return results;
}

/// Bits of the first value that is not that of the formula; all bits set if there is none.
template <SrgbCurve CURVE>
UInt32 FirstDifference(const std::vector<Float32>& values)
{
	const std::vector<Float32> results = ApplyPacked<CURVE, 3>(values);
	for (std::size_t i = 0; i < values.size(); ++i)
	{
		if (!AreSameBits(results[i], Formula<CURVE>(values[i])))
			return std::bit_cast<UInt32>(values[i]);
	}
	return UINT32_MAX;
}

constexpr Float32 INFINITE = std::numeric_limits<Float32>::infinity();

const std::vector<Float32> AWKWARD = {-0.5f,      0.0f,
									  -0.0f,      1.0f,
									  0.04045f,   std::nextafter(0.04045f, 1.0f),
									  0.0031308f, std::nextafter(0.0031308f, 1.0f),
									  2.0f,       8.0f,
									  8.000001f,  65504.0f,
									  -INFINITE,  INFINITE,
									  NAN,        1e-45f,
									  0.5f,       1e-30f,
									  1e30f,      0.18f,
									  -1e30f,     3.4e38f,
									  7.5f,       0.9999999f};

TEST(SrgbCurves, AwkwardAndManyOtherValues)
{
	EXPECT_NEAR(ApplySrgbCurve<SrgbCurve::TO_LINEAR>(0.5f), 0.21404114, 1e-7);
	EXPECT_NEAR(ApplySrgbCurve<SrgbCurve::FROM_LINEAR>(0.21404114f), 0.5, 1e-6);
	std::vector<Float32> values = AWKWARD;
	for (UInt32 bits = 0; bits < 0x3F800000; bits += 9973)
		values.push_back(std::bit_cast<Float32>(bits));
	for (Float32 value = 1.0f; value < 70000.0f; value *= 1.0001f)
		values.push_back(value);
	values.resize(values.size() / 3 * 3);
	EXPECT_EQ(FirstDifference<SrgbCurve::TO_LINEAR>(values), UINT32_MAX);
	EXPECT_EQ(FirstDifference<SrgbCurve::FROM_LINEAR>(values), UINT32_MAX);
}

/// Every layout and length gives what one value gives, writes nothing else and keeps the fourth channel, also in place.
TEST(SrgbCurves, LayoutsAndLengths)
{
	const UInt32 alpha = 0x7FA12345; // a NaN that must not become a quiet one
	for (const auto& [srcDistance, dstDistance] :
		 std::initializer_list<std::pair<Int, Int>>{{16, 16}, {20, 16}, {16, 28}, {0, 16}, {-16, 20}, {17, 19}})
	{
		for (Int count = 0; count < 140; count += count < 20 ? 1 : 13)
		{
			std::vector<Byte> source(140 * 32, 0), destination(140 * 32, 0xA5);
			Byte* const first = source.data() + (srcDistance < 0 ? 140 * 16 : 0);
			for (Int i = 0; i < count; ++i)
			{
				const Float32 pixel[4] = {0.001f * static_cast<Float32>(i), 1.5f - 0.01f * static_cast<Float32>(i), -0.25f, 0.0f};
				std::memcpy(first + i * srcDistance, pixel, 12);
				std::memcpy(first + i * srcDistance + 12, &alpha, 4);
			}
			const std::vector<Byte> given = source;
			ApplySrgbCurve<SrgbCurve::TO_LINEAR, 4>({destination.data(), dstDistance, first, srcDistance, count});
			std::vector<Byte> wanted(140 * 32, 0xA5);
			for (Int i = 0; i < count; ++i)
			{
				Float32 pixel[3];
				std::memcpy(pixel, first + i * srcDistance, 12);
				for (Float32& value : pixel)
					value = Formula<SrgbCurve::TO_LINEAR>(value);
				std::memcpy(wanted.data() + i * dstDistance, pixel, 12);
				std::memcpy(wanted.data() + i * dstDistance + 12, &alpha, 4);
			}
			ASSERT_EQ(destination, wanted) << srcDistance << " " << dstDistance << " " << count;
			ASSERT_EQ(source, given);
		}
	}
	std::vector<Float32> inPlace = AWKWARD;
	auto* const bytes = reinterpret_cast<Byte*>(inPlace.data());
	ApplySrgbCurve<SrgbCurve::FROM_LINEAR, 3>({bytes, 12, bytes, 12, static_cast<Int>(inPlace.size()) / 3});
	for (std::size_t i = 0; i < inPlace.size(); ++i)
		EXPECT_TRUE(AreSameBits(inPlace[i], Formula<SrgbCurve::FROM_LINEAR>(AWKWARD[i]))) << AWKWARD[i];
}

template <SrgbCurve CURVE>
void CheckAllFloats()
{
	constexpr UInt32 ONE = 0x3F800000, BLOCK = 3 << 16;
	std::vector<Float32> values(BLOCK);
	for (UInt32 start = 0; start <= ONE; start += BLOCK)
	{
		for (UInt32 i = 0; i < BLOCK; ++i)
			values[i] = std::bit_cast<Float32>(start + i);
		const UInt32 difference = FirstDifference<CURVE>(values);
		ASSERT_EQ(difference, UINT32_MAX) << std::bit_cast<Float32>(difference);
	}
}

TEST(SlowSrgbCurves, AllFloatsFrom0To1)
{
	CheckAllFloats<SrgbCurve::TO_LINEAR>();
	CheckAllFloats<SrgbCurve::FROM_LINEAR>();
}

} // namespace

} // namespace torvi::test
