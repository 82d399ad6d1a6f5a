// Host objects and the references to them. An object lives in one block of memory behind its counts: strong references keep it
// alive, weak references keep only the memory, owners are the copy-on-write references that decide whether a change needs a copy.
// Interfaces are pure virtual and derive virtually from ObjectInterface, so that an implementation can join several of them.
#pragma once

#include "host/hash.h"
#include "host/result.h"

#include <atomic>
#include <compare>
#include <new>

namespace torvi
{

class Class;
class Data;
class ObjectInterface;

/// The counts in front of each object.
struct ObjectControl
{
	std::atomic<Int32> _strong{1};
	std::atomic<Int32> _weak{1};   ///< weak references, and one for all strong ones together
	std::atomic<Int32> _owners{0}; ///< copy-on-write references
	ObjectInterface* _object = nullptr;
	Class* _class = nullptr; ///< the record that made the object, or null; a strong reference
};

/// A strong reference. Copies share the object; the last one destroys it. A default reference is null. Counting is safe on any thread,
/// one reference object is not.
template <class T>
class Ref
{
public:
	constexpr Ref() noexcept = default;
	constexpr Ref(std::nullptr_t) noexcept {}

	/// A further reference to a living object; null gives the null reference.
	explicit Ref(T* object) noexcept : _object(object) { AddReference(); }
	Ref(const Ref& other) noexcept : _object(other._object) { AddReference(); }
	Ref(Ref&& other) noexcept : _object(std::exchange(other._object, nullptr)) {}
	template <class U>
	requires(!std::is_same_v<U, T> && std::is_convertible_v<U*, T*>) Ref(const Ref<U>& other)
	noexcept : _object(other.GetPointer()) { AddReference(); }
	Ref& operator=(Ref other) noexcept
	{
		std::swap(_object, other._object);
		return *this;
	}
	~Ref();

	/// Takes over a count that the caller holds.
	static Ref Adopt(T* object) noexcept
	{
		Ref reference;
		reference._object = object;
		return reference;
	}

	T* GetPointer() const noexcept { return _object; }
	T* operator->() const noexcept { return _object; }
	T& operator*() const noexcept { return *_object; }
	explicit operator bool() const noexcept { return _object != nullptr; }

	/// Identity. Equality of content is the object's IsEqual.
	template <class U>
	bool operator==(const Ref<U>& other) const noexcept
	{
		return static_cast<const ObjectInterface*>(_object) == static_cast<const ObjectInterface*>(other.GetPointer());
	}
	bool operator==(const Ref& other) const noexcept { return _object == other._object; }
	bool operator==(std::nullptr_t) const noexcept { return _object == nullptr; }

	/// The text of the object; "nullptr" without one.
	String ToString(std::string_view format = {}) const;

private:
	void AddReference() const noexcept;

	T* _object = nullptr;
};

using ObjectRef = Ref<ObjectInterface>;

/// The base of all host objects.
class TORVI_EXPORT ObjectInterface
{
public:
	ObjectInterface() noexcept = default;
	ObjectInterface(const ObjectInterface&) noexcept {}
	ObjectInterface& operator=(const ObjectInterface&) = delete;
	virtual ~ObjectInterface() = default;

	/// The text form; the base gives the id of the class.
	virtual String ToString(std::string_view format = {}) const;

	/// Called once by Class::Create after construction; does what a constructor cannot, as it can fail.
	virtual Result<void> InitObject();

	/// Messages of the host; the base takes none and succeeds.
	virtual Result<void> HandleMessage(Data& message);
	virtual Result<void> HandleConstMessage(Data& message) const;

	/// Equality; the base compares identity.
	virtual Bool IsEqual(const ObjectInterface& other) const;

	/// An order that agrees with IsEqual; the base orders by address.
	virtual std::strong_ordering Compare(const ObjectInterface& other) const;

	/// A hash that agrees with IsEqual; the base hashes the address.
	virtual UInt64 GetHashCodeImpl() const;
	virtual std::pair<UInt64, UInt64> GetUniqueHashCodeImpl() const;

	/// A copy of the same class, for copy-on-write. The base gives an unsupported-operation error.
	virtual Result<ObjectRef> CloneObject() const;

	/// The record that the object was made by; null for an object that was made without one.
	Class* GetClass() const noexcept { return _control->_class; }
	/// The id of that record; empty without one.
	Id GetClassId() const noexcept;

	ObjectControl& GetControl() const noexcept { return *_control; }
	void AddReference() const noexcept { _control->_strong.fetch_add(1, std::memory_order_relaxed); }
	void RemoveReference() const noexcept;

private:
	template <class T, class... Arguments>
	friend Result<Ref<T>> NewObject(Arguments&&... arguments) noexcept;

