// Class records.
#include "host/class.h"

namespace torvi
{

Result<void> Class::AddComponent(const ClassComponent& component)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			TORVI_CHECK(!_isFinal, IllegalStateError("Class @ is finished and takes no further component.", _id));
			TORVI_CHECK(component._create != nullptr, IllegalArgumentError("Component @ has no create function.", component._id));
			_components.push_back(component);
			return OK;
		});
}

Result<void> Class::Finalize()
{
	TORVI_CHECK(!_isFinal, IllegalStateError("Class @ is finished already.", _id));
	for (const Class* level = this; level != nullptr && _create == nullptr; level = level->_base.GetPointer())
	{
		if (!level->_components.empty())
			_create = level->_components.back()._create;
	}
	TORVI_CHECK(_create != nullptr, IllegalStateError("Class @ has no component.", _id));
	_isFinal = true;
	return OK;
}

Bool Class::IsSubclassOf(const Id& id) const noexcept
{
	for (const Class* level = this; level != nullptr; level = level->_base.GetPointer())
	{
		if (level->_id == id)
			return true;
	}
	return false;
}

Result<ObjectRef> Class::Create() const
{
	TORVI_CHECK(_isFinal, IllegalStateError("Class @ is not finished.", _id));
	ObjectRef object = TORVI_TRY(_create());
	AdoptObject(*object);
	TORVI_TRY(NoThrow([&]() { return object->InitObject(); }));
	return object;
}

void Class::AdoptObject(ObjectInterface& object) const noexcept
{
	AddReference();
	Class* previous = std::exchange(object.GetControl()._class, const_cast<Class*>(this));
	if (previous != nullptr)
		previous->RemoveReference();
}

String Class::ToString(std::string_view) const
{
	return MakeString(_id.GetText());
}

} // namespace torvi
