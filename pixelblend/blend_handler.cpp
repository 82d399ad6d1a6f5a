// The two paths of blending: kernels on the pixels as they are, and kernels on RGBA::F64 with conversions around them.
#include "pixelblend/blend_handler.h"

#include "torvi/ids_formats.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace torvi
{

namespace
{

/// The BlendKernel for opacity 0.
template <BITS PIXEL_BITS>
void CopyPixels(const PixelBuffer& destination, const PixelBuffer& background, const PixelBuffer&, Int count, Float64)
{
	if (count <= 0 || (destination._pixel == background._pixel && destination._stride == background._stride))
		return;
	if (destination._stride == PIXEL_BITS && background._stride == PIXEL_BITS)
		return static_cast<void>(
			std::memmove(destination._pixel, background._pixel, static_cast<std::size_t>(BytesOf(count * PIXEL_BITS))));
	for (Int i = 0; i < count; ++i)
		std::memmove(PixelAddress(destination, i), PixelAddress(background, i), PIXEL_BITS / 8);
}

/// A precision that modes have kernels for.
struct Precision
{
	Id _pixels;
	Id _mask; ///< the foreground's format, of modes that take a mask
	BlendKernels BlendMode::*_kernels;
	BlendKernel _copy;

	BlendKernel PickKernel(const BlendMode& mode, Float64 opacity) const
	{
		const BlendKernels& kernels = mode.*_kernels;
		if (mode.IsMask() || opacity == 1.0)
			return kernels._full;
		return opacity == 0.0 ? _copy : kernels._anyOpacity;
	}
};

constexpr Precision SINGLE = {ids::PIXELFORMAT_RGBA_F32, ids::PIXELFORMAT_ALPHA_F32, &BlendMode::_float32, &CopyPixels<128>};
constexpr Precision DOUBLE = {ids::PIXELFORMAT_RGBA_F64, ids::PIXELFORMAT_ALPHA_F64, &BlendMode::_float64, &CopyPixels<256>};

/// Whether the pixels are of that format, and lie as they do in the format itself.
Bool IsPlain(const PixelFormat& format, const ChannelOffsets& offsets, const Id& wanted)
{
	return format && format == GetPixelFormat(wanted) && std::ranges::equal(offsets, format->GetChannelOffsets());
}

Result<ConvertPixelFunc> FindConversion(const PixelFormat& destination, const ChannelOffsets& destinationOffsets, const PixelFormat& source,
										const ChannelOffsets& sourceOffsets)
{
	Bool isColorConverted = false;
	return destination->GetConvertPixelFunc(source, sourceOffsets, destinationOffsets, nullptr, nullptr, false, isColorConverted);
}

/// Blends in RGBA::F64, a chunk of pixels at a time. It owns the pixels in between, so one thread runs it at a time.
class ConvertedBlend final : public ObjectInterface
{
public:
	ConvertedBlend()
	{
		for (Pixels* pixels : {&_background, &_foreground, &_result})
			pixels->fill({0.0, 0.0, 0.0, 1.0});
	}

	Result<void> Init(const BlendMode& mode, const PixelFormat& backgroundFormat, const ChannelOffsets& backgroundOffsets,
					  const PixelFormat& foregroundFormat, const ChannelOffsets& foregroundOffsets, Float64 opacity)
	{
		const PixelFormat rgba = GetPixelFormat(DOUBLE._pixels);
		TORVI_CHECK(rgba, IllegalStateError("The module is not started."));
		AlphaPixelFormat front{rgba, 0};
		if (mode.IsMask())
			front = TORVI_TRY(rgba->GetAlphaPixelFormat());
		const ChannelOffsets& rgbaOffsets = rgba->GetChannelOffsets();
		_readBackground = TORVI_TRY(FindConversion(rgba, rgbaOffsets, backgroundFormat, backgroundOffsets));
		_readForeground = TORVI_TRY(FindConversion(front._format, front._format->GetChannelOffsets(), foregroundFormat, foregroundOffsets));
		_writeResult = TORVI_TRY(FindConversion(backgroundFormat, backgroundOffsets, rgba, rgbaOffsets));
		_foregroundOffset = front._byteOffset;
		_kernel = DOUBLE.PickKernel(mode, opacity);
		_opacity = opacity;
		return OK;
	}

	Result<void> Run(const PixelBuffer& destination, const PixelBuffer& background, const PixelBuffer& foreground, Int count)
	{
		const PixelBuffer under = BufferOf(_background), result = BufferOf(_result);
		const PixelBuffer over(BufferOf(_foreground)._pixel + _foregroundOffset, under._stride);
		for (Int done = 0; done < count; done += CHUNK)
		{
			const Int part = std::min(CHUNK, count - done);
			TORVI_TRY(_readBackground(under, part, From(background, done), 0));
			TORVI_TRY(_readForeground(over, part, From(foreground, done), 0));
			// A kernel for opacity 0 copies; all others read each pixel before they write it.
			_kernel(result, under, over, part, _opacity);
			TORVI_TRY(_writeResult(From(destination, done), part, result, 0));
		}
		return OK;
	}

private:
	static constexpr Int CHUNK = 64; ///< pixels, and a whole number of bytes for pixels of any number of bits
	using Pixels = std::array<std::array<Float64, 4>, CHUNK>;

	static PixelBuffer BufferOf(Pixels& pixels) { return PixelBuffer(reinterpret_cast<Byte*>(pixels.data()), 8 * sizeof(pixels[0])); }
	static PixelBuffer From(const PixelBuffer& run, Int start) { return PixelBuffer(PixelAddress(run, start), run._stride); }

	ConvertPixelFunc _readBackground;
	ConvertPixelFunc _readForeground;
	ConvertPixelFunc _writeResult;
	Int _foregroundOffset = 0; ///< bytes; that of alpha where the foreground is a mask
	BlendKernel _kernel = nullptr;
	Float64 _opacity = 1.0;
	Pixels _background;
	Pixels _foreground;
	Pixels _result;
};

BlendPixelHandler MakeNativeHandler(BlendKernel kernel, Float64 opacity)
{
	const BlendPixelFunc blend = [kernel, opacity](const PixelBuffer& destination, const PixelBuffer& background,
												   const PixelBuffer& foreground, Int count) -> Result<void>
	{
		kernel(destination, background, foreground, count, opacity);
		return OK;
	};
	return {blend, blend};
}

} // namespace

Result<BlendPixelHandler> MakeBlendPixelHandler(const BlendMode& mode, const PixelFormat& backgroundFormat,
												const ChannelOffsets& backgroundOffsets, const PixelFormat& foregroundFormat,
												const ChannelOffsets& foregroundOffsets, Float64 opacity)
{
	for (const Precision* native : {&SINGLE, &DOUBLE})
	{
		const Id& foreground = mode.IsMask() ? native->_mask : native->_pixels;
		if (IsPlain(backgroundFormat, backgroundOffsets, native->_pixels) && IsPlain(foregroundFormat, foregroundOffsets, foreground))
			return MakeNativeHandler(native->PickKernel(mode, opacity), opacity);
	}
	const Ref<ConvertedBlend> converted = TORVI_TRY(NewObject<ConvertedBlend>());
	TORVI_TRY(converted->Init(mode, backgroundFormat, backgroundOffsets, foregroundFormat, foregroundOffsets, opacity));
	BlendPixelHandler handler;
	handler._blend = [converted](const PixelBuffer& destination, const PixelBuffer& background, const PixelBuffer& foreground, Int count)
	{ return converted->Run(destination, background, foreground, count); };
	return handler;
}

} // namespace torvi
