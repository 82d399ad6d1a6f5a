// The map of living profile records by their crc, so that equal content is one record. The map keeps no record alive: the last reference
// from outside removes it. All operations are safe on any thread; none allocates.
#pragma once

#include "host/lock.h"
#include "host/object.h"

namespace torvi
{

class ColorProfileRecordImpl;

/// A record's place in the map. The map's lock guards it.
struct ProfileMapNode
{
	Bool _isInMap = false;
	UInt32 _crc = 0;
	ProfileMapNode* _next = nullptr; ///< of the same bucket
	WeakRef<ColorProfileRecordImpl> _record;
};

class ProfileMap
{
public:
	/// The living record, or null.
	Ref<ColorProfileRecordImpl> Find(UInt32 crc) noexcept;

	/// The living record of the same crc if there is one; else enters `record` and gives it back.
	Ref<ColorProfileRecordImpl> FindOrInsert(const Ref<ColorProfileRecordImpl>& record) noexcept;

	/// Called by a record that is being destroyed.
	void Remove(ProfileMapNode& node) noexcept;

	/// Forgets all records. Those that others still hold live on outside of the map.
	void Clear() noexcept;

private:
	static constexpr std::size_t BUCKETS = 256;

	ProfileMapNode*& BucketOf(UInt32 crc) noexcept { return _buckets[crc % BUCKETS]; }
	Ref<ColorProfileRecordImpl> FindLocked(UInt32 crc) noexcept;

	SpinLock _lock;
	ProfileMapNode* _buckets[BUCKETS] = {};
};

/// The one map of the process.
ProfileMap& GetProfileMap() noexcept;

} // namespace torvi
