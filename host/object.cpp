// Counting of references and the default operations of host objects.
#include "host/object.h"

#include "host/class.h"

namespace torvi
{

namespace
{

void FreeControl(ObjectControl* control) noexcept
{
	control->~ObjectControl();
	Free(control);
}

} // namespace

void detail::RemoveWeakReference(ObjectControl* control) noexcept
{
	if (control->_weak.fetch_sub(1, std::memory_order_acq_rel) == 1)
		FreeControl(control);
}

Bool detail::TryAddStrongReference(ObjectControl* control) noexcept
{
	Int32 count = control->_strong.load(std::memory_order_relaxed);
	while (count > 0)
	{
		if (control->_strong.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel, std::memory_order_relaxed))
			return true;
	}
	return false;
}

void ObjectInterface::RemoveReference() const noexcept
{
	ObjectControl* control = _control;
	if (control->_strong.fetch_sub(1, std::memory_order_acq_rel) != 1)
		return;
	// Far below 0, so that a passing reference that a destructor makes to its own object does not end it again.
	control->_strong.store(INT32_MIN / 2, std::memory_order_relaxed);
	const Ref<Class> record = Ref<Class>::Adopt(std::exchange(control->_class, nullptr)); // outlives the object's destructor
	control->_object->~ObjectInterface();
	detail::RemoveWeakReference(control);
}

Id ObjectInterface::GetClassId() const noexcept
{
	return GetClass() != nullptr ? GetClass()->GetId() : Id();
}

String ObjectInterface::ToString(std::string_view) const
{
	return MakeString(GetClassId().GetText());
}

Result<void> ObjectInterface::InitObject()
{
	return OK;
}

Result<void> ObjectInterface::HandleMessage(Data&)
{
	return OK;
}

Result<void> ObjectInterface::HandleConstMessage(Data&) const
{
	return OK;
}

Bool ObjectInterface::IsEqual(const ObjectInterface& other) const
{
	return this == &other;
}

std::strong_ordering ObjectInterface::Compare(const ObjectInterface& other) const
{
	return std::compare_three_way()(this, &other);
}

UInt64 ObjectInterface::GetHashCodeImpl() const
{
	return HashAddress(this);
}

std::pair<UInt64, UInt64> ObjectInterface::GetUniqueHashCodeImpl() const
{
	return {static_cast<UInt64>(reinterpret_cast<std::uintptr_t>(this)), 0};
}

Result<ObjectRef> ObjectInterface::CloneObject() const
{
	return UnsupportedOperationError("Objects of class @ can not be copied.", GetClassId());
}

} // namespace torvi
