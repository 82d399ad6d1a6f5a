// The one place that memory comes from: the host's allocation calls, a hook that tests use to make the n-th one fail, and
// the allocator and container aliases built on them. Containers may throw std::bad_alloc inside a function; NoThrow of
// result.h turns that into an out-of-memory error at the boundary.
#pragma once

#include "host/types.h"

#include <functional>
#include <new>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace torvi
{

/// Allocates `size` bytes, not cleared, aligned for any fundamental type. Gives null on failure and for a negative size; a size of 0 gives
/// a pointer that can be freed. Any thread.
TORVI_EXPORT void* Alloc(Int size) noexcept;

/// As Alloc, with all bytes 0. Large blocks are fresh zero pages and cost no memory until they are written.
TORVI_EXPORT void* AllocClear(Int size) noexcept;

/// Changes the size of a block of Alloc, AllocClear or Realloc; null allocates. On failure gives null and leaves the block as it was.
TORVI_EXPORT void* Realloc(void* memory, Int size) noexcept;

/// Frees a block of the calls above; null does nothing.
TORVI_EXPORT void Free(void* memory) noexcept;

/// Asked before each allocation: false makes it fail. Null, the normal state, allows all.
using AllocationHook = Bool (*)(Int size) noexcept;

/// Installs the hook for the whole process and gives the earlier one. The hook is called on any thread.
TORVI_EXPORT AllocationHook SetAllocationHook(AllocationHook hook) noexcept;

/// The allocator of all containers here. Throws std::bad_alloc, which never leaves a function of ours.
template <class T>
struct HostAllocator
{
	using value_type = T;

	HostAllocator() noexcept = default;
	template <class U>
	HostAllocator(const HostAllocator<U>&) noexcept
	{
	}

	T* allocate(std::size_t count)
	{
		static_assert(alignof(T) <= alignof(std::max_align_t));
		if (count > static_cast<std::size_t>(INT64_MAX) / sizeof(T))
			throw std::bad_alloc();
		void* memory = Alloc(static_cast<Int>(count * sizeof(T)));
		if (memory == nullptr)
			throw std::bad_alloc();
		return static_cast<T*>(memory);
	}
	void deallocate(T* memory, std::size_t) noexcept { Free(memory); }

	template <class U>
	bool operator==(const HostAllocator<U>&) const noexcept
	{
		return true;
	}
};

template <class T>
using Array = std::vector<T, HostAllocator<T>>;

template <class K, class V, class Hash = std::hash<K>, class Equal = std::equal_to<K>>
using HashMap = std::unordered_map<K, V, Hash, Equal, HostAllocator<std::pair<const K, V>>>;

template <class K, class Hash = std::hash<K>, class Equal = std::equal_to<K>>
using HashSet = std::unordered_set<K, Hash, Equal, HostAllocator<K>>;

} // namespace torvi
