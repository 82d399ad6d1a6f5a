// Observables: lists of delegates that are called one after another. All observers are called, also after one has failed; the first error
// is what Notify gives. Observers may be added and removed while a notification runs; that shows from the next one on.
#pragma once

#include "host/delegate.h"
#include "host/lock.h"
#include "host/object.h"

#include <algorithm>

namespace torvi
{

template <class... Arguments>
class Observable final : public ObjectInterface
{
public:
	using Observer = Delegate<Result<void>(Arguments...)>;

	/// Gives the id under which the observer is removed again. Illegal-argument error for an unset delegate.
	Result<Int> AddObserver(Observer observer)
	{
		return NoThrow(
			[&]() -> Result<Int>
			{
				TORVI_CHECK(observer, IllegalArgumentError("An observer needs a function."));
				const std::lock_guard guard(_lock);
				_observers.push_back({_nextId, std::move(observer)});
				return _nextId++;
			});
	}

	/// Nothing happens for an id that is not there.
	void RemoveObserver(Int id) noexcept
	{
		Observer removed; // its closure may end objects that come back here, so it goes after the lock
		const std::lock_guard guard(_lock);
		const auto found = std::find_if(_observers.begin(), _observers.end(), [&](const Entry& entry) { return entry._id == id; });
		if (found == _observers.end())
			return;
		removed = std::move(found->_observer);
		_observers.erase(found);
	}

	Result<void> Notify(Arguments... arguments) const
	{
		return NoThrow(
			[&]() -> Result<void>
			{
				Array<Entry> observers;
				{
					const std::lock_guard guard(_lock);
					observers = _observers;
				}
				Error first;
				for (const Entry& entry : observers)
				{
					Result<void> result = NoThrow([&]() -> Result<void> { return entry._observer(arguments...); });
					if (!result.IsOk() && !first)
						first = result.TakeError();
				}
				return first ? Result<void>(std::move(first)) : OK;
			});
	}

	Bool HasObservers() const noexcept
	{
		const std::lock_guard guard(_lock);
		return !_observers.empty();
	}

private:
	struct Entry
	{
		Int _id;
		Observer _observer;
	};

	mutable std::mutex _lock;
	Array<Entry> _observers;
	Int _nextId = 1;
};

template <class... Arguments>
using ObservableRef = Ref<Observable<Arguments...>>;

/// Objects that are watched. It adds nothing; interfaces declare their observables themselves.
class TORVI_EXPORT ObserverObjectInterface : public virtual ObjectInterface
{
};

} // namespace torvi
