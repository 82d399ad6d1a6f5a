// The compositing formula that all modes share, and the loop that runs it over pixels of RGBA::F32 or RGBA::F64. Modes differ in the colour
// that they make of background and foreground where both cover all of a pixel.
#pragma once

#include "pixelblend/blend_modes.h"
#include "pixelblend/pixel_block.h"

#include <algorithm>

namespace torvi
{

/// Where pixel `index` of a run lies.
inline Byte* PixelAt(const PixelBuffer& run, Int index)
{
	return run._pixel + BytesOf(index * run._stride);
}

/// Blends the foreground's color over the background. `MIX` makes a color of the colors of both; its order of operations is that of the
/// formula, as is the order here. Pixels whose foreground has no alpha stay as they are, bit for bit.
template <class MIX, Bool HAS_OPACITY, class T>
PixelBlock<T> Composite(const PixelBlock<T>& background, const PixelBlock<T>& foreground, Lanes<T> opacity)
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

/// A block of pixels that do not lie side by side, or too few for one: gathered in the first places of a block, and scattered again.
template <class T>
struct LoosePixels
{
	using Block = PixelBlock<T>;

	LoosePixels(const PixelBuffer& run, Int start, Int count)
	{
		for (Int i = 0; i < count; ++i)
			std::memcpy(_bytes + i * Block::PIXEL_BYTES, PixelAt(run, start + i), Block::PIXEL_BYTES);
	}
	explicit LoosePixels(const Block& block) { StoreBlock(block, _bytes); }

	Block Load() const { return LoadBlock<T>(_bytes); }
	void WriteTo(const PixelBuffer& run, Int start, Int count) const
	{
		for (Int i = 0; i < count; ++i)
			std::memcpy(PixelAt(run, start + i), _bytes + i * Block::PIXEL_BYTES, Block::PIXEL_BYTES);
	}

	alignas(LANE_BYTES) Byte _bytes[Block::COUNT * Block::PIXEL_BYTES] = {};
};

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
	for (; i < count; i += Block::COUNT)
	{
		const Int part = std::min(Block::COUNT, count - i);
		const LoosePixels<T> under(background, i, part), over(foreground, i, part);
		LoosePixels<T>(Composite<MIX, HAS_OPACITY>(under.Load(), over.Load(), factor)).WriteTo(destination, i, part);
	}
}

/// The mix of a mode that treats each channel alone, by `FORMULA(background, foreground)`.
template <class FORMULA>
struct ChannelMix
{
	template <class T>
	ColorLanes<T> operator()(const ColorLanes<T>& b, const ColorLanes<T>& f) const
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
		Byte* const to = PixelAt(destination, i);
		const Byte* const from = PixelAt(background, i);
		T alpha, factor;
		std::memcpy(&alpha, from + ALPHA, sizeof(T));
		std::memcpy(&factor, PixelAt(mask, i), sizeof(T));
		if (!isInPlace)
			std::memmove(to, from, ALPHA);
		alpha *= factor;
		std::memcpy(to + ALPHA, &alpha, sizeof(T));
	}
}

} // namespace torvi
