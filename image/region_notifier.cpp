// Observation of changed regions.
#include "image/region_notifier.h"

#include <algorithm>

namespace torvi
{

namespace
{

/// A change on its way up a tree: whose observers are told now, and the parent that the forwarder among them names as the next.
struct Ascent
{
	ImageBaseRef _image;
	ImageBaseRef _parent;
};

thread_local Ascent* s_ascent = nullptr;

Result<void> NotifyObservers(const ImageBaseRef& image, const UpdateRegion& region)
{
	const RegionChangedObservableRef observable = TORVI_TRY(image->ObservableRegionChanged(false));
	return observable ? observable->Notify(image, region) : Result<void>(OK);
}

} // namespace

Result<void> NotifyRegionChanged(const ImageBaseRef& image, const UpdateRegion& region)
{
	Ascent ascent = {image, {}};
	Ascent* const outer = std::exchange(s_ascent, &ascent);
	Result<void> first = OK;
	for (; ascent._image; ascent._image = std::exchange(ascent._parent, {}))
	{
		Result<void> result = NotifyObservers(ascent._image, region);
		if (first.IsOk())
			first = std::move(result);
	}
	s_ascent = outer;
	return first;
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

/// The parent may be gone while its former child lives on. Trees are as deep as their makers want, so that the parent's turn is left to the
/// loop that called; whoever notifies the child's observable directly has no such loop.
RegionNotifier::Observer RegionNotifier::MakeForwarder(const ImageBaseRef& parent)
{
	return [weakParent = WeakRef<ImageBaseInterface>(parent)](const ImageBaseRef& child, const UpdateRegion& region) -> Result<void>
	{
		ImageBaseRef target = weakParent.Lock();
		if (!target)
			return OK;
		if (s_ascent == nullptr || s_ascent->_image != child)
			return NotifyRegionChanged(target, region);
		s_ascent->_parent = std::move(target);
		return OK;
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
