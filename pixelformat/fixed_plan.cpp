// What each channel of a fixed format becomes from another fixed format.
#include "pixelformat/fixed_plan.h"

namespace torvi
{

namespace
{

ChannelRule RuleFor(Channel channel, const FixedFormatInfo& source)
{
	using enum Channel;
	if (channel == Unused)
		return ChannelRule::Zero();
	if (source.Has(channel))
		return ChannelRule::Move(source.Find(channel));
	if (channel == Alpha)
		return ChannelRule::Fill(255);
	if (channel == Grey)
		return source.Has(Red) ? ChannelRule::Mean(source.Find(Red), source.Find(Green), source.Find(Blue)) : ChannelRule::Zero();
	return ChannelRule::Move(source.Find(source.Has(Grey) ? Grey : Alpha));
}

} // namespace

std::array<ChannelRule, MAXIMUM_CHANNELS> RulesBetween(FixedFormat destination, FixedFormat source)
{
	const FixedFormatInfo& to = InfoOf(destination);
	std::array<ChannelRule, MAXIMUM_CHANNELS> rules = {};
	for (std::size_t i = 0; i < static_cast<std::size_t>(to._channelCount); ++i)
		rules[i] = RuleFor(to._channels[i], InfoOf(source));
	return rules;
}

ChannelProgram ProgramBetween(const FixedPlaces& destination, const FixedPlaces& source)
{
	const auto rules = RulesBetween(destination.GetFormat(), source.GetFormat());
	const Block<const ChannelPlace> channels = destination.GetChannels();
	return ChannelProgram(channels, source.GetChannels(), Block<const ChannelRule>(rules).first(channels.size()));
}

ConversionPlan PlanBetween(const FixedPlaces& destination, const FixedPlaces& source)
{
	const auto rules = RulesBetween(destination.GetFormat(), source.GetFormat());
	const Block<const ChannelPlace> channels = destination.GetChannels();
	// Fixed formats have one data type each and at most MAXIMUM_CHANNELS channels, and those with colours have a mean.
	return *ConversionPlan::Make(channels, source.GetChannels(), Block<const ChannelRule>(rules).first(channels.size()));
}

ChannelCopy CopyBetween(const FixedPlaces& destination, const FixedPlaces& source)
{
	return ChannelCopy(destination.GetChannels(), source.GetChannels());
}

} // namespace torvi
