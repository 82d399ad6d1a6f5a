// Observation of changed regions.
#include "image/region_notifier.h"

#include <algorithm>

namespace torvi
{

Result<void> NotifyRegionChanged(const ImageBaseRef& image, const UpdateRegion& region)
{
	const RegionChangedObservableRef observable = TORVI_TRY(image->ObservableRegionChanged(false));
	return observable ? observable->Notify(image, region) : Result<void>(OK);
}

RegionNotifier::~RegionNotifier()
{
	for (const Link& link : _links)
		(void)EndLink(link, nullptr);
}

Result<RegionChangedObservableRef> RegionNotifier::GetObservable(Bool create)
{
	RegionChangedObservableRef existing = Serialize(_observableLock, [&]() { return _observable; });
	if (existing || !create)
		return existing;
	RegionChangedObservableRef fresh = TORVI_TRY((NewObject<Observable<ImageBaseRef, UpdateRegion>>()));
	return Serialize(_observableLock,
					 [&]()
					 {
						 if (!_observable)
							 _observable = std::move(fresh);
						 return _observable;
					 });
}

void RegionNotifier::ReserveLink()
{
	if (_links.size() == _links.capacity())
		_links.reserve(std::max<std::size_t>(4, 2 * _links.size()));
}

/// The parent may be gone while its former child lives on.
RegionNotifier::Observer RegionNotifier::MakeForwarder(const ImageBaseRef& parent)
{
	return [weakParent = WeakRef<ImageBaseInterface>(parent)](const ImageBaseRef&, const UpdateRegion& region) -> Result<void>
	{
		const ImageBaseRef target = weakParent.Lock();
		return target ? NotifyRegionChanged(target, region) : Result<void>(OK);
	};
}

/// Takes the link's observer from its child, if that is the one that is meant; null means any. True if the link is of no use any more.
Bool RegionNotifier::EndLink(const Link& link, const ImageBaseInterface* child) noexcept
{
	const ImageBaseRef linked = link._child.Lock();
	if (linked && child != nullptr && linked.GetPointer() != child)
		return false;
	if (linked)
	{
		if (const Result<RegionChangedObservableRef> observable = linked->ObservableRegionChanged(false);
			observable.IsOk() && observable.GetValue())
			observable.GetValue()->RemoveObserver(link._observer);
	}
	return true;
}

void RegionNotifier::UnlinkChild(const ImageBaseInterface& child) noexcept
{
	std::erase_if(_links, [&](const Link& link) { return EndLink(link, &child); });
}

} // namespace torvi
