// HalfFloat as a data type of the host. Its text, equality and hash are those of the float that it stands for.
#pragma once

#include "host/datatype.h"
#include "host/halffloat.h"

namespace torvi
{

/// As floats: a NaN equals nothing, both zeros are equal.
constexpr Bool operator==(HalfFloat a, HalfFloat b) noexcept
{
	return static_cast<Float32>(a) == static_cast<Float32>(b);
}

inline String ValueToString(HalfFloat value, std::string_view format = {})
{
	return NumberToString(static_cast<Float32>(value), format);
}

} // namespace torvi

template <>
struct std::hash<torvi::HalfFloat>
{
	std::size_t operator()(torvi::HalfFloat value) const noexcept { return torvi::detail::HashValue(static_cast<torvi::Float32>(value)); }
};

TORVI_DATATYPE(torvi::HalfFloat, "float16")
