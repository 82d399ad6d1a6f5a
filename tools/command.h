// What all commands of torvi-image share: how they fail, and the names that users give.
#pragma once

#include "torvi/gfx_image_pixelformat.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

namespace torvi::tool
{

/// Exit status.
constexpr int STATUS_OK = 0;
constexpr int STATUS_FAILED = 1;
constexpr int STATUS_USAGE = 2;

inline constexpr std::string_view PIXELFORMAT_PREFIX = "net.torvi.image.pixelformat.";
inline constexpr std::string_view BLENDMODE_PREFIX = "net.torvi.render.blendmode.";

/// A command that the parser has chosen; gives the exit status.
using Run = std::function<int()>;

void AddInfo(CLI::App& app, Run& run);
void AddConvert(CLI::App& app, Run& run);
void AddPixels(CLI::App& app, Run& run);
void AddConvertPixels(CLI::App& app, Run& run);
void AddBlend(CLI::App& app, Run& run);
void AddList(CLI::App& app, Run& run);
void AddSheet(CLI::App& app, Run& run);
void AddLaterCommands(CLI::App& app, Run& run);

/// Prints the one line of a failed file, with id and message of the innermost cause. One thread at a time.
void PrintError(const std::string& file, const Error& error);

/// Prints a line on something that the result of a file lacks, though it is no failure. One thread at a time.
void PrintNote(const std::string& file, const std::string& text);

/// 0, or 1 after PrintError.
int Report(const std::string& file, const Result<void>& result);

/// A published format by its id or the id's last part, or a dynamic format by its channels: "rgba.u8", "{uchar#Red,uint16#Green}".
Result<PixelFormat> ParsePixelFormat(const std::string& name);

/// The id of a published format, or the name of one that is not; a format with a palette of its own has the id of its template.
std::string NamePixelFormat(const PixelFormat& format);

/// The null profile for "none", a built-in profile for "srgb", "linear" and the ids, else an ICC file.
Result<ColorProfile> ParseProfile(const std::string& name);

/// The part of an id behind `prefix`; the whole id if it does not start so.
std::string ShortId(std::string_view id, std::string_view prefix);

/// A String as the standard library has it.
inline std::string ToStd(std::string_view text)
{
	return std::string(text);
}

} // namespace torvi::tool
