// PackBits and the prediction of samples, against tables and plain loops.
#include "media_io/packbits.h"
#include "media_io/psd_prediction.h"
#include "tests/mediasession/test_format_fixture.h"

#include <cstring>
#include <random>

namespace torvi::test
{

namespace
{

using Bytes = std::vector<Byte>;

TEST(PackBitsTest, Runs)
{
	struct Case
	{
		const char* _name;
		Bytes _packed;
		Bytes _row; ///< of four bytes, as far as it gets
		Int _consumed;
		bool _isRow; ///< whether it is one row of four bytes, exactly
	};
	const Case cases[] = {
		{"nothing", {}, {}, 0, false},
		{"literals and a run", {1, 7, 8, 255, 9}, {7, 8, 9, 9}, 5, true},
		{"a run that is cut", {131, 5}, {5, 5, 5, 5}, 2, true},
		{"literals that are cut are consumed whole", {5, 1, 2, 3, 4, 5, 6, 0, 9}, {1, 2, 3, 4}, 7, false},
		{"literals that are missing", {3, 1, 2}, {1, 2}, 3, false},
		{"a run without its byte", {0, 1, 255}, {1}, 3, false},
		{"no operation", {128, 254, 1, 128, 0, 2, 128, 128}, {1, 1, 1, 2}, 6, true},
		{"something behind", {253, 1, 128, 0}, {1, 1, 1, 1}, 2, false},
	};
	for (const Case& test : cases)
	{
		Bytes row(4);
		const PackBitsProgress done = ExpandPackBits(test._packed, row);
		row.resize(static_cast<std::size_t>(done._written));
		EXPECT_EQ(row, test._row) << test._name;
		EXPECT_EQ(done._consumed, test._consumed) << test._name;
		Bytes whole(4);
		EXPECT_EQ(ExpandPackBitsRow(test._packed, whole).IsOk(), test._isRow) << test._name;
	}
	EXPECT_TRUE(ExpandPackBitsRow({}, {}).IsOk());
}

/// Random control bytes over rows of all lengths: the same as byte by byte, and nothing behind the row is written.
TEST(PackBitsTest, AgreesWithPlainLoop)
{
	std::mt19937 random(5);
	for (int round = 0; round < 3000; ++round)
	{
		Bytes packed(random() % 700);
		for (Byte& byte : packed)
			byte = static_cast<Byte>(random() % 3 == 0 ? 240 + random() % 16 : random());
		const std::size_t size = random() % 900;
		Bytes wanted;
		std::size_t at = 0;
		while (at < packed.size() && wanted.size() < size)
		{
			const Byte control = packed[at++];
			const int length = control < 128 ? control + 1 : control > 128 ? 257 - control : 0;
			for (int i = 0; i < length && at < packed.size(); ++i)
			{
				wanted.push_back(packed[at]);
				if (control < 128)
					++at;
			}
			if (control > 128 && at < packed.size())
				++at;
		}
		wanted.resize(std::min(wanted.size(), size));
		Bytes row(size + 64, 0xEE);
		const PackBitsProgress done = ExpandPackBits(packed, Block<Byte>(row).first(size));
		ASSERT_EQ(done._written, CountOf(wanted));
		ASSERT_EQ(done._consumed, static_cast<Int>(at));
		wanted.resize(done._written < static_cast<Int>(size) ? wanted.size() : size);
		ASSERT_TRUE(std::equal(wanted.begin(), wanted.end(), row.begin()));
		ASSERT_EQ(Bytes(row.begin() + static_cast<std::ptrdiff_t>(size), row.end()), Bytes(64, 0xEE));
	}
}

TEST(PredictionTest, AgreesWithPlainLoops)
{
	std::mt19937 random(9);
	for (std::size_t count = 1; count < 140; ++count)
	{
		Bytes source(4 * count);
		for (Byte& byte : source)
			byte = static_cast<Byte>(random());
		Bytes sums = source, wanted = source;
		for (std::size_t i = 1; i < wanted.size(); ++i)
			wanted[i] = static_cast<Byte>(wanted[i] + wanted[i - 1]);
		SumBytes(sums);
		ASSERT_EQ(sums, wanted) << count;

		std::vector<UInt16> samples(2 * count);
		std::memcpy(samples.data(), source.data(), source.size());
		for (std::size_t i = 1; i < samples.size(); ++i)
			samples[i] = static_cast<UInt16>(samples[i] + samples[i - 1]);
		sums = source;
		SumUInt16(sums);
		ASSERT_TRUE(std::memcmp(sums.data(), samples.data(), sums.size()) == 0) << count;

		Bytes joined(source.size());
		JoinBytePlanes(source, joined);
		for (std::size_t i = 0; i < count; ++i)
		{
			UInt32 sample = 0;
			std::memcpy(&sample, joined.data() + 4 * i, 4);
			for (int plane = 0; plane < 4; ++plane)
				ASSERT_EQ(static_cast<Byte>(sample >> (24 - 8 * plane)), source[static_cast<std::size_t>(plane) * count + i]) << count;
		}

		for (const std::size_t size : {std::size_t(1), std::size_t(2), std::size_t(4)})
		{
			Bytes swapped = source;
			SwapSamples(swapped, static_cast<Int>(size));
			for (std::size_t i = 0; i < source.size(); ++i)
				ASSERT_EQ(swapped[i], source[i / size * size + size - 1 - i % size]) << count << ", " << size;
		}
	}
}

} // namespace

} // namespace torvi::test
