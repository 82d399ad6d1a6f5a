// What a pixel format remembers of the conversions that it found: up to 100 functions, the least recently used of which gives way. Nothing
// here locks or allocates, so that all of it may run under a spin lock.
#pragma once

#include "torvi/gfx_image_pixelformat.h"

#include <array>

namespace torvi
{

/// What decides about a function, as views of the caller's offsets.
struct ConversionKey
{
	UInt64 _sourceId; ///< the unique id of the source format: addresses may be used again
	Bool _fastLayout;
	ChannelOffsets _srcOffsets;
	ChannelOffsets _dstOffsets;

	UInt64 GetHashCode() const;
};

/// A remembered function with its own copy of the key.
class ConversionEntry final : public ObjectInterface
{
public:
	ConversionEntry(const ConversionKey& key, UInt64 hash, const ConvertPixelFunc& function);
	Bool Matches(const ConversionKey& key, UInt64 hash) const;

private:
	friend class ConversionCache;

	UInt64 _hash;
	UInt64 _sourceId;
	Bool _fastLayout;
	Array<BITS> _srcOffsets;
	Array<BITS> _dstOffsets;
	ConvertPixelFunc _function;

	Ref<ConversionEntry> _nextInBucket;
	ConversionEntry* _older = nullptr;
	ConversionEntry* _newer = nullptr;
};

class ConversionCache
{
public:
	static constexpr Int CAPACITY = 100;

	/// The function of that key, which becomes the most recently used; null if there is none. Valid until the next Insert.
	const ConvertPixelFunc* Find(const ConversionKey& key, UInt64 hash);
	/// Adds an entry whose key is not there yet. Gives the entry that had to go, to be dropped when no lock is held any more.
	Ref<ConversionEntry> Insert(Ref<ConversionEntry> entry);

private:
	Ref<ConversionEntry>& BucketOf(UInt64 hash) { return _buckets[hash % _buckets.size()]; }
	Ref<ConversionEntry> RemoveOldest();
	void LinkAsNewest(ConversionEntry& entry);
	void Unlink(ConversionEntry& entry);

	std::array<Ref<ConversionEntry>, 64> _buckets;
	ConversionEntry* _oldest = nullptr;
	ConversionEntry* _newest = nullptr;
	Int _count = 0;
};

} // namespace torvi
