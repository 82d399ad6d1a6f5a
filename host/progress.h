// Progress of one piece of work: weighted jobs, each with a fraction done, notifications, and cancellation. Any thread.
#pragma once

#include "host/observable.h"

namespace torvi
{

class ProgressInterface;
using ProgressRef = Ref<ProgressInterface>;

class TORVI_EXPORT ProgressInterface : public virtual ObjectInterface
{
public:
	/// Seconds before the first notification and between two of them.
	virtual Result<void> InitProgress(Float64 delay, Float64 interval) = 0;
	/// A new job with nothing done; gives its id. Illegal-argument error for a weight that is negative or no number.
	virtual Result<Int> AddProgressJob(Float64 weight, std::string_view name) = 0;
	/// Sets how much of a job is done, 0 to 1, and notifies when it is time. Gives the operation-cancelled error after Cancel, and when the
	/// current job of the host is cancelled; else the error of an observer. Illegal-argument error for an id that is not there.
	virtual Result<void> SetProgressAndCheckBreak(Int job, Float64 fraction) = 0;
	/// The weighted fraction done of all jobs, 0 to 1; 0 without jobs.
	virtual Float64 GetProgress() const = 0;
	virtual void Cancel() noexcept = 0;
	/// Called with this progress; an error from an observer stops the work. Made on first use.
	virtual Result<ObservableRef<ProgressRef>> ObservableProgressNotification() = 0;
};

/// The implementation that other implementations derive from.
class TORVI_EXPORT ProgressImpl : public virtual ProgressInterface
{
public:
	Result<void> InitProgress(Float64 delay, Float64 interval) override;
	Result<Int> AddProgressJob(Float64 weight, std::string_view name) override;
	Result<void> SetProgressAndCheckBreak(Int job, Float64 fraction) override;
	Float64 GetProgress() const override;
	void Cancel() noexcept override { _isCancelled.store(true, std::memory_order_release); }
	Result<ObservableRef<ProgressRef>> ObservableProgressNotification() override;

private:
	struct Job
	{
		Float64 _weight;
		Float64 _fraction;
		String _name;
	};
	Bool IsNotificationDue();

	mutable std::mutex _lock;
	Array<Job> _jobs;
	ObservableRef<ProgressRef> _observable;
	Float64 _delay = 0.0;
	Float64 _interval = 0.0;
	Int64 _startTime = 0; ///< nanoseconds of the steady clock
	Int64 _lastTime = 0;
	std::atomic<Bool> _isCancelled{false};
};

} // namespace torvi
