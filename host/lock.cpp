// Waiting of spin locks.
#include "host/lock.h"

#include <sched.h>

namespace
{

void YieldProcessor()
{
	sched_yield();
}

} // namespace

extern "C"
{
	void (*g_CpuYieldDelegate)() = &YieldProcessor;
}

namespace torvi
{

void SpinLock::Wait() const noexcept
{
	constexpr int TRIES = 64;
	for (int i = 0; i < TRIES; ++i)
	{
		if (_isLocked.load(std::memory_order_relaxed) == 0)
			return;
#if defined(__x86_64__)
		__builtin_ia32_pause();
#endif
	}
	g_CpuYieldDelegate();
}

} // namespace torvi
