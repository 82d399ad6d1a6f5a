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

TEST(Crc32c, EveryLengthGivesTheReference)
{
	const std::string_view digits = "123456789";
	EXPECT_EQ(Crc32c({reinterpret_cast<const Byte*>(digits.data()), digits.size()}), 0xE3069283u) << "as published";
	std::vector<Byte> bytes(40);
	UInt32 state = 1;
	for (Byte& byte : bytes)
		byte = static_cast<Byte>((state = state * 1664525 + 1013904223) >> 24);
	for (std::size_t length = 0; length <= bytes.size(); ++length)
	{
		const Block<const Byte> part = Block<const Byte>(bytes).first(length);
		ASSERT_EQ(Crc32c(part), ReferenceCrc(part)) << length;
	}
}

} // namespace

} // namespace torvi::test
