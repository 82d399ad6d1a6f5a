// The one 64-bit mix and the one combiner that all hashes of the system use. Values are stable from run to run where
// their inputs are; addresses are not.
#pragma once

#include "host/types.h"

namespace torvi
{

inline constexpr UInt64 HASH_FACTOR = 0xBF58476D1CE4E5B9u;

/// Spreads the bits of `value`; all shifts are logical.
constexpr UInt64 MixHash(UInt64 value)
{
	const UInt64 first = (value >> 32) ^ value;
	const UInt64 second = (first >> 12) ^ (first >> 20) ^ first;
	return (second >> 4) ^ (second >> 7) ^ second;
}

/// Appends the finished hash of one more element to a running hash.
constexpr UInt64 CombineHash(UInt64 running, UInt64 elementHash)
{
	return running * HASH_FACTOR + elementHash + 1;
}

/// The hash of an address, which is the default hash of an object.
inline UInt64 HashAddress(const void* address)
{
	return MixHash(static_cast<UInt64>(reinterpret_cast<std::uintptr_t>(address)));
}

/// The hash of a text: its bytes by FNV-1a, then mixed. Used for ids, strings and dictionary keys.
constexpr UInt64 HashText(const char* text, std::size_t length)
{
	UInt64 hash = 0xCBF29CE484222325u;
	for (std::size_t i = 0; i < length; ++i)
		hash = (hash ^ static_cast<UChar>(text[i])) * 0x100000001B3u;
	return MixHash(hash);
}

} // namespace torvi
