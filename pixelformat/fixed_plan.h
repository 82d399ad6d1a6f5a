// Conversion plans between fixed formats: every one of the 50 to every one of them, in any layout.
#pragma once

#include "pixelformat/kernel_copy.h"

namespace torvi
{

/// Where the channels of a fixed format lie, in the order of its row.
class FixedPlaces
{
public:
	/// The packed layout.
	explicit FixedPlaces(FixedFormat format);

	/// A layout with the offsets of a caller: a bit offset per channel, then the bits per pixel, which are not looked at. Empty when that
	/// is not the number of entries.
	static std::optional<FixedPlaces> Make(FixedFormat format, Block<const BITS> offsets);

	FixedFormat GetFormat() const { return _format; }
	Block<const ChannelPlace> GetChannels() const { return {_places.data(), static_cast<std::size_t>(InfoOf(_format)._channelCount)}; }
	bool IsDefault() const;

private:
	FixedFormat _format;
	std::array<ChannelPlace, MAXIMUM_CHANNELS> _places;
};

/// The rules from one fixed format to another, by channel of the destination. An unused channel becomes zero, also in the same format.
std::array<ChannelRule, MAXIMUM_CHANNELS> RulesBetween(FixedFormat destination, FixedFormat source);

/// The conversion between two formats, or between two layouts of one. The sides must not overlap.
ChannelProgram ProgramBetween(const FixedPlaces& destination, const FixedPlaces& source);

/// The same as a plan only, for those who add steps to it.
ConversionPlan PlanBetween(const FixedPlaces& destination, const FixedPlaces& source);

/// The copy of all channels, the unused one too, between two layouts of one format.
ChannelCopy CopyBetween(const FixedPlaces& destination, const FixedPlaces& source);

} // namespace torvi