	ObjectControl* _control = nullptr;
};

namespace detail
{
inline constexpr std::size_t CONTROL_SIZE = (sizeof(ObjectControl) + 15) & ~std::size_t(15);
TORVI_EXPORT void RemoveWeakReference(ObjectControl* control) noexcept;
TORVI_EXPORT Bool TryAddStrongReference(ObjectControl* control) noexcept;
} // namespace detail

template <class T>
Ref<T>::~Ref()
{
	if (_object != nullptr)
		_object->RemoveReference();
}

template <class T>
void Ref<T>::AddReference() const noexcept
{
	if (_object != nullptr)
		_object->AddReference();
}

template <class T>
String Ref<T>::ToString(std::string_view format) const
{
	return _object != nullptr ? _object->ToString(format) : MakeString("nullptr");
}

/// Makes an object on the host's allocator. Constructors must not make references to the object that they construct.
template <class T, class... Arguments>
Result<Ref<T>> NewObject(Arguments&&... arguments) noexcept
{
	static_assert(alignof(T) <= 16);
	auto* memory = static_cast<Byte*>(Alloc(static_cast<Int>(detail::CONTROL_SIZE + sizeof(T))));
	if (memory == nullptr)
		return OutOfMemoryError();
	T* object = nullptr;
	try
	{
		object = new (memory + detail::CONTROL_SIZE) T(std::forward<Arguments>(arguments)...);
	}
	catch (...)
	{
		Free(memory);
		return OutOfMemoryError();
	}
	auto* control = new (memory) ObjectControl;
	ObjectInterface* base = object;
	control->_object = base;
	base->_control = control;
	return Ref<T>::Adopt(object);
}

/// The object as another interface; null if it does not have it or is null.
template <class T, class U>
Ref<T> Cast(const Ref<U>& reference) noexcept
{
	return Ref<T>(dynamic_cast<T*>(reference.GetPointer()));
}

/// A reference that does not keep its object alive. From the moment that the last strong reference goes it reads as null,
/// also on other threads while the object is being destroyed.
template <class T>
class WeakRef
{
public:
	WeakRef() noexcept = default;
	explicit WeakRef(T* object) noexcept : _object(object), _control(object != nullptr ? &object->GetControl() : nullptr)
	{
		if (_control != nullptr)
			_control->_weak.fetch_add(1, std::memory_order_relaxed);
	}
	WeakRef(const Ref<T>& reference) noexcept : WeakRef(reference.GetPointer()) {}
	WeakRef(const WeakRef& other) noexcept : _object(other._object), _control(other._control)
	{
		if (_control != nullptr)
			_control->_weak.fetch_add(1, std::memory_order_relaxed);
	}
	WeakRef(WeakRef&& other) noexcept : _object(std::exchange(other._object, nullptr)), _control(std::exchange(other._control, nullptr)) {}
	WeakRef& operator=(WeakRef other) noexcept
	{
		std::swap(_object, other._object);
		std::swap(_control, other._control);
		return *this;
	}
	~WeakRef()
	{
		if (_control != nullptr)
			detail::RemoveWeakReference(_control);
	}

	/// A strong reference, or null if the object is gone.
	Ref<T> Lock() const noexcept
	{
		return _control != nullptr && detail::TryAddStrongReference(_control) ? Ref<T>::Adopt(_object) : Ref<T>();
	}

private:
	T* _object = nullptr;
	ObjectControl* _control = nullptr;
};

/// A reference that owns its object together with other copy-on-write references. Handlers and other readers that only keep an object
/// alive hold a plain Ref and are no owners.
template <class T>
class CowRef
{
public:
	CowRef() noexcept = default;
	explicit CowRef(Ref<T> object) noexcept : _object(std::move(object)) { AddOwner(1); }
	CowRef(const CowRef& other) noexcept : _object(other._object) { AddOwner(1); }
	CowRef(CowRef&& other) noexcept : _object(std::move(other._object)) {}
	CowRef& operator=(CowRef other) noexcept
	{
		std::swap(_object, other._object);
		return *this;
	}
	~CowRef() { AddOwner(-1); }

	const Ref<T>& GetRef() const noexcept { return _object; }
	const T* operator->() const noexcept { return _object.GetPointer(); }
	explicit operator bool() const noexcept { return static_cast<bool>(_object); }
	Bool IsShared() const noexcept { return _object && _object->GetControl()._owners.load(std::memory_order_acquire) > 1; }

	/// The object for writing; a shared one is replaced by its CloneObject first. A null reference gives a null-pointer error. On failure
	/// the reference keeps what it had. One thread at a time for one reference.
	Result<Ref<T>> MakeWritable()
	{
		TORVI_CHECK(_object, NullptrError());
		if (IsShared())
		{
			Ref<T> copy = Cast<T>(TORVI_TRY(NoThrow([&]() { return _object->CloneObject(); })));
			TORVI_CHECK(copy, NullptrError());
			*this = CowRef(std::move(copy));
		}
		return _object;
	}

private:
	void AddOwner(Int32 count) const noexcept
	{
		if (_object)
			_object->GetControl()._owners.fetch_add(count, std::memory_order_acq_rel);
	}

	Ref<T> _object;
};

} // namespace torvi

template <class T>
struct std::hash<torvi::Ref<T>>
{
	std::size_t operator()(const torvi::Ref<T>& reference) const noexcept { return torvi::HashAddress(reference.GetPointer()); }
};
