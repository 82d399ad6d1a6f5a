// Queues and groups of jobs. A group keeps its jobs itself: what it puts into a queue are tickets, each of which lets one more thread take
// jobs from the group. The waiting thread takes jobs too, so a group gets done even if no thread of the queue is free.
#include "host/job.h"

#include "host/lock.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace torvi
{

struct JobGroup::State final : public ObjectInterface
{
	Bool IsCancelled() const noexcept;
	Bool HasNext() const noexcept { return _next < CountOf(_functions); }
	void RunJobs() noexcept;
	Bool RunNext() noexcept;
	void Finish(Result<void> result) noexcept;
	Result<void> WaitAndTakeError();

	std::mutex _lock;
	std::condition_variable _changed;
	Array<JobFunction> _functions;
	Int _next = 0;
	Int _running = 0;
	Bool _isOpen = false; ///< inside EnqueueGroupAndWait; what is left in queues from an earlier one starts nothing
	Error _firstError;
	std::atomic<Bool> _isCancelled{false};
	const State* _parent = nullptr; ///< the group of the job that waits for this group; it outlives the waiting
};

namespace
{

constexpr Int IO_THREADS = 4;

Int GetProcessorCount() noexcept
{
	return std::max<Int>(1, static_cast<Int>(std::thread::hardware_concurrency()));
}

UInt64 TakeJobKey() noexcept
{
	static std::atomic<UInt64> s_lastKey{0};
	return s_lastKey.fetch_add(1, std::memory_order_relaxed) + 1;
}

/// What runs on a thread. The key is made when it is first asked for.
struct Work
{
	UInt64 _key = 0;
	Bool (*_isCancelled)(const void* group) noexcept = nullptr;
	const void* _group = nullptr;
};

thread_local Work s_work;

Result<void> RunJob(const JobFunction& function, const Work& work) noexcept
{
	const Work outer = std::exchange(s_work, work);
	Result<void> result = NoThrow([&]() { return function(); });
	s_work = outer;
	return result;
}

/// Jobs in order of their arrival.
class JobList
{
public:
	void Push(JobFunction function) { _functions.push_back(std::move(function)); }
	Bool IsEmpty() const noexcept { return _functions.empty(); }
	Int GetCount() const noexcept { return CountOf(_functions); }
	JobFunction Take() noexcept
	{
		JobFunction function = std::move(_functions.front());
		_functions.pop_front();
		return function;
	}

private:
	std::deque<JobFunction, HostAllocator<JobFunction>> _functions;
};

class QueueBase : public JobQueueInterface
{
public:
	Result<void> Enqueue(JobFunction function) final
	{
		return NoThrow(
			[&]() -> Result<void>
			{
				TORVI_CHECK(function, IllegalArgumentError("A job needs a function."));
				const std::lock_guard guard(_lock);
				TORVI_CHECK(!_isEnded, IllegalStateError("The job queue has ended."));
				TORVI_TRY(Start());
				_jobs.Push(std::move(function));
				_arrived.notify_one();
				return OK;
			});
	}

	virtual void End() noexcept = 0;

protected:
	/// Called under the lock before each job is taken in.
	virtual Result<void> Start() { return OK; }

	std::mutex _lock;
	std::condition_variable _arrived;
	JobList _jobs;
	Bool _isEnded = false;
};

class PoolQueue final : public QueueBase
{
public:
	explicit PoolQueue(Int threadCount) : _threadCount(threadCount) {}
	~PoolQueue() override { PoolQueue::End(); }

	void End() noexcept override
	{
		{
			const std::lock_guard guard(_lock);
			_isEnded = true;
		}
		_arrived.notify_all();
		for (std::thread& thread : _threads)
			thread.join();
		_threads.clear();
	}

private:
	Result<void> Start() override
	{
		if (!_threads.empty())
			return OK;
		_threads.reserve(static_cast<std::size_t>(_threadCount));
		for (Int i = 0; i < _threadCount; ++i)
		{
			try
			{
				_threads.emplace_back([this]() { RunThread(); });
			}
			catch (const std::exception&)
			{
				break; // fewer threads do the same work
			}
		}
		TORVI_CHECK(!_threads.empty(), SystemError("No thread can be started for jobs."));
		return OK;
	}

	void RunThread() noexcept
	{
		while (const JobFunction function = WaitForJob())
			static_cast<void>(RunJob(function, Work()));
	}

	/// Unset when the queue has ended and nothing is left to do.
	JobFunction WaitForJob() noexcept
	{
		std::unique_lock guard(_lock);
		_arrived.wait(guard, [&]() { return _isEnded || !_jobs.IsEmpty(); });
		return _jobs.IsEmpty() ? JobFunction() : _jobs.Take();
	}

	Int _threadCount;
	Array<std::thread> _threads;
};

class MainThreadQueue final : public QueueBase
{
public:
	void Run() noexcept
	{
		for (Int left = Serialize(_lock, [&]() { return _jobs.GetCount(); }); left > 0; --left)
		{
			const JobFunction function = Serialize(_lock, [&]() { return _jobs.IsEmpty() ? JobFunction() : _jobs.Take(); });
			if (!function)
				return;
			static_cast<void>(RunJob(function, Work()));
		}
	}

	void End() noexcept override
	{
		Serialize(_lock, [&]() { _isEnded = true; });
		Run();
	}
};

struct Queues
{
	std::mutex _lock;
	Ref<PoolQueue> _io;
	Ref<PoolQueue> _compute;
	Ref<MainThreadQueue> _main;
};

Queues& GetQueues()
{
	static Queues s_queues;
	return s_queues;
}

template <class T, class... Arguments>
Result<JobQueueRef> FindOrMake(Ref<T> Queues::*member, Arguments... arguments)
{
	Queues& queues = GetQueues();
	const std::lock_guard guard(queues._lock);
	Ref<T>& queue = queues.*member;
	if (!queue)
		queue = TORVI_TRY(NewObject<T>(arguments...));
	return JobQueueRef(queue);
}

/// Whether there was a queue.
template <class T>
Bool EndQueue(Ref<T> Queues::*member) noexcept
{
	Queues& queues = GetQueues();
	const Ref<T> queue = Serialize(queues._lock, [&]() { return std::exchange(queues.*member, nullptr); });
	if (queue)
		queue->End();
	return static_cast<Bool>(queue);
}

} // namespace

UInt64 GetCurrentJobKey() noexcept
{
	if (s_work._key == 0)
		s_work._key = TakeJobKey();
	return s_work._key;
}

Bool IsCurrentJobCancelled() noexcept
{
	return s_work._group != nullptr && s_work._isCancelled(s_work._group);
}

Result<JobQueueRef> JobQueue::GetServiceIOQueue()
{
	return FindOrMake(&Queues::_io, IO_THREADS);
}

Result<JobQueueRef> JobQueue::GetComputeQueue()
{
	return FindOrMake(&Queues::_compute, GetProcessorCount());
}

Result<JobQueueRef> JobQueue::GetMainThreadQueue()
{
	return FindOrMake(&Queues::_main);
}

void JobQueue::RunMainThreadJobs()
{
	Queues& queues = GetQueues();
	const Ref<MainThreadQueue> queue = Serialize(queues._lock, [&]() { return queues._main; });
	if (queue)
		queue->Run();
}

void JobQueue::End() noexcept
{
	// The main thread's comes last, as the others' jobs may have sent work there; and any job may have asked for a queue anew.
	while (EndQueue(&Queues::_compute) || EndQueue(&Queues::_io) || EndQueue(&Queues::_main))
	{
	}
}

Bool JobGroup::State::IsCancelled() const noexcept
{
	for (const State* group = this; group != nullptr; group = group->_parent)
	{
		if (group->_isCancelled.load(std::memory_order_acquire))
			return true;
	}
	return false;
}

void JobGroup::State::RunJobs() noexcept
{
	while (RunNext())
	{
	}
}

/// Runs the next job; false if there is none to start.
Bool JobGroup::State::RunNext() noexcept
{
	JobFunction function;
	{
		const std::lock_guard guard(_lock);
		if (!_isOpen || !HasNext() || IsCancelled())
			return false;
		function = std::move(_functions[static_cast<std::size_t>(_next++)]);
		++_running;
	}
	Work work;
	work._isCancelled = [](const void* group) noexcept { return static_cast<const State*>(group)->IsCancelled(); };
	work._group = this;
	Result<void> result = RunJob(function, work);
	function.Reset(); // what the closure holds is let go before the group counts as done
	Finish(std::move(result));
	return true;
}

void JobGroup::State::Finish(Result<void> result) noexcept
{
	const std::lock_guard guard(_lock);
	--_running;
	if (!result.IsOk())
	{
		_isCancelled.store(true, std::memory_order_release);
		if (!_firstError)
			_firstError = result.TakeError();
	}
	_changed.notify_all();
}

/// Takes part in the work until no job is left to start and none runs.
Result<void> JobGroup::State::WaitAndTakeError()
{
	std::unique_lock guard(_lock);
	while (_running > 0 || (HasNext() && !IsCancelled()))
	{
		guard.unlock();
		RunJobs();
		guard.lock();
		_changed.wait(guard, [&]() { return _running == 0 || (HasNext() && !IsCancelled()); });
	}
	const Bool isCut = HasNext();
	const Array<JobFunction> unstarted = std::exchange(_functions, {});
	_next = 0;
	_parent = nullptr;
	_isOpen = false;
	Error error = std::move(_firstError);
	guard.unlock(); // closures end outside of the lock
	TORVI_CHECK(!error, error);
	TORVI_CHECK(!isCut, OperationCancelledError("The jobs were cancelled."));
	return OK;
}

JobGroup::JobGroup()
{
	if (Result<Ref<State>> state = NewObject<State>(); state.IsOk())
		_state = state.TakeValue();
}

JobGroup::~JobGroup() = default;

Result<void> JobGroup::Add(JobFunction function)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			TORVI_CHECK(function, IllegalArgumentError("A job needs a function."));
			TORVI_CHECK(_state, OutOfMemoryError());
			const std::lock_guard guard(_state->_lock);
			_state->_functions.push_back(std::move(function));
			_state->_changed.notify_all();
			return OK;
		});
}

Result<void> JobGroup::EnqueueGroupAndWait(const JobQueueRef& queue)
{
	TORVI_CHECK(queue, NullptrError("A group of jobs needs a queue."));
	TORVI_CHECK(_state, OutOfMemoryError());
	Int tickets = 0;
	{
		const std::lock_guard guard(_state->_lock);
		_state->_parent = static_cast<const State*>(s_work._group);
		_state->_isOpen = true;
		tickets = std::min(CountOf(_state->_functions) - 1, std::max(IO_THREADS, GetProcessorCount()));
	}
	for (Int i = 0; i < tickets; ++i)
	{
		// A queue that takes no ticket costs speed only: the work is done here then.
		if (!queue
				 ->Enqueue(
					 [state = _state]() -> Result<void>
					 {
						 state->RunJobs();
						 return OK;
					 })
				 .IsOk())
			break;
	}
	return _state->WaitAndTakeError();
}

void JobGroup::Cancel() noexcept
{
	if (_state)
		_state->_isCancelled.store(true, std::memory_order_release);
}

} // namespace torvi
