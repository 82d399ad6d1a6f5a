// Runs of pixels through the library. It wants packed RGBA, for which it has its fast loops; ours lie anywhere and keep what follows blue.
#include "platform/ocio/ocio_processor_impl.h"

#include "torvi/gfx_image_colorprofile_gpu.h"

#include <algorithm>
#include <cstring>

namespace torvi
{

namespace
{

constexpr Int CHUNK = 256; ///< pixels
constexpr Int COLORS = 3;

template <class T>
struct PackedPixel
{
	T _colors[COLORS];
	T _alpha;
};

template <class T>
struct PixelTraits;
template <>
struct PixelTraits<Float32>
{
	static constexpr ocio::BitDepth DEPTH = ocio::BIT_DEPTH_F32;
	static constexpr Float32 OPAQUE = 1;
};
template <>
struct PixelTraits<UChar>
{
	static constexpr ocio::BitDepth DEPTH = ocio::BIT_DEPTH_UINT8;
	static constexpr UChar OPAQUE = 255;
};

template <class T>
void ConvertChunk(const ocio::CPUProcessor& processor, Byte* pixels, Int distance, Int count)
{
	constexpr std::size_t COLOR_SIZE = COLORS * sizeof(T);
	PackedPixel<T> packed[CHUNK];
	for (Int i = 0; i < count; ++i)
	{
		std::memcpy(packed[i]._colors, pixels + i * distance, COLOR_SIZE);
		packed[i]._alpha = PixelTraits<T>::OPAQUE;
	}
	ocio::PackedImageDesc image(packed, count, 1, 4, PixelTraits<T>::DEPTH, sizeof(T), sizeof(packed[0]), count * Int(sizeof(packed[0])));
	processor.apply(image);
	for (Int i = 0; i < count; ++i)
		std::memcpy(pixels + i * distance, packed[i]._colors, COLOR_SIZE);
}

class OcioProcessorImpl final : public OcioProcessorInterface
{
public:
	explicit OcioProcessorImpl(ocio::ConstCPUProcessorRcPtr processor) noexcept : _processor(std::move(processor)) {}

	Result<void> ConvertPixels(Float32* pixels, Int distance, Int count, UInt32) const override { return Convert(pixels, distance, count); }
	Result<void> ConvertPixels(UChar* pixels, Int distance, Int count, UInt32) const override { return Convert(pixels, distance, count); }
	Result<ColorProfileGpuRef> GetGpuHandler() const override { return IllegalStateError("This processor converts pixels in memory."); }

private:
	template <class T>
	Result<void> Convert(T* pixels, Int distance, Int count) const
	{
		constexpr Int SIZE = COLORS * sizeof(T);
		if (count < 1)
			return OK;
		TORVI_CHECK(pixels != nullptr, NullptrError("There are no pixels to convert."));
		TORVI_CHECK(_processor->getInputBitDepth() == PixelTraits<T>::DEPTH,
					IllegalStateError("The processor was made for another depth than that of the pixels."));
		TORVI_CHECK(distance == 0 || distance >= SIZE || distance <= -SIZE,
					IllegalArgumentError("Pixels of @ bytes can not lie @ bytes apart.", SIZE, distance));
		const Int last = distance == 0 ? 1 : count; // it is the same pixel again and again
		Byte* const start = reinterpret_cast<Byte*>(pixels);
		return CallOcio(
			[&]() -> Result<void>
			{
				for (Int first = 0; first < last; first += CHUNK)
					ConvertChunk<T>(*_processor, start + first * distance, distance, std::min(CHUNK, last - first));
				return OK;
			});
	}

	ocio::ConstCPUProcessorRcPtr _processor;
};

} // namespace

Result<OcioProcessorRef> MakeOcioProcessor(const ocio::Processor& transform, OcioPixelDepth depth)
{
	const ocio::BitDepth bits = depth == OcioPixelDepth::EIGHT_BIT ? ocio::BIT_DEPTH_UINT8 : ocio::BIT_DEPTH_F32;
	return NewObject<OcioProcessorImpl>(transform.getOptimizedCPUProcessor(bits, bits, ocio::OPTIMIZATION_DEFAULT));
}

} // namespace torvi
