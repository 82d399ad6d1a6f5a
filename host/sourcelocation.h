// The place in the source that an error was made at: std::source_location, or the same by hand where a compiler (clang 14)
// does not have what the standard library's class stands on.
#pragma once

#include <version>

#if defined(__cpp_lib_source_location)

#include <source_location>

namespace torvi
{

using SourceLocation = std::source_location;

} // namespace torvi

#else

#include <cstdint>

namespace torvi
{

class SourceLocation
{
public:
	constexpr SourceLocation() noexcept = default;

	static constexpr SourceLocation current(const char* file = __builtin_FILE(), const char* function = __builtin_FUNCTION(),
											std::uint_least32_t line = __builtin_LINE()) noexcept
	{
		SourceLocation location;
		location._file = file;
		location._function = function;
		location._line = line;
		return location;
	}

	constexpr const char* file_name() const noexcept { return _file; }
	constexpr const char* function_name() const noexcept { return _function; }
	constexpr std::uint_least32_t line() const noexcept { return _line; }

private:
	const char* _file = "";
	const char* _function = "";
	std::uint_least32_t _line = 0;
};

} // namespace torvi

#endif
