// Every pair of fixed formats against the reference: both forms, many counts, strides, layouts and alignments.
#include "pixelformat/fixed_plan.h"
#include "tests/pixelformat/kernel_harness.h"

#include <gtest/gtest.h>

namespace torvi
{

namespace
{

/// A fixed format with what the reference knows of it.
struct Format
{
	FixedFormat _format;
	reference::Format _reference;
	explicit Format(FixedFormat format) : _format(format), _reference(reference::FormatOf(InfoOf(format).GetName())) {}
	Int ValueSize() const { return reference::SizeOf(_reference._type); }
	Int PixelSize() const { return _reference.PixelSize(); }

	std::vector<BITS> BitOffsets(const std::vector<Int>& offsets) const
	{
		std::vector<BITS> bits;
		for (const Int offset : offsets)
			bits.push_back(offset * 8);
		bits.push_back(PixelSize() * 8);
		return bits;
	}
};

struct Place
{
	std::vector<Int> _offsets;
	Int _stride;
};

/// How the channels of a run lie.
enum class Arrangement
{
	Packed,
	Padded,
	OddlyPadded,
	Backwards,
	Still,
	Shuffled,
	Planes
};

constexpr Int PLANE_PIXELS = 131;

Place PlaceOf(const Format& format, Arrangement arrangement)
{
	const Int size = format.PixelSize(), value = format.ValueSize();
	Place place = {format._reference.PackedOffsets(), size};
	switch (arrangement)
	{
	case Arrangement::Packed:
		break;
	case Arrangement::Padded:
		place._stride = size + value;
		break;
	case Arrangement::OddlyPadded:
		place._stride = size + 5;
		break;
	case Arrangement::Backwards:
		place._stride = -size;
		break;
	case Arrangement::Still:
		place._stride = 0;
		break;
	case Arrangement::Shuffled: // last channel first, a gap of one byte before each
		for (Int& offset : place._offsets)
			offset = (size / value - 1 - offset / value) * (value + 1) + 1;
		place._stride = size + 7;
		break;
	case Arrangement::Planes:
		for (Int& offset : place._offsets)
			offset *= PLANE_PIXELS;
		place._stride = value;
		break;
	}
	return place;
}

struct Arranged
{
	Arrangement _destination, _source;
};

std::string CompareForm(const Format& destination, const Format& source, Arranged arranged, Int count, Int misalignment,
						const RunUnderTest& kernel)
{
	const Place to = PlaceOf(destination, arranged._destination), from = PlaceOf(source, arranged._source);
	RunSide destinationSide(to._offsets, destination.ValueSize(), to._stride, count, misalignment);
	RunSide sourceSide(from._offsets, source.ValueSize(), from._stride, count, misalignment * 3);
	FillWithValues(sourceSide, source._reference, count, static_cast<UInt32>(count * 7 + 1));
	const bool same = destination._format == source._format;
	return CompareRuns(
		destinationSide, sourceSide, count, kernel,
		[&](Byte* pixel, const Byte* sourcePixel)
		{ reference::ConvertPixel(destination._reference, to._offsets, pixel, source._reference, from._offsets, sourcePixel, same); });
}

FixedPlaces LayoutOf(const Format& format, Arrangement arrangement)
{
	return FixedPlaces::Make(format._format, format.BitOffsets(PlaceOf(format, arrangement)._offsets)).value();
}

RunUnderTest OffsetForm(const Format& destination, const Format& source, Arranged arranged)
{
	const FixedPlaces to = LayoutOf(destination, arranged._destination), from = LayoutOf(source, arranged._source);
	if (destination._format == source._format)
		return [copy = CopyBetween(to, from)](const KernelRun& run) { copy.Run(run); };
	return [program = ProgramBetween(to, from)](const KernelRun& run) { program.Run(run); };
}

RunUnderTest DefaultForm(const Format& destination, const Format& source)
{
	if (destination._format == source._format)
		return [size = destination.PixelSize()](const KernelRun& run) { CopyPixels(run, size); };
	return OffsetForm(destination, source, {Arrangement::Packed, Arrangement::Packed});
}

void ForEachPair(const std::function<void(const Format& destination, const Format& source)>& test)
{
	for (Int d = 0; d < FIXED_FORMAT_COUNT; ++d)
		for (Int s = 0; s < FIXED_SOURCE_COUNT; ++s)
		{
			const Format destination(static_cast<FixedFormat>(d)), source(static_cast<FixedFormat>(s));
			SCOPED_TRACE(std::string(InfoOf(destination._format).GetName()) + " from " + std::string(InfoOf(source._format).GetName()));
			test(destination, source);
		}
}

constexpr Arranged PACKED = {Arrangement::Packed, Arrangement::Packed};

TEST(KernelPairs, DefaultFormAgreesWithReference)
{
	using enum Arrangement;
	constexpr std::array<Arranged, 6> STRIDES = {
		{{Padded, Packed}, {Packed, OddlyPadded}, {OddlyPadded, Padded}, {Backwards, Packed}, {Packed, Still}, {Still, Backwards}}};
	ForEachPair(
		[&](const Format& destination, const Format& source)
		{
			const RunUnderTest kernel = DefaultForm(destination, source);
			for (const Int count : COUNTS)
				EXPECT_EQ("", CompareForm(destination, source, PACKED, count, count % 4 == 0 ? 0 : 1, kernel));
			for (const Arranged strides : STRIDES)
				EXPECT_EQ("", CompareForm(destination, source, strides, 17, 1, kernel));
		});
}

TEST(KernelPairs, OffsetFormAgreesWithReference)
{
	using enum Arrangement;
	constexpr std::array<Arranged, 6> LAYOUTS = {
		{PACKED, {Shuffled, Packed}, {OddlyPadded, Shuffled}, {Planes, Backwards}, {Shuffled, Planes}, {Still, Still}}};
	ForEachPair(
		[&](const Format& destination, const Format& source)
		{
			for (const Arranged layout : LAYOUTS)
				for (const Int count : {0, 1, 18, 65})
					EXPECT_EQ("", CompareForm(destination, source, layout, count, 1, OffsetForm(destination, source, layout)));
		});
}

TEST(KernelPairs, ComparisonCatchesBrokenKernels)
{
	const Format destination(FixedFormat::RGBA_U16), source(FixedFormat::BGR_F32);
	const RunUnderTest right = DefaultForm(destination, source);
	const RunUnderTest oneBitWrong = [&](const KernelRun& run)
	{
		right(run);
		run._destination[(run._count - 1) * run._destinationStride + 6] ^= 1;
	};
	const RunUnderTest onePixelShort = [&](KernelRun run)
	{
		--run._count;
		right(run);
	};
	const RunUnderTest onePixelFar = [&](KernelRun run)
	{
		right(run);
		run._destination[run._count * run._destinationStride] = 0;
	};
	EXPECT_EQ("", CompareForm(destination, source, PACKED, 17, 0, right));
	for (const RunUnderTest& broken : {oneBitWrong, onePixelShort, onePixelFar})
		EXPECT_NE("", CompareForm(destination, source, PACKED, 17, 0, broken));
}

// All values of a type, each channel with a pattern of its own. Halves that are no number are left out.
void FillWithAllValues(RunSide& side, const reference::Format& format, Int count)
{
	for (Int i = 0; i < count; ++i)
	{
		UInt32 channel = 0;
		for (const Int offset : side.GetOffsets())
		{
			UInt32 bits = static_cast<UInt32>(i) ^ (channel++ * 0x15);
			if (format._type == reference::Type::F16 && (bits & 0x7FFF) > 0x7C00)
				bits = (bits & 0x8000) | 0x7BFF;
			reference::Write(reference::Integer(format._type, bits), side.GetPixel(i) + offset);
		}
	}
}

TEST(SlowKernelPairs, AllValuesOfSmallTypesAgreeWithReference)
{
	ForEachPair(
		[](const Format& destination, const Format& source)
		{
			if (source.ValueSize() > 2)
				return;
			const Int count = Int(1) << (8 * source.ValueSize());
			RunSide destinationSide(destination._reference.PackedOffsets(), destination.ValueSize(), destination.PixelSize(), count, 0);
			RunSide sourceSide(source._reference.PackedOffsets(), source.ValueSize(), source.PixelSize(), count, 0);
			FillWithAllValues(sourceSide, source._reference, count);
			const bool same = destination._format == source._format;
			EXPECT_EQ("", CompareRuns(destinationSide, sourceSide, count, DefaultForm(destination, source),
									  [&](Byte* pixel, const Byte* from)
									  {
										  reference::ConvertPixel(destination._reference, destinationSide.GetOffsets(), pixel,
																  source._reference, sourceSide.GetOffsets(), from, same);
									  }));
		});
}

TEST(SlowKernelPairs, AllLengthsAgreeWithReference)
{
	ForEachPair(
		[](const Format& destination, const Format& source)
		{
			const RunUnderTest kernel = DefaultForm(destination, source);
			for (Int count = 0; count <= 130; ++count)
				EXPECT_EQ("", CompareForm(destination, source, PACKED, count, count % 5, kernel));
		});
}

// Runs that are too large for the cache are written past it, in chunks that begin on a boundary.
TEST(KernelPairs, LargeRunsAgreeWithSmallOnes)
{
	struct Case
	{
		FixedFormat _destination, _source;
	};
	using enum FixedFormat;
	for (const Case& one : {Case{RGBA_U8, RGB_U8}, Case{BGR_U8, GREY_U16}, Case{GREY_U16, RGB_U8}, Case{RGB_F32, RGB_U16}})
		for (const Int misalignment : {0, 2, 3})
		{
			const Format destination(one._destination), source(one._source);
			constexpr Int COUNT = (Int(9) << 20) + 77, PART = 1001;
			std::vector<Byte> from(static_cast<std::size_t>(COUNT * source.PixelSize()));
			for (std::size_t i = 0; i < from.size(); ++i)
				from[i] = static_cast<Byte>(i * 2654435761u >> 13);
			std::vector<Byte> large(static_cast<std::size_t>(COUNT * destination.PixelSize() + misalignment + 1), 0xA5), small(large);
			const RunUnderTest kernel = DefaultForm(destination, source);
			kernel({large.data() + misalignment, destination.PixelSize(), from.data(), source.PixelSize(), COUNT});
			for (Int start = 0; start < COUNT; start += PART)
				kernel({small.data() + misalignment + start * destination.PixelSize(), destination.PixelSize(),
						from.data() + start * source.PixelSize(), source.PixelSize(), std::min(PART, COUNT - start)});
			EXPECT_TRUE(large == small) << InfoOf(one._destination).GetName() << " " << misalignment;
		}
}

TEST(SlowKernelPairs, ManyFloatsAgreeWithReference)
{
	ForEachPair(
		[](const Format& destination, const Format& source)
		{
			if (source.ValueSize() <= 2)
				return;
			EXPECT_EQ("", CompareForm(destination, source, PACKED, 4096, 0, DefaultForm(destination, source)));
		});
}

TEST(FixedPlaces, TellDefaultLayoutsAndRefuseWrongOffsets)
{
	using Offsets = std::vector<BITS>;
	EXPECT_TRUE(FixedPlaces::Make(FixedFormat::RGB_U16, Offsets{0, 16, 32, 48})->IsDefault());
	EXPECT_TRUE(FixedPlaces::Make(FixedFormat::RGB_U16, Offsets{0, 16, 32, 64})->IsDefault());
	EXPECT_FALSE(FixedPlaces::Make(FixedFormat::RGB_U16, Offsets{32, 16, 0, 48})->IsDefault());
	EXPECT_FALSE(FixedPlaces::Make(FixedFormat::RGB_U16, Offsets{0, 16, 32}));
	EXPECT_FALSE(FixedPlaces::Make(FixedFormat::GREY_U8, Offsets{}));
}

// Copies inside one buffer, forwards and backwards, with equal strides and with growing and shrinking ones.
TEST(KernelCopy, OverlappingRunsAreCopiedAsThroughABuffer)
{
	struct Case
	{
		Int _destinationStart, _destinationStride, _sourceStart, _sourceStride;
	};
	constexpr std::array<Case, 9> CASES = {{{200, 4, 204, 4},
											{204, 4, 200, 4},
											{203, 4, 200, 4},
											{207, 6, 200, 6},
											{200, 6, 207, 6},
											{400, -4, 404, -4},
											{404, -4, 400, -4},
											{200, 8, 200, 4},
											{200, 4, 200, 8}}};
	constexpr Int COUNT = 40;
	const FixedPlaces inOrder(FixedFormat::RGBA_U8);
	const FixedPlaces reversed = FixedPlaces::Make(FixedFormat::RGBA_U8, std::vector<BITS>{24, 16, 8, 0, 32}).value();
	for (const Case& one : CASES)
		for (const bool channelwise : {false, true})
		{
			std::vector<Byte> actual(700);
			for (std::size_t i = 0; i < actual.size(); ++i)
				actual[i] = static_cast<Byte>(i * 7 + i / 256);
			const std::vector<Byte> before = actual;
			std::vector<Byte> expected = before;
			for (Int i = 0; i < COUNT; ++i)
				for (Int channel = 0; channel < 4; ++channel)
					expected[static_cast<std::size_t>(one._destinationStart + i * one._destinationStride + channel)] =
						before[static_cast<std::size_t>(one._sourceStart + i * one._sourceStride + (channelwise ? 3 - channel : channel))];
			const KernelRun run = {actual.data() + one._destinationStart, one._destinationStride, actual.data() + one._sourceStart,
								   one._sourceStride, COUNT};
			if (channelwise)
				CopyBetween(inOrder, reversed).Run(run);
			else
				CopyPixels(run, 4);
			EXPECT_EQ(expected, actual) << one._destinationStart << " " << one._destinationStride << " " << channelwise;
		}
}

} // namespace

} // namespace torvi
