// Result<T>: a value or an error, and the three words that work with it. TORVI_TRY hands an error on, TORVI_CHECK makes one unless a
// condition holds, TORVI_MUST says that failure would be a bug of ours. NoThrow is the one place where a failed allocation inside a
// container becomes an error.
#pragma once

#include "host/error.h"

#include <cassert>
#include <cstdlib>
#include <new>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace torvi
{

struct SuccessType
{
};

/// What a function without a value returns when all went well.
inline constexpr SuccessType OK;

template <class T>
class [[nodiscard]] Result
{
	static_assert(!std::is_reference_v<T> && !std::is_same_v<T, Error>);

public:
	using Value = T;

	Result(Error error) noexcept : _error(std::move(error)) {}
	template <class U>
	requires(std::is_convertible_v<U&&, T> && !std::is_same_v<std::remove_cvref_t<U>, Result> &&
			 !std::is_same_v<std::remove_cvref_t<U>, Error>) Result(U&& value)
		: _value(std::in_place, std::forward<U>(value))
	{
	}
	/// From the result of a narrower value, such as a reference to a derived object.
	template <class U>
	requires(!std::is_same_v<U, T> && !std::is_void_v<U> && std::is_convertible_v<U&&, T>) Result(Result<U>&& other)
	{
		if (other.IsOk())
			_value.emplace(other.TakeValue());
		else
			_error = other.TakeError();
	}
	Result(Result&&) noexcept(std::is_nothrow_move_constructible_v<T>) = default;
	Result& operator=(Result&&) noexcept(std::is_nothrow_move_assignable_v<T>) = default;

	Bool IsOk() const noexcept { return _value.has_value(); }
	explicit operator bool() const noexcept { return IsOk(); }

	/// The value; only when IsOk.
	T& GetValue() & noexcept { return *_value; }
	const T& GetValue() const& noexcept { return *_value; }
	T TakeValue()
	{
		assert(IsOk());
		return std::move(*_value);
	}

	/// The error; no error when IsOk.
	const Error& GetError() const noexcept { return _error; }
	Error TakeError() noexcept { return std::move(_error); }

	/// The value, or `fallback` on failure.
	template <class U>
	T ValueOr(U&& fallback) &&
	{
		return IsOk() ? std::move(*_value) : T(std::forward<U>(fallback));
	}

private:
	std::optional<T> _value;
	Error _error;
};

template <>
class [[nodiscard]] Result<void>
{
public:
	using Value = void;

	Result(SuccessType) noexcept {}
	Result(Error error) noexcept : _error(std::move(error)) {}
	Result(Result&&) noexcept = default;
	Result& operator=(Result&&) noexcept = default;

	Bool IsOk() const noexcept { return !_error; }
	explicit operator bool() const noexcept { return IsOk(); }
	void TakeValue() const noexcept {}
	const Error& GetError() const noexcept { return _error; }
	Error TakeError() noexcept { return std::move(_error); }

private:
	Error _error;
};

/// Runs a function that gives a Result and turns a failed allocation inside it into the out-of-memory error. Every operation that an
/// interface declares and that can allocate is wrapped in it, itself or by its caller's skeleton.
template <class Function>
auto NoThrow(Function&& function) noexcept -> std::invoke_result_t<Function>
{
	try
	{
		return std::forward<Function>(function)();
	}
	catch (const std::bad_alloc&)
	{
		return OutOfMemoryError();
	}
	catch (const std::length_error&)
	{
		return OutOfMemoryError();
	}
	catch (const std::exception& exception)
	{
		return UnknownError("A library failed: @", exception.what());
	}
	catch (...)
	{
		return UnknownError("A library failed without saying why.");
	}
}

} // namespace torvi

#define TORVI_JOIN_(a, b) a##b
#define TORVI_JOIN(a, b) TORVI_JOIN_(a, b)

// __COUNTER__ gives each use a name of its own, so that nested uses do not shadow.
#define TORVI_TRY(...) TORVI_TRY_(TORVI_JOIN(torviResult_, __COUNTER__), __VA_ARGS__)
#define TORVI_TRY_(name, ...)                                                                                                              \
	__extension__({                                                                                                                        \
		auto name = (__VA_ARGS__);                                                                                                         \
		if (!name.IsOk()) [[unlikely]]                                                                                                     \
			return name.TakeError();                                                                                                       \
		name.TakeValue();                                                                                                                  \
	})

#define TORVI_MUST(...) TORVI_MUST_(TORVI_JOIN(torviResult_, __COUNTER__), __VA_ARGS__)
#define TORVI_MUST_(name, ...)                                                                                                             \
	__extension__({                                                                                                                        \
		auto name = (__VA_ARGS__);                                                                                                         \
		if (!name.IsOk()) [[unlikely]]                                                                                                     \
			std::abort();                                                                                                                  \
		name.TakeValue();                                                                                                                  \
	})

#define TORVI_CHECK(condition, ...)                                                                                                        \
	do                                                                                                                                     \
	{                                                                                                                                      \
		if (!(condition)) [[unlikely]]                                                                                                     \
			return __VA_ARGS__;                                                                                                            \
	} while (false)
