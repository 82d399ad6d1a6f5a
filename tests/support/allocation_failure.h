// Makes the n-th allocation of the host's allocator fail, to show that running out of memory is an error like any other.
#pragma once

#include "host/memory.h"

namespace torvi::test
{

/// While it lives, the `count`-th allocation from now (from 1) fails, and with `KEEPFAILING` all later ones. One at a time; counts the
/// allocations of all threads.
class AllocationFailure
{
public:
	enum class Mode
	{
		ONCE,
		KEEPFAILING
	};

	explicit AllocationFailure(Int count, Mode mode = Mode::ONCE) noexcept;
	AllocationFailure(const AllocationFailure&) = delete;
	AllocationFailure& operator=(const AllocationFailure&) = delete;
	~AllocationFailure();

	/// Whether the count was reached.
	Bool HasFailed() const noexcept;

private:
	AllocationHook _previous;
};

/// Runs `operation` again and again, with the first, then the second allocation failing and so on, in both modes, until it gets by without
/// that many. `operation` gives a Result; `check` is called with each result and whether an allocation failed. Gives the number of
/// allocations of an undisturbed run.
template <class Operation, class Check>
Int ForEachAllocationFailure(Operation&& operation, Check&& check)
{
	for (Int count = 1;; ++count)
	{
		for (const auto mode : {AllocationFailure::Mode::KEEPFAILING, AllocationFailure::Mode::ONCE})
		{
			Bool hasFailed = false;
			auto result = [&]()
			{
				const AllocationFailure failure(count, mode);
				auto outcome = operation();
				hasFailed = failure.HasFailed();
				return outcome;
			}();
			check(result, hasFailed);
			if (!hasFailed)
				return count - 1;
		}
	}
}

} // namespace torvi::test
