// Progress. The numbers are kept under the lock; observers are called outside of it.
#include "host/progress.h"

#include "host/job.h"

#include <cmath>

namespace torvi
{

namespace
{

Float64 ClampFraction(Float64 fraction) noexcept
{
	return std::isnan(fraction) ? 0.0 : std::clamp(fraction, 0.0, 1.0);
}

} // namespace

Result<void> ProgressImpl::InitProgress(Float64 delay, Float64 interval)
{
	TORVI_CHECK(delay >= 0.0 && interval >= 0.0, IllegalArgumentError("Progress can not wait @ and @ seconds.", delay, interval));
	const std::lock_guard guard(_lock);
	_delay = delay;
	_interval = interval;
	_startTime = Clock::now();
	_lastTime.reset();
	return OK;
}

Result<Int> ProgressImpl::AddProgressJob(Float64 weight, std::string_view name)
{
	return NoThrow(
		[&]() -> Result<Int>
		{
			TORVI_CHECK(std::isfinite(weight) && weight >= 0.0, IllegalArgumentError("A progress job can not have the weight @.", weight));
			const std::lock_guard guard(_lock);
			_jobs.push_back({weight, 0.0, MakeString(name)});
			return CountOf(_jobs) - 1;
		});
}

Result<void> ProgressImpl::SetProgressAndCheckBreak(Int job, Float64 fraction)
{
	const ObservableRef<ProgressRef> due = TORVI_TRY(SetFraction(job, fraction));
	TORVI_TRY(CheckBreak());
	if (!due)
		return OK;
	Result<void> notified = due->Notify(ProgressRef(this));
	TORVI_TRY(CheckBreak()); // an observer may have cancelled
	if (!notified.IsOk())
		Cancel();
	return notified;
}

/// Gives whom to notify now, or null.
Result<ObservableRef<ProgressRef>> ProgressImpl::SetFraction(Int job, Float64 fraction)
{
	const std::lock_guard guard(_lock);
	TORVI_CHECK(job >= 0 && job < CountOf(_jobs), IllegalArgumentError("There is no progress job @.", job));
	_jobs[static_cast<std::size_t>(job)]._fraction = ClampFraction(fraction);
	_lastJob = job;
	return _observable && IsNotificationDue() ? _observable : nullptr;
}

Bool ProgressImpl::IsNotificationDue() noexcept
{
	const Clock::time_point now = Clock::now();
	const auto secondsSince = [&](Clock::time_point then) { return std::chrono::duration<Float64>(now - then).count(); };
	const Bool isDue = _lastTime ? secondsSince(*_lastTime) >= _interval : secondsSince(_startTime) >= _delay;
	if (isDue)
		_lastTime = now;
	return isDue;
}

Result<void> ProgressImpl::CheckBreak() const
{
	TORVI_CHECK(!_isCancelled.load(std::memory_order_acquire) && !IsCurrentJobCancelled(),
				OperationCancelledError("The operation was cancelled."));
	return OK;
}

Float64 ProgressImpl::GetProgress() const
{
	const std::lock_guard guard(_lock);
	Float64 largest = 0.0;
	for (const Job& job : _jobs)
		largest = std::max(largest, job._weight);
	Float64 all = 0.0;
	Float64 done = 0.0;
	for (const Job& job : _jobs)
	{
		const Float64 share = largest > 0.0 ? job._weight / largest : 1.0; // a sum of shares does not overflow
		all += share;
		done += share * job._fraction;
	}
	return all > 0.0 ? std::min(done / all, 1.0) : 0.0;
}

Result<ObservableRef<ProgressRef>> ProgressImpl::ObservableProgressNotification()
{
	const std::lock_guard guard(_lock);
	if (!_observable)
		_observable = TORVI_TRY(NewObject<Observable<ProgressRef>>());
	return _observable;
}

String ProgressImpl::ToString(std::string_view) const
{
	const std::lock_guard guard(_lock);
	return _lastJob >= 0 ? _jobs[static_cast<std::size_t>(_lastJob)]._name : String();
}

} // namespace torvi
