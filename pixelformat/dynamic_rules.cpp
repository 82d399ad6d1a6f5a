// Which channel of a dynamic format feeds which channel of a fixed one, and the other way round.
#include "pixelformat/dynamic_rules.h"

#include <algorithm>

namespace torvi
{

bool IsDynamicPartner(FixedFormat format)
{
	using enum FixedFormat;
	constexpr std::array PARTNERS = {RGB_U8, RGB_U16, RGB_F32, RGB_F64, ARGB_U8, ARGB_U16, ARGB_F32, ARGB_F64};
	return std::find(PARTNERS.begin(), PARTNERS.end(), format) != PARTNERS.end();
}

void RulesToDynamic(Block<ChannelRule> rules, const DynamicRoles& roles, FixedFormat source)
{
	const FixedFormatInfo& info = InfoOf(source);
	const Int red = info.Find(Channel::Red), green = info.Find(Channel::Green), blue = info.Find(Channel::Blue);
	const Int alpha = info.Find(Channel::Alpha);
	std::fill(rules.begin(), rules.end(), ChannelRule::Zero());
	const auto set = [&](Int channel, const ChannelRule& rule)
	{
		if (channel != DynamicRoles::NO_CHANNEL)
			rules[static_cast<std::size_t>(channel)] = rule;
	};
	set(roles._red, ChannelRule::Move(red));
	set(roles._green, ChannelRule::Move(green));
	set(roles._blue, ChannelRule::Move(blue));
	set(roles._grey, ChannelRule::Mean(red, green, blue));
	set(roles._alpha, alpha >= 0 ? ChannelRule::Move(alpha) : ChannelRule::Fill(255));
}

std::array<ChannelRule, MAXIMUM_CHANNELS> RulesFromDynamic(FixedFormat destination, const DynamicRoles& roles)
{
	const FixedFormatInfo& info = InfoOf(destination);
	const bool isGrey = roles._grey != DynamicRoles::NO_CHANNEL;
	std::array<ChannelRule, MAXIMUM_CHANNELS> rules = {};
	const auto set = [&](Channel channel, Int source, const ChannelRule& missing)
	{
		if (const Int index = info.Find(channel); index >= 0)
			rules[static_cast<std::size_t>(index)] = source != DynamicRoles::NO_CHANNEL ? ChannelRule::Move(source) : missing;
	};
	set(Channel::Red, isGrey ? roles._grey : roles._red, ChannelRule::Zero());
	set(Channel::Green, isGrey ? roles._grey : roles._green, ChannelRule::Zero());
	set(Channel::Blue, isGrey ? roles._grey : roles._blue, ChannelRule::Zero());
	set(Channel::Alpha, roles._alpha, ChannelRule::Fill(255));
	return rules;
}

} // namespace torvi
