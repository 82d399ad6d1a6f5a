// The keys that stand for blend modes in PSD files; reader and writer go by one table.
#pragma once

#include "host/id.h"
#include "host/types.h"

namespace torvi
{

/// The number of a key of four characters.
constexpr UInt32 PsdKey(const char (&text)[5])
{
	UInt32 key = 0;
	for (int i = 0; i < 4; ++i)
		key = key << 8 | static_cast<unsigned char>(text[i]);
	return key;
}

inline constexpr UInt32 PSD_BLENDKEY_NORMAL = PsdKey("norm");

/// The mode that a key reads as; `over` for keys that are not known.
const Id& FindPsdBlendMode(UInt32 key) noexcept;

/// The key that a mode is written with; PSD_BLENDKEY_NORMAL for modes without one.
UInt32 FindPsdBlendKey(const Id& mode) noexcept;

} // namespace torvi
