// Guarded runs, awkward values and their comparison.
#include "tests/pixelformat/kernel_harness.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace torvi
{

namespace
{

constexpr Int GUARD = 64;
constexpr Byte GUARD_BYTE = 0xA5;

constexpr std::array EDGES = {0.0,
							  -0.0,
							  1.0,
							  0.5,
							  0.999,
							  0.9999999,
							  1.0000001,
							  1.5,
							  -0.1,
							  -1.0,
							  2.0,
							  1e-3,
							  6.0e-5,
							  6.1035e-5,
							  5.9e-8,
							  2.9e-8,
							  1e-10,
							  1e-42,
							  254.5 / 255,
							  127.5 / 255,
							  65534.5 / 65535,
							  4294967040.0 / 4294967296.0,
							  0.49999997,
							  65472.0,
							  65499.9,
							  65504.0,
							  70000.0,
							  -65500.5,
							  1e30,
							  -1e30,
							  3.4e38,
							  -3.4e38,
							  1e300,
							  -1e300};

} // namespace

RunSide::RunSide(const std::vector<Int>& offsets, Int valueSize, Int stride, Int count, Int misalignment)
	: _offsets(offsets), _stride(stride)
{
	const Int last = std::max<Int>(count - 1, 0) * stride;
	const Int lowest = std::min<Int>(last, 0);
	const Int reach = *std::max_element(offsets.begin(), offsets.end()) + valueSize;
	_start = GUARD + misalignment - lowest;
	_bytes.assign(static_cast<std::size_t>(_start + std::max<Int>(last, 0) + reach + GUARD), GUARD_BYTE);
}

std::vector<BITS> InBits(const Arrangement& arrangement, Int pixelSize)
{
	std::vector<BITS> bits;
	for (const Int offset : arrangement._offsets)
		bits.push_back(offset * 8);
	bits.push_back(pixelSize * 8);
	return bits;
}

Float64 ValueSource::NextFloat()
{
	const UInt32 kind = Pick(8);
	if (kind == 0)
		return EDGES[Pick(EDGES.size())];
	if (kind == 1)
		return std::numeric_limits<Float64>::infinity() * (Pick(2) ? 1 : -1);
	if (kind == 2)
		return std::ldexp(1.0 + Pick(1u << 30) * 0x1p-30, static_cast<int>(Pick(45)) - 27);
	if (kind == 3)
		return (Pick(256) + Pick(3) * 0.5 - 0.5) / 255;
	return (Pick(1u << 30) * 0x1p-30) * 1.25 - 0.125;
}

reference::Number ValueSource::Next(reference::Type type, Int pixel)
{
	if (!reference::IsFloat(type))
	{
		const UInt32 bits = Pick(4) == 0 ? (Pick(2) ? 0xFFFFFFFFu : 0u) : Pick(1u << 16) << 16 ^ Pick(1u << 20);
		const Int size = reference::SizeOf(type);
		return reference::Integer(type, size == 4 ? bits : bits >> (32 - 8 * size));
	}
	Float64 value = NextFloat();
	if (std::abs(value) > 1e4)
		value = pixel % 2 == 0 ? std::abs(value) : -std::abs(value);
	if (type == reference::Type::F64)
		return reference::Double(value);
	const Float32 single = static_cast<Float32>(value);
	if (type == reference::Type::F32)
		return reference::Single(single);
	if (std::abs(single) > 65504.0f) // half infinities do not come from float32
		return reference::Integer(type, single > 0 ? 0x7C00 : 0xFC00);
	return reference::Integer(type, reference::FloatToHalf(single));
}

void FillWithValues(RunSide& side, const reference::Format& format, Int count, UInt32 seed)
{
	ValueSource values(seed);
	for (Int i = 0; i < count; ++i)
		for (const Int offset : side.GetOffsets())
			reference::Write(values.Next(format._type, i), side.GetPixel(i) + offset);
}

std::string CompareRuns(RunSide& destination, RunSide& source, Int count, const RunUnderTest& kernel, const PixelReference& reference)
{
	std::vector<Byte>& actual = destination.GetBytes();
	const std::vector<Byte> before = actual;
	for (Int i = 0; i < count; ++i)
		reference(destination.GetPixel(i), source.GetPixel(i));
	const std::vector<Byte> expected = actual;
	actual = before;
	kernel({destination.GetStart(), destination.GetStride(), source.GetStart(), source.GetStride(), count});
	const auto [wrong, right] = std::mismatch(actual.begin(), actual.end(), expected.begin());
	if (wrong == actual.end())
		return {};
	const Int at = wrong - actual.begin() - (destination.GetStart() - actual.data());
	return "count " + std::to_string(count) + ", strides " + std::to_string(destination.GetStride()) + " and " +
		   std::to_string(source.GetStride()) + ": byte " + std::to_string(at) + " is " + std::to_string(*wrong) + ", not " +
		   std::to_string(*right);
}

} // namespace torvi
