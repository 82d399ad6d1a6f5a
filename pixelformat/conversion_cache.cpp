// A hash table with chains, whose entries are also linked by their last use.
#include "pixelformat/conversion_cache.h"

#include <algorithm>

namespace torvi
{

namespace
{

UInt64 HashOffsets(ChannelOffsets offsets)
{
	UInt64 hash = 0;
	for (const BITS offset : offsets)
		hash = CombineHash(hash, MixHash(static_cast<UInt64>(offset)));
	return hash + 1;
}

} // namespace

UInt64 ConversionKey::GetHashCode() const
{
	const UInt64 source = UInt64(_fastLayout) + MixHash(_sourceId) * HASH_FACTOR + 1;
	return HashOffsets(_srcOffsets) + (source * HASH_FACTOR + HashOffsets(_dstOffsets)) * HASH_FACTOR;
}

ConversionEntry::ConversionEntry(const ConversionKey& key, UInt64 hash, const ConvertPixelFunc& function)
	: _hash(hash), _sourceId(key._sourceId), _fastLayout(key._fastLayout), _srcOffsets(key._srcOffsets.begin(), key._srcOffsets.end()),
	  _dstOffsets(key._dstOffsets.begin(), key._dstOffsets.end()), _function(function)
{
}

Bool ConversionEntry::Matches(const ConversionKey& key, UInt64 hash) const
{
	return hash == _hash && key._sourceId == _sourceId && key._fastLayout == _fastLayout &&
		   std::ranges::equal(key._srcOffsets, _srcOffsets) && std::ranges::equal(key._dstOffsets, _dstOffsets);
}

const ConvertPixelFunc* ConversionCache::Find(const ConversionKey& key, UInt64 hash)
{
	for (ConversionEntry* entry = BucketOf(hash).GetPointer(); entry != nullptr; entry = entry->_nextInBucket.GetPointer())
	{
		if (!entry->Matches(key, hash))
			continue;
		if (entry != _newest)
		{
			Unlink(*entry);
			LinkAsNewest(*entry);
		}
		return &entry->_function;
	}
	return nullptr;
}

Ref<ConversionEntry> ConversionCache::Insert(Ref<ConversionEntry> entry)
{
	Ref<ConversionEntry> dropped = _count >= CAPACITY ? RemoveOldest() : Ref<ConversionEntry>();
	LinkAsNewest(*entry);
	Ref<ConversionEntry>& bucket = BucketOf(entry->_hash);
	entry->_nextInBucket = std::move(bucket);
	bucket = std::move(entry);
	++_count;
	return dropped;
}

Ref<ConversionEntry> ConversionCache::RemoveOldest()
{
	ConversionEntry& oldest = *_oldest;
	Unlink(oldest);
	--_count;
	Ref<ConversionEntry>* link = &BucketOf(oldest._hash);
	while (link->GetPointer() != &oldest)
		link = &(*link)->_nextInBucket;
	Ref<ConversionEntry> removed = std::move(*link);
	*link = std::move(removed->_nextInBucket);
	return removed;
}

void ConversionCache::LinkAsNewest(ConversionEntry& entry)
{
	entry._older = _newest;
	entry._newer = nullptr;
	(_newest != nullptr ? _newest->_newer : _oldest) = &entry;
	_newest = &entry;
}

void ConversionCache::Unlink(ConversionEntry& entry)
{
	(entry._older != nullptr ? entry._older->_newer : _oldest) = entry._newer;
	(entry._newer != nullptr ? entry._newer->_older : _newest) = entry._older;
}

} // namespace torvi
