// The conversion lookup: what it remembers, its routes, its errors, and several threads at once.
#include "pixelformat/conversion_functions.h"
#include "pixelformat/gfx_image_pixelformat_base_impl.h"
#include "tests/pixelformat/format_helpers.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/plain_profile.h"

#include <atomic>
#include <thread>

namespace torvi
{

namespace
{

/// A format without channels that answers every source and counts how often it is asked.
class CountingFormat final : public PixelFormatBaseImpl
{
public:
	Block<const ImageChannel> GetChannels() const override { return {}; }
	Int GetChannelCount() const override { return 1; }
	const ChannelOffsets& GetChannelOffsets() const override { return _offsets; }
	ColorSpace GetColorSpace() const override { return {}; }
	String PixToString(const Byte*) const override { return {}; }
	Result<ConvertPixelFunc> GetConvertPixelFromFunc(const PixelFormat& srcFormat, const ChannelOffsets&, const ChannelOffsets&,
													 Bool fastLayout, Bool&) const override
	{
		++_asked;
		_wasFast = fastLayout;
		if (_failure)
			return _failure.Share();
		if (_comesBack)
			return LookUp(PixelFormat(const_cast<CountingFormat*>(this)), srcFormat);
		return CopyFunction(1);
	}

	mutable std::atomic<Int> _asked{0};
	mutable Bool _wasFast = false;
	Bool _comesBack = false;
	Error _failure;

private:
	BITS _offsetValues[2] = {0, 8};
	const ChannelOffsets _offsets{_offsetValues};
};

class Lookup : public testing::Test
{
protected:
	Result<ConvertPixelFunc> LookUpAt(BITS dstOffset, Bool isColorConverted = false)
	{
		const BITS dst[2] = {dstOffset, 8};
		return _counting->GetConvertPixelFunc(_source, _source->GetChannelOffsets(), dst, nullptr, nullptr, false, isColorConverted);
	}

