// What the conversions of CMYK know of the format on one side: which channels it has and where they lie.
#pragma once

#include "pixelformat/cmyk_formats.h"

#include <optional>

namespace torvi
{

/// Byte offsets by role. Nothing points to the offsets of the format it was made of.
struct CmykSide
{
	enum class Alpha : UChar
	{
		None,
		Unused, // read as full scale, written like alpha
		Present
	};
	static constexpr std::size_t ALPHA_ROLE = CMYK_INK_COUNT;

	ValueType _type = ValueType::U8;
	Alpha _alpha = Alpha::None;
	bool _isPacked = false; // the channels lie as in the format's own layout, whatever the stride
	std::size_t _channelCount = 0;
	std::size_t _colourCount = 0;
	std::array<Int, CMYK_MAXIMUM_CHANNELS> _offsets = {};       // by role: red, green, blue or the four inks; alpha or the unused channel
	std::array<std::size_t, CMYK_MAXIMUM_CHANNELS> _roles = {}; // of the channels in their order; behind the last that of alpha

	Int GetPixelSize() const { return static_cast<Int>(_channelCount) * SizeOf(_type); }
};

/// `offsets` are those of a format in bits: one for each channel, and one more that is not looked at. Empty where their number is another.
/// A fixed format must have red, green and blue.
std::optional<CmykSide> CmykSideOf(FixedFormat format, Block<const BITS> offsets);
std::optional<CmykSide> CmykSideOf(CmykFormat format, Block<const BITS> offsets);

} // namespace torvi
