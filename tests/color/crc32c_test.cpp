// The CRC by tables against its definition, bit by bit.
#include "color/crc32c.h"

#include <gtest/gtest.h>
#include <vector>

namespace torvi::test
{

namespace
{

UInt32 ReferenceCrc(Block<const Byte> bytes)
{
	UInt32 crc = 0xFFFFFFFF;
	for (const Byte byte : bytes)
	{
		crc ^= byte;
		for (int bit = 0; bit < 8; ++bit)
			crc = (crc & 1) != 0 ? (crc >> 1) ^ 0x82F63B78 : crc >> 1;
	}
	return ~crc;
}

UInt32 CrcOfText(std::string_view text)
{
	return Crc32c({reinterpret_cast<const Byte*>(text.data()), text.size()});
}

TEST(Crc32c, KnownValues)
{
	EXPECT_EQ(CrcOfText(""), 0u);
	EXPECT_EQ(CrcOfText("a"), 0xC1D04330u);
	EXPECT_EQ(CrcOfText("123456789"), 0xE3069283u);
	EXPECT_EQ(Crc32c(std::vector<Byte>(32, 0)), 0x8A9136AAu);
	EXPECT_EQ(Crc32c(std::vector<Byte>(32, 0xFF)), 0x62A8AB43u);
}

TEST(Crc32c, EveryLengthAndAlignmentGivesTheReference)
{
	std::vector<Byte> bytes(100);
	UInt32 state = 1;
	for (Byte& byte : bytes)
		byte = static_cast<Byte>((state = state * 1664525 + 1013904223) >> 24);
	for (std::size_t start = 0; start < 9; ++start)
	{
		for (std::size_t length = 0; start + length <= bytes.size(); ++length)
		{
			const Block<const Byte> part = Block<const Byte>(bytes).subspan(start, length);
			ASSERT_EQ(Crc32c(part), ReferenceCrc(part)) << start << "+" << length;
		}
	}
}

} // namespace

} // namespace torvi::test