	const HostScope _host{&RegisterPixelFormats};
	const Ref<CountingFormat> _counting = NewObject<CountingFormat>().TakeValue();
	const PixelFormat _source = FormatNamed("grey.u8");
};

TEST_F(Lookup, RemembersByOffsets)
{
	for (int i = 0; i < 3; ++i)
		EXPECT_TRUE(LookUpAt(0).IsOk());
	EXPECT_EQ(_counting->_asked, 1);
	EXPECT_TRUE(_counting->_wasFast);
	EXPECT_TRUE(LookUpAt(16).IsOk());
	EXPECT_TRUE(LookUpAt(16).IsOk());
	EXPECT_EQ(_counting->_asked, 2);
	EXPECT_FALSE(_counting->_wasFast);
}

TEST_F(Lookup, DropsTheLeastRecentlyUsed)
{
	for (BITS offset = 0; offset < 100; ++offset)
		EXPECT_TRUE(LookUpAt(offset * 8).IsOk());
	EXPECT_TRUE(LookUpAt(0).IsOk()); // used again: now 8 is the oldest
	EXPECT_EQ(_counting->_asked, 100);
	EXPECT_TRUE(LookUpAt(8000).IsOk()); // drops 8
	EXPECT_TRUE(LookUpAt(0).IsOk());
	EXPECT_TRUE(LookUpAt(16).IsOk());
	EXPECT_EQ(_counting->_asked, 101);
	EXPECT_TRUE(LookUpAt(8).IsOk());
	EXPECT_EQ(_counting->_asked, 102);
}

TEST_F(Lookup, ConvertedColoursAreNotRemembered)
{
	for (int i = 0; i < 2; ++i)
		EXPECT_TRUE(LookUpAt(0, true).IsOk());
	EXPECT_EQ(_counting->_asked, 2);
	EXPECT_FALSE(_counting->_wasFast);
}

TEST_F(Lookup, RecursionEndsAndLeavesNoTrace)
{
	_counting->_comesBack = true;
	for (int i = 0; i < 2; ++i)
	{
		const Result<ConvertPixelFunc> result = LookUpAt(0);
		EXPECT_EQ(result.GetError().GetId(), errorids::ILLEGALSTATE);
		EXPECT_EQ(result.GetError().GetMessage(), "Recursion check");
	}
	_counting->_comesBack = false;
	EXPECT_TRUE(LookUpAt(0).IsOk());
}

TEST_F(Lookup, FailuresAreNotRemembered)
{
	_counting->_failure = UnknownError("once");
	EXPECT_EQ(LookUpAt(0).GetError().GetMessage(), "once");
	_counting->_failure = Error();
	EXPECT_TRUE(LookUpAt(0).IsOk());
}

TEST_F(Lookup, RefusesWrongArguments)
{
	Bool isColorConverted = false;
	const PixelFormat rgb = FormatNamed("rgb.u8");
	const ChannelOffsets& own = rgb->GetChannelOffsets();
	const Result<ConvertPixelFunc> noSource = rgb->GetConvertPixelFunc(PixelFormat(), own, own, nullptr, nullptr, false, isColorConverted);
	EXPECT_EQ(noSource.GetError().GetId(), errorids::ILLEGALARGUMENT);
	EXPECT_EQ(noSource.GetError().GetMessage(), "srcformat must not be nullptr.");
	for (const ChannelOffsets& wrong : {ChannelOffsets(), own.subspan(1)})
	{
		const auto badSource = rgb->GetConvertPixelFunc(rgb, wrong, own, nullptr, nullptr, false, isColorConverted);
		EXPECT_EQ(badSource.GetError().GetId(), errorids::ILLEGALARGUMENT);
		const auto badDestination = rgb->GetConvertPixelFunc(rgb, own, wrong, nullptr, nullptr, false, isColorConverted);
		EXPECT_EQ(badDestination.GetError().GetId(), errorids::ILLEGALARGUMENT);
	}
	EXPECT_EQ(rgb->ConvertPixelFromSlow({}, 1, {}, nullptr, nullptr, false, 0).GetError().GetMessage(), "srcformat must not be nullptr.");
	EXPECT_EQ(rgb->Init(PixelFormatGroup(), "x").GetError().GetId(), errorids::ILLEGALARGUMENT);
}

TEST_F(Lookup, NoRouteNamesBothSidesAndTheCause)
{
	const Result<ConvertPixelFunc> result = LookUp(FormatNamed("rgb.u8"), FormatNamed("alpha.f16"));
	EXPECT_EQ(result.GetError().GetId(), errorids::ILLEGALSTATE);
	EXPECT_EQ(result.GetError().GetMessage(), "No pixel conversion found from 'A16' to 'RGB8'");
	EXPECT_EQ(result.GetError().GetInnermostCause().GetMessage(), "Recursion check");
	EXPECT_TRUE(LookUp(FormatNamed("rgb.u8"), FormatNamed("alpha.f32")).IsOk());
	EXPECT_FALSE(LookUp(FormatNamed("rgb.u8"), FormatNamed("indexed.u8bit")).IsOk()); // an empty table
}

TEST_F(Lookup, MemoryMayRunOutAnywhere)
{
	const PixelFormat destination = FormatNamed("bgra.u16");
	const PixelFormat source = FormatNamed("rgb.u565");
	const Int allocations = test::ForEachAllocationFailure([&]() { return LookUp(destination, source); },
														   [](const Result<ConvertPixelFunc>& result, Bool hasFailed)
														   {
															   if (hasFailed && !result.IsOk())
																   EXPECT_EQ(result.GetError().GetId(), errorids::OUTOFMEMORY);
															   else
																   EXPECT_TRUE(result.IsOk());
														   });
	EXPECT_GE(allocations, 0);
	EXPECT_EQ(Convert<UInt16>(destination, source, 1, std::vector<UInt16>{0xFFFF}), (std::vector<UInt16>{0xF8F8, 0xFCFC, 0xF8F8, 0xFFFF}));
}

TEST_F(Lookup, ChannelByChannel)
{
	using enum CHANNELTYPE;
	const DataType u8 = GetDataType<UChar>(), u16 = GetDataType<UInt16>();
	const PixelFormat mixed = FormatOfChannels({{BLUE, u16}, {ALPHA, u16}, {RED, u8}, {UNUSED, u8}, {RED, u8}}).TakeValue();
	// Alpha and the unused channel are filled; the second red has no partner, but red belongs to the source's colour space.
	EXPECT_EQ(Convert<UChar>(mixed, FormatNamed("abgr.f32"), 1, std::vector<Float32>{0.5f, 1.0f, 0.5f, 0.2f}),
			  (std::vector<UChar>{0xFF, 0xFF, 0x00, 0x80, 51, 0, 0}));
	EXPECT_EQ(Convert<Float32>(FormatNamed("abgr.f32"), mixed, 1, std::vector<UChar>{0xFF, 0xFF, 0, 0, 255, 9, 7}),
			  (std::vector<Float32>{0.0f, 1.0f, 0.0f, 1.0f}));
	const PixelFormat noAlpha = FormatOfChannels({{GREEN, u8}, {RED, u8}}).TakeValue();
	EXPECT_EQ(Convert<UChar>(mixed, noAlpha, 1, std::vector<UChar>{1, 2}), (std::vector<UChar>{0, 0, 0xFF, 0xFF, 2, 0, 0}));
	// A mask is no colour, so a coloured source can not leave it out: such pixels go by way of 8 bits.
	const PixelFormat green = FormatOfChannels({{GREEN, u16}}).TakeValue();
	const PixelFormat masked = FormatOfChannels({{GREEN, u16}, {MASK, u16}}).TakeValue();
	const PixelFormat deep = FormatOfChannels({{GREEN, u16}, {DEPTH, u16}}).TakeValue();
	EXPECT_EQ(Convert<UInt16>(masked, green, 1, std::vector<UInt16>{0x1234}), (std::vector<UInt16>{0x1212, 0}));
	EXPECT_EQ(Convert<UInt16>(deep, green, 1, std::vector<UInt16>{0x1234}), (std::vector<UInt16>{0x1234, 0}));
}

TEST_F(Lookup, IntermediateRouteWorksInChunks)
{
	const PixelFormat destination = FormatNamed("bgra.f32"), source = FormatNamed("argb.u4444");
	constexpr std::size_t COUNT = 65;
	std::vector<UInt16> pixels;
	for (std::size_t i = 0; i < COUNT; ++i)
		pixels.push_back(static_cast<UInt16>(i * 997));
	const auto converted = Convert<Float32>(destination, source, COUNT, pixels);
	ASSERT_EQ(converted.size(), COUNT * 4);
	for (std::size_t i = 0; i < COUNT; ++i)
	{
		const UInt32 alpha = pixels[i] >> 12;
		EXPECT_EQ(converted[i * 4], static_cast<Float32>((pixels[i] & 15) << 4) * 0.003921569f) << i;
		EXPECT_EQ(converted[i * 4 + 3], static_cast<Float32>(alpha << 4 | alpha) * 0.003921569f) << i;
	}
}

TEST_F(Lookup, PlanesOfPackedFormatsAreRead)
{
	// The kernels of packed formats look at no offsets; a fixed partner in planes is served all the same.
	const PixelFormat rgb = FormatNamed("rgb.u8"), packed = FormatNamed("rgb.u565");
	const BITS planes[] = {0, 16, 32, 48};
	Bool isColorConverted = false;
	const auto split = rgb->GetConvertPixelFunc(packed, packed->GetChannelOffsets(), planes, nullptr, nullptr, false, isColorConverted);
	const auto join = packed->GetConvertPixelFunc(rgb, planes, packed->GetChannelOffsets(), nullptr, nullptr, false, isColorConverted);
	ASSERT_TRUE(split.IsOk() && join.IsOk());
	const UInt16 source[] = {0xF800, 0x07FF};
	Byte channels[6] = {};
	ASSERT_TRUE(split.GetValue()(PixelBuffer(channels, 8), 2, PixelBuffer(reinterpret_cast<const Byte*>(source), 16), 0).IsOk());
	EXPECT_EQ(std::vector<Byte>(channels, channels + 6), (std::vector<Byte>{248, 0, 0, 252, 0, 248}));
	Byte joined[4] = {};
	ASSERT_TRUE(join.GetValue()(PixelBuffer(joined, 16), 2, PixelBuffer(channels, 8), 0).IsOk());
	EXPECT_EQ(0, std::memcmp(joined, source, 4));
}

TEST_F(Lookup, StageOfColours)
{
	/// Converts colours into one destination only.
	class Stage final : public ColorConversionStageInterface
	{
	public:
		Result<ConvertPixelFunc> FindConversion(const PixelFormatInterface& dstFormat, const PixelFormat&, const ChannelOffsets&,
												const ChannelOffsets&, ColorProfile&, ColorProfile*, Bool, UInt32 flags,
												Bool& isColorConverted) override
		{
			_flags = flags;
			if (&dstFormat != _target.GetPointer())
				return ConvertPixelFunc();
			isColorConverted = true;
			return ConvertPixelFunc([](const PixelBuffer&, Int, const PixelBuffer&, UInt32) -> Result<void>
									{ return UnknownError("staged"); });
		}
		PixelFormat _target;
		UInt32 _flags = 0;
	};
	const auto stage = NewObject<Stage>().TakeValue();
	ASSERT_TRUE(g_torvi->DeclareObject(ids::INTERFACE_COLORCONVERSIONSTAGE, stage).IsOk());
	const ColorProfile profile = MakePlainProfile();
	const PixelFormat packed = FormatNamed("rgb.u565"), yuv = FormatNamed("yuv.i422a");
	const auto run = [&](const PixelFormat& destination, const PixelFormat& source, Bool& isColorConverted)
	{
		ColorProfile dstProfile;
		const auto function = destination
								  ->GetConvertPixelFunc(source, source->GetChannelOffsets(), destination->GetChannelOffsets(), &profile,
														&dstProfile, false, isColorConverted)
								  .TakeValue();
		Byte bytes[16] = {};
		return function(PixelBuffer(bytes, 32), 2, PixelBuffer(bytes, 32), 0).IsOk();
	};
	Bool isColorConverted = false;
	EXPECT_TRUE(run(FormatNamed("rgb.u8"), FormatNamed("rgb.u16"), isColorConverted));
	EXPECT_FALSE(isColorConverted);
	EXPECT_EQ(stage->_flags, 1u);
	stage->_target = yuv;
	EXPECT_FALSE(run(yuv, packed, isColorConverted));
	EXPECT_TRUE(isColorConverted);
	// Colours are converted inside a composed function: it says so, and a lookup without profiles does not get it later.
	stage->_target = FormatNamed("rgb.u8");
	isColorConverted = false;
	EXPECT_FALSE(run(yuv, packed, isColorConverted));
	EXPECT_TRUE(isColorConverted);
	const auto plain = LookUp(yuv, packed).TakeValue();
	Byte bytes[8] = {};
	EXPECT_TRUE(plain(PixelBuffer(bytes, 16), 2, PixelBuffer(bytes + 4, 16), 0).IsOk());
}

TEST_F(Lookup, AnyNumberOfThreads)
{
	const char* const names[] = {"rgb.u8", "rgba.f32", "rgb.u565", "rgb.rgbe", "grey.f16", "dynamic.redu16", "bgra.u16", "abgr.f32"};
	std::vector<PixelFormat> formats;
	for (const char* name : names)
		formats.push_back(FormatNamed(name));
	std::atomic<int> failures{0};
	std::vector<PixelFormat> made(4);
	std::vector<std::thread> threads;
	for (std::size_t t = 0; t < made.size(); ++t)
		threads.emplace_back(
			[&, t]()
			{
				for (std::size_t i = 0; i < 2000; ++i)
				{
					const PixelFormat& destination = formats[(i + t) % formats.size()];
					const PixelFormat& source = formats[(i * 7 + 3) % formats.size()];
					const Result<ConvertPixelFunc> function = LookUp(destination, source);
					Byte from[64] = {}, to[64] = {};
					if (!function.IsOk() || !function
												 .GetValue()(PixelBuffer(to, destination->GetBitsPerPixel()), 2,
															 PixelBuffer(from, source->GetBitsPerPixel()), 0)
												 .IsOk())
						++failures;
				}
				made[t] =
					FormatOfChannels({{CHANNELTYPE::WEIGHT, GetDataType<Float64>()}, {CHANNELTYPE::RED, GetDataType<Char>()}}).TakeValue();
			});
	for (std::thread& thread : threads)
		thread.join();
	EXPECT_EQ(failures, 0);
	for (const PixelFormat& format : made)
		EXPECT_EQ(format, made[0]);
}

} // namespace

} // namespace torvi
