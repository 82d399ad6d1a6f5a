// Progress of one piece of work: weighted jobs, each with a fraction done, notifications, and cancellation. Any thread.
#pragma once

#include "host/observable.h"

#include <chrono>

namespace torvi
{

class ProgressInterface;
using ProgressRef = Ref<ProgressInterface>;

class TORVI_EXPORT ProgressInterface : public virtual ObjectInterface
{
public:
	/// Seconds before the first notification, counted from now, and between two of them; both are 0 without this call. Illegal-argument
	/// error for a time that is negative or no number. Jobs stay.
	virtual Result<void> InitProgress(Float64 delay, Float64 interval) = 0;
	/// A new job with nothing done; gives its id. Illegal-argument error for a weight that is negative, infinite or no number.
	virtual Result<Int> AddProgressJob(Float64 weight, std::string_view name) = 0;
	/// Sets how much of a job is done, 0 to 1, and notifies when it is time; other values are clamped, no number is 0. Gives the
	/// operation-cancelled error after Cancel, and when the current job of the host is cancelled; else the error of an observer, which
	/// cancels the work for all other threads too. Illegal-argument error for an id that is not there.
	virtual Result<void> SetProgressAndCheckBreak(Int job, Float64 fraction) = 0;
	/// The weighted fraction done of all jobs, 0 to 1; 0 without jobs. Jobs count alike when none has a weight.
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
	/// The name of the job that reported last; empty before the first report.
	String ToString(std::string_view format = {}) const override;

private:
	struct Job
	{
		Float64 _weight;
		Float64 _fraction;
		String _name;
	};
	Result<ObservableRef<ProgressRef>> SetFraction(Int job, Float64 fraction);
	Bool IsNotificationDue() noexcept;
	Result<void> CheckBreak() const;

	mutable std::mutex _lock;
	Array<Job> _jobs;
	Int _lastJob = -1;
	ObservableRef<ProgressRef> _observable;
	using Clock = std::chrono::steady_clock;
	Float64 _delay = 0.0;
	Float64 _interval = 0.0;
	Clock::time_point _startTime;
	std::optional<Clock::time_point> _lastTime; ///< of the last notification
	std::atomic<Bool> _isCancelled{false};
};

} // namespace torvi
