// Blend modes on the pixels that they calculate with: literal values of each formula, all formulas against the plain form, and what every
// run must keep.
#include "tests/pixelblend/blend_test.h"

#include <cmath>
#include <limits>

namespace torvi::test
{
namespace
{

using BlendModes = BlendTest;

TEST_F(BlendModes, AreRegisteredInOrderAsClassAndObject)
{
	const std::vector<std::string> keys = {
		"over",  "darken",     "lighten",  "multiply",  "screen",   "lineardodge", "add",       "dissolve",  "difference", "passfolder",
		"hue",   "saturation", "color",    "luminance", "overlay",  "hardlight",   "softlight", "colorburn", "colordodge", "exclusion",
		"stamp", "linearburn", "pinlight", "hardmix",   "average",  "darker",      "divide",    "freeze",    "glow",       "heat",
		"hypot", "levr",       "lighter",  "reflect",   "subtract", "vividlight",  "xor",       "applyalpha"};
	EXPECT_EQ(GetKeys(), keys);
	for (const std::string& key : keys)
	{
		const ImagePixelBlend mode = GetMode(key);
		ASSERT_TRUE(mode) << key;
		EXPECT_EQ(mode->GetClassId().GetText(), std::string(BLENDMODE_PREFIX) + key);
		EXPECT_EQ(g_torvi->GetRegistry(ids::REGISTRY_BLENDMODES).TakeValue()->Find(mode->GetClassId()), mode);
		EXPECT_TRUE(CreateObject<ImagePixelBlendInterface>(mode->GetClassId()).IsOk());
	}
}

struct LiteralCase
{
	const char* _key;
	Pixel<float> _background, _foreground, _result;
	double _opacity = 1.0;
};

/// A grey, opaque pixel.
constexpr Pixel<float> Grey(float value)
{
	return {value, value, value, 1};
}

const LiteralCase LITERAL_CASES[] = {
	{"over", {0, 0.5F, 1, 0.5F}, {1, 0.5F, 0, 0.5F}, {2 / 3.F, 0.5F, 1 / 3.F, 0.75F}},
	{"over", {0, 0, 1, 1}, {1, 0, 0, 1}, {0.25F, 0, 0.75F, 1}, 0.25},
	{"multiply", {0.5F, 0.5F, 0.5F, 0.5F}, {0.5F, 1, 0, 1}, {0.375F, 0.75F, 0, 1}},
	{"darken", Grey(0.25F), {0, 0.5F, -1, 1}, {0, 0.25F, -1, 1}},
	{"lighten", Grey(0.25F), {0, 0.5F, 2, 1}, {0.25F, 0.5F, 2, 1}},
	{"screen", Grey(0.5F), {0.5F, 0, 1, 1}, {0.75F, 0.5F, 1, 1}},
	{"lineardodge", Grey(0.5F), {0.25F, 0.75F, -1, 1}, {0.75F, 1, -0.5F, 1}},
	{"add", Grey(0.8F), Grey(0.8F), Grey(1.6F)},
	{"difference", Grey(0.25F), {0.75F, 0, 0.25F, 1}, {0.5F, 0.25F, 0, 1}},
	{"hue", Grey(0.3F), {0.2F, 0.8F, 0.4F, 1}, Grey(0.8F)},
	{"hue", {0, 0.25F, 0.5F, 1}, {0.5F, 1, 0.75F, 1}, {0, 1, 0.5F, 1}},
	{"saturation", {0.25F, 0.5F, 0.75F, 1}, {1, 0, 0, 1}, {0, 0.5F, 1, 1}},
	{"color", {0, 0.5F, 0, 1}, {1, 0, 1, 1}, {0.5F, 0, 0.5F, 1}},
	{"luminance", {1, 0, 0, 1}, Grey(0.25F), {0.5F, 0, 0, 1}},
	{"overlay", {0.25F, 0.5F, 0.75F, 1}, Grey(0.5F), {0.25F, 0.5F, 0.75F, 1}},
	{"hardlight", Grey(0.75F), {0.25F, 0.5F, 0.75F, 1}, {0.375F, 0.75F, 0.875F, 1}},
	{"softlight", Grey(0.5F), {0, 0.5F, 1, 1}, {0, 0.5F, 1, 1}},
	{"colorburn", Grey(0.75F), {0, 0.5F, 0.125F, 1}, {0, 0.5F, 0, 1}},
	{"colordodge", Grey(0.25F), {0.5F, 0.75F, 0.875F, 1}, {0.5F, 1, 1, 1}},
	{"exclusion", Grey(0.25F), {0, 0.5F, 1, 1}, {0.25F, 0.5F, 0.75F, 1}},
	{"stamp", Grey(0.25F), {0.25F, 0.5F, 1, 1}, {0, 0.25F, 1, 1}},
	{"linearburn", Grey(0.5F), {0.25F, 0.75F, 2, 1}, {0, 0.25F, 1.5F, 1}},
	{"pinlight", Grey(0.25F), {0.0625F, 0.5F, 0.75F, 1}, {0.125F, 0.25F, 0.5F, 1}},
	{"hardmix", {0.75F, 0.5F, 0.875F, 1}, {0.5F, 0.25F, 0.0625F, 1}, {1, 0, 0, 1}},
	{"hardmix", {0.5F, 0, 1, 1}, {1, 1, 0, 1}, {1, 0, 1, 1}},
	{"average", Grey(0.25F), {0.75F, 0.25F, 2, 1}, {0.5F, 0.25F, 1.125F, 1}},
	{"darker", {0.7154F, -0.2125F, 0, 1}, Grey(0), Grey(0)},
	{"darker", Grey(0.5F), {1, 0, 0, 1}, {1, 0, 0, 1}},
	{"divide", Grey(0.25F), {0, 0.5F, 0.0001F, 1}, {0.25F, 0.5F, 0.25F, 1}},
	{"freeze", Grey(0.5F), {0.00005F, 0.5F, 0.125F, 1}, {0, 0.5F, 0, 1}},
	{"glow", {0.75F, 1, 0.5F, 1}, Grey(0.25F), {0.25F, 1, 0.125F, 1}},
	{"heat", {0.5F, 0, 0.125F, 1}, Grey(0.5F), {0.5F, 0, 0, 1}},
	{"hypot", Grey(0.6F), {0.8F, 0, 8, 1}, {1, 0.6F, 8.0224684F, 1}},
	{"levr", {0.5F, 0.25F, 0.75F, 1}, {0.6F, 0, 0, 1}, Grey(1)},
	{"levr", {0.5F, 0.25F, 0.75F, 1}, {0.4F, 1, 1, 1}, Grey(0)},
	{"lighter", Grey(0.5F), {0, 1, 0, 1}, {0, 1, 0, 1}},
	{"reflect", Grey(0.5F), {0.5F, 1, 0.875F, 1}, {0.5F, 1, 1, 1}},
	{"subtract", Grey(0.25F), {0.75F, 0, -1, 1}, {-0.5F, 0.25F, 1.25F, 1}},
	{"vividlight", Grey(0.25F), {0, 0.75F, 1, 1}, {0, 0.5F, 1, 1}},
	{"vividlight", Grey(0.75F), {0.25F, 0.125F, 0.5F, 1}, {0.5F, 0, 0.75F, 1}},
	{"xor", Grey(0.5F), {1, 0, 0.5F, 1}, {128 / 255.F, 127 / 255.F, 0, 1}},
};

TEST_F(BlendModes, LiteralValues)
{
	for (const LiteralCase& literal : LITERAL_CASES)
	{
		const BlendPixelFunc blend = FindBlend(literal._key, "rgba.f32", "rgba.f32", literal._opacity);
		const Pixel<float> found = Blend<Pixel<float>, Pixel<float>>(blend, {literal._background}, {literal._foreground})[0];
		const Pixel<float> plain =
			BlendByReference(literal._key, literal._background, literal._foreground, static_cast<float>(literal._opacity));
		for (std::size_t i = 0; i < 4; ++i)
		{
			EXPECT_NEAR(found[i], literal._result[i], 5e-7) << literal._key << ", channel " << i;
			EXPECT_NEAR(plain[i], literal._result[i], 5e-7) << literal._key << " by reference, channel " << i;
		}
	}
}

/// Equal bits, or no number on both sides.
template <class T>
Bool IsSame(const Pixel<T>& a, const Pixel<T>& b, Bool isExact)
{
	for (std::size_t i = 0; i < a.size(); ++i)
	{
		if (std::memcmp(&a[i], &b[i], sizeof(T)) != 0 && (isExact || !std::isnan(a[i]) || !std::isnan(b[i])))
			return false;
	}
	return true;
}

template <class T>
std::string TextOf(const Pixel<T>& pixel)
{
	std::string text;
	for (const T value : pixel)
		text += std::to_string(value) + " ";
	return text;
}

template <class T>
class NativeBlend : public BlendTest
{
protected:
	static constexpr std::size_t COUNT = 4000;

