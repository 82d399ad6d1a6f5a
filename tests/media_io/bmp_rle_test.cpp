// The run-length schemes of BMP, row by row.
#include "media_io/media_io_bmp_rle.h"
#include "tests/mediasession/test_format_fixture.h"

namespace torvi::test
{

namespace
{

using Bytes = std::vector<Byte>;

struct Row
{
	Bytes _bytes;
	Int _advance;
};

struct Case
{
	const char* _name;
	BmpRleScheme _scheme;
	Bytes _data;
	std::vector<Row> _rows;
	const char* _error; ///< of the row after them; null if it is not asked for
};

constexpr auto BYTES = BmpRleScheme::BYTES;
constexpr auto NIBBLES = BmpRleScheme::NIBBLES;
constexpr const char* CROPPED = "net.torvi.image.error.mediasessionwrongtype: Illegal RLE compression (cropped data).";
constexpr const char* MISSING = "net.torvi.image.error.mediasessionwrongtype: Illegal RLE compression (missing data).";

TEST(BmpRleTest, Rows)
{
	const Case cases[] = {
		{"empty block", BYTES, {}, {}, CROPPED},
		{"run and mark", BYTES, {2, 7, 0, 0}, {{{7, 7, 0, 0}, 1}}, CROPPED},
		{"a full row goes on until its mark", BYTES, {4, 7, 0, 0, 1, 8, 0, 0}, {{{7, 7, 7, 7}, 1}, {{8, 0, 0, 0}, 1}}, CROPPED},
		{"overrun takes the rest of the run", BYTES, {9, 7, 3, 8, 0, 0}, {{{7, 7, 7, 7}, 1}, {{8, 8, 8, 0}, 1}}, CROPPED},
		{"overrun leaves unread literals", BYTES, {3, 7, 0, 4, 1, 2, 2, 9, 0, 0}, {{{7, 7, 7, 1}, 1}, {{9, 9, 0, 0}, 1}}, CROPPED},
		{"literals with pad", BYTES, {0, 3, 1, 2, 3, 99, 1, 4, 0, 0}, {{{1, 2, 3, 4}, 1}}, CROPPED},
		{"pad missing at the end", BYTES, {0, 3, 1, 2, 3}, {}, CROPPED},
		{"literals cropped", BYTES, {0, 4, 1, 2, 3}, {}, CROPPED},
		{"move to the right", BYTES, {1, 5, 0, 2, 2, 0, 1, 6, 0, 0}, {{{5, 0, 0, 6}, 1}}, CROPPED},
		{"move behind the row", BYTES, {0, 2, 200, 0, 1, 6, 1, 7, 0, 0}, {{{0, 0, 0, 0}, 1}, {{7, 0, 0, 0}, 1}}, CROPPED},
		{"move down", BYTES, {1, 5, 0, 2, 1, 3, 1, 6, 0, 0}, {{{5, 0, 0, 0}, 3}, {{6, 0, 0, 0}, 1}}, CROPPED},
		{"move cropped", BYTES, {0, 2, 1}, {}, CROPPED},
		{"end before the last row", BYTES, {4, 1, 0, 1}, {}, MISSING},
		{"nibbles alternate", NIBBLES, {5, 0x12, 0, 0}, {{{0x12, 0x12, 0x10, 0}, 1}}, CROPPED},
		{"nibbles from an odd pixel", NIBBLES, {1, 0x90, 4, 0x12, 0, 0}, {{{0x91, 0x21, 0x20, 0}, 1}}, CROPPED},
		{"nibble literals of 5", NIBBLES, {0, 5, 0x12, 0x34, 0x5F, 99, 1, 0x60, 0, 0}, {{{0x12, 0x34, 0x56, 0}, 1}}, CROPPED},
		{"nibble literals of 7", NIBBLES, {0, 7, 0x12, 0x34, 0x56, 0x78, 0, 0}, {{{0x12, 0x34, 0x56, 0x70}, 1}}, CROPPED},
		{"nibble overrun counts both bytes of the step",
		 NIBBLES,
		 {7, 0x11, 0, 4, 0x23, 0x45, 1, 0x60, 0, 0},
		 {{{0x11, 0x11, 0x11, 0x12}, 1}, {{0x60, 0, 0, 0}, 1}},
		 CROPPED},
	};
	for (const Case& test : cases)
	{
		BmpRleDecoder decoder(test._data, test._scheme);
		for (const Row& wanted : test._rows)
		{
			Bytes row(4);
			const Result<Int> advance = decoder.DecodeRow(row, false);
			ASSERT_TRUE(advance.IsOk()) << test._name << ": " << TextOf(advance.GetError());
			EXPECT_EQ(advance.GetValue(), wanted._advance) << test._name;
			EXPECT_EQ(row, wanted._bytes) << test._name;
		}
		Bytes row(4);
		EXPECT_EQ(TextOf(decoder.DecodeRow(row, false).GetError()), test._error) << test._name;
	}
}

TEST(BmpRleTest, EndOfBitmapInTheLastRow)
{
	const Bytes data = {1, 5, 0, 1};
	BmpRleDecoder decoder(data, BYTES);
	Bytes row(4);
	const Result<Int> advance = decoder.DecodeRow(row, true);
	ASSERT_TRUE(advance.IsOk());
	EXPECT_EQ(row, (Bytes{5, 0, 0, 0}));
}

} // namespace

} // namespace torvi::test
