// Trees of objects. A parent owns its children in order; each child hangs under a branch number, and walks filter by it. Children know
// their parent by a weak link. A tree is changed and walked from one thread at a time.
#pragma once

#include "host/object.h"

namespace torvi
{

class HierarchyObjectInterface;
using HierarchyObjectRef = Ref<HierarchyObjectInterface>;

class TORVI_EXPORT HierarchyObjectInterface : public virtual ObjectInterface
{
public:
	/// Hangs this object in the tree before `next`, under next's parent and branch. Leaves an earlier parent first. Illegal-argument error
	/// if next is null or has no parent, or if this object is next or one of its ancestors.
	virtual Result<void> InsertBefore(const HierarchyObjectRef& next) = 0;
	/// Hangs this object behind all children of `parent`. The same errors.
	virtual Result<void> InsertAsLastChildOf(const HierarchyObjectRef& parent, Int32 branch) = 0;
	/// Leaves the parent; nothing happens without one.
	virtual void Remove() = 0;

	/// Null where there is none.
	virtual HierarchyObjectRef GetParent() const = 0;
	/// The first child of the branch, or null.
	virtual HierarchyObjectRef GetFirstChild(Int32 branch) const = 0;
	/// The next sibling of the same branch, or null.
	virtual HierarchyObjectRef GetNext() const = 0;
	/// The children of the branch, in order.
	virtual Array<HierarchyObjectRef> GetChildren(Int32 branch) const = 0;
	/// The branches that have children, in ascending order.
	virtual Array<Int32> GetBranches() const = 0;
	/// The branch that this object hangs under; 0 without a parent.
	virtual Int32 GetBranch() const = 0;
};

/// The implementation that other implementations derive from. Copies of an object start outside any tree and without children.
/// The end of a tree of any depth takes a constant amount of stack.
class TORVI_EXPORT HierarchyObjectImpl : public virtual HierarchyObjectInterface
{
public:
	HierarchyObjectImpl() = default;
	HierarchyObjectImpl(const HierarchyObjectImpl& other) noexcept : ObjectInterface(other), HierarchyObjectInterface(other) {}
	~HierarchyObjectImpl() override;

	Result<void> InsertBefore(const HierarchyObjectRef& next) override;
	Result<void> InsertAsLastChildOf(const HierarchyObjectRef& parent, Int32 branch) override;
	void Remove() override;
	HierarchyObjectRef GetParent() const override;
	HierarchyObjectRef GetFirstChild(Int32 branch) const override;
	HierarchyObjectRef GetNext() const override;
	Array<HierarchyObjectRef> GetChildren(Int32 branch) const override;
	Array<Int32> GetBranches() const override;
	Int32 GetBranch() const override { return _parent.Lock() ? _branch : 0; }

private:
	using ImplRef = Ref<HierarchyObjectImpl>;

	Result<void> CheckParent(const ImplRef& parent) const;
	static void MakeRoomForOne(Array<ImplRef>& children);
	void Hang(HierarchyObjectImpl& parent, Int index, Int32 branch) noexcept;
	void NumberChildren(Int first) noexcept;
	HierarchyObjectRef FindChild(Int first, Int32 branch) const noexcept;
	void MoveChildrenTo(ImplRef& orphans) noexcept;

	WeakRef<HierarchyObjectImpl> _parent;
	Int32 _branch = 0;
	Int _index = 0;           ///< of this object in the parent's children
	Array<ImplRef> _children; ///< of all branches, in order
	ImplRef _nextOrphan;      ///< links the objects whose parents are gone, while a tree ends
};

} // namespace torvi
