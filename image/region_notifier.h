// The observation of changed regions that one image takes part in: its own observable, and its links to the observables of its children.
#pragma once

#include "host/lock.h"
#include "torvi/gfx_image.h"

namespace torvi
{

/// The observable may be used from any thread, the links only by the thread that changes the tree. A copy starts without observers and
/// links.
class RegionNotifier
{
public:
	RegionNotifier() = default;
	RegionNotifier(const RegionNotifier&) noexcept {}
	RegionNotifier& operator=(const RegionNotifier&) = delete;
	~RegionNotifier();

	/// Null if there is none yet and `create` is false.
	Result<RegionChangedObservableRef> GetObservable(Bool create);

	/// Hangs a child in the tree by `insert` and hands its changes on to the observers of `parent`, the owner of this notifier. If one of
	/// the two fails, neither is done.
	template <class Insert>
	Result<void> LinkChild(const ImageBaseRef& parent, const ImageBaseRef& child, const Insert& insert)
	{
		ReserveLink();
		const RegionChangedObservableRef observable = TORVI_TRY(child->ObservableRegionChanged(true));
		const Int observer = TORVI_TRY(observable->AddObserver(MakeForwarder(parent)));
		Result<void> result = insert();
		if (result.IsOk())
			_links.push_back({WeakRef<ImageBaseInterface>(child), observer});
		else
			observable->RemoveObserver(observer);
		return result;
	}

	/// Ends the links to a child that leaves the tree.
	void UnlinkChild(const ImageBaseInterface& child) noexcept;

private:
	struct Link
	{
		WeakRef<ImageBaseInterface> _child;
		Int _observer = 0;
	};
	using Observer = Observable<ImageBaseRef, UpdateRegion>::Observer;

	void ReserveLink();
	static Observer MakeForwarder(const ImageBaseRef& parent);
	static Bool EndLink(const Link& link, const ImageBaseInterface* child) noexcept;

	SpinLock _observableLock; ///< guards the reference only
	RegionChangedObservableRef _observable;
	Array<Link> _links;
};

/// Tells the observers of an image about a changed region of it, then those of its ancestors, each with the same region; their first error.
Result<void> NotifyRegionChanged(const ImageBaseRef& image, const UpdateRegion& region);

} // namespace torvi
