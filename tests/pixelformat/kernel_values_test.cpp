// The arithmetic of single values, by literal numbers: both the reference and the kernels' own are held to them.
#include "pixelformat/kernel_values.h"
#include "tests/pixelformat/reference.h"

#include <gtest/gtest.h>

#include <cmath>

namespace torvi
{

namespace
{

using reference::Double;
using reference::Integer;
using reference::Number;
using reference::Single;
using reference::Type;

// The kernels' conversion, behind the reference's interface.
template <class From>
Number ConvertByKernels(From value, Type to)
{
	switch (to)
	{
	case Type::U8:
		return Integer(to, ConvertValue<UChar>(value));
	case Type::S8:
		return Integer(to, static_cast<UChar>(ConvertValue<Char>(value)));
	case Type::U16:
		return Integer(to, ConvertValue<UInt16>(value));
	case Type::S16:
		return Integer(to, static_cast<UInt16>(ConvertValue<Int16>(value)));
	case Type::U32:
		return Integer(to, ConvertValue<UInt32>(value));
	case Type::S32:
		return Integer(to, static_cast<UInt32>(ConvertValue<Int32>(value)));
	case Type::F16:
		return Integer(to, ConvertValue<HalfFloat>(value).GetBits());
	case Type::F32:
		return Single(ConvertValue<Float32>(value));
	default:
		return Double(ConvertValue<Float64>(value));
	}
}

Number ConvertByKernels(const Number& from, Type to)
{
	switch (from._type)
	{
	case Type::U8:
		return ConvertByKernels(static_cast<UChar>(from._bits), to);
	case Type::S8:
		return ConvertByKernels(static_cast<Char>(from._bits), to);
	case Type::U16:
		return ConvertByKernels(static_cast<UInt16>(from._bits), to);
	case Type::S16:
		return ConvertByKernels(static_cast<Int16>(from._bits), to);
	case Type::U32:
		return ConvertByKernels(from._bits, to);
	case Type::S32:
		return ConvertByKernels(static_cast<Int32>(from._bits), to);
	case Type::F16:
		return ConvertByKernels(HalfFloat::FromBits(static_cast<UInt16>(from._bits)), to);
	case Type::F32:
		return ConvertByKernels(from._single, to);
	default:
		return ConvertByKernels(from._double, to);
	}
}

bool SameBits(const Number& a, const Number& b)
{
	return a._type == b._type && a._bits == b._bits && std::bit_cast<UInt32>(a._single) == std::bit_cast<UInt32>(b._single) &&
		   std::bit_cast<UInt64>(a._double) == std::bit_cast<UInt64>(b._double);
}

struct Conversion
{
	const char* _name;
	Number _from, _to;
};

const std::vector<Conversion> CONVERSIONS = {
	{"widening repeats", Integer(Type::U8, 0xAB), Integer(Type::U32, 0xABABABAB)},
	{"full stays full", Integer(Type::U8, 255), Integer(Type::U16, 65535)},
	{"narrowing cuts", Integer(Type::U16, 65279), Integer(Type::U8, 254)},
	{"one step of 16 bits", Integer(Type::U16, 256), Integer(Type::U8, 1)},
	{"below one step", Integer(Type::U16, 255), Integer(Type::U8, 0)},
	{"16 to 32 bits", Integer(Type::U16, 0x1234), Integer(Type::U32, 0x12341234)},
	{"32 to 16 bits", Integer(Type::U32, 0xFFFE7FFF), Integer(Type::U16, 0xFFFE)},
	{"lowest signed is black", Integer(Type::S8, 0x80), Integer(Type::U8, 0)},
	{"signed zero is the middle", Integer(Type::S8, 0), Integer(Type::U8, 128)},
	{"highest signed is full", Integer(Type::S16, 0x7FFF), Integer(Type::U8, 255)},
	{"full as signed", Integer(Type::U8, 255), Integer(Type::S32, 0x7FFFFFFF)},
	{"one", Single(1.0f), Integer(Type::U8, 255)},
	{"nearly one", Single(0.999f), Integer(Type::U8, 255)},
	{"clamped above", Single(1.5f), Integer(Type::U8, 255)},
	{"clamped below", Single(-0.1f), Integer(Type::U8, 0)},
	{"reciprocal, no division", Integer(Type::U8, 128), Single(128 * 0.003921569f)},
	{"reciprocal in double", Integer(Type::U8, 128), Double(128 * (1.0 / 255))},
	{"32 bits to float32", Integer(Type::U32, 0xFFFFFFFF), Single(1.0f)},
	{"32 bits to float64", Integer(Type::U32, 0xFFFFFFFF), Double(4294967295.0 * 2.3283064370807974e-10)},
	{"float32 half to 32 bits", Single(0.5f), Integer(Type::U32, 0x80000000)},
	{"float64 half to 32 bits", Double(0.5), Integer(Type::U32, 0x80000000)},
	{"float32 one to 32 bits", Single(1.0f), Integer(Type::U32, 0xFFFFFFFF)},
	{"float32 below one to 32 bits", Single(0x1.fffffep-1f), Integer(Type::U32, 0xFFFFFF00)},
	{"huge to 32 bits", Single(1e30f), Integer(Type::U32, 0xFFFFFFFF)},
	{"infinity to 32 bits", Single(INFINITY), Integer(Type::U32, 0xFFFFFFFF)},
	{"float64 infinity to 32 bits", Double(INFINITY), Integer(Type::U32, 0xFFFFFFFF)},
	{"minus infinity to signed", Single(-INFINITY), Integer(Type::S32, 0x80000000)},
	{"one as half", Integer(Type::U8, 255), Integer(Type::F16, 0x3C00)},
	{"halves are cut", Integer(Type::U8, 254), Integer(Type::F16, 0x3BF7)},
	{"70000 is clamped and cut", Single(70000.0f), Integer(Type::F16, 0x7BFE)},
	{"-1e300 by way of float32", Double(-1e300), Integer(Type::F16, 0xFBFE)},
	{"infinite half through float32", Integer(Type::F16, 0x7C00), Single(INFINITY)},
	{"smallest half", Integer(Type::F16, 0x0001), Single(0x1p-24f)},
	{"largest denormal half", Integer(Type::F16, 0x83FF), Single(-0x1.ff8p-15f)},
	{"below the denormals", Single(-0x1.fffffep-25f), Integer(Type::F16, 0x8000)},
	{"a denormal is cut", Single(0x1.fffp-24f), Integer(Type::F16, 0x0001)},
	{"NaN to half", Single(std::bit_cast<Float32>(0x7FC00000)), Integer(Type::F16, 0x7E00)},
	{"a thin NaN is cut to infinity", Single(std::bit_cast<Float32>(0xFF800001)), Integer(Type::F16, 0xFC00)},
	{"NaN half is copied", Integer(Type::F16, 0xFE01), Integer(Type::F16, 0xFE01)},
};

TEST(KernelValues, ReferenceAndKernelsHoldToLiterals)
{
	for (const Conversion& one : CONVERSIONS)
	{
		EXPECT_TRUE(SameBits(one._to, reference::Convert(one._from, one._to._type))) << one._name;
		EXPECT_TRUE(SameBits(one._to, ConvertByKernels(one._from, one._to._type))) << one._name;
	}
}

TEST(KernelValues, MeansHoldToLiterals)
{
	struct Case
	{
		Number _a, _b, _c, _mean;
	};
	const std::vector<Case> cases = {
		{Integer(Type::U8, 255), Integer(Type::U8, 255), Integer(Type::U8, 255), Integer(Type::U8, 255)},
		{Integer(Type::U8, 1), Integer(Type::U8, 1), Integer(Type::U8, 0), Integer(Type::U8, 0)},
		{Integer(Type::U8, 255), Integer(Type::U8, 0), Integer(Type::U8, 0), Integer(Type::U8, 85)},
		{Integer(Type::U16, 65535), Integer(Type::U16, 65535), Integer(Type::U16, 65535), Integer(Type::U16, 65535)},
		{Integer(Type::U32, 0xFFFFFFFF), Integer(Type::U32, 0xFFFFFFFF), Integer(Type::U32, 0xFFFFFFFF), Integer(Type::U32, 0xFFFFFFFF)},
		{Integer(Type::S32, 0xFFFFFFFF), Integer(Type::S32, 0xFFFFFFFF), Integer(Type::S32, 0), Integer(Type::S32, 0)},
		{Integer(Type::F16, 0x3C00), Integer(Type::F16, 0), Integer(Type::F16, 0), Integer(Type::F16, 0x3555)},
		{Single(-0.0f), Single(-0.0f), Single(-0.0f), Single(0.0f)},
		{Double(1.0), Double(0.0), Double(0.0), Double(1.0 / 3)},
	};
	for (const Case& one : cases)
		EXPECT_TRUE(SameBits(one._mean, reference::MeanOf(one._a, one._b, one._c))) << static_cast<int>(one._a._type);
	EXPECT_EQ(85, MeanOfThree(UChar(255), UChar(0), UChar(0)));
	EXPECT_EQ(0, MeanOfThree(Int32(-1), Int32(-1), Int32(0)));
	EXPECT_EQ(INT32_MAX, MeanOfThree(INT32_MAX, INT32_MAX, INT32_MAX));
	EXPECT_EQ(INT32_MAX - 1, MeanOfThree(INT32_MAX, INT32_MAX, INT32_MAX - 1));
	EXPECT_EQ(INT32_MIN, MeanOfThree(INT32_MIN, INT32_MIN, INT32_MIN));
	EXPECT_EQ(0x3555, MeanOfThree(HalfFloat(1.0f), HalfFloat(), HalfFloat()).GetBits());
	EXPECT_FALSE(std::signbit(MeanOfThree(-0.0f, -0.0f, -0.0f)));
}

TEST(KernelValues, NaNGivesBlackIntegers)
{
	EXPECT_EQ(0, ConvertValue<UChar>(NAN));
	EXPECT_EQ(0, ConvertValue<UInt16>(static_cast<Float64>(NAN)));
	EXPECT_EQ(0u, ConvertValue<UInt32>(NAN));
	EXPECT_EQ(0u, ConvertValue<UInt32>(static_cast<Float64>(NAN)));
}

TEST(KernelValues, HalvesAgreeWithTheTables)
{
	for (UInt32 bits = 0; bits < 0x10000; ++bits)
	{
		const Float32 value = static_cast<Float32>(HalfFloat::FromBits(static_cast<UInt16>(bits)));
		ASSERT_EQ(std::bit_cast<UInt32>(reference::HalfToFloat(static_cast<UInt16>(bits))), std::bit_cast<UInt32>(value)) << bits;
	}
	constexpr UInt64 STEP = 509; // a prime, so that all low bits occur; every float was tried once
	for (UInt64 bits = 0; bits < (UInt64(1) << 32); bits += STEP)
	{
		const Float32 value = std::bit_cast<Float32>(static_cast<UInt32>(bits));
		ASSERT_EQ(reference::FloatToHalf(value), HalfFloat(value).GetBits()) << bits;
	}
}

// What float32 has next to the steps of 8 and 16 bits, where arithmetic in another width would differ.
TEST(KernelValues, FloatsAroundEveryStepAgreeWithReference)
{
	for (const Type type : {Type::U8, Type::U16, Type::F16})
		for (Int step = 0; step < 65536; ++step)
		{
			Float32 value = (static_cast<Float32>(step) - 0.5f) / (type == Type::U8 ? 255.0f : 65535.0f);
			value = std::nextafterf(std::nextafterf(value, -1.0f), -1.0f);
			for (int i = 0; i < 5; ++i, value = std::nextafterf(value, 2.0f))
			{
				ASSERT_TRUE(SameBits(reference::Convert(Single(value), type), ConvertByKernels(value, type))) << value;
				ASSERT_TRUE(SameBits(reference::Convert(Double(value), type), ConvertByKernels(Float64(value), type))) << value;
			}
		}
}

} // namespace

} // namespace torvi
