// Where the channels of a format lie whose row is a plain record, as fixed formats and those of CMYK have one.
#pragma once

#include "pixelformat/cmyk_formats.h"
#include "pixelformat/kernel_run.h"

#include <optional>

namespace torvi
{

/// The channels in the order of the format's row, which `InfoOf` tells.
template <class Format>
class FormatPlaces
{
public:
	/// The packed layout.
	explicit FormatPlaces(Format format) : _format(format)
	{
		const ValueType type = InfoOf(format)._type;
		for (std::size_t i = 0; i < _places.size(); ++i)
			_places[i] = {static_cast<Int>(i) * SizeOf(type), type};
	}

	/// A layout with the offsets of a caller: a bit offset per channel, then the bits per pixel, which are not looked at. Empty when that
	/// is not the number of entries.
	static std::optional<FormatPlaces> Make(Format format, Block<const BITS> offsets)
	{
		if (CountOf(offsets) != InfoOf(format)._channelCount + 1)
			return std::nullopt;
		FormatPlaces places(format);
		for (std::size_t i = 0; i + 1 < offsets.size(); ++i)
			places._places[i]._offset = BytesOf(offsets[i]);
		return places;
	}

	Format GetFormat() const { return _format; }
	Block<const ChannelPlace> GetChannels() const { return {_places.data(), static_cast<std::size_t>(InfoOf(_format)._channelCount)}; }

	bool IsDefault() const
	{
		const Block<const ChannelPlace> channels = GetChannels();
		for (std::size_t i = 0; i < channels.size(); ++i)
			if (channels[i]._offset != static_cast<Int>(i) * SizeOf(channels[i]._type))
				return false;
		return true;
	}

private:
	Format _format;
	std::array<ChannelPlace, MAXIMUM_CHANNELS> _places;
};

using FixedPlaces = FormatPlaces<FixedFormat>;
using CmykPlaces = FormatPlaces<CmykFormat>;

} // namespace torvi