	NativeBlend()
	{
		PixelMaker<T> maker;
		for (std::size_t i = 0; i < COUNT; ++i)
		{
			_background.push_back(maker.Make());
			_foreground.push_back(maker.Make());
			if (_foreground.back()[3] == 0) // what must not be touched
				_background.back()[i % 4] = i % 3 == 0 ? std::numeric_limits<T>::signaling_NaN() : std::numeric_limits<T>::quiet_NaN();
		}
	}

	std::vector<Pixel<T>> _background, _foreground;
};

using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(NativeBlend, Precisions);

TYPED_TEST(NativeBlend, EqualsThePlainFormula)
{
	using T = TypeParam;
	for (const std::string& key : this->GetColorKeys())
	{
		for (const double opacity : {1.0, 0.5, 0.3})
		{
			const auto found = this->Blend(this->FindBlend(key, this->template RGBA<T>, this->template RGBA<T>, opacity), this->_background,
										   this->_foreground);
			for (std::size_t i = 0; i < this->COUNT; ++i)
			{
				const Pixel<T>&b = this->_background[i], &f = this->_foreground[i];
				const Pixel<T> wanted = BlendByReference(key, b, f, static_cast<T>(opacity));
				const Bool isUnseen = static_cast<T>(opacity) * f[3] == 0;
				ASSERT_TRUE(IsSame(found[i], wanted, isUnseen))
					<< key << ", opacity " << opacity << ", background " << TextOf(b) << ", foreground " << TextOf(f) << ": "
					<< TextOf(found[i]) << " instead of " << TextOf(wanted);
			}
		}
	}
}

TYPED_TEST(NativeBlend, OpacityZeroLeavesTheBackground)
{
	using T = TypeParam;
	for (const std::string& key : this->GetColorKeys())
	{
		const BlendPixelFunc blend = this->FindBlend(key, this->template RGBA<T>, this->template RGBA<T>, 0.0);
		const auto found = this->Blend(blend, this->_background, this->_foreground);
		EXPECT_EQ(std::memcmp(found.data(), this->_background.data(), this->COUNT * sizeof(Pixel<T>)), 0) << key;
		// Nothing at all is done where nothing must change, so the pixels may be out of reach.
		const PixelBuffer nowhere(static_cast<Byte*>(nullptr), 8 * sizeof(Pixel<T>));
		EXPECT_TRUE(blend(nowhere, nowhere, nowhere, 70).IsOk());
	}
}

/// How one run lies in memory.
struct Layout
{
	const char* _name;
	Int _gap;         ///< bytes behind each pixel
	Bool _isBackward; ///< the first pixel lies last
	Int _start;       ///< bytes in front, so that nothing is aligned
};

constexpr Layout LAYOUTS[] = {
	{"packed", 0, false, 0}, {"packed, not aligned", 0, false, 1}, {"with gaps", 5, false, 3}, {"backward", 0, true, 0}};

/// Pixels in memory of such a layout, between bytes that must stay.
class LaidOut
{
public:
	LaidOut(const Layout& layout, const Byte* pixels, Int size, Int count)
		: _size(size), _count(count), _step(size + layout._gap), _bytes(static_cast<std::size_t>(2 * MARGIN + count * _step + 8), 0xCD)
	{
		_first = MARGIN + layout._start + (layout._isBackward ? std::max<Int>(count - 1, 0) * _step : 0);
		_step = layout._isBackward ? -_step : _step;
		for (Int i = 0; i < count; ++i)
			std::memcpy(At(i), pixels + i * size, static_cast<std::size_t>(size));
	}
	PixelBuffer GetBuffer() { return PixelBuffer(At(0), 8 * _step); }

