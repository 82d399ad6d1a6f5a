// Dotted ids such as "net.torvi.image.class.mediabase". An Id is a small constant value: text that lives as long as the
// process and its hash, so that ids are compared without looking at the text in nearly all cases. Constants are made at compile
// time; ids that come to be at run time are interned. A key that is a number in its own field, such as the tag of an EXIF entry, is an id
// without text.
#pragma once

#include "host/hash.h"
#include "host/types.h"

#include <string_view>

namespace torvi
{

class Id
{
public:
	constexpr Id() noexcept = default;

	/// An id from a literal. The text must live as long as the process.
	template <std::size_t N>
	consteval Id(const char (&literal)[N]) : _text(literal), _length(N - 1), _hash(HashText(literal, N - 1))
	{
	}

	/// The id of a number. It has no text, is no id of any text, and can not be stored.
	static constexpr Id FromNumber(UInt64 number) noexcept
	{
		Id id;
		id._text = nullptr;
		id._hash = number;
		return id;
	}

	/// Empty for a number.
	constexpr std::string_view GetText() const noexcept { return {_text, _length}; }
	constexpr const char* GetCString() const noexcept { return IsNumber() ? "" : _text; }
	constexpr Bool IsNumber() const noexcept { return _text == nullptr; }
	/// Of a number, the number itself.
	constexpr UInt64 GetHashCode() const noexcept { return _hash; }
	constexpr Bool IsEmpty() const noexcept { return _length == 0 && !IsNumber(); }

	friend constexpr Bool operator==(const Id& a, const Id& b) noexcept
	{
		return a._hash == b._hash && a.IsNumber() == b.IsNumber() && a.GetText() == b.GetText();
	}

private:
	friend class IdTable;
	constexpr Id(const char* text, std::size_t length) : _text(text), _length(length), _hash(HashText(text, length)) {}

	const char* _text = "";
	std::size_t _length = 0;
	UInt64 _hash = HashText("", 0);
};

/// Keys of dictionaries are ids like all others.
using InternedId = Id;

} // namespace torvi

template <>
struct std::hash<torvi::Id>
{
	std::size_t operator()(const torvi::Id& id) const noexcept { return id.GetHashCode(); }
};
