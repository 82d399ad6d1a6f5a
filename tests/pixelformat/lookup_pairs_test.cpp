// The lookup over all pairs of formats: fixed ones agree with the reference whatever the layout, and all others convert or say why not.
#include "pixelformat/fixed_formats.h"
#include "tests/pixelformat/format_helpers.h"
#include "tests/pixelformat/kernel_harness.h"
#include "tests/pixelformat/reference.h"

namespace torvi
{

namespace
{

/// Packed; an odd stride; and the channels in reverse order behind one byte.
std::vector<Arrangement> ArrangementsOf(const reference::Format& format)
{
	const Int size = format.PixelSize();
	const std::vector<Int> packed = format.PackedOffsets();
	std::vector<Int> turned(packed.rbegin(), packed.rend());
	for (Int& offset : turned)
		++offset;
	return {{packed, size}, {packed, size + 3}, {turned, size + 1}};
}

struct Side
{
	PixelFormat _format;
	reference::Format _reference;
	explicit Side(const FixedFormatInfo& info)
		: _format(FormatNamed(std::string(info.GetName()))), _reference(reference::FormatOf(info.GetName()))
	{
	}
};

std::string ComparePair(const Side& destination, const Arrangement& to, const Side& source, const Arrangement& from, Int count)
{
	RunSide destinationSide(to._offsets, reference::SizeOf(destination._reference._type), to._stride, count, 1);
	RunSide sourceSide(from._offsets, reference::SizeOf(source._reference._type), from._stride, count, 3);
	FillWithValues(sourceSide, source._reference, count, static_cast<UInt32>(count + 5));
	const std::vector<BITS> toBits = InBits(to, destination._reference.PixelSize());
	const std::vector<BITS> fromBits = InBits(from, source._reference.PixelSize());
	Bool isColorConverted = false;
	const auto function =
		destination._format->GetConvertPixelFunc(source._format, fromBits, toBits, nullptr, nullptr, false, isColorConverted);
	if (!function.IsOk())
		return std::string(function.GetError().ToString());
	const auto run = [&](const KernelRun& kernelRun)
	{
		EXPECT_TRUE(function
						.GetValue()(PixelBuffer(kernelRun._destination, kernelRun._destinationStride * 8), kernelRun._count,
									PixelBuffer(kernelRun._source, kernelRun._sourceStride * 8), 0)
						.IsOk());
	};
	return CompareRuns(destinationSide, sourceSide, count, run,
					   [&](Byte* pixel, const Byte* sourcePixel)
					   {
						   reference::ConvertPixel(destination._reference, to._offsets, pixel, source._reference, from._offsets,
												   sourcePixel, destination._format == source._format);
					   });
}

TEST(LookupPairs, FixedFormatsAgreeWithTheReference)
{
	const HostScope host({&RegisterPixelFormats});
	Int compared = 0;
	for (const FixedFormatInfo& destinationInfo : FIXED_FORMATS)
		for (const FixedFormatInfo& sourceInfo : FIXED_FORMATS)
		{
			if (!IsDirectSource(sourceInfo._format))
				continue;
			SCOPED_TRACE(std::string(destinationInfo.GetName()) + " from " + std::string(sourceInfo.GetName()));
			const Side destination(destinationInfo), source(sourceInfo);
			for (const Arrangement& to : ArrangementsOf(destination._reference))
				for (const Arrangement& from : ArrangementsOf(source._reference))
					for (const Int count : {0, 1, 63, 64, 65})
					{
						ASSERT_EQ("", ComparePair(destination, to, source, from, count));
						++compared;
					}
		}
	EXPECT_EQ(compared, FIXED_FORMAT_COUNT * FIXED_SOURCE_COUNT * 3 * 3 * 5);
}

TEST(LookupPairs, EveryPairConvertsOrSaysWhyNot)
{
	const HostScope host({&RegisterPixelFormats});
	std::vector<PixelFormat> formats;
	for (const auto& group : g_torvi->GetRegistry(ids::REGISTRY_PIXELFORMATGROUPS).TakeValue()->GetEntries<PixelFormatGroupInterface>())
		for (Registry::Iterator it = group->GetEntries(); it.HasValue(); it.MoveToNext())
			formats.push_back(Cast<PixelFormatInterface>(it.GetEntry()));
	constexpr Int COUNT = 66;
	Int converted = 0, refused = 0;
	for (const PixelFormat& destination : formats)
		for (const PixelFormat& source : formats)
		{
			SCOPED_TRACE(std::string(destination->GetShortName()) + " from " + source->GetShortName());
			const Result<ConvertPixelFunc> function = LookUp(destination, source);
			if (!function.IsOk())
			{
				const String expected = Format("No pixel conversion found from '@' to '@'", source, destination);
				EXPECT_EQ(function.GetError().GetMessage(), expected);
				EXPECT_TRUE(function.GetError().GetCause());
				EXPECT_NE(source, destination);
				++refused;
				continue;
			}
			std::vector<Byte> to(static_cast<std::size_t>(destination->GetBytesPerLine(COUNT, 1)));
			const std::vector<Byte> from(static_cast<std::size_t>(source->GetBytesPerLine(COUNT, 1)), 0x3F);
			EXPECT_TRUE(function
							.GetValue()(PixelBuffer(to.data(), destination->GetBitsPerPixel()), COUNT,
										PixelBuffer(from.data(), source->GetBitsPerPixel()), 0)
							.IsOk());
			++converted;
		}
	EXPECT_EQ(converted + refused, CountOf(formats) * CountOf(formats));
	EXPECT_GT(converted, 5000);
	::testing::Test::RecordProperty("converted", std::to_string(converted));
	std::printf("%lld pairs convert, %lld have no route\n", static_cast<long long>(converted), static_cast<long long>(refused));
}

} // namespace

} // namespace torvi
