// What the tests of the host say about errors and about running out of memory.
#pragma once

#include "host/result.h"
#include "tests/support/allocation_failure.h"

#include <gtest/gtest.h>

namespace torvi::test
{

/// Runs `function`, which gives a Result, with each of its allocations failing. Each failure must come back as the out-of-memory error.
template <class Function>
void ExpectOutOfMemoryAtEachAllocation(Function&& function)
{
	const Int count = ForEachAllocationFailure(function,
											   [](const auto& result, Bool hasFailed)
											   {
												   const Id id = result.GetError().GetInnermostCause().GetId();
												   EXPECT_EQ(id.GetText(), hasFailed ? errorids::OUTOFMEMORY.GetText() : "");
											   });
	EXPECT_GT(count, 0) << "nothing was allocated";
}

/// The id of the error, "" without one.
template <class T>
std::string_view ErrorIdOf(const Result<T>& result)
{
	return result.GetError().GetId().GetText();
}

} // namespace torvi::test
