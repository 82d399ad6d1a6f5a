// The record of a registered class: its id, its base, the components that make its objects and the interfaces that they have.
// Implementations compose by single inheritance, so that the components of the bases are constructed first.
#pragma once

#include "host/object.h"

namespace torvi
{

/// One implementation of a class. `_create` makes the whole object, its base components first.
struct ClassComponent
{
	Id _id;
	Result<ObjectRef> (*_create)();
};

class TORVI_EXPORT Class final : public ObjectInterface
{
public:
	/// A class that is not finished; `base` may be null. Use NewObject<Class>.
	Class(const Id& id, Ref<Class> base) : _id(id), _base(std::move(base)) {}

	/// Adds the component that follows the base's and the earlier ones. Illegal-state error after Finalize.
	Result<void> AddComponent(const ClassComponent& component);

	/// Closes the class. Illegal-state error if neither the class nor its bases have a component.
	Result<void> Finalize();

	Id GetId() const noexcept { return _id; }
	const Ref<Class>& GetBase() const noexcept { return _base; }
	/// The class's own components in order, without the bases'.
	Block<const ClassComponent> GetComponents() const noexcept { return _components; }
	/// True for the class itself and for all its bases.
	Bool IsSubclassOf(const Id& id) const noexcept;

	/// A new object, on which InitObject has run. Illegal-state error for a class that is not finished.
	Result<ObjectRef> Create() const;

	/// As Create, as the interface T; null-pointer error if the object does not have it.
	template <class T>
	Result<Ref<T>> Create() const
	{
		Ref<T> object = Cast<T>(TORVI_TRY(Create()));
		TORVI_CHECK(object, NullptrError("Objects of class @ lack the interface that was asked for.", _id));
		return object;
	}

	/// Hands the class's identity to a copy that CloneObject makes.
	void AdoptObject(ObjectInterface& object) const noexcept;

	String ToString(std::string_view format = {}) const override;

private:
	Id _id;
	Ref<Class> _base;
	Array<ClassComponent> _components;
	Bool _isFinal = false;
	Result<ObjectRef> (*_create)() = nullptr;
};

using ClassRef = Ref<Class>;

/// The create function of a component for the implementation T.
template <class T>
Result<ObjectRef> CreateComponent()
{
	return NewObject<T>();
}

/// Makes a copy by T's copy constructor with the class of the original: what nearly every CloneObject consists of.
template <class T>
Result<ObjectRef> CloneByCopy(const T& original)
{
	Ref<T> copy = TORVI_TRY(NewObject<T>(original));
	if (original.GetClass() != nullptr)
		original.GetClass()->AdoptObject(*copy);
	return ObjectRef(copy);
}

} // namespace torvi
