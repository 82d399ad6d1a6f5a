// Dynamic formats made by several threads at once, and more conversions than a format remembers.
#include "pixelformat/conversion_cache.h"
#include "tests/pixelformat/format_helpers.h"
#include "tests/support/together.h"

namespace torvi
{

namespace
{

/// Green and red of all pairs of data types; each list is a format of its own.
std::vector<PixelFormat> FindFormats(std::size_t first)
{
	static constexpr DataType TYPES[] = {GetDataType<UChar>(),   GetDataType<Char>(),      GetDataType<UInt16>(),
										 GetDataType<Int16>(),   GetDataType<UInt32>(),    GetDataType<Int32>(),
										 GetDataType<Float32>(), GetDataType<HalfFloat>(), GetDataType<Float64>()};
	constexpr std::size_t TYPE_COUNT = std::size(TYPES);
	constexpr std::size_t COUNT = 2 * TYPE_COUNT * TYPE_COUNT;
	std::vector<PixelFormat> formats(COUNT);
	for (std::size_t i = 0; i < COUNT; ++i)
	{
		const std::size_t n = (first + i) % COUNT;
		const Bool isRedFirst = n % 2 == 0;
		formats[n] = FormatOfChannels({{isRedFirst ? CHANNELTYPE::RED : CHANNELTYPE::GREEN, TYPES[n / 2 % TYPE_COUNT]},
									   {isRedFirst ? CHANNELTYPE::GREEN : CHANNELTYPE::RED, TYPES[n / 2 / TYPE_COUNT]}})
						 .TakeValue();
	}
	return formats;
}

/// Pixels of a format that came from rgba.u8 and are on their way back there: their bytes, and those of rgba.u8.
std::vector<Byte> ConvertThereAndBack(const PixelFormat& rgba, const PixelFormat& format)
{
	const std::vector<Byte> source = {255, 0, 9, 255, 0, 128, 0, 255, 77, 255, 255, 0};
	std::vector<Byte> bytes = Convert<Byte>(format, rgba, 3, source);
	const std::vector<Byte> back = Convert<Byte>(rgba, format, 3, bytes);
	bytes.insert(bytes.end(), back.begin(), back.end());
	return bytes;
}

/// The formats that a thread found, and what their conversions gave.
struct Findings
{
	std::vector<PixelFormat> _formats;
	std::vector<std::vector<Byte>> _bytes;
};

Findings Find(std::size_t first)
{
	const PixelFormat rgba = FormatNamed("rgba.u8");
	Findings findings = {FindFormats(first), {}};
	const std::size_t count = findings._formats.size();
	findings._bytes.resize(count);
	for (std::size_t i = 0; i < count; ++i)
		findings._bytes[(first + i) % count] = ConvertThereAndBack(rgba, findings._formats[(first + i) % count]);
	return findings;
}

TEST(LookupThreads, MoreConversionsThanAreRemembered)
{
	constexpr std::size_t THREADS = 4;
	constexpr int ROUNDS = 3;
	const HostScope host{&RegisterPixelFormats};
	std::vector<Findings> findings(THREADS);
	test::RunTogether(THREADS,
					  [&](std::size_t thread)
					  {
						  for (int round = 0; round < ROUNDS; ++round)
							  findings[thread] = Find(thread * 41);
					  });
	const Findings alone = Find(0);
	EXPECT_GT(CountOf(alone._formats), ConversionCache::CAPACITY);
	for (const Findings& found : findings)
	{
		EXPECT_EQ(found._formats, alone._formats) << "one list of channels, one format";
		EXPECT_EQ(found._bytes, alone._bytes);
	}
	for (const std::vector<Byte>& bytes : alone._bytes)
	{
		const std::vector<Byte> pixels(bytes.end() - 12, bytes.end());
		EXPECT_EQ(pixels[0], 255);
		EXPECT_EQ(pixels[1], 0);
		EXPECT_EQ(pixels[4], 0);
		EXPECT_EQ(pixels[9], 255);
	}
}

} // namespace

} // namespace torvi
