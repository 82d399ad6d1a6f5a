// CMYK formats: every direct conversion against a plain second opinion, in all layouts, and the roads that lead to all other formats.
#include "pixelformat/cmyk_formats.h"
#include "tests/pixelformat/format_helpers.h"
#include "tests/pixelformat/kernel_harness.h"

#include <algorithm>
#include <cmath>

namespace torvi
{

namespace
{

using reference::Number;
using reference::Single;
using reference::Type;

constexpr std::string_view PARTNERS[] = {"rgb.u8",  "rgba.u8", "rgbx.u8",  "argb.u8", "xrgb.u8",  "bgr.u8",  "bgra.u8",
										 "bgrx.u8", "rgb.u16", "rgba.u16", "rgb.f32", "rgba.f32", "rgb.f64", "rgba.f64"};

/// A format as the test sees it: cyan, magenta, yellow and black are the letters 'c', 'm', 'y' and 'k'.
struct Side
{
	PixelFormat _format;
	reference::Format _layout;
	bool _isCmyk = false;
	bool _isInverted = false;

	explicit Side(std::string_view name) : _format(FormatNamed(std::string(name))), _layout(reference::FormatOf(name))
	{
		_isCmyk = _layout._channels.find("cmyk") != std::string::npos;
		_isInverted = _layout._channels.ends_with("_inv");
		_layout._channels = _layout._channels.substr(0, _layout._channels.find('_'));
	}
	bool HasAlpha() const { return _layout.Find('a') >= 0; }
};

std::vector<Side> AllCmyk()
{
	std::vector<Side> sides;
	for (const CmykInfo& info : CMYK_FORMATS)
		sides.emplace_back(info._name);
	return sides;
}

Number Complement(const Number& value)
{
	if (value._type == Type::F32)
		return Single(1.0f - value._single);
	return reference::Integer(value._type, ~value._bits & (value._type == Type::U8 ? 0xFFu : 0xFFFFu));
}

// Separation in single precision, step by step.
std::array<Float32, 4> Separate(Float32 r, Float32 g, Float32 b)
{
	const Float32 k = 1.0f - std::max({r, g, b});
	const Float32 w = 1.0f - k;
	if (w == 0)
		return {0, 0, 0, k};
	return {(1.0f - r - k) / w, (1.0f - g - k) / w, (1.0f - b - k) / w, k};
}

/// The value of one channel of the destination.
Number PickValue(char channel, const Side& to, const Side& from, const std::function<Number(char)>& read)
{
	const Type type = to._layout._type;
	if (channel == 'a' || channel == 'x')
		return from.HasAlpha() ? Convert(read('a'), type) : reference::Full(type);
	const auto single = [&](char source) { return Convert(read(source), Type::F32)._single; };
	if (to._isCmyk && from._isCmyk)
		return Convert(to._isInverted != from._isInverted ? Complement(read(channel)) : read(channel), type);
	if (to._isCmyk)
	{
		const Float32 ink = Separate(single('r'), single('g'), single('b'))[std::string_view("cmyk").find(channel)];
		return Convert(Single(to._isInverted ? 1.0f - ink : ink), type);
	}
	const auto light = [&](char source) { return from._isInverted ? single(source) : 1.0f - single(source); };
	return Convert(Single(light("cmy"[std::string_view("rgb").find(channel)]) * light('k')), type);
}

/// Packed; with a gap; packed from the last pixel to the first; channels turned round behind a byte; a plane for each channel.
std::vector<Arrangement> ArrangementsOf(const reference::Format& layout, Int count)
{
	const Int pixelSize = layout.PixelSize(), valueSize = reference::SizeOf(layout._type);
	const std::vector<Int> packed = layout.PackedOffsets();
	std::vector<Int> turned(packed.rbegin(), packed.rend()), planes;
	for (Int& offset : turned)
		++offset;
	for (Int i = 0; i < CountOf(packed); ++i)
		planes.push_back(i * (count * valueSize + 1));
	return {{packed, pixelSize}, {packed, pixelSize + 3}, {packed, -pixelSize}, {turned, pixelSize + 1}, {planes, valueSize}};
}

/// Infinities and what overflows have no value in the rules; the edges of float32 that do are kept.
void FillWithColours(RunSide& side, const reference::Format& layout, Int count)
{
	FillWithValues(side, layout, count, static_cast<UInt32>(count + 7));
	if (!reference::IsFloat(layout._type))
		return;
	for (Int i = 0; i < count; ++i)
		for (const Int offset : side.GetOffsets())
		{
			Byte* const address = side.GetPixel(i) + offset;
			if (std::abs(Convert(reference::Read(layout._type, address), Type::F32)._single) > 1e5f)
				reference::Write(Convert(Single(static_cast<Float32>(i % 3)), layout._type), address);
		}
}

std::string Compare(const ConvertPixelFunc& function, const Side& to, const Arrangement& toLies, const Side& from,
					const Arrangement& fromLies, Int count)
{
	RunSide destination(toLies._offsets, reference::SizeOf(to._layout._type), toLies._stride, count, 1);
	RunSide source(fromLies._offsets, reference::SizeOf(from._layout._type), fromLies._stride, count, 3);
	FillWithColours(source, from._layout, count);
	const auto run = [&](const KernelRun& kernelRun)
	{
		const PixelBuffer toBuffer(kernelRun._destination, kernelRun._destinationStride * 8);
		EXPECT_TRUE(function(toBuffer, kernelRun._count, PixelBuffer(kernelRun._source, kernelRun._sourceStride * 8), 0).IsOk());
	};
	const auto convertPixel = [&](Byte* pixel, const Byte* sourcePixel)
	{
		const auto read = [&](char channel)
		{ return reference::Read(from._layout._type, sourcePixel + fromLies._offsets[from._layout._channels.find(channel)]); };
		for (std::size_t i = 0; i < toLies._offsets.size(); ++i)
			reference::Write(PickValue(to._layout._channels[i], to, from, read), pixel + toLies._offsets[i]);
	};
	return CompareRuns(destination, source, count, run, convertPixel);
}

/// Asks both sides for the conversion, in every pair of layouts.
void ComparePair(const Side& to, const Side& from)
{
	constexpr Int LONGEST = 259;
	const auto toArrangements = ArrangementsOf(to._layout, LONGEST), fromArrangements = ArrangementsOf(from._layout, LONGEST);
	for (std::size_t i = 0; i < toArrangements.size(); ++i)
		for (std::size_t j = 0; j < fromArrangements.size(); ++j)
		{
			const std::vector<BITS> toBits = InBits(toArrangements[i], to._layout.PixelSize());
			const std::vector<BITS> fromBits = InBits(fromArrangements[j], from._layout.PixelSize());
			Bool isColorConverted = false;
			const auto asked = to._format->GetConvertPixelFromFunc(from._format, fromBits, toBits, false, isColorConverted);
			const auto offered = from._format->GetConvertPixelToFunc(to._format, toBits, fromBits, false, isColorConverted);
			for (const auto* const function : {&asked, &offered})
			{
				const bool isOneSided = function == &offered ? !from._isCmyk : !to._isCmyk;
				ASSERT_TRUE(function->IsOk());
				ASSERT_NE(isOneSided, static_cast<bool>(function->GetValue()));
				if (isOneSided)
					continue;
				const bool isPacked = i == 0 && j == 0;
				for (const Int count : isPacked ? std::vector<Int>{-1, 0, 1, 2, 7, 8, 9, 31, 70, 127, 128, 129, 256, LONGEST}
												: std::vector<Int>{0, 1, 70, LONGEST})
					ASSERT_EQ("", Compare(function->GetValue(), to, toArrangements[i], from, fromArrangements[j], count))
						<< "layouts " << i << " and " << j;
			}
		}
}

TEST(Cmyk, AgreesWithTheReferenceInAllLayouts)
{
	const HostScope host({&RegisterPixelFormats});
	Int compared = 0;
	for (const Side& cmyk : AllCmyk())
	{
		for (const std::string_view name : PARTNERS)
		{
			SCOPED_TRACE(std::string(cmyk._format->GetShortName()) + " and " + std::string(name));
			const Side partner(name);
			ComparePair(cmyk, partner);
			ComparePair(partner, cmyk);
			compared += 2;
		}
		for (const Side& other : AllCmyk())
		{
			if (other.HasAlpha() != cmyk.HasAlpha())
				continue;
			SCOPED_TRACE(std::string(cmyk._format->GetShortName()) + " from " + other._format->GetShortName());
			ComparePair(cmyk, other);
			++compared;
		}
	}
	EXPECT_EQ(compared, 12 * (2 * 14 + 6));
}

template <class T>
using Values = std::vector<T>;

TEST(Cmyk, HoldsToLiterals)
{
	const HostScope host({&RegisterPixelFormats});
	const auto bytes = [](const std::string& to, const std::string& from, const Values<UChar>& values)
	{ return Convert<UChar, UChar>(FormatNamed(to), FormatNamed(from), 1, values); };
	EXPECT_EQ(bytes("cmyk.u8", "rgb.u8", {0, 0, 0}), (Values<UChar>{0, 0, 0, 255}));
	EXPECT_EQ(bytes("cmyk.u8", "rgb.u8", {255, 0, 0}), (Values<UChar>{0, 255, 255, 0}));
	EXPECT_EQ(bytes("cmyk_inv.u8", "rgb.u8", {0, 0, 0}), (Values<UChar>{255, 255, 255, 0}));
	EXPECT_EQ(bytes("rgb.u8", "cmyk.u8", {0, 0, 0, 255}), (Values<UChar>{0, 0, 0}));
	EXPECT_EQ(bytes("rgb.u8", "cmyk.u8", {0, 0, 0, 0}), (Values<UChar>{255, 255, 255}));
	EXPECT_EQ(bytes("cmyk_inv.u8", "cmyk.u8", {10, 20, 30, 40}), (Values<UChar>{245, 235, 225, 215}));
	EXPECT_EQ(bytes("acmyk_inv.u8", "acmyk.u8", {7, 10, 20, 30, 40}), (Values<UChar>{7, 245, 235, 225, 215}));
	EXPECT_EQ(bytes("bgrx.u8", "acmyk.u8", {9, 0, 0, 255, 0}), (Values<UChar>{0, 255, 255, 9}));
	EXPECT_EQ(bytes("acmyk.u8", "bgrx.u8", {0, 255, 255, 9}), (Values<UChar>{255, 0, 0, 255, 0}));
	const auto floats = Convert<Float32, Float32>(FormatNamed("cmyk.f32"), FormatNamed("rgb.f32"), 1, {2, 0, 0});
	EXPECT_EQ(floats, (Values<Float32>{0, 1, 1, -1}));
	EXPECT_EQ((Convert<Float32, Float32>(FormatNamed("cmyk.f32"), FormatNamed("rgb.f32"), 1, {-1, 0, 0})), (Values<Float32>{0, 0, 0, 1}));
	// Alpha and inks of 16 bits are cut to 8, not rounded; double alpha is rounded in double.
	EXPECT_EQ((Convert<UChar, UInt16>(FormatNamed("argb.u8"), FormatNamed("acmyk.u16"), 1, {0x80FF, 0, 0, 0, 0})),
			  (Values<UChar>{0x80, 255, 255, 255}));
	EXPECT_EQ((Convert<UChar, UInt16>(FormatNamed("cmyk.u8"), FormatNamed("cmyk.u16"), 1, {0x80FF, 255, 256, 65535})),
			  (Values<UChar>{0x80, 0, 1, 255}));
	EXPECT_EQ((Convert<UChar, Float64>(FormatNamed("acmyk.u8"), FormatNamed("rgba.f64"), 1, {1, 1, 1, 0.4999999999}))[0], 127);
}

constexpr Int BYTE_PAIRS = 65536;

Float32 FromByte(Int value)
{
	return static_cast<Float32>(value) * 0.003921569f;
}

Byte ToByte(Float32 value)
{
	return static_cast<Byte>(std::clamp(value * 255.0f + 0.5f, 0.0f, 255.0f));
}

// One in a hundred of these would come out otherwise in double precision.
TEST(Cmyk, SeparatesBytesInSinglePrecision)
{
	const HostScope host({&RegisterPixelFormats});
	const auto function = LookUp(FormatNamed("cmyk.u8"), FormatNamed("rgb.u8"));
	ASSERT_TRUE(function.IsOk());
	constexpr Int STEP = 15; // of red, which takes both ends
	std::vector<Byte> rgb, cmyk(4 * BYTE_PAIRS), expected;
	for (Int red = 0; red < 256; red += STEP)
	{
		rgb.clear(), expected.clear();
		for (Int i = 0; i < BYTE_PAIRS; ++i)
		{
			for (const Int value : {red, i >> 8, i & 255})
				rgb.push_back(static_cast<Byte>(value));
			for (const Float32 ink : Separate(FromByte(red), FromByte(i >> 8), FromByte(i & 255)))
				expected.push_back(ToByte(ink));
		}
		ASSERT_TRUE(function.GetValue()(PixelBuffer(cmyk.data(), 32), BYTE_PAIRS, PixelBuffer(rgb.data(), 24), 0).IsOk());
		ASSERT_TRUE(cmyk == expected) << "red " << red;
	}
}

// Every ink with every black.
TEST(Cmyk, MixesBytesAsInSinglePrecision)
{
	const HostScope host({&RegisterPixelFormats});
	for (const char* const name : {"cmyk.u8", "cmyk_inv.u8"})
	{
		const bool isInverted = name[4] == '_';
		const auto lightOf = [&](Int ink) { return isInverted ? FromByte(ink) : 1.0f - FromByte(ink); };
		std::vector<Byte> cmyk, rgb(3 * BYTE_PAIRS), expected;
		for (Int i = 0; i < BYTE_PAIRS; ++i)
		{
			const Int black = i & 255;
			for (const Int ink : {i >> 8, 255 - (i >> 8), black})
			{
				cmyk.push_back(static_cast<Byte>(ink));
				expected.push_back(ToByte(lightOf(ink) * lightOf(black)));
			}
			cmyk.push_back(static_cast<Byte>(black));
		}
		const auto function = LookUp(FormatNamed("rgb.u8"), FormatNamed(name));
		ASSERT_TRUE(function.GetValue()(PixelBuffer(rgb.data(), 24), BYTE_PAIRS, PixelBuffer(cmyk.data(), 32), 0).IsOk());
		EXPECT_TRUE(rgb == expected) << name;
	}
}

// The channels of each pixel turn round within one buffer, and stay where they are.
TEST(Cmyk, CopiesInPlace)
{
	const HostScope host({&RegisterPixelFormats});
	constexpr Int COUNT = 300;
	for (const Side& side : AllCmyk())
	{
		SCOPED_TRACE(side._format->GetShortName());
		const Int size = side._layout.PixelSize(), valueSize = reference::SizeOf(side._layout._type), channels = size / valueSize;
		const std::vector<Int> packed = side._layout.PackedOffsets();
		for (const bool isTurned : {false, true})
		{
			std::vector<Byte> pixels(static_cast<std::size_t>(COUNT * size)), expected = pixels;
			for (std::size_t i = 0; i < pixels.size(); ++i)
				pixels[i] = static_cast<Byte>(i * 37 % 64);
			for (Int i = 0; i < COUNT * channels; ++i)
			{
				const Int to = isTurned ? i / channels * channels + channels - 1 - i % channels : i;
				std::memcpy(expected.data() + to * valueSize, pixels.data() + i * valueSize, static_cast<std::size_t>(valueSize));
			}
			const std::vector<BITS> from = InBits({packed, size}, size);
			const std::vector<BITS> to = InBits({isTurned ? std::vector<Int>(packed.rbegin(), packed.rend()) : packed, size}, size);
			Bool isColorConverted = false;
			const auto function = side._format->GetConvertPixelFunc(side._format, from, to, nullptr, nullptr, false, isColorConverted);
			const PixelBuffer buffer(pixels.data(), size * 8);
			EXPECT_TRUE(function.GetValue()(buffer, COUNT, buffer, 0).IsOk());
			EXPECT_EQ(pixels, expected);
		}
	}
}

TEST(Cmyk, AnswersAboutItself)
{
	const HostScope host({&RegisterPixelFormats});
	for (const Side& side : AllCmyk())
	{
		SCOPED_TRACE(side._format->GetShortName());
		const PixelFormat& format = side._format;
		const std::string bits = std::to_string(reference::SizeOf(side._layout._type) * 8);
		EXPECT_EQ(std::string(format->ToString({})), (side.HasAlpha() ? "ACMYK" : "CMYK") + bits);
		EXPECT_EQ(format->HasAlpha(), side.HasAlpha());
		EXPECT_EQ(format->GetColorSpace(), FindDeclared<ColorSpaceInterface>(ids::COLORSPACE_CMYK));
		const Array<ImageChannel> channels(format->GetChannels().begin(), format->GetChannels().end());
		EXPECT_EQ(FindOrCreatePixelFormat(channels).GetValue(), format);
		EXPECT_EQ(channels.back()->GetChannelType()->GetType(), side._isInverted ? CHANNELTYPE::CMYK_IK : CHANNELTYPE::CMYK_K);
		const auto alpha = format->GetAlphaPixelFormat();
		ASSERT_EQ(alpha.IsOk(), side.HasAlpha());
		EXPECT_TRUE(alpha.IsOk() || alpha.GetError().GetId() == errorids::ILLEGALARGUMENT);
		if (alpha.IsOk())
		{
			EXPECT_EQ(alpha.GetValue()._format, FindOrCreatePixelFormat({channels.data(), 1}).GetValue());
			EXPECT_EQ(alpha.GetValue()._byteOffset, 0);
		}
	}
	const auto text = [](const char* name, const auto& values)
	{ return std::string(FormatNamed(name)->PixToString(BytesOfValues(values).data())); };
	EXPECT_EQ(text("cmyk.u8", Values<UChar>{1, 2, 3, 255}), "C 1 M 2 Y 3 K 255");
	EXPECT_EQ(text("acmyk.u16", Values<UInt16>{500, 1, 2, 3, 4}), "C 1 M 2 Y 3 K 4 A 500");
	EXPECT_EQ(text("cmyk_inv.f32", Values<Float32>{0.5f, 1, -1, 2}), "iC 0.5 iM 1 iY -1 iK 2");
	EXPECT_EQ(text("acmyk_inv.u8", Values<UChar>{9, 1, 2, 3, 4}), "iC 1 iM 2 iY 3 iK 4 iA 9");
}

TEST(Cmyk, OtherFormatsAreReachedByOtherRoads)
{
	const HostScope host({&RegisterPixelFormats});
	const PixelFormat cmyk = FormatNamed("cmyk.u8");
	const ChannelOffsets& own = cmyk->GetChannelOffsets();
	Bool isColorConverted = false;
	for (const char* const name : {"grey.u8", "rgb.f16", "rgb.u32", "argb.u16", "bgr.f32", "abgr.u8", "alpha.u8", "acmyk.u8", "rgb.u565"})
	{
		const PixelFormat other = FormatNamed(name);
		const ChannelOffsets& others = other->GetChannelOffsets();
		EXPECT_FALSE(cmyk->GetConvertPixelFromFunc(other, others, own, true, isColorConverted).GetValue()) << name;
		EXPECT_FALSE(cmyk->GetConvertPixelToFunc(other, others, own, true, isColorConverted).GetValue()) << name;
	}
	const PixelFormat rgb = FormatNamed("rgb.u8");
	const std::vector<BITS> few = {0, 8};
	for (const auto& refused : {cmyk->GetConvertPixelFromFunc(rgb, few, own, false, isColorConverted),
								cmyk->GetConvertPixelFromFunc(cmyk, own, few, false, isColorConverted),
								cmyk->GetConvertPixelToFunc(rgb, few, own, false, isColorConverted)})
		EXPECT_EQ(refused.GetError().GetId(), errorids::ILLEGALARGUMENT);

	// Another polarity together with alpha goes by 8-bit RGB, which cuts and separates anew.
	const Values<Float32> inks = {0.3f, 0.2f, 0.9f, 0.1f, 1.5f, -0.5f, 0.25f, 0.75f};
	const auto rgbBytes = Convert<UChar, Float32>(rgb, FormatNamed("cmyk.f32"), 2, inks);
	EXPECT_EQ((Convert<UInt16, Float32>(FormatNamed("acmyk_inv.u16"), FormatNamed("cmyk.f32"), 2, inks)),
			  (Convert<UInt16, UChar>(FormatNamed("acmyk_inv.u16"), rgb, 2, rgbBytes)));
	// The same polarity goes by channels: alpha is filled or dropped, inks are kept.
	EXPECT_EQ((Convert<UInt16, UChar>(FormatNamed("acmyk.u16"), cmyk, 1, {1, 2, 3, 255})), (Values<UInt16>{65535, 257, 514, 771, 65535}));
	EXPECT_EQ((Convert<UChar, UChar>(FormatNamed("cmyk_inv.u8"), FormatNamed("acmyk_inv.u8"), 1, {9, 1, 2, 3, 4})),
			  (Values<UChar>{1, 2, 3, 4}));
	EXPECT_EQ((Convert<UChar, UChar>(FormatNamed("alpha.u8"), FormatNamed("acmyk.u8"), 1, {9, 1, 2, 3, 4})), (Values<UChar>{9}));
	EXPECT_EQ((Convert<UChar, UChar>(FormatNamed("grey.u8"), cmyk, 1, {0, 255, 255, 0})), (Values<UChar>{85}));
}

// Without a palette there is no road to or from indices, and none leads from alpha in half floats to colours.
TEST(Cmyk, OtherFormatsAreReachedOrRefused)
{
	const HostScope host({&RegisterPixelFormats});
	Int converted = 0, refused = 0;
	const auto check = [&](const PixelFormat& to, const PixelFormat& from, bool hasRoad)
	{
		SCOPED_TRACE(std::string(to->GetShortName()) + " from " + from->GetShortName());
		const auto function = LookUp(to, from);
		ASSERT_EQ(function.IsOk(), hasRoad);
		++(hasRoad ? converted : refused);
		if (!function.IsOk())
		{
			EXPECT_EQ(function.GetError().GetMessage(), Format("No pixel conversion found from '@' to '@'", from, to));
		}
	};
	for (const auto& group : g_torvi->GetRegistry(ids::REGISTRY_PIXELFORMATGROUPS).TakeValue()->GetEntries<PixelFormatGroupInterface>())
		for (Registry::Iterator it = group->GetEntries(); it.HasValue(); it.MoveToNext())
			for (const Side& side : AllCmyk())
			{
				const auto other = Cast<PixelFormatInterface>(it.GetEntry());
				const std::string_view name = other->GetShortName();
				const bool isIndexed = name.starts_with("Indexed");
				check(other, side._format, !isIndexed);
				check(side._format, other, !isIndexed && name != "ALPHA::F16");
			}
	EXPECT_EQ(converted + refused, 104 * 12 * 2);
	EXPECT_EQ(refused, 9 * 12 * 2 + 12);
}

} // namespace

} // namespace torvi
