// Colours as hue, saturation and value, and as hue, saturation and lightness. Channels are taken as they are, also below 0 and above 1.
// All branches are calculated and one is selected, so that the lanes stay together.
#pragma once

#include "pixelblend/pixel_block.h"

namespace torvi
{

/// A hue goes round once from 0 to 1.
template <class T>
struct HsvLanes
{
	Lanes<T> _hue, _saturation, _value;
};

template <class T>
struct HslLanes
{
	Lanes<T> _hue, _saturation, _lightness;
};

template <class T>
TORVI_LANES_INLINE Lanes<T> LargestChannel(const ColorLanes<T>& color)
{
	return Max(Max(color[0], color[1]), color[2]);
}

template <class T>
TORVI_LANES_INLINE Lanes<T> SmallestChannel(const ColorLanes<T>& color)
{
	return Min(Min(color[0], color[1]), color[2]);
}

/// Below this saturation a colour is grey in HSV.
inline constexpr Float64 LEAST_HSV_SATURATION = 0.001;

template <class T>
TORVI_LANES_INLINE HsvLanes<T> ToHsv(const ColorLanes<T>& color)
{
	const auto& [red, green, blue] = color;
	const Lanes<T> value = LargestChannel(color), smallest = SmallestChannel(color);
	const Lanes<T> saturation = 1 - smallest / value, distance = value - smallest;
	const Lanes<T> sixths =
		Select(red == value, (green - blue) / distance, Select(green == value, (blue - red) / distance + 2, (red - green) / distance + 4));
	const Lanes<T> hue = sixths / 6;
	const LaneMask<T> isBlack = value <= 0, isGrey = saturation < LEAST_HSV_SATURATION, hasNoHue = isBlack | isGrey;
	return {Select(hasNoHue, 0, Select(hue < 0, hue + 1, hue)), Select(hasNoHue, 0, saturation),
			Select(isBlack, 0, Select(isGrey, smallest, value))};
}

template <class T>
TORVI_LANES_INLINE ColorLanes<T> FromHsv(const HsvLanes<T>& hsv)
{
	const Lanes<T> value = hsv._value;
	const Lanes<T> hue = Select(hsv._hue == 1, 0, hsv._hue * 6);
	const Lanes<T> sector = IntLanes<T>(hue).ToFloat(), part = hue - sector;
	const Lanes<T> least = value * (1 - hsv._saturation);
	const Lanes<T> falling = value * (1 - hsv._saturation * part), rising = value * (1 - hsv._saturation * (1 - part));
	const auto choose = [&](Lanes<T> of1, Lanes<T> of2, Lanes<T> of3, Lanes<T> of4, Lanes<T> of5, Lanes<T> of0)
	{
		const Lanes<T> chosen = Select(
			sector == 1, of1, Select(sector == 2, of2, Select(sector == 3, of3, Select(sector == 4, of4, Select(sector == 5, of5, of0)))));
		return Select(hsv._saturation < LEAST_HSV_SATURATION, value, chosen);
	};
	return {choose(falling, least, least, rising, value, value), choose(value, value, falling, least, least, rising),
			choose(least, rising, value, value, falling, least)};
}

template <class T>
TORVI_LANES_INLINE HslLanes<T> ToHsl(const ColorLanes<T>& color)
{
	const auto& [red, green, blue] = color;
	const Lanes<T> largest = LargestChannel(color), smallest = SmallestChannel(color);
	const Lanes<T> lightness = (smallest + largest) * 0.5, distance = largest - smallest;
	const Lanes<T> saturation = Select(lightness <= 0.5, distance / (largest + smallest), distance / (2 - largest - smallest));
	const Lanes<T> toRed = (largest - red) / distance, toGreen = (largest - green) / distance, toBlue = (largest - blue) / distance;
	const Lanes<T> sixths =
		Select(red == largest, Select(green == smallest, 5 + toBlue, 1 - toGreen),
			   Select(green == largest, Select(blue == smallest, 1 + toRed, 3 - toBlue), Select(red == smallest, 3 + toGreen, 5 - toRed)));
	const Lanes<T> degrees = sixths * 60;
	const LaneMask<T> hasNoHue = (lightness <= 0) | (distance <= 0);
	return {Select(hasNoHue, 0, Select(degrees < 0, degrees + 360, degrees) / 360), Select(hasNoHue, 0, saturation), lightness};
}

template <class T>
TORVI_LANES_INLINE ColorLanes<T> FromHsl(const HslLanes<T>& hsl)
{
	// Float32 numbers also among doubles, so that both precisions have the same sectors.
	constexpr Float64 SIXTH = 0.16666667F, THIRD = 0.33333334F, TWO_THIRDS = 0.6666667F;
	const Lanes<T> lightness = hsl._lightness, saturation = hsl._saturation;
	const Lanes<T> high = Select(lightness <= 0.5, lightness * (1 + saturation), lightness + saturation - lightness * saturation);
	const Lanes<T> low = 2 * lightness - high, distance = high - low;
	const auto channel = [&](Lanes<T> turned)
	{
		const Lanes<T> hue = Select(turned > 1, turned - 1, Select(turned < 0, turned + 1, turned));
		const Lanes<T> rising = low + distance * hue / SIXTH, falling = low + distance * (TWO_THIRDS - hue) / SIXTH;
		const Lanes<T> chosen = Select(hue < SIXTH, rising, Select(hue < 0.5, high, Select(hue < TWO_THIRDS, falling, low)));
		return Select(saturation == 0, lightness, chosen);
	};
	return {channel(hsl._hue + THIRD), channel(hsl._hue), channel(hsl._hue - THIRD)};
}

} // namespace torvi
