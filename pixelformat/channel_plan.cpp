// Pairs the channels of two formats by type and decides whether the pairs make sense together.
#include "pixelformat/channel_plan.h"

#include "pixelformat/conversion_functions.h"
#include "pixelformat/gfx_image_channels.h"
#include "pixelformat/kernel_channel.h"
#include "torvi/ids_formats.h"

namespace torvi
{

namespace
{

constexpr Int NO_SOURCE = -1;

/// The source's channels of one type in order, and how many of them have a destination.
struct ChannelsOfType
{
	Array<Int> _indices;
	std::size_t _taken = 0;
};

using ChannelsByType = HashMap<ImageChannelType, ChannelsOfType>;

ChannelsByType GroupByType(Block<const ImageChannel> channels)
{
	ChannelsByType groups;
	for (std::size_t i = 0; i < channels.size(); ++i)
		groups[channels[i]->GetChannelType()]._indices.push_back(static_cast<Int>(i));
	return groups;
}

/// For each destination channel the index of the source channel that feeds it, or NO_SOURCE: the i-th of a type is fed by the i-th.
Array<Int> PairChannels(Block<const ImageChannel> source, Block<const ImageChannel> destination)
{
	ChannelsByType groups = GroupByType(source);
	Array<Int> sources;
	for (const ImageChannel& channel : destination)
	{
		const auto found = groups.find(channel->GetChannelType());
		const Bool isPaired = found != groups.end() && found->second._taken < found->second._indices.size();
		sources.push_back(isPaired ? found->second._indices[found->second._taken++] : NO_SOURCE);
	}
	return sources;
}

/// The format's colour space; where that is none or alpha, what its channels say.
ColorSpace EffectiveColorSpace(const PixelFormatInterface& format, const ColorSpace& alphaSpace)
{
	ColorSpace colorSpace = format.GetColorSpace();
	for (const ImageChannel& channel : format.GetChannels())
	{
		ColorSpace ofChannel = channel->GetChannelType()->GetColorSpace();
		if ((!colorSpace || colorSpace == alphaSpace) && ofChannel)
			colorSpace = std::move(ofChannel);
	}
	return colorSpace;
}

Bool MayBeMissing(CHANNELTYPE type)
{
	return type == CHANNELTYPE::ALPHA || type == CHANNELTYPE::UNKNOWN || type == CHANNELTYPE::DEPTH || type == CHANNELTYPE::DEPTHBACK ||
		   type == CHANNELTYPE::UNUSED;
}

Bool PlanHolds(Block<const ImageChannel> destination, Block<const Int> sources, const ColorSpace& sourceSpace)
{
	Bool hasMatch = false;
	for (std::size_t i = 0; i < destination.size(); ++i)
	{
		const ImageChannelType type = destination[i]->GetChannelType();
		const Bool isSameSpace = type->GetColorSpace() == sourceSpace;
		if (sources[i] != NO_SOURCE)
			hasMatch |= isSameSpace;
		else if (!isSameSpace && !MayBeMissing(type->GetType()))
			return false;
	}
	return hasMatch;
}

Result<ChannelPlace> PlaceOf(const ImageChannel& channel, BITS offset)
{
	const std::optional<ValueType> type = ValueTypeOf(channel->GetDataType());
	TORVI_CHECK(type, FunctionNotImplementedError("Channels of data type @ can not be converted.", channel->GetDataType()));
	return ChannelPlace{BytesOf(offset), *type};
}

} // namespace

Result<ConvertPixelFunc> PlanByChannels(const PixelFormatInterface& srcFormat, const ChannelOffsets& srcOffsets,
										const PixelFormatInterface& dstFormat, const ChannelOffsets& dstOffsets)
{
	const Block<const ImageChannel> source = srcFormat.GetChannels();
	const Block<const ImageChannel> destination = dstFormat.GetChannels();
	if (source.empty() || destination.empty())
		return ConvertPixelFunc();
	const Array<Int> sources = PairChannels(source, destination);
	const ColorSpace alphaSpace = FindDeclared<ColorSpaceInterface>(ids::COLORSPACE_ALPHA);
	if (!PlanHolds(destination, sources, EffectiveColorSpace(srcFormat, alphaSpace)))
		return ConvertPixelFunc();

	Array<ChannelPlace> from, to;
	for (std::size_t i = 0; i < source.size(); ++i)
		from.push_back(TORVI_TRY(PlaceOf(source[i], srcOffsets[i])));
	Array<ChannelRule> rules;
	for (std::size_t i = 0; i < destination.size(); ++i)
	{
		to.push_back(TORVI_TRY(PlaceOf(destination[i], dstOffsets[i])));
		rules.push_back(sources[i] != NO_SOURCE ? ChannelRule::Move(sources[i])
												: ChannelRule::Fill(destination[i]->GetChannelType()->GetDefaultFillValue()));
	}
	return FunctionOf(ChannelProgram(to, from, rules));
}

} // namespace torvi
