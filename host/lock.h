// Locks: a spin lock of 32 bits for sections of a few instructions, a reader-writer lock, and the closure form of both.
#pragma once

#include "host/types.h"

#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <utility>

namespace torvi
{

/// Fair enough for short sections only; nothing that allocates, calls out or waits runs under it. Meets the lockable requirements of
/// the standard library. While it spins it calls g_CpuYieldDelegate.
class TORVI_EXPORT SpinLock
{
public:
	SpinLock() noexcept = default;
	/// A copy of an object has a lock of its own.
	SpinLock(const SpinLock&) noexcept {}
	SpinLock& operator=(const SpinLock&) noexcept { return *this; }

	void lock() noexcept
	{
		while (_isLocked.exchange(1, std::memory_order_acquire) != 0)
			Wait();
	}
	bool try_lock() noexcept { return _isLocked.exchange(1, std::memory_order_acquire) == 0; }
	void unlock() noexcept { _isLocked.store(0, std::memory_order_release); }

private:
	void Wait() const noexcept;

	std::atomic<UInt32> _isLocked{0};
};

using RWLock = std::shared_mutex;

/// Runs a closure under a lock and gives what it gives.
template <class Lock, class Function>
auto Serialize(Lock& lock, Function&& function)
{
	const std::lock_guard<Lock> guard(lock);
	return std::forward<Function>(function)();
}

} // namespace torvi

/// Called while a spin lock waits. The host may replace it before it starts the module; never null.
extern "C" TORVI_EXPORT void (*g_CpuYieldDelegate)();
