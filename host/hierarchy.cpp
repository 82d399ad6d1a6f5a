// The tree of objects. Each child knows its place among its siblings, so that stepping from one to the next does not search.
#include "host/hierarchy.h"

#include <algorithm>

namespace torvi
{

Result<void> HierarchyObjectImpl::CheckParent(const ImplRef& parent) const
{
	TORVI_CHECK(parent, IllegalArgumentError("The object has no place in a tree to hang under."));
	TORVI_CHECK(parent.GetPointer() != this, IllegalArgumentError("An object can not hang under itself."));
	if (_children.empty())
		return OK; // nothing hangs under this object
	for (ImplRef level = parent->_parent.Lock(); level; level = level->_parent.Lock())
		TORVI_CHECK(level.GetPointer() != this, IllegalArgumentError("An object can not hang under one of its descendants."));
	return OK;
}

Result<void> HierarchyObjectImpl::InsertBefore(const HierarchyObjectRef& next)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			const ImplRef sibling = Cast<HierarchyObjectImpl>(next);
			TORVI_CHECK(sibling, IllegalArgumentError("There is no object to insert before."));
			TORVI_CHECK(sibling.GetPointer() != this, IllegalArgumentError("An object can not be inserted before itself."));
			const ImplRef parent = sibling->_parent.Lock();
			TORVI_TRY(CheckParent(parent));
			MakeRoomForOne(parent->_children);
			const ImplRef self(this);
			Remove();
			Hang(*parent, sibling->_index, sibling->_branch);
			return OK;
		});
}

Result<void> HierarchyObjectImpl::InsertAsLastChildOf(const HierarchyObjectRef& parent, Int32 branch)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			const ImplRef parentImpl = Cast<HierarchyObjectImpl>(parent);
			TORVI_TRY(CheckParent(parentImpl));
			MakeRoomForOne(parentImpl->_children);
			const ImplRef self(this);
			Remove();
			Hang(*parentImpl, CountOf(parentImpl->_children), branch);
			return OK;
		});
}

/// Allocates before anything changes; Hang can not fail afterwards.
void HierarchyObjectImpl::MakeRoomForOne(Array<ImplRef>& children)
{
	if (children.size() == children.capacity())
		children.reserve(std::max<std::size_t>(4, 2 * children.size()));
}

void HierarchyObjectImpl::Hang(HierarchyObjectImpl& parent, Int index, Int32 branch) noexcept
{
	parent._children.insert(parent._children.begin() + index, ImplRef(this));
	parent.NumberChildren(index);
	_parent = WeakRef<HierarchyObjectImpl>(&parent);
	_branch = branch;
}

void HierarchyObjectImpl::Remove()
{
	const ImplRef parent = _parent.Lock();
	if (!parent)
		return;
	const ImplRef self(this); // the parent's reference may be the last
	const Int index = _index;
	parent->_children.erase(parent->_children.begin() + index);
	parent->NumberChildren(index);
	_parent = {};
	_branch = 0;
}

void HierarchyObjectImpl::NumberChildren(Int first) noexcept
{
	for (Int i = first; i < CountOf(_children); ++i)
		_children[static_cast<std::size_t>(i)]->_index = i;
}

HierarchyObjectRef HierarchyObjectImpl::GetParent() const
{
	return _parent.Lock();
}

HierarchyObjectRef HierarchyObjectImpl::FindChild(Int first, Int32 branch) const noexcept
{
	const auto found =
		std::find_if(_children.begin() + first, _children.end(), [&](const ImplRef& child) { return child->_branch == branch; });
	return found != _children.end() ? HierarchyObjectRef(*found) : HierarchyObjectRef();
}

HierarchyObjectRef HierarchyObjectImpl::GetFirstChild(Int32 branch) const
{
	return FindChild(0, branch);
}

HierarchyObjectRef HierarchyObjectImpl::GetNext() const
{
	const ImplRef parent = _parent.Lock();
	return parent ? parent->FindChild(_index + 1, _branch) : HierarchyObjectRef();
}

Array<HierarchyObjectRef> HierarchyObjectImpl::GetChildren(Int32 branch) const
{
	Array<HierarchyObjectRef> children;
	for (const ImplRef& child : _children)
	{
		if (child->_branch == branch)
			children.push_back(child);
	}
	return children;
}

Array<Int32> HierarchyObjectImpl::GetBranches() const
{
	Array<Int32> branches;
	for (const ImplRef& child : _children)
		branches.push_back(child->_branch);
	std::ranges::sort(branches);
	branches.erase(std::unique(branches.begin(), branches.end()), branches.end());
	return branches;
}

/// Takes the children out of this object and puts them in front of the list, the first child first. Their link to this parent, which other
/// threads may be reading, stays: it reads as null.
void HierarchyObjectImpl::MoveChildrenTo(ImplRef& orphans) noexcept
{
	while (!_children.empty())
	{
		ImplRef child = std::move(_children.back());
		_children.pop_back();
		child->_nextOrphan = std::move(orphans);
		orphans = std::move(child);
	}
}

HierarchyObjectImpl::~HierarchyObjectImpl()
{
	// The first destructor on this thread lets the orphans go one by one; those that die meanwhile only add their children to its list.
	static thread_local ImplRef* s_orphans = nullptr;
	if (s_orphans != nullptr)
	{
		MoveChildrenTo(*s_orphans);
		return;
	}
	ImplRef orphans;
	s_orphans = &orphans;
	MoveChildrenTo(orphans);
	while (orphans)
	{
		const ImplRef child = std::move(orphans);
		orphans = std::move(child->_nextOrphan);
	}
	s_orphans = nullptr;
}

} // namespace torvi
