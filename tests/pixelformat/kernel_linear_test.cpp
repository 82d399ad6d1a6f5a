// The loops between data types against the plain arithmetic of single values: every value of the small types, awkward floats, and the
// ends of runs.
#include "pixelformat/kernel_linear.h"
#include "pixelformat/kernel_values.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <vector>

namespace torvi
{

namespace
{

template <class T>
using BitsOf = std::conditional_t<sizeof(T) == 1, UChar,
								  std::conditional_t<sizeof(T) == 2, UInt16, std::conditional_t<sizeof(T) == 4, UInt32, UInt64>>>;

/// Every value of types of up to 16 bits; of the others all exponents and signs with mantissas that are empty, full, or just around what
/// a narrower type cuts, NaNs among them.
template <class T>
std::vector<Byte> AwkwardValues()
{
	using Bits = BitsOf<T>;
	std::vector<Byte> bytes;
	const auto add = [&](Bits bits)
	{
		bytes.resize(bytes.size() + sizeof(T));
		std::memcpy(&*bytes.end() - sizeof(T), &bits, sizeof(T));
	};
	if constexpr (sizeof(T) <= 2)
		for (UInt32 bits = 0; bits < 1u << (8 * sizeof(T)); ++bits)
			add(static_cast<Bits>(bits));
	else
	{
		constexpr Int TOP = 8 * sizeof(T) - 12; // sign and eleven bits, which hold the exponent
		for (UInt64 top = 0; top < 4096; ++top)
			for (const UInt64 rest : {UInt64(0), UInt64(1), ~UInt64(0), UInt64(1) << (TOP - 1), UInt64(0x9E3779B97F4A7C15)})
				add(static_cast<Bits>(top << TOP | (rest & ((UInt64(1) << TOP) - 1))));
		for (UInt32 i = 0; i <= 65536; ++i) // the steps of 16 bits and the points between them
		{
			const Float64 value = i / 131072.0 * 1.25 - 0.125;
			if constexpr (std::floating_point<T>)
				add(std::bit_cast<Bits>(static_cast<T>(value)));
		}
	}
	return bytes;
}

template <class D, class S>
void CompareWithPlainLoop(ValueType destination, ValueType source)
{
	const std::vector<Byte> values = AwkwardValues<S>();
	const Int count = std::ssize(values) / Int(sizeof(S));
	std::vector<Byte> expected(static_cast<std::size_t>(count) * sizeof(D)), actual(expected.size());
	for (Int i = 0; i < count; ++i)
		StoreValue(expected.data() + i * Int(sizeof(D)), ConvertValue<D>(LoadValue<S>(values.data() + i * Int(sizeof(S)))));
	LinearKernelFor(destination, source)(actual.data(), values.data(), count);
	if constexpr (std::same_as<D, Float64> || (std::same_as<D, Float32> && std::same_as<S, Float64>)) // which NaN it is the processor says
		for (Int i = 0; i < count; ++i)
		{
			D& right = *reinterpret_cast<D*>(expected.data() + i * Int(sizeof(D)));
			D& result = *reinterpret_cast<D*>(actual.data() + i * Int(sizeof(D)));
			if (right != right && result != result)
				right = result = D();
		}
	const auto [wrong, right] = std::mismatch(actual.begin(), actual.end(), expected.begin());
	EXPECT_TRUE(wrong == actual.end()) << static_cast<int>(destination) << " from " << static_cast<int>(source) << ", value "
									   << (wrong - actual.begin()) / Int(sizeof(D));

	// Runs of all lengths from an odd address write their bytes and no others.
	for (Int length = 0; length <= 130; ++length)
	{
		const Int start = std::min(length * 7, count - length);
		std::vector<Byte> part(static_cast<std::size_t>(length) * sizeof(D) + 2, 0xA5), wanted(part);
		std::copy_n(expected.begin() + start * Int(sizeof(D)), length * Int(sizeof(D)), wanted.begin() + 1);
		LinearKernelFor(destination, source)(part.data() + 1, values.data() + start * Int(sizeof(S)), length);
		EXPECT_TRUE(wanted == part) << length;
	}
}

TEST(KernelLinear, AllTypesAgreeWithThePlainLoop)
{
	for (Int d = 0; d < VALUE_TYPE_COUNT; ++d)
		for (Int s = 0; s < VALUE_TYPE_COUNT; ++s)
			WithValueOfType(static_cast<ValueType>(d),
							[&](auto to)
							{
								WithValueOfType(static_cast<ValueType>(s),
												[&](auto from) {
													CompareWithPlainLoop<decltype(to), decltype(from)>(static_cast<ValueType>(d),
																									   static_cast<ValueType>(s));
												});
							});
}

} // namespace

} // namespace torvi
