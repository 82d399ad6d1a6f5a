// Encoding and decoding of RGBE. The split of the largest colour into mantissa and exponent is done on its bits.
#include "pixelformat/kernel_rgbe.h"

#include "pixelformat/kernel_values.h"

#include <bit>

namespace torvi
{

namespace
{

constexpr Float32 LARGEST = std::numeric_limits<Float32>::max();
constexpr Float32 LOWEST_CAST = -2147483648.0f;

TORVI_KERNEL_INLINE Float32 Larger(Float32 a, Float32 b)
{
	return b > a ? b : a;
}

TORVI_KERNEL_INLINE Byte CutToByte(Float32 value)
{
	const Float32 above = value > LOWEST_CAST ? value : LOWEST_CAST; // NaN goes here too, and its low byte is 0
	return static_cast<Byte>(static_cast<Int32>(above));
}

TORVI_KERNEL_INLINE std::array<Byte, RGBE_PIXEL_SIZE> Encode(Float32 red, Float32 green, Float32 blue)
{
	const Float32 largest = Larger(Larger(red, green), blue);
	if (!(largest > 1e-32f))
		return {};
	const Float32 top = largest < LARGEST ? largest : LARGEST;
	const UInt32 bits = std::bit_cast<UInt32>(top);
	const Float32 mantissa = std::bit_cast<Float32>((bits & 0x007FFFFF) | 0x3F000000); // 0.5 up to 1
	const UInt32 exponent = (bits >> 23) - 126;
	const Float32 scale = 255.99989318847656f * mantissa / top;
	const auto byteOf = [scale](Float32 colour) { return CutToByte((LARGEST < colour ? LARGEST : colour) * scale); };
	return {byteOf(red), byteOf(green), byteOf(blue), static_cast<Byte>(exponent ^ 128u)};
}

TORVI_KERNEL_INLINE std::array<Float32, 3> Decode(const Byte* pixel)
{
	// The scale in double is never denormal, and the products are exact in float32.
	const UInt64 exponent = pixel[3] + UInt64(1023 - 136);
	const Float64 scale = pixel[3] == 0 ? 0.0 : std::bit_cast<Float64>(exponent << 52);
	const auto colourOf = [scale](Byte mantissa) { return static_cast<Float32>((mantissa + 0.5) * scale); };
	return {colourOf(pixel[0]), colourOf(pixel[1]), colourOf(pixel[2])};
}

constexpr FixedFormat MIDDLE = FixedFormat::RGB_F32; // which other formats become on their way
constexpr Int MIDDLE_SIZE = 12;

void EncodePixels(Byte* __restrict destination, const Byte* __restrict source, Int count, const PlanStep&)
{
	for (Int i = 0; i < count; ++i)
	{
		const Byte* const from = source + i * MIDDLE_SIZE;
		const auto pixel = Encode(LoadValue<Float32>(from), LoadValue<Float32>(from + 4), LoadValue<Float32>(from + 8));
		std::memcpy(destination + i * RGBE_PIXEL_SIZE, pixel.data(), RGBE_PIXEL_SIZE);
	}
}

void DecodePixels(Byte* __restrict destination, const Byte* __restrict source, Int count, const PlanStep&)
{
	for (Int i = 0; i < count; ++i)
	{
		const std::array<Float32, 3> colours = Decode(source + i * RGBE_PIXEL_SIZE);
		std::memcpy(destination + i * MIDDLE_SIZE, colours.data(), MIDDLE_SIZE);
	}
}

bool IsPartner(FixedFormat format)
{
	using enum FixedFormat;
	return format == RGB_U8 || format == RGB_U16 || format == RGB_F16 || format == RGB_F32 || format == RGB_F64;
}

} // namespace

std::array<Byte, RGBE_PIXEL_SIZE> EncodeRgbe(Float32 red, Float32 green, Float32 blue)
{
	return Encode(red, green, blue);
}

std::array<Float32, 3> DecodeRgbe(const Byte* pixel)
{
	return Decode(pixel);
}

std::optional<ConversionPlan> RgbePlanFrom(const FixedPlaces& source)
{
	if (!IsPartner(source.GetFormat()))
		return std::nullopt;
	return PlanBetween(FixedPlaces(MIDDLE), source).Before({&EncodePixels, RGBE_PIXEL_SIZE, MIDDLE_SIZE});
}

std::optional<ConversionPlan> RgbePlanTo(const FixedPlaces& destination)
{
	if (!IsPartner(destination.GetFormat()))
		return std::nullopt;
	return PlanBetween(destination, FixedPlaces(MIDDLE)).After({&DecodePixels, MIDDLE_SIZE, RGBE_PIXEL_SIZE});
}

} // namespace torvi
