// The counting hook.
#include "tests/support/allocation_failure.h"

#include <atomic>

namespace torvi::test
{

namespace
{

std::atomic<Int> s_left{0}; ///< allocations to the one that fails; it and those behind it are at 0 and below
std::atomic<Bool> s_keepsFailing{false};

Bool AllowUnlessCounted(Int) noexcept
{
	const Int left = --s_left;
	return left > 0 || (left < 0 && !s_keepsFailing);
}

} // namespace

AllocationFailure::AllocationFailure(Int count, Mode mode) noexcept
{
	s_left = count;
	s_keepsFailing = mode == Mode::KEEPFAILING;
	_previous = SetAllocationHook(&AllowUnlessCounted);
}

AllocationFailure::~AllocationFailure()
{
	SetAllocationHook(_previous);
}

Bool AllocationFailure::HasFailed() const noexcept
{
	return s_left <= 0;
}

} // namespace torvi::test
