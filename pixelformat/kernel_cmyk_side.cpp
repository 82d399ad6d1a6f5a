// Offsets by role, from the offsets of a format.
#include "pixelformat/kernel_cmyk_side.h"

namespace torvi
{

namespace
{

template <class RoleOf>
std::optional<CmykSide> MakeSide(ValueType type, Int channelCount, Block<const BITS> offsets, RoleOf roleOf)
{
	CmykSide side;
	side._type = type;
	side._channelCount = static_cast<std::size_t>(channelCount);
	if (offsets.size() != side._channelCount + 1)
		return std::nullopt;
	side._isPacked = true;
	side._roles.fill(CmykSide::ALPHA_ROLE);
	for (std::size_t i = 0; i < side._channelCount; ++i)
	{
		side._roles[i] = roleOf(i);
		side._offsets[side._roles[i]] = BytesOf(offsets[i]);
		side._isPacked = side._isPacked && offsets[i] == static_cast<BITS>(i) * SizeOf(type) * 8;
	}
	return side;
}

constexpr std::size_t RoleOf(Channel channel)
{
	switch (channel)
	{
	case Channel::Red:
		return 0;
	case Channel::Green:
		return 1;
	case Channel::Blue:
		return 2;
	default:
		return CmykSide::ALPHA_ROLE;
	}
}

} // namespace

std::optional<CmykSide> CmykSideOf(FixedFormat format, Block<const BITS> offsets)
{
	const FixedFormatInfo& info = InfoOf(format);
	std::optional<CmykSide> side =
		MakeSide(info._type, info._channelCount, offsets, [&info](std::size_t i) { return RoleOf(info._channels[i]); });
	if (!side)
		return side;
	side->_colourCount = 3;
	if (info._channelCount > 3)
		side->_alpha = info.Has(Channel::Alpha) ? CmykSide::Alpha::Present : CmykSide::Alpha::Unused;
	return side;
}

std::optional<CmykSide> CmykSideOf(CmykFormat format, Block<const BITS> offsets)
{
	const CmykInfo& info = InfoOf(format);
	const auto roleOf = [firstInk = static_cast<std::size_t>(info.GetFirstInk())](std::size_t i)
	{ return i < firstInk ? CmykSide::ALPHA_ROLE : i - firstInk; };
	std::optional<CmykSide> side = MakeSide(info._type, info.GetChannelCount(), offsets, roleOf);
	if (!side)
		return side;
	side->_colourCount = CMYK_INK_COUNT;
	side->_alpha = info._hasAlpha ? CmykSide::Alpha::Present : CmykSide::Alpha::None;
	return side;
}

} // namespace torvi
