// CRC-32C by tables, several bytes a step: TABLES[k] holds the remainders of one byte that is followed by k zero bytes.
#include "color/crc32c.h"

#include <array>

namespace torvi
{

namespace
{

constexpr UInt32 POLYNOMIAL = 0x82F63B78; // reflected
constexpr std::size_t BYTES_PER_STEP = 8;

using Tables = std::array<std::array<UInt32, 256>, BYTES_PER_STEP>;

constexpr Tables MakeTables()
{
	Tables tables{};
	for (UInt32 value = 0; value < 256; ++value)
	{
		UInt32 remainder = value;
		for (int bit = 0; bit < 8; ++bit)
			remainder = remainder >> 1 ^ ((remainder & 1) != 0 ? POLYNOMIAL : 0);
		tables[0][value] = remainder;
	}
	for (std::size_t k = 1; k < BYTES_PER_STEP; ++k)
	{
		for (std::size_t value = 0; value < 256; ++value)
			tables[k][value] = tables[k - 1][value] >> 8 ^ tables[0][tables[k - 1][value] & 0xFF];
	}
	return tables;
}

constexpr Tables TABLES = MakeTables();

/// The running remainder after N more bytes, which are taken off the block.
template <std::size_t N>
UInt32 Step(UInt32 remainder, Block<const Byte>& bytes) noexcept
{
	UInt32 result = 0;
	for (std::size_t i = 0; i < N; ++i)
	{
		const UInt32 fromRemainder = i < 4 ? remainder >> (8 * i) & 0xFF : 0;
		result ^= TABLES[N - 1 - i][bytes[i] ^ fromRemainder];
	}
	if constexpr (N < 4)
		result ^= remainder >> (8 * N);
	bytes = bytes.subspan(N);
	return result;
}

} // namespace

UInt32 Crc32c(Block<const Byte> bytes) noexcept
{
	UInt32 remainder = 0xFFFFFFFF;
	while (bytes.size() >= BYTES_PER_STEP)
		remainder = Step<BYTES_PER_STEP>(remainder, bytes);
	if (bytes.size() >= 4)
		remainder = Step<4>(remainder, bytes);
	if (bytes.size() >= 2)
		remainder = Step<2>(remainder, bytes);
	if (!bytes.empty())
		remainder = Step<1>(remainder, bytes);
	return ~remainder;
}

} // namespace torvi
