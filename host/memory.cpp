// The host's allocation calls over the C library's, with the hook for tests.
#include "host/memory.h"

#include <atomic>
#include <cstdlib>

namespace torvi
{

namespace
{

std::atomic<AllocationHook> s_allocationHook{nullptr};

Bool IsAllowed(Int size) noexcept
{
	const AllocationHook hook = s_allocationHook.load(std::memory_order_acquire);
	return size >= 0 && (hook == nullptr || hook(size));
}

std::size_t AtLeastOne(Int size) noexcept
{
	return size > 0 ? static_cast<std::size_t>(size) : 1;
}

} // namespace

void* Alloc(Int size) noexcept
{
	return IsAllowed(size) ? std::malloc(AtLeastOne(size)) : nullptr;
}

void* AllocClear(Int size) noexcept
{
	return IsAllowed(size) ? std::calloc(1, AtLeastOne(size)) : nullptr;
}

void* Realloc(void* memory, Int size) noexcept
{
	return IsAllowed(size) ? std::realloc(memory, AtLeastOne(size)) : nullptr;
}

void Free(void* memory) noexcept
{
	std::free(memory);
}

AllocationHook SetAllocationHook(AllocationHook hook) noexcept
{
	return s_allocationHook.exchange(hook, std::memory_order_acq_rel);
}

} // namespace torvi
