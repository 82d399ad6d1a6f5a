// Create functions for classes that are rows of one table: a class record takes a plain function, so each row gets one of its own.
#pragma once

#include "host/class.h"

#include <array>
#include <utility>

namespace torvi
{

using CreateFunction = Result<ObjectRef> (*)();

/// One create function per row of `TABLE`, which makes an `Implementation` from its row.
template <class Implementation, const auto& TABLE>
constexpr auto MakeComponentTable()
{
	constexpr std::size_t COUNT = std::tuple_size_v<std::remove_cvref_t<decltype(TABLE)>>;
	return []<std::size_t... INDEX>(std::index_sequence<INDEX...>)
	{
		return std::array<CreateFunction, COUNT>{+[]() -> Result<ObjectRef> { return NewObject<Implementation>(TABLE[INDEX]); }...};
	}
	(std::make_index_sequence<COUNT>());
}

} // namespace torvi
