// Callable objects with inline storage. A delegate copies without allocating, so what it captures must be small and must copy without
// throwing: references to shared state, pointers, numbers. State that is larger goes into a shared object that the closure refers to.
#pragma once

#include "host/types.h"

#include <cassert>
#include <new>
#include <type_traits>
#include <utility>

namespace torvi
{

template <class Signature>
class Delegate;

template <class R, class... Arguments>
class Delegate<R(Arguments...)>
{
public:
	static constexpr std::size_t CAPACITY = 48;

	/// Unset.
	Delegate() noexcept = default;
	Delegate(std::nullptr_t) noexcept {}

	template <class F>
	requires(!std::is_same_v<std::remove_cvref_t<F>, Delegate> && std::is_invocable_r_v<R, std::remove_cvref_t<F>&, Arguments...>)
		Delegate(F&& function)
	noexcept
	{
		using Closure = std::remove_cvref_t<F>;
		static_assert(sizeof(Closure) <= CAPACITY, "capture a reference to shared state instead");
		static_assert(alignof(Closure) <= alignof(std::max_align_t));
		static_assert(std::is_nothrow_copy_constructible_v<Closure>, "a copy of a delegate must not allocate");
		new (_storage) Closure(std::forward<F>(function));
		_operations = &OPERATIONS<Closure>;
	}

	Delegate(const Delegate& other) noexcept : _operations(other._operations)
	{
		if (_operations != nullptr)
			_operations->_copy(other._storage, _storage);
	}
	Delegate(Delegate&& other) noexcept : _operations(other._operations)
	{
		if (_operations != nullptr)
			_operations->_copy(other._storage, _storage);
		other.Reset();
	}
	Delegate& operator=(const Delegate& other) noexcept
	{
		if (this != &other)
		{
			Reset();
			new (this) Delegate(other);
		}
		return *this;
	}
	Delegate& operator=(Delegate&& other) noexcept
	{
		if (this != &other)
		{
			*this = static_cast<const Delegate&>(other);
			other.Reset();
		}
		return *this;
	}
	~Delegate() { Reset(); }

	explicit operator bool() const noexcept { return _operations != nullptr; }

	/// Calls the closure; only when set.
	R operator()(Arguments... arguments) const
	{
		assert(_operations != nullptr);
		return _operations->_invoke(_storage, std::forward<Arguments>(arguments)...);
	}

	void Reset() noexcept
	{
		if (_operations != nullptr)
			std::exchange(_operations, nullptr)->_destroy(_storage);
	}

private:
	struct Operations
	{
		R (*_invoke)(void* closure, Arguments&&... arguments);
		void (*_copy)(const void* from, void* to) noexcept;
		void (*_destroy)(void* closure) noexcept;
	};

	template <class Closure>
	static constexpr Operations OPERATIONS = {
		[](void* closure, Arguments&&... arguments) -> R
		{ return (*static_cast<Closure*>(closure))(std::forward<Arguments>(arguments)...); },
		[](const void* from, void* to) noexcept { new (to) Closure(*static_cast<const Closure*>(from)); },
		[](void* closure) noexcept { static_cast<Closure*>(closure)->~Closure(); },
	};

	alignas(std::max_align_t) mutable Byte _storage[CAPACITY];
	const Operations* _operations = nullptr;
};

} // namespace torvi
