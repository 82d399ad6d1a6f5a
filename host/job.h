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

/// True when the running job's group was cancelled, or the group that the job waits for it in; false outside groups.
TORVI_EXPORT Bool IsCurrentJobCancelled() noexcept;

class TORVI_EXPORT JobQueueInterface : public virtual ObjectInterface
{
public:
	/// Runs a function on a thread of the queue. Nobody hears of its error: what matters goes into a group. Illegal-argument error for an
	/// unset function, illegal-state error after the end of the queue, system error if no thread can be started.
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
/// Runs the jobs that wait there now, not those that they add.
TORVI_EXPORT void RunMainThreadJobs();
/// Runs what was enqueued, joins all threads and takes no more jobs; called on the main thread at the end of the module, never from a
/// job. The next call of a Get function starts anew.
TORVI_EXPORT void End() noexcept;
} // namespace JobQueue

/// Jobs that are waited for together. The first error of a job cancels the rest. A cancelled group stays so.
class TORVI_EXPORT JobGroup
{
public:
	JobGroup();
	~JobGroup();
	JobGroup(const JobGroup&) = delete;
	JobGroup& operator=(const JobGroup&) = delete;

	/// Adds a job that has not started; a job of the group may add further ones.
	Result<void> Add(JobFunction function);
	/// Runs all jobs on the queue and on this thread, and waits for them; gives the first error, else the operation-cancelled error if a
	/// cancel kept a job from starting. May be called from inside a job; one call at a time. Null-pointer error without a queue.
	Result<void> EnqueueGroupAndWait(const JobQueueRef& queue);
	/// Asks the jobs to end; those that have not started do not start. Any thread.
	void Cancel() noexcept;

private:
	struct State;
	Ref<State> _state;
};

} // namespace torvi
