// Queues and groups of jobs.
#include "expect_out_of_memory.h"

#include "host/job.h"

#include <set>
#include <thread>

namespace torvi::test
{
namespace
{

class Job : public ::testing::Test
{
protected:
	Job() : _queue(TORVI_MUST(JobQueue::GetComputeQueue())) {}
	~Job() override { JobQueue::End(); }
	JobQueueRef _queue;
};

TEST_F(Job, GroupRunsAllAndWaits)
{
	std::atomic<int> done{0};
	JobGroup group;
	for (int i = 0; i < 500; ++i)
		TORVI_MUST(group.Add(
			[&]() -> Result<void>
			{
				++done;
				return OK;
			}));
	TORVI_MUST(group.EnqueueGroupAndWait(_queue));
	EXPECT_EQ(done, 500);
	TORVI_MUST(group.EnqueueGroupAndWait(_queue)); // nothing is left
	EXPECT_EQ(done, 500);
	EXPECT_EQ(ErrorIdOf(group.EnqueueGroupAndWait(nullptr)), errorids::NULLPTR.GetText());
	EXPECT_EQ(ErrorIdOf(group.Add(nullptr)), errorids::ILLEGALARGUMENT.GetText());
}

TEST_F(Job, JobMayAddToItsGroup)
{
	std::atomic<int> done{0};
	JobGroup group;
	TORVI_MUST(group.Add(
		[&]() -> Result<void>
		{
			return group.Add(
				[&]() -> Result<void>
				{
					++done;
					return OK;
				});
		}));
	TORVI_MUST(group.EnqueueGroupAndWait(_queue));
	EXPECT_EQ(done, 1);
}

/// A tree of groups, `width` jobs in each, all on one queue.
Result<void> RunNested(const JobQueueRef& queue, int depth, int width, std::atomic<int>& leaves)
{
	if (depth == 0)
	{
		++leaves;
		return OK;
	}
	JobGroup group;
	for (int i = 0; i < width; ++i)
		TORVI_TRY(group.Add([&queue, &leaves, depth, width]() { return RunNested(queue, depth - 1, width, leaves); }));
	return group.EnqueueGroupAndWait(queue);
}

TEST_F(Job, NestedGroupsDoNotBlockEachOther)
{
	std::atomic<int> leaves{0};
	TORVI_MUST(RunNested(_queue, 4, 6, leaves));
	EXPECT_EQ(leaves, 6 * 6 * 6 * 6);
}

TEST_F(Job, FirstErrorCancelsTheRest)
{
	JobGroup group;
	std::atomic<int> started{0};
	TORVI_MUST(group.Add([]() -> Result<void> { return IoError("First."); }));
	for (int i = 0; i < 1000; ++i)
	{
		TORVI_MUST(group.Add(
			[&]() -> Result<void>
			{
				++started;
				while (!IsCurrentJobCancelled())
					std::this_thread::yield();
				return OperationCancelledError("Later.");
			}));
	}
	EXPECT_EQ(group.EnqueueGroupAndWait(_queue).GetError().GetMessage(), "First.");
	EXPECT_LT(started, 1000);
}

TEST_F(Job, CancelReachesNestedGroups)
{
	JobGroup outer;
	TORVI_MUST(outer.Add(
		[&]() -> Result<void>
		{
			JobGroup inner;
			TORVI_TRY(inner.Add(
				[&]() -> Result<void>
				{
					outer.Cancel();
					return OK;
				}));
			for (int i = 0; i < 100; ++i)
				TORVI_TRY(inner.Add(
					[]() -> Result<void>
					{
						while (!IsCurrentJobCancelled())
							std::this_thread::yield();
						return OK;
					}));
			return inner.EnqueueGroupAndWait(_queue);
		}));
	EXPECT_EQ(ErrorIdOf(outer.EnqueueGroupAndWait(_queue)), errorids::OPERATIONCANCELLED.GetText());
	EXPECT_FALSE(IsCurrentJobCancelled());
}

TEST_F(Job, CancelBeforeTheStartStartsNothing)
{
	JobGroup group;
	Bool hasRun = false;
	TORVI_MUST(group.Add(
		[&]() -> Result<void>
		{
			hasRun = true;
			return OK;
		}));
	group.Cancel();
	EXPECT_EQ(ErrorIdOf(group.EnqueueGroupAndWait(_queue)), errorids::OPERATIONCANCELLED.GetText());
	EXPECT_FALSE(hasRun);
}

TEST_F(Job, ExceptionsBecomeErrors)
{
	JobGroup group;
	TORVI_MUST(group.Add([]() -> Result<void> { throw std::bad_alloc(); }));
	EXPECT_EQ(ErrorIdOf(group.EnqueueGroupAndWait(_queue)), errorids::OUTOFMEMORY.GetText());
	TORVI_MUST(_queue->Enqueue([]() -> Result<void> { throw 5; }));
}

TEST_F(Job, KeysTellWorkApart)
{
	const UInt64 own = GetCurrentJobKey();
	EXPECT_NE(own, 0u);
	EXPECT_EQ(GetCurrentJobKey(), own);
	UInt64 other = 0;
	std::thread([&]() { other = GetCurrentJobKey(); }).join();
	EXPECT_NE(other, own);

	std::mutex lock;
	std::set<UInt64> keys = {0, own, other};
	JobGroup group;
	for (int i = 0; i < 50; ++i)
		TORVI_MUST(group.Add(
			[&]() -> Result<void>
			{
				const UInt64 key = GetCurrentJobKey();
				std::atomic<int> leaves{0};
				TORVI_TRY(RunNested(_queue, 1, 3, leaves));
				TORVI_CHECK(GetCurrentJobKey() == key, IllegalStateError("The key changed within a job."));
				const std::lock_guard guard(lock);
				TORVI_CHECK(keys.insert(key).second, IllegalStateError("Two jobs have the key @.", key));
				return OK;
			}));
	const Result<void> result = group.EnqueueGroupAndWait(_queue);
	EXPECT_TRUE(result.IsOk()) << result.GetError().GetMessage();
	EXPECT_EQ(GetCurrentJobKey(), own);
}

TEST_F(Job, MainThreadRunsItsJobsWhenAsked)
{
	const JobQueueRef queue = TORVI_MUST(JobQueue::GetMainThreadQueue());
	int runs = 0;
	const auto job = [&]() -> Result<void>
	{
		++runs;
		return OK;
	};
	TORVI_MUST(queue->Enqueue(
		[&]() -> Result<void>
		{
			++runs;
			return queue->Enqueue(job);
		}));
	EXPECT_EQ(runs, 0);
	JobQueue::RunMainThreadJobs();
	EXPECT_EQ(runs, 1);
	JobQueue::RunMainThreadJobs();
	EXPECT_EQ(runs, 2);
}

TEST_F(Job, EndRunsWhatWasTakenIn)
{
	std::atomic<int> runs{0};
	const JobQueueRef io = TORVI_MUST(JobQueue::GetServiceIOQueue());
	for (int i = 0; i < 100; ++i)
		TORVI_MUST(io->Enqueue(
			[&]() -> Result<void>
			{
				++runs;
				return OK;
			}));
	JobQueue::End();
	EXPECT_EQ(runs, 100);
	EXPECT_EQ(ErrorIdOf(io->Enqueue([]() -> Result<void> { return OK; })), errorids::ILLEGALSTATE.GetText());
	EXPECT_NE(TORVI_MUST(JobQueue::GetServiceIOQueue()), io);

	JobGroup group; // an ended queue leaves the work to the waiting thread
	TORVI_MUST(group.Add(
		[&]() -> Result<void>
		{
			++runs;
			return OK;
		}));
	TORVI_MUST(group.Add(
		[&]() -> Result<void>
		{
			++runs;
			return OK;
		}));
	TORVI_MUST(group.EnqueueGroupAndWait(io));
	EXPECT_EQ(runs, 102);
}

TEST_F(Job, FailedAllocationsOfAGroup)
{
	std::atomic<int> runs{0};
	ExpectOutOfMemoryAtEachAllocation(
		[&]() -> Result<void>
		{
			JobGroup group;
			return group.Add(
				[&]() -> Result<void>
				{
					++runs;
					return OK;
				});
		});
	JobGroup group;
	for (int i = 0; i < 10; ++i)
		TORVI_MUST(group.Add(
			[&]() -> Result<void>
			{
				++runs;
				return OK;
			}));
	{
		const AllocationFailure failure(1, AllocationFailure::Mode::KEEPFAILING); // no room for tickets
		TORVI_MUST(group.EnqueueGroupAndWait(_queue));
	}
	EXPECT_EQ(runs, 10);
	JobQueue::End();
	ExpectOutOfMemoryAtEachAllocation(
		[]() -> Result<void>
		{
			TORVI_TRY(JobQueue::GetServiceIOQueue());
			return OK;
		});
}

} // namespace
} // namespace torvi::test
