// Encoding and decoding of RGBE. The split of the largest colour into mantissa and exponent is done on its bits.
#include "pixelformat/kernel_rgbe.h"

#include "pixelformat/kernel_copy.h"
#include "pixelformat/kernel_layout.h"

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

template <FixedFormat SOURCE>
void EncodeRun(const KernelRun& run)
{
	using S = Layout<SOURCE>;
	using enum Channel;
	ForEachPixel<RGBE_PIXEL_SIZE, S::PIXEL_SIZE>(run,
												 [](Byte* destination, const Byte* source)
												 {
													 const auto pixel = Encode(ConvertValue<Float32>(S::template Load<Red>(source)),
																			   ConvertValue<Float32>(S::template Load<Green>(source)),
																			   ConvertValue<Float32>(S::template Load<Blue>(source)));
													 std::memcpy(destination, pixel.data(), RGBE_PIXEL_SIZE);
												 });
}

template <FixedFormat DESTINATION>
void DecodeRun(const KernelRun& run)
{
	using D = Layout<DESTINATION>;
	using Value = typename D::Value;
	using enum Channel;
	ForEachPixel<D::PIXEL_SIZE, RGBE_PIXEL_SIZE>(run,
												 [](Byte* destination, const Byte* source)
												 {
													 const std::array<Float32, 3> colours = Decode(source);
													 D::template Store<Red>(destination, ConvertValue<Value>(colours[0]));
													 D::template Store<Green>(destination, ConvertValue<Value>(colours[1]));
													 D::template Store<Blue>(destination, ConvertValue<Value>(colours[2]));
												 });
}

void CopyRun(const KernelRun& run)
{
	CopyPixels(run, RGBE_PIXEL_SIZE);
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

RunKernel RgbeKernelFrom(FixedFormat source)
{
	switch (source)
	{
	case FixedFormat::RGB_U8:
		return &EncodeRun<FixedFormat::RGB_U8>;
	case FixedFormat::RGB_U16:
		return &EncodeRun<FixedFormat::RGB_U16>;
	case FixedFormat::RGB_F16:
		return &EncodeRun<FixedFormat::RGB_F16>;
	case FixedFormat::RGB_F32:
		return &EncodeRun<FixedFormat::RGB_F32>;
	case FixedFormat::RGB_F64:
		return &EncodeRun<FixedFormat::RGB_F64>;
	default:
		return nullptr;
	}
}

RunKernel RgbeKernelTo(FixedFormat destination)
{
	switch (destination)
	{
	case FixedFormat::RGB_U8:
		return &DecodeRun<FixedFormat::RGB_U8>;
	case FixedFormat::RGB_U16:
		return &DecodeRun<FixedFormat::RGB_U16>;
	case FixedFormat::RGB_F16:
		return &DecodeRun<FixedFormat::RGB_F16>;
	case FixedFormat::RGB_F32:
		return &DecodeRun<FixedFormat::RGB_F32>;
	case FixedFormat::RGB_F64:
		return &DecodeRun<FixedFormat::RGB_F64>;
	default:
		return nullptr;
	}
}

RunKernel RgbeCopyKernel()
{
	return &CopyRun;
}

} // namespace torvi
