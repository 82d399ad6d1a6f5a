// Short forms for tests on blending.
#pragma once

#include "pixelblend/registration.h"
#include "pixelformat/registration.h"
#include "tests/pixelblend/blend_reference.h"
#include "tests/support/host_scope.h"
#include "torvi/gfx_image_pixelblend.h"
#include "torvi/ids_formats.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace torvi::test
{

constexpr std::string_view BLENDMODE_PREFIX = "net.torvi.render.blendmode.";

class BlendTest : public testing::Test
{
protected:
	/// Of all modes, in the order of the registry.
	static std::vector<std::string> GetKeys()
	{
		std::vector<std::string> keys;
		for (Registry::Iterator it = g_torvi->GetRegistry(ids::REGISTRY_BLENDMODES).TakeValue()->CreateIterator(); it.HasValue();
			 it.MoveToNext())
			keys.emplace_back(it.GetEntryId().GetText().substr(BLENDMODE_PREFIX.size()));
		return keys;
	}
	/// Without applyalpha, whose foreground is no colour.
	static std::vector<std::string> GetColorKeys()
	{
		std::vector<std::string> keys = GetKeys();
		keys.pop_back();
		return keys;
	}

	static ImagePixelBlend GetMode(const std::string& key)
	{
		return FindDeclared<ImagePixelBlendInterface>(InternId(std::string(BLENDMODE_PREFIX) + key).TakeValue());
	}
	/// "rgb.u8" as a format.
	static PixelFormat GetFormat(const std::string& name)
	{
		return GetPixelFormat(InternId("net.torvi.image.pixelformat." + name).TakeValue());
	}

	/// A handler for formats in their own layouts.
	static Result<BlendPixelHandler> FindHandler(const std::string& key, const PixelFormat& background, const PixelFormat& foreground,
												 Float64 opacity)
	{
		return GetMode(key)->GetBlendPixelHandler(background, background->GetChannelOffsets(), foreground, foreground->GetChannelOffsets(),
												  opacity);
	}
	static BlendPixelFunc FindBlend(const std::string& key, const std::string& background, const std::string& foreground, Float64 opacity)
	{
		Result<BlendPixelHandler> handler = FindHandler(key, GetFormat(background), GetFormat(foreground), opacity);
		EXPECT_TRUE(handler.IsOk()) << key << ": " << handler.GetError().ToString();
		return handler.TakeValue()._blend;
	}

	template <class T>
	static PixelBuffer BufferOf(const T* pixels)
	{
		return PixelBuffer(reinterpret_cast<const Byte*>(pixels), 8 * sizeof(T));
	}

	template <class T>
	static constexpr const char* RGBA = sizeof(T) == 4 ? "rgba.f32" : "rgba.f64";
	template <class T>
	static constexpr const char* ALPHA = sizeof(T) == 4 ? "alpha.f32" : "alpha.f64";

	/// The result of packed pixels of equal number.
	template <class D, class F>
	static std::vector<D> Blend(const BlendPixelFunc& blend, const std::vector<D>& background, const std::vector<F>& foreground)
	{
		std::vector<D> result(background.size());
		EXPECT_TRUE(blend(BufferOf(result.data()), BufferOf(background.data()), BufferOf(foreground.data()), CountOf(background)).IsOk());
		return result;
	}

private:
	HostScope _host{&RegisterPixelFormats, &RegisterPixelBlend};
};

/// Pixels that hit the branches of formulas: numbers on and beside their limits, greys, and numbers far out.
template <class T>
class PixelMaker
{
public:
	Pixel<T> Make()
	{
		Pixel<T> pixel;
		for (std::size_t i = 0; i < 3; ++i)
			pixel[i] = i > 0 && Draw(4) == 0 ? pixel[i - 1] : MakeChannel();
		pixel[3] = Draw(2) == 0 ? T(Draw(5)) / 4 : MakeChannel();
		return pixel;
	}
	/// Not far out.
	Pixel<T> MakeUsual() { return {MakeUnit(), MakeUnit(), MakeUnit(), T(Draw(5)) / 4}; }

private:
	T MakeChannel()
	{
		static const T FAR = std::numeric_limits<T>::infinity(), TINY = std::numeric_limits<T>::denorm_min();
		static const T HALF = std::nextafter(T(0.5), T(0)), FULL = std::nextafter(T(1), T(0));
		static const T LIMITS[] = {0,        T(-0.0),  T(0.0001), T(0.00005),   T(0.25),    T(0.5),  T(0.9999), T(0.99991), 1,   T(1.0001),
								   T(-0.25), T(-1.5),  2,         300,          T(9e6),     T(-9e6), T(3e9),    T(1e30),    FAR, -FAR,
								   T(1) / 3, T(2) / 3, T(0.75),   128 / T(255), 1 / T(255), TINY,    HALF,      FULL};
		return Draw(2) == 0 ? LIMITS[Draw(std::size(LIMITS))] : MakeUnit();
	}
	T MakeUnit() { return T(Draw(65536)) / 65536; }

	std::size_t Draw(std::size_t count)
	{
		_state = _state * 6364136223846793005 + 1442695040888963407; // Knuth's
		return static_cast<std::size_t>(_state >> 33) % count;
	}

	UInt64 _state = 1;
};

} // namespace torvi::test
