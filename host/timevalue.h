// Times and durations of movies and sound.
#pragma once

#include "host/datatype.h"

namespace torvi
{

/// A time in seconds. The default is 0.
class TimeValue
{
public:
	constexpr TimeValue() noexcept = default;
	explicit constexpr TimeValue(Float64 seconds) noexcept : _seconds(seconds) {}

	constexpr Float64 GetSeconds() const noexcept { return _seconds; }
	friend constexpr auto operator<=>(const TimeValue&, const TimeValue&) = default;
	String ToString(std::string_view = {}) const { return NumberToString(_seconds); }

private:
	Float64 _seconds = 0.0;
};

} // namespace torvi

TORVI_DATATYPE(torvi::TimeValue, "net.torvi.datatype.timevalue")
