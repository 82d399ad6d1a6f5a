// The compositing formula that all modes share, and the loop that runs it over pixels of RGBA::F32 or RGBA::F64. Modes differ in the colour
// that they make of background and foreground where both cover all of a pixel.
#pragma once

#include "pixelblend/blend_modes.h"
#include "pixelblend/pixel_block.h"

#include <algorithm>

namespace torvi
{

/// Blends the foreground's color over the background. `MIX` makes a color of the colors of both; its order of operations is that of the
/// formula, as is the order here. Pixels whose foreground has no alpha stay as they are, bit for bit.
template <class MIX, Bool HAS_OPACITY, class T>
TORVI_LANES_INLINE PixelBlock<T> Composite(const PixelBlock<T>& background, const PixelBlock<T>& foreground, Lanes<T> opacity)
{
	const Lanes<T> backgroundAlpha = background._alpha;
	const Lanes<T> foregroundAlpha = HAS_OPACITY ? opacity * foreground._alpha : foreground._alpha;
	const LaneMask<T> isUnseen = foregroundAlpha == 0;
	const Lanes<T> alpha = foregroundAlpha + backgroundAlpha - foregroundAlpha * backgroundAlpha;
	const Lanes<T> share = foregroundAlpha / alpha;
	const ColorLanes<T> mixed = MIX()(background._color, foreground._color);
	PixelBlock<T> result;
	for (std::size_t i = 0; i < result._color.size(); ++i)
	{
		const Lanes<T> old = background._color[i];
		const Lanes<T> added = (1 - backgroundAlpha) * foreground._color[i] + backgroundAlpha * mixed[i];
		result._color[i] = Select(isUnseen, old, (1 - share) * old + share * added);
	}
	result._alpha = Select(isUnseen, backgroundAlpha, alpha);
	return result;
}

/// The first `count` pixels of a block, copied from where they lie; those behind are zero. Kernels share this and keep their loops short.
template <Int PIXEL_BYTES>
[[gnu::noinline]] void GatherPixels(Byte* block, Int blockCount, const PixelBuffer& run, Int start, Int count)
{
	for (Int i = 0; i < count; ++i)
		std::memcpy(block + i * PIXEL_BYTES, PixelAddress(run, start + i), PIXEL_BYTES);
	std::memset(block + count * PIXEL_BYTES, 0, static_cast<std::size_t>((blockCount - count) * PIXEL_BYTES));
}

template <Int PIXEL_BYTES>
[[gnu::noinline]] void ScatterPixels(const Byte* block, const PixelBuffer& run, Int start, Int count)
{
	for (Int i = 0; i < count; ++i)
		std::memcpy(PixelAddress(run, start + i), block + i * PIXEL_BYTES, PIXEL_BYTES);
}

/// A BlendKernel. The destination may be the background or the foreground: each block is read before it is written.
template <class T, class MIX, Bool HAS_OPACITY>
void BlendPixels(const PixelBuffer& destination, const PixelBuffer& background, const PixelBuffer& foreground, Int count, Float64 opacity)
{
	using Block = PixelBlock<T>;
	constexpr BITS PACKED = 8 * Block::PIXEL_BYTES;
	const Lanes<T> factor = opacity;
	Int i = 0;
	if (destination._stride == PACKED && background._stride == PACKED && foreground._stride == PACKED)
	{
		Byte* const to = destination._pixel;
		const Byte* const under = background._pixel;
		const Byte* const over = foreground._pixel;
		for (; i + Block::COUNT <= count; i += Block::COUNT)
		{
			const Int offset = i * Block::PIXEL_BYTES;
			StoreBlock(Composite<MIX, HAS_OPACITY>(LoadBlock<T>(under + offset), LoadBlock<T>(over + offset), factor), to + offset);
		}
	}
	// Pixels that do not lie side by side, and those at the end that are too few for a block.
	alignas(LANE_BYTES) Byte under[Block::COUNT * Block::PIXEL_BYTES], over[sizeof(under)];
	for (; i < count; i += Block::COUNT)
	{
		const Int part = std::min(Block::COUNT, count - i);
		GatherPixels<Block::PIXEL_BYTES>(under, Block::COUNT, background, i, part);
		GatherPixels<Block::PIXEL_BYTES>(over, Block::COUNT, foreground, i, part);
		StoreBlock(Composite<MIX, HAS_OPACITY>(LoadBlock<T>(under), LoadBlock<T>(over), factor), under);
		ScatterPixels<Block::PIXEL_BYTES>(under, destination, i, part);
	}
}

/// The mix of a mode that treats each channel alone, by `FORMULA(background, foreground)`.
template <class FORMULA>
struct ChannelMix
{
	template <class T>
	TORVI_LANES_INLINE ColorLanes<T> operator()(const ColorLanes<T>& b, const ColorLanes<T>& f) const
	{
		return {FORMULA()(b[0], f[0]), FORMULA()(b[1], f[1]), FORMULA()(b[2], f[2])};
	}
};

/// A BlendKernel whose foreground is a mask, that is one number for each pixel. Only alpha changes; colours are copied where the
/// destination is not the background.
template <class T>
void MultiplyAlpha(const PixelBuffer& destination, const PixelBuffer& background, const PixelBuffer& mask, Int count, Float64)
{
	constexpr Int ALPHA = 3 * sizeof(T);
	const Bool isInPlace = destination._pixel == background._pixel && destination._stride == background._stride;
	for (Int i = 0; i < count; ++i)
	{
		Byte* const to = PixelAddress(destination, i);
		const Byte* const from = PixelAddress(background, i);
		T alpha, factor;
		std::memcpy(&alpha, from + ALPHA, sizeof(T));
		std::memcpy(&factor, PixelAddress(mask, i), sizeof(T));
		if (!isInPlace)
			std::memmove(to, from, ALPHA);
		alpha *= factor;
		std::memcpy(to + ALPHA, &alpha, sizeof(T));
	}
}

} // namespace torvi
