// The map of profile records: chains through the records themselves. A record on its way out may still stand in its chain; it
// waits for the lock in its destructor, and no longer gives a reference.
#include "color/profile_map.h"

#include "color/gfx_image_colorprofile_impl.h"

namespace torvi
{

Ref<ColorProfileRecordImpl> ProfileMap::FindLocked(UInt32 crc) noexcept
{
	for (const ProfileMapNode* node = BucketOf(crc); node != nullptr; node = node->_next)
	{
		if (node->_crc != crc)
			continue;
		if (Ref<ColorProfileRecordImpl> record = node->_record.Lock())
			return record;
	}
	return {};
}

Ref<ColorProfileRecordImpl> ProfileMap::Find(UInt32 crc) noexcept
{
	const std::lock_guard guard(_lock);
	return FindLocked(crc);
}

Ref<ColorProfileRecordImpl> ProfileMap::FindOrInsert(const Ref<ColorProfileRecordImpl>& record) noexcept
{
	ProfileMapNode& node = record->GetMapNode();
	const UInt32 crc = record->GetCrc();
	const std::lock_guard guard(_lock);
	if (Ref<ColorProfileRecordImpl> earlier = FindLocked(crc))
		return earlier;
	node._isInMap = true;
	node._crc = crc;
	node._record = record;
	node._next = std::exchange(BucketOf(crc), &node);
	return record;
}

void ProfileMap::Remove(ProfileMapNode& node) noexcept
{
	const std::lock_guard guard(_lock);
	if (!node._isInMap)
		return;
	ProfileMapNode** link = &BucketOf(node._crc);
	while (*link != &node)
		link = &(*link)->_next;
	*link = node._next;
	node._isInMap = false;
}

void ProfileMap::Clear() noexcept
{
	const std::lock_guard guard(_lock);
	for (ProfileMapNode*& bucket : _buckets)
	{
		while (bucket != nullptr)
		{
			bucket->_isInMap = false;
			bucket = std::exchange(bucket->_next, nullptr);
		}
	}
}

ProfileMap& GetProfileMap() noexcept
{
	static constinit ProfileMap s_map;
	return s_map;
}

} // namespace torvi
