// The blend modes, a row each: the id, and the colour that a mode makes of background `b` and foreground `f`, channel by channel or as a
// whole. Constants and the order of operations are part of a mode: another order gives other numbers in the last place.
#include "pixelblend/blend_modes.h"

#include "pixelblend/blend_kernel.h"
#include "pixelblend/color_models.h"

namespace torvi
{

namespace
{

/// A mode whose formula makes a colour of two.
template <class MIX>
constexpr BlendMode Colors(const Id& id, MIX)
{
	return {id,
			{&BlendPixels<Float32, MIX, false>, &BlendPixels<Float32, MIX, true>},
			{&BlendPixels<Float64, MIX, false>, &BlendPixels<Float64, MIX, true>}};
}

/// A mode whose formula makes one channel of two.
template <class FORMULA>
constexpr BlendMode Channels(const Id& id, FORMULA)
{
	return Colors(id, ChannelMix<FORMULA>());
}

template <class T>
TORVI_LANES_INLINE Lanes<T> Luma(const ColorLanes<T>& color)
{
	return 0.2125 * color[0] + 0.7154 * color[1] + 0.0721 * color[2];
}

template <class T>
TORVI_LANES_INLINE ColorLanes<T> SelectColor(LaneMask<T> mask, const ColorLanes<T>& yes, const ColorLanes<T>& no)
{
	return {Select(mask, yes[0], no[0]), Select(mask, yes[1], no[1]), Select(mask, yes[2], no[2])};
}

constexpr auto FOREGROUND = [](auto, auto f) { return f; };

constexpr auto HUE = [](const auto& b, const auto& f)
{
	const auto back = ToHsv(b), front = ToHsv(f);
	return FromHsv(decltype(back){front._hue, back._saturation, front._value});
};

constexpr auto SATURATION = [](const auto& b, const auto& f)
{
	const auto back = ToHsl(b), front = ToHsl(f);
	return FromHsl(decltype(back){back._hue, front._saturation, back._lightness});
};

constexpr auto COLOR = [](const auto& b, const auto& f)
{
	const auto back = ToHsv(b), front = ToHsv(f);
	return FromHsv(decltype(back){front._hue, front._saturation, back._value});
};

constexpr auto LUMINANCE = [](const auto& b, const auto& f)
{
	const auto back = ToHsl(b), front = ToHsl(f);
	return FromHsl(decltype(back){back._hue, back._saturation, front._lightness});
};

/// 1 in all channels where the foreground's red is above the mean of the background, else 0.
constexpr auto LEVR = []<class T>(const ColorLanes<T>& b, const ColorLanes<T>& f) -> ColorLanes<T>
{
	const Lanes<T> level = Select(f[0] > (b[0] + b[1] + b[2]) * 0.33333334, Lanes<T>(1), 0);
	return {level, level, level};
};

/// Division by 0 has its own value; what the division makes of other numbers is kept at 0 and above, or at 1 and below.
constexpr auto BURN = [](auto b, auto f) { return Select(f == 0, 0, Max(0, 1 - (1 - b) / f)); };
constexpr auto DODGE = [](auto b, auto f) { return Select(f == 1, 1, Min(1, b / (1 - f))); };

/// The bits of both on the scale of bytes, which are cut, not rounded.
constexpr auto XOR = []<class T>(Lanes<T> b, Lanes<T> f) { return (IntLanes<T>(255 * f) ^ IntLanes<T>(255 * b)).ToFloat() / 255; };

constexpr BlendMode MODES[] = {
	Channels(ids::BLENDMODE_OVER, FOREGROUND),
	Channels(ids::BLENDMODE_DARKEN, [](auto b, auto f) { return Min(b, f); }),
	Channels(ids::BLENDMODE_LIGHTEN, [](auto b, auto f) { return Max(b, f); }),
	Channels(ids::BLENDMODE_MULTIPLY, [](auto b, auto f) { return f * b; }),
	Channels(ids::BLENDMODE_SCREEN, [](auto b, auto f) { return f + b - f * b; }),
	Channels(ids::BLENDMODE_LINEARDODGE, [](auto b, auto f) { return Min(f + b, 1); }),
	Channels(ids::BLENDMODE_ADD, [](auto b, auto f) { return f + b; }),
	Channels(ids::BLENDMODE_DISSOLVE, FOREGROUND),
	Channels(ids::BLENDMODE_DIFFERENCE, [](auto b, auto f) { return Abs(b - f); }),
	Channels(ids::BLENDMODE_PASSFOLDER, FOREGROUND),
	Colors(ids::BLENDMODE_HUE, HUE),
	Colors(ids::BLENDMODE_SATURATION, SATURATION),
	Colors(ids::BLENDMODE_COLOR, COLOR),
	Colors(ids::BLENDMODE_LUMINANCE, LUMINANCE),
	Channels(ids::BLENDMODE_OVERLAY, [](auto b, auto f) { return Select(b < 0.5, 2 * f * b, 1 - (1 - f) * (2 * (1 - b))); }),
	Channels(ids::BLENDMODE_HARDLIGHT, [](auto b, auto f) { return Select(f < 0.5, 2 * f * b, 1 - (1 - f) * (2 * (1 - b))); }),
	Channels(ids::BLENDMODE_SOFTLIGHT, [](auto b, auto f) { return f * f + 2 * f * b - f * (2 * f * b); }),
	Channels(ids::BLENDMODE_COLORBURN, BURN),
	Channels(ids::BLENDMODE_COLORDODGE, DODGE),
	Channels(ids::BLENDMODE_EXCLUSION, [](auto b, auto f) { return f + b - 2 * f * b; }),
	Channels(ids::BLENDMODE_STAMP, [](auto b, auto f) { return Min(Max(2 * f + b - 1, 0), 1); }),
	Channels(ids::BLENDMODE_LINEARBURN, [](auto b, auto f) { return Max(f + b - 1, 0); }),
	Channels(ids::BLENDMODE_PINLIGHT, [](auto b, auto f) { return Select(f < 0.5, Min(b, 2 * f), Max(2 * (f - 0.5), b)); }),
	Channels(ids::BLENDMODE_HARDMIX, [](auto b, auto f) { return Select(f + b > 1, DODGE(b, f), Select(b == 1, 1, BURN(f, b))); }),
	Channels(ids::BLENDMODE_AVERAGE, [](auto b, auto f) { return (f + b) * 0.5; }),
	Colors(ids::BLENDMODE_DARKER, [](const auto& b, const auto& f) { return SelectColor(Luma(f) <= Luma(b), f, b); }),
	Channels(ids::BLENDMODE_DIVIDE, [](auto b, auto f) { return Select(f <= 0.0001, b, b / f); }),
	Channels(ids::BLENDMODE_FREEZE, [](auto b, auto f) { return Select(f < 0.0001, 0, Max(0, 1 - (1 - b) * (1 - b) / f)); }),
	Channels(ids::BLENDMODE_GLOW, [](auto b, auto f) { return Select(1 - b <= 0.0001, 1, Min(1, f * f / (1 - b))); }),
	Channels(ids::BLENDMODE_HEAT, [](auto b, auto f) { return Select(b < 0.0001, 0, Max(0, 1 - (1 - f) * (1 - f) / b)); }),
	Channels(ids::BLENDMODE_HYPOT, [](auto b, auto f) { return Sqrt(f * f + b * b); }),
	Colors(ids::BLENDMODE_LEVR, LEVR),
	Colors(ids::BLENDMODE_LIGHTER, [](const auto& b, const auto& f) { return SelectColor(Luma(f) >= Luma(b), f, b); }),
	Channels(ids::BLENDMODE_REFLECT, [](auto b, auto f) { return Select(1 - f <= 0.0001, 1, Min(1, b * b / (1 - f))); }),
	Channels(ids::BLENDMODE_SUBTRACT, [](auto b, auto f) { return b - f; }),
	Channels(ids::BLENDMODE_VIVIDLIGHT, [](auto b, auto f) { return Select(f < 0.5, BURN(b, 2 * f), DODGE(b, 2 * (f - 0.5))); }),
	Channels(ids::BLENDMODE_XOR, XOR),
	{ids::BLENDMODE_APPLYALPHA, {&MultiplyAlpha<Float32>, nullptr}, {&MultiplyAlpha<Float64>, nullptr}},
};
static_assert(std::size(MODES) == 38);

} // namespace

Block<const BlendMode> GetBlendModes()
{
	return MODES;
}

} // namespace torvi
