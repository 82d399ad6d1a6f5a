// The formulas in plain words of C++, with one branch where a formula has one.
#include "tests/pixelblend/blend_reference.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <map>

namespace torvi::test
{

namespace
{

template <class T>
using Rgb = std::array<T, 3>;

template <class T>
T Burn(T b, T f) // f is not 0
{
	return std::max(T(0), 1 - (1 - b) / f);
}

template <class T>
T Dodge(T b, T f) // f is not 1
{
	return std::min(T(1), b / (1 - f));
}

template <class T>
T VividLight(T b, T f)
{
	if (f < T(0.5))
		return 2 * f == 0 ? 0 : Burn(b, 2 * f);
	const T doubled = 2 * (f - T(0.5));
	return doubled == 1 ? 1 : Dodge(b, doubled);
}

template <class T>
T HardMix(T b, T f)
{
	if (f + b > 1)
		return f == 1 ? 1 : Dodge(b, f);
	if (b == 1)
		return 1;
	return b == 0 ? 0 : Burn(f, b);
}

template <class T>
int Cut(T value)
{
	if (!(value > T(-2147483648.0)))
		return -2147483647 - 1;
	return value < T(2147483520.0) ? static_cast<int>(value) : 2147483520;
}

template <class T>
const std::map<std::string, std::function<T(T b, T f)>>& ChannelFormulas()
{
	static const std::map<std::string, std::function<T(T, T)>> s_formulas = {
		{"over", [](T, T f) { return f; }},
		{"dissolve", [](T, T f) { return f; }},
		{"passfolder", [](T, T f) { return f; }},
		{"darken", [](T b, T f) { return std::min(b, f); }},
		{"lighten", [](T b, T f) { return std::max(b, f); }},
		{"multiply", [](T b, T f) { return f * b; }},
		{"screen", [](T b, T f) { return f + b - f * b; }},
		{"lineardodge", [](T b, T f) { return std::min(f + b, T(1)); }},
		{"add", [](T b, T f) { return f + b; }},
		{"difference", [](T b, T f) { return std::abs(b - f); }},
		{"overlay", [](T b, T f) { return b < T(0.5) ? 2 * f * b : 1 - (1 - f) * 2 * (1 - b); }},
		{"hardlight", [](T b, T f) { return f < T(0.5) ? 2 * f * b : 1 - (1 - f) * 2 * (1 - b); }},
		{"softlight", [](T b, T f) { return f * f + 2 * f * b - f * (2 * f * b); }},
		{"colorburn", [](T b, T f) { return f == 0 ? 0 : Burn(b, f); }},
		{"colordodge", [](T b, T f) { return f == 1 ? 1 : Dodge(b, f); }},
		{"exclusion", [](T b, T f) { return f + b - 2 * f * b; }},
		{"stamp", [](T b, T f) { return std::clamp(2 * f + b - 1, T(0), T(1)); }},
		{"linearburn", [](T b, T f) { return std::max(f + b - 1, T(0)); }},
		{"pinlight", [](T b, T f) { return f < T(0.5) ? std::min(b, 2 * f) : std::max(2 * (f - T(0.5)), b); }},
		{"hardmix", [](T b, T f) { return HardMix(b, f); }},
		{"average", [](T b, T f) { return (f + b) * T(0.5); }},
		{"divide", [](T b, T f) { return f <= T(0.0001) ? b : b / f; }},
		{"freeze", [](T b, T f) { return f < T(0.0001) ? 0 : std::max(T(0), 1 - (1 - b) * (1 - b) / f); }},
		{"glow", [](T b, T f) { return 1 - b <= T(0.0001) ? 1 : std::min(T(1), f * f / (1 - b)); }},
		{"heat", [](T b, T f) { return b < T(0.0001) ? 0 : std::max(T(0), 1 - (1 - f) * (1 - f) / b); }},
		{"hypot", [](T b, T f) { return std::sqrt(f * f + b * b); }},
		{"reflect", [](T b, T f) { return 1 - f <= T(0.0001) ? 1 : std::min(T(1), b * b / (1 - f)); }},
		{"subtract", [](T b, T f) { return b - f; }},
		{"vividlight", [](T b, T f) { return VividLight(b, f); }},
		{"xor", [](T b, T f) { return static_cast<T>(Cut(255 * f) ^ Cut(255 * b)) / 255; }},
	};
	return s_formulas;
}

template <class T>
Rgb<T> ToHsv(const Rgb<T>& c)
{
	const T value = std::max({c[0], c[1], c[2]}), low = std::min({c[0], c[1], c[2]});
	if (value <= 0)
		return {0, 0, 0};
	const T saturation = 1 - low / value;
	if (saturation < T(0.001))
		return {0, 0, low};
	const T d = value - low;
	T hue = (c[0] - c[1]) / d + 4;
	if (c[0] == value)
		hue = (c[1] - c[2]) / d;
	else if (c[1] == value)
		hue = (c[2] - c[0]) / d + 2;
	hue /= 6;
	return {hue < 0 ? hue + 1 : hue, saturation, value};
}

template <class T>
Rgb<T> FromHsv(T hue, T saturation, T value)
{
	if (saturation < T(0.001))
		return {value, value, value};
	const T h = hue == 1 ? 0 : hue * 6;
	const T i = std::floor(h), q = h - i;
	const T p = value * (1 - saturation), r = value * (1 - saturation * q), s = value * (1 - saturation * (1 - q));
	if (i == 1)
		return {r, value, p};
	if (i == 2)
		return {p, value, s};
	if (i == 3)
		return {p, r, value};
	if (i == 4)
		return {s, p, value};
	if (i == 5)
		return {value, p, r};
	return {value, s, p};
}

template <class T>
Rgb<T> ToHsl(const Rgb<T>& c)
{
	const T high = std::max({c[0], c[1], c[2]}), low = std::min({c[0], c[1], c[2]});
	const T lightness = (low + high) * T(0.5), d = high - low;
	if (lightness <= 0 || d <= 0)
		return {0, 0, lightness};
	const T saturation = lightness <= T(0.5) ? d / (high + low) : d / (2 - high - low);
	const T r = (high - c[0]) / d, g = (high - c[1]) / d, b = (high - c[2]) / d;
	T h = 0;
	if (c[0] == high)
		h = c[1] == low ? 5 + b : 1 - g;
	else if (c[1] == high)
		h = c[2] == low ? 1 + r : 3 - b;
	else
		h = c[0] == low ? 3 + g : 5 - r;
	h *= 60;
	return {(h < 0 ? h + 360 : h) / 360, saturation, lightness};
}

template <class T>
T HslChannel(T p, T q, T x)
{
	if (x > 1)
		x -= 1;
	else if (x < 0)
		x += 1;
	if (x < T(0.16666667F))
		return p + (q - p) * x / T(0.16666667F);
	if (x < T(0.5))
		return q;
	return x < T(0.6666667F) ? p + (q - p) * (T(0.6666667F) - x) / T(0.16666667F) : p;
}

template <class T>
Rgb<T> FromHsl(T hue, T saturation, T lightness)
{
	if (saturation == 0)
		return {lightness, lightness, lightness};
	const T q = lightness <= T(0.5) ? lightness * (1 + saturation) : lightness + saturation - lightness * saturation;
	const T p = 2 * lightness - q;
	return {HslChannel(p, q, hue + T(0.33333334F)), HslChannel(p, q, hue), HslChannel(p, q, hue - T(0.33333334F))};
}

template <class T>
T Luma(const Rgb<T>& c)
{
	return T(0.2125) * c[0] + T(0.7154) * c[1] + T(0.0721) * c[2];
}

template <class T>
Rgb<T> MixColors(const std::string& key, const Rgb<T>& b, const Rgb<T>& f)
{
	if (const auto formula = ChannelFormulas<T>().find(key); formula != ChannelFormulas<T>().end())
		return {formula->second(b[0], f[0]), formula->second(b[1], f[1]), formula->second(b[2], f[2])};
	if (key == "hue")
		return FromHsv(ToHsv(f)[0], ToHsv(b)[1], ToHsv(f)[2]);
	if (key == "color")
		return FromHsv(ToHsv(f)[0], ToHsv(f)[1], ToHsv(b)[2]);
	if (key == "saturation")
		return FromHsl(ToHsl(b)[0], ToHsl(f)[1], ToHsl(b)[2]);
	if (key == "luminance")
		return FromHsl(ToHsl(b)[0], ToHsl(b)[1], ToHsl(f)[2]);
	if (key == "darker")
		return Luma(f) <= Luma(b) ? f : b;
	if (key == "lighter")
		return Luma(f) >= Luma(b) ? f : b;
	if (key == "levr")
		return f[0] > (b[0] + b[1] + b[2]) * T(0.33333334) ? Rgb<T>{1, 1, 1} : Rgb<T>{0, 0, 0};
	ADD_FAILURE() << "no formula for " << key;
	return {};
}

} // namespace

template <class T>
Pixel<T> BlendByReference(const std::string& key, const Pixel<T>& background, const Pixel<T>& foreground, T opacity)
{
	const T fa = opacity * foreground[3], ba = background[3];
	if (fa == 0)
		return background;
	const T ao = fa + ba - fa * ba, t = fa / ao;
	const Rgb<T> mixed = MixColors<T>(key, {background[0], background[1], background[2]}, {foreground[0], foreground[1], foreground[2]});
	Pixel<T> result = {0, 0, 0, ao};
	for (std::size_t i = 0; i < 3; ++i)
	{
		const T m = (1 - ba) * foreground[i] + ba * mixed[i];
		result[i] = (1 - t) * background[i] + t * m;
	}
	return result;
}

template Pixel<float> BlendByReference(const std::string&, const Pixel<float>&, const Pixel<float>&, float);
template Pixel<double> BlendByReference(const std::string&, const Pixel<double>&, const Pixel<double>&, double);

} // namespace torvi::test
