// Jobs: queues with a fixed pool of threads that the host owns, groups to wait for, and cancellation. The module itself starts no
// thread; the pool starts with the first job.
#pragma once

#include "host/delegate.h"
#include "host/object.h"

namespace torvi
{

using JobFunction = Delegate<Result<void>()>;

/// Identifies the work that runs on this thread: the running job of a queue, or a value of the thread's own outside any job. Never 0, and
/// never the same for two threads at one time.
TORVI_EXPORT UInt64 GetCurrentJobKey() noexcept;

/// True when the running job's group was cancelled; false outside jobs.
TORVI_EXPORT Bool IsCurrentJobCancelled() noexcept;

class TORVI_EXPORT JobQueueInterface : public virtual ObjectInterface
{
public:
	/// Runs a function on a thread of the queue.
	virtual Result<void> Enqueue(JobFunction function) = 0;
};

using JobQueueRef = Ref<JobQueueInterface>;

namespace JobQueue
{
/// For work that waits for files; a pool of its own.
TORVI_EXPORT Result<JobQueueRef> GetServiceIOQueue();
/// For work that computes; as many threads as processors.
TORVI_EXPORT Result<JobQueueRef> GetComputeQueue();
/// Jobs that the host's main thread runs when it calls RunMainThreadJobs.
TORVI_EXPORT Result<JobQueueRef> GetMainThreadQueue();
TORVI_EXPORT void RunMainThreadJobs();
} // namespace JobQueue

/// Jobs that are waited for together. The first error of a job cancels the rest.
class TORVI_EXPORT JobGroup
{
public:
	JobGroup();
	~JobGroup();
	JobGroup(const JobGroup&) = delete;
	JobGroup& operator=(const JobGroup&) = delete;

	/// Adds a job that has not started.
	Result<void> Add(JobFunction function);
	/// Runs all jobs on the queue and on this thread, and waits for them; gives the first error. May be called from inside a job.
	Result<void> EnqueueGroupAndWait(const JobQueueRef& queue);
	/// Asks the jobs to end; those that have not started do not start.
	void Cancel() noexcept;

private:
	struct State;
	Ref<ObjectInterface> _state;
	State& GetState() const noexcept;
};

} // namespace torvi
