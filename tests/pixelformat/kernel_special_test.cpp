// Packed, RGBE and YUV formats: literal values, and whole runs against the reference.
#include "pixelformat/kernel_packed16.h"
#include "pixelformat/kernel_rgbe.h"
#include "pixelformat/kernel_yuv.h"
#include "tests/pixelformat/kernel_harness.h"

#include <gtest/gtest.h>

#include <cmath>

namespace torvi
{

namespace
{

using reference::Convert;
using reference::Integer;
using reference::Number;
using reference::Read;
using reference::Type;

constexpr std::string_view PACKED_PARTNERS[] = {"rgb.u8", "argb.u8", "rgb.u16", "argb.u16", "rgb.f32", "argb.f32", "rgb.f64", "argb.f64"};
constexpr std::string_view RGBE_PARTNERS[] = {"rgb.u8", "rgb.u16", "rgb.f16", "rgb.f32", "rgb.f64"};
constexpr std::string_view YUV_PARTNERS[] = {"rgb.u8",  "rgba.u8", "rgbx.u8", "argb.u8", "xrgb.u8", "bgr.u8",
											 "bgra.u8", "bgrx.u8", "rgb.u16", "rgb.f32", "rgb.f64"};

FixedFormat FixedFormatOf(std::string_view name)
{
	for (const FixedFormatInfo& info : FIXED_FORMATS)
		if (info.GetName() == name)
			return info._format;
	ADD_FAILURE() << name;
	return FixedFormat::RGB_U8;
}

// Memory of a fixed format in its default layout, or of `bytes` bytes per pixel; `gap` widens the stride.
RunSide SideOf(const reference::Format& format, Int gap, Int count)
{
	return RunSide(format.PackedOffsets(), reference::SizeOf(format._type), format.PixelSize() + gap, count, 1);
}

const reference::Format TWO_BYTES = {"ab", Type::U8}, FOUR_BYTES = {"rgba", Type::U8};

/// Reads or writes one channel of a pixel in the default layout.
Number Get(const reference::Format& format, const Byte* pixel, char channel)
{
	return Read(format._type, pixel + format.Find(channel) * reference::SizeOf(format._type));
}

void Put(const reference::Format& format, Byte* pixel, char channel, const Number& value)
{
	if (format.Find(channel) >= 0)
		reference::Write(Convert(value, format._type), pixel + format.Find(channel) * reference::SizeOf(format._type));
}

FixedPlaces PlacesOf(std::string_view name)
{
	return FixedPlaces(FixedFormatOf(name));
}

// All counts side by side, and one with gaps.
void CompareKernel(const std::optional<ConversionPlan>& plan, const reference::Format& to, const reference::Format& from, Int step,
				   const PixelReference& reference)
{
	ASSERT_TRUE(plan);
	const RunUnderTest kernel = [&](const KernelRun& run) { plan->Run(run); };
	for (const Int gap : {0, 3})
		for (Int count : COUNTS)
		{
			count = count / step * step;
			RunSide destination = SideOf(to, gap, count), source = SideOf(from, gap * 2, count);
			FillWithValues(source, from, count, static_cast<UInt32>(count + 5));
			Int index = 0; // runs of pairs call the reference once for both pixels
			EXPECT_EQ("", CompareRuns(destination, source, count, kernel,
									  [&](Byte* pixel, const Byte* sourcePixel)
									  {
										  if (index++ % step == 0)
											  reference(pixel, sourcePixel);
									  }));
		}
}

TEST(KernelPacked16, AllFormatsAgreeWithReference)
{
	for (std::size_t i = 0; i < PACKED16_FORMATS.size(); ++i)
	{
		const auto packed = static_cast<Packed16Format>(i);
		const std::string bits = reference::PackedBitsOf(InfoOf(packed)._name);
		for (const std::string_view name : PACKED_PARTNERS)
		{
			SCOPED_TRACE(std::string(InfoOf(packed)._name) + " and " + std::string(name));
			const reference::Format fixed = reference::FormatOf(name);
			CompareKernel(Packed16PlanFrom(packed, PlacesOf(name)), TWO_BYTES, fixed, 1,
						  [&](Byte* pixel, const Byte* source)
						  {
							  const Number alpha = fixed.Find('a') >= 0 ? Get(fixed, source, 'a') : reference::Full(Type::U8);
							  const UInt16 value =
								  reference::Pack(bits, Get(fixed, source, 'r'), Get(fixed, source, 'g'), Get(fixed, source, 'b'), &alpha);
							  reference::Write(Integer(Type::U16, value), pixel);
						  });
			CompareKernel(Packed16PlanTo(PlacesOf(name), packed), fixed, TWO_BYTES, 1,
						  [&](Byte* pixel, const Byte* source)
						  {
							  const auto value = static_cast<UInt16>(Read(Type::U16, source)._bits);
							  for (const char channel : {'r', 'g', 'b', 'a'})
								  Put(fixed, pixel, channel, Integer(Type::U8, reference::Unpack(bits, value, channel)));
						  });
		}
		EXPECT_FALSE(Packed16PlanFrom(packed, PlacesOf("rgba.u8")));
		EXPECT_FALSE(Packed16PlanTo(PlacesOf("grey.u8"), packed));
	}
}

TEST(KernelPacked16, HoldsToLiterals)
{
	const auto unpack = [](Packed16Format format, FixedFormat to, UInt16 pixel)
	{
		std::array<UInt16, 4> out = {};
		Packed16PlanTo(FixedPlaces(to), format)->Run({reinterpret_cast<Byte*>(out.data()), 8, reinterpret_cast<const Byte*>(&pixel), 2, 1});
		return out;
	};
	EXPECT_EQ((std::array<UInt16, 4>{63736, 64764, 63736, 0}), unpack(Packed16Format::RGB_U565, FixedFormat::RGB_U16, 0xFFFF));
	EXPECT_EQ((std::array<UInt16, 4>{65535, 0, 0, 0}), unpack(Packed16Format::ARGB_U1555, FixedFormat::ARGB_U16, 0x8000));
	EXPECT_EQ((std::array<UInt16, 4>{0, 0xF8F8, 0xF8F8, 0xF8F8}), unpack(Packed16Format::ARGB_U1555, FixedFormat::ARGB_U16, 0x7FFF));
	EXPECT_EQ(0x8888, unpack(Packed16Format::ARGB_U4444, FixedFormat::ARGB_U16, 0x8000)[0]);
	EXPECT_EQ((std::array<UChar, 2>{248, 252}), (std::array<UChar, 2>{reference::Unpack("rrrrrggggggbbbbb", 0xFFFF, 'r'),
																	  reference::Unpack("rrrrrggggggbbbbb", 0xFFFF, 'g')}));
}

TEST(KernelPacked16, TwinsDifferInAlphaOnly)
{
	struct Case
	{
		Packed16Format _to, _from;
		UInt16 _in, _out;
	};
	using enum Packed16Format;
	constexpr Case CASES[] = {{ARGB_U1555, RGB_U555, 0x1234, 0x9234}, {RGB_U555, ARGB_U1555, 0xFFFF, 0x7FFF},
							  {ARGB_U4444, RGB_U444, 0x1234, 0xF234}, {BGR_U444, ABGR_U4444, 0xFFFF, 0x0FFF},
							  {ABGR_U1555, BGR_U555, 0, 0x8000},      {RGB_U555, RGB_U555, 0xFFFF, 0xFFFF},
							  {RGB_U565, RGB_U565, 0xABCD, 0xABCD}};
	for (const Case& one : CASES)
	{
		UInt16 out = 0;
		Packed16KernelBetween(one._to, one._from)({reinterpret_cast<Byte*>(&out), 2, reinterpret_cast<const Byte*>(&one._in), 2, 1});
		EXPECT_EQ(one._out, out) << InfoOf(one._to)._name;
	}
	EXPECT_EQ(nullptr, Packed16KernelBetween(RGB_U565, BGR_U565));
	EXPECT_EQ(nullptr, Packed16KernelBetween(RGB_U555, RGB_U444));
	EXPECT_EQ(nullptr, Packed16KernelBetween(RGB_U555, ABGR_U1555));
}

TEST(KernelRgbe, HoldsToLiterals)
{
	using Bytes = std::array<Byte, 4>;
	using Colours = std::array<Float32, 3>;
	const Bytes pixel = {127, 63, 31, 129}, hidden = {9, 9, 9, 0}, black = {};
	const Colours colours = {0.99609375f, 0.49609375f, 0.24609375f};
	for (const auto encode : {&EncodeRgbe, &reference::EncodeRgbe})
	{
		EXPECT_EQ(pixel, encode(1.0f, 0.5f, 0.25f));
		EXPECT_EQ(black, encode(0.0f, 0.0f, 0.0f));
		EXPECT_EQ(black, encode(-1.0f, 1e-32f, -0.0f));
		EXPECT_EQ(0, encode(0x1p127f, 0, 0)[3]);
	}
	for (const auto decode : {&DecodeRgbe, &reference::DecodeRgbe})
	{
		EXPECT_EQ(colours, decode(pixel.data()));
		EXPECT_EQ(Colours(), decode(hidden.data()));
		EXPECT_EQ(0x1p-136f, decode(Bytes{0, 0, 0, 1}.data())[0]);
	}
	EXPECT_EQ(0, EncodeRgbe(INFINITY, 1.0f, -INFINITY)[3]);
	EXPECT_EQ(black, EncodeRgbe(NAN, 1.0f, 1.0f));
	EXPECT_EQ((Bytes{127, 0, 63, 129}), EncodeRgbe(1.0f, NAN, 0.5f));
}

TEST(KernelRgbe, AgreesWithReference)
{
	const auto clamped = [](const Number& colour) { return std::clamp(Convert(colour, Type::F32)._single, -1e6f, 0x1.fffffep+126f); };
	for (const std::string_view name : RGBE_PARTNERS)
	{
		SCOPED_TRACE(name);
		const reference::Format fixed = reference::FormatOf(name);
		CompareKernel(RgbePlanTo(PlacesOf(name)), fixed, FOUR_BYTES, 1,
					  [&](Byte* pixel, const Byte* source)
					  {
						  const std::array<Float32, 3> colours = reference::DecodeRgbe(source);
						  for (std::size_t i = 0; i < 3; ++i)
							  Put(fixed, pixel, "rgb"[i], reference::Single(colours[i]));
					  });
		const auto encode = RgbePlanFrom(PlacesOf(name));
		ASSERT_TRUE(encode);
		// Infinities and huge negative numbers have no value in the rules and are held to literals above.
		for (const Int count : COUNTS)
		{
			RunSide destination = SideOf(FOUR_BYTES, 1, count), source = SideOf(fixed, 0, count);
			FillWithValues(source, fixed, count, 3);
			for (Int i = 0; i < count; ++i)
				for (const char channel : {'r', 'g', 'b'})
					Put(fixed, source.GetPixel(i), channel, reference::Single(clamped(Get(fixed, source.GetPixel(i), channel))));
			EXPECT_EQ("", CompareRuns(
							  destination, source, count, [&](const KernelRun& run) { encode->Run(run); },
							  [&](Byte* pixel, const Byte* from)
							  {
								  const auto single = [&](char channel) { return Convert(Get(fixed, from, channel), Type::F32)._single; };
								  const auto bytes = reference::EncodeRgbe(single('r'), single('g'), single('b'));
								  std::copy(bytes.begin(), bytes.end(), pixel);
							  }));
		}
	}
	EXPECT_FALSE(RgbePlanFrom(PlacesOf("rgba.f32")));
	EXPECT_FALSE(RgbePlanTo(PlacesOf("rgb.u32")));
}

// Runs that are too large for the cache begin with a few pixels up to a boundary, which must not part a pair.
TEST(KernelYuv, LargeRunsKeepPairsTogether)
{
	constexpr Int COUNT = (Int(5) << 20) + 78, PART = 1002;
	std::vector<Byte> from(static_cast<std::size_t>(COUNT * 4));
	for (std::size_t i = 0; i < from.size(); ++i)
		from[i] = static_cast<Byte>(i * 2654435761u >> 13);
	const auto check = [&](const ConversionPlan& plan, Int destinationSize, Int sourceSize, Int misalignment)
	{
		std::vector<Byte> large(static_cast<std::size_t>(COUNT * destinationSize + 64), 0xA5), small(large);
		plan.Run({large.data() + misalignment, destinationSize, from.data(), sourceSize, COUNT});
		for (Int start = 0; start < COUNT; start += PART)
			plan.Run({small.data() + misalignment + start * destinationSize, destinationSize, from.data() + start * sourceSize, sourceSize,
					  std::min(PART, COUNT - start)});
		EXPECT_TRUE(large == small) << destinationSize << " bytes, misaligned by " << misalignment;
	};
	for (const Int misalignment : {0, 2, 4, 60})
	{
		check(*YuvPlanTo(PlacesOf("rgba.u8"), YuvFormat::I422A), 4, 2, misalignment);
		check(*YuvPlanFrom(YuvFormat::I422B, PlacesOf("rgb.u8")), 2, 3, misalignment);
	}
}

TEST(KernelYuv, HoldsToLiterals)
{
	const reference::YuvPair pair = reference::EncodeYuv({255, 255, 255}, {0, 0, 0});
	EXPECT_EQ((std::array<UChar, 4>{235, 128, 16, 128}), (std::array<UChar, 4>{pair._y0, pair._u, pair._y1, pair._v}));
	const std::array<Byte, 6> rgb = {255, 255, 255, 0, 0, 0};
	std::array<Byte, 4> a = {}, b = {};
	YuvPlanFrom(YuvFormat::I422A, PlacesOf("rgb.u8"))->Run({a.data(), 2, rgb.data(), 3, 2});
	YuvPlanFrom(YuvFormat::I422B, PlacesOf("rgb.u8"))->Run({b.data(), 2, rgb.data(), 3, 2});
	EXPECT_EQ((std::array<Byte, 4>{235, 128, 16, 128}), a);
	EXPECT_EQ((std::array<Byte, 4>{128, 235, 128, 16}), b);
}

TEST(KernelYuv, AgreesWithReference)
{
	for (const YuvFormat format : {YuvFormat::I422A, YuvFormat::I422B})
		for (const std::string_view name : YUV_PARTNERS)
			for (const Int gap : {0, 3})
			{
				SCOPED_TRACE(name);
				const reference::Format fixed = reference::FormatOf(name);
				const Int yuvStride = 2 + gap, stride = fixed.PixelSize() + gap;
				const int luma = format == YuvFormat::I422A ? 0 : 1, chroma = 1 - luma;
				const auto rgb = [&](const Byte* pixel)
				{
					const auto get = [&](char c) { return static_cast<UChar>(Convert(Get(fixed, pixel, c), Type::U8)._bits); };
					return std::array<UChar, 3>{get('r'), get('g'), get('b')};
				};
				const auto encode = YuvPlanFrom(format, PlacesOf(name)), decode = YuvPlanTo(PlacesOf(name), format);
				for (Int count : COUNTS)
				{
					count = count / 2 * 2;
					RunSide yuv = SideOf(TWO_BYTES, gap, count), pixels = SideOf(fixed, gap, count);
					FillWithValues(pixels, fixed, count, 11);
					Int index = 0;
					EXPECT_EQ("", CompareRuns(
									  yuv, pixels, count, [&](const KernelRun& run) { encode->Run(run); },
									  [&](Byte* to, const Byte* from)
									  {
										  if (index++ % 2 != 0)
											  return;
										  const auto pair = reference::EncodeYuv(rgb(from), rgb(from + stride));
										  to[luma] = pair._y0;
										  to[chroma] = pair._u;
										  to[yuvStride + luma] = pair._y1;
										  to[yuvStride + chroma] = pair._v;
									  }));
					FillWithValues(yuv, TWO_BYTES, count, 12);
					index = 0;
					EXPECT_EQ("", CompareRuns(
									  pixels, yuv, count, [&](const KernelRun& run) { decode->Run(run); },
									  [&](Byte* to, const Byte* from)
									  {
										  const bool second = index++ % 2 != 0;
										  const Byte* const first = second ? from - yuvStride : from;
										  const auto colour = reference::DecodeYuv(from[luma], first[chroma], first[yuvStride + chroma]);
										  for (std::size_t i = 0; i < 3; ++i)
											  Put(fixed, to, "rgb"[i], Integer(Type::U16, colour[i]));
										  Put(fixed, to, 'a', reference::Full(fixed._type));
										  Put(fixed, to, 'x', Integer(fixed._type, 0));
									  }));
				}
			}
	EXPECT_FALSE(YuvPlanFrom(YuvFormat::I422A, PlacesOf("abgr.u8")));
	EXPECT_FALSE(YuvPlanTo(PlacesOf("rgba.u16"), YuvFormat::I422B));
}

} // namespace

} // namespace torvi
