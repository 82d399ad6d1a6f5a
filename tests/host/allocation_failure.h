// Makes the host's n-th allocation fail, for each n in turn.
#pragma once

#include "host/memory.h"
#include "host/result.h"

#include <gtest/gtest.h>

namespace torvi::test
{

/// Lets `allowed` further allocations of all threads pass and makes the later ones fail, as long as it lives.
class AllocationLimit
{
public:
	explicit AllocationLimit(Int allowed)
	{
		s_left = allowed;
		s_hasFailed = false;
		SetAllocationHook(&Allow);
	}
	~AllocationLimit() { SetAllocationHook(nullptr); }
	AllocationLimit(const AllocationLimit&) = delete;
	AllocationLimit& operator=(const AllocationLimit&) = delete;

	Bool HasFailed() const noexcept { return s_hasFailed; }

private:
	static Bool Allow(Int) noexcept
	{
		const Bool isAllowed = s_left.fetch_sub(1) > 0;
		if (!isAllowed)
			s_hasFailed = true;
		return isAllowed;
	}

	static inline std::atomic<Int> s_left{0};
	static inline std::atomic<Bool> s_hasFailed{false};
};

/// Runs `function`, which gives a Result, with its first, second, third ... allocation and all later ones failing, until it gets by without a
/// failure. Each failure must come back as the out-of-memory error.
template <class Function>
void ExpectOutOfMemoryAtEachAllocation(Function&& function)
{
	constexpr Int LIMIT = 1000;
	for (Int allowed = 0; allowed < LIMIT; ++allowed)
	{
		const AllocationLimit limit(allowed);
		const auto result = function();
		if (!limit.HasFailed())
		{
			EXPECT_TRUE(result.IsOk());
			EXPECT_GT(allowed, 0) << "nothing was allocated";
			return;
		}
		ASSERT_FALSE(result.IsOk()) << "allocation " << allowed;
		ASSERT_EQ(result.GetError().GetInnermostCause().GetId().GetText(), errorids::OUTOFMEMORY.GetText()) << "allocation " << allowed;
	}
	FAIL() << "still failing after " << LIMIT << " allocations";
}

/// The id of the error, "" without one.
template <class T>
std::string_view ErrorIdOf(const Result<T>& result)
{
	return result.GetError().GetId().GetText();
}

} // namespace torvi::test