	/// The pixels in order; the memory is then as if they had never been there, but for what was written beside them.
	std::vector<Byte> Take()
	{
		std::vector<Byte> pixels;
		for (Int i = 0; i < _count; ++i)
		{
			pixels.insert(pixels.end(), At(i), At(i) + _size);
			std::memset(At(i), 0xCD, static_cast<std::size_t>(_size));
		}
		EXPECT_EQ(std::count(_bytes.begin(), _bytes.end(), 0xCD), static_cast<std::ptrdiff_t>(_bytes.size()))
			<< "written beside the pixels";
		return pixels;
	}

private:
	static constexpr Int MARGIN = 64;
	Byte* At(Int i) { return _bytes.data() + _first + i * _step; }

	Int _size, _count, _step, _first = 0;
	std::vector<Byte> _bytes;
};

TYPED_TEST(NativeBlend, RunsMayBeShortAndLieAnywhere)
{
	using T = TypeParam;
	constexpr Int SIZE = sizeof(Pixel<T>);
	const auto* const under = reinterpret_cast<const Byte*>(this->_background.data());
	const auto* const over = reinterpret_cast<const Byte*>(this->_foreground.data());
	for (const auto& [key, opacity, overSize] : {std::tuple<const char*, double, Int>{"over", 1.0, SIZE},
												 {"hue", 0.5, SIZE},
												 {"over", 0.0, SIZE},
												 {"applyalpha", 0.0, static_cast<Int>(sizeof(T))}})
	{
		const BlendPixelFunc blend =
			this->FindBlend(key, this->template RGBA<T>, overSize == SIZE ? this->template RGBA<T> : this->template ALPHA<T>, opacity);
		std::vector<Byte> wanted(static_cast<std::size_t>(70 * SIZE));
		ASSERT_TRUE(blend(PixelBuffer(wanted.data(), 8 * SIZE), PixelBuffer(under, 8 * SIZE), PixelBuffer(over, 8 * overSize), 70).IsOk());
		for (Int count = 0; count <= 70; ++count)
		{
			for (const Layout& layout : LAYOUTS)
			{
				SCOPED_TRACE(std::string(key) + ", " + layout._name + ", " + std::to_string(count) + " pixels");
				LaidOut background(layout, under, SIZE, count), foreground(layout, over, overSize, count);
				LaidOut destination(layout, over, overSize == SIZE ? SIZE : 0, overSize == SIZE ? count : 0);
				const std::vector<Byte> part(wanted.begin(), wanted.begin() + static_cast<std::ptrdiff_t>(count * SIZE));
				if (overSize == SIZE)
				{
					ASSERT_TRUE(blend(destination.GetBuffer(), background.GetBuffer(), foreground.GetBuffer(), count).IsOk());
					ASSERT_EQ(destination.Take(), part);
				}
				ASSERT_TRUE(blend(background.GetBuffer(), background.GetBuffer(), foreground.GetBuffer(), count).IsOk());
				ASSERT_EQ(background.Take(), part) << "in place";
			}
		}
	}
}

/// One foreground pixel for the whole run, and the foreground as destination.
TYPED_TEST(NativeBlend, ForegroundMayStandStillOrBeTheDestination)
{
	using T = TypeParam;
	const BlendPixelFunc blend = this->FindBlend("screen", this->template RGBA<T>, this->template RGBA<T>, 0.5);
	const std::vector<Pixel<T>> background(this->_background.begin(), this->_background.begin() + 21);
	std::vector<Pixel<T>> still(21), foreground(21, Pixel<T>{0.25, 0.5, 0.75, 0.5});
	const auto wanted = this->Blend(blend, background, foreground);
	ASSERT_TRUE(blend(this->BufferOf(still.data()), this->BufferOf(background.data()),
					  PixelBuffer(reinterpret_cast<const Byte*>(foreground.data()), 0), 21)
					.IsOk());
	EXPECT_EQ(std::memcmp(still.data(), wanted.data(), 21 * sizeof(Pixel<T>)), 0);
	const PixelBuffer inPlace = this->BufferOf(foreground.data());
	ASSERT_TRUE(blend(inPlace, this->BufferOf(background.data()), inPlace, 21).IsOk());
	EXPECT_EQ(std::memcmp(foreground.data(), wanted.data(), 21 * sizeof(Pixel<T>)), 0);
}

TYPED_TEST(NativeBlend, ApplyAlphaMultipliesAlphaAlone)
{
	using T = TypeParam;
	const BlendPixelFunc blend = this->FindBlend("applyalpha", this->template RGBA<T>, this->template ALPHA<T>, 0.0);
	std::vector<Pixel<T>> pixels = {{1, 2, 3, 0.5}, {4, 5, 6, 1}};
	const std::vector<T> mask = {0.5, 0};
	const std::vector<Pixel<T>> wanted = {{1, 2, 3, 0.25}, {4, 5, 6, 0}};
	EXPECT_EQ(this->Blend(blend, pixels, mask), wanted) << "colours go along to another destination";
	ASSERT_TRUE(blend(this->BufferOf(pixels.data()), this->BufferOf(pixels.data()), this->BufferOf(mask.data()), 2).IsOk());
	EXPECT_EQ(pixels, wanted);
}

} // namespace
} // namespace torvi::test
