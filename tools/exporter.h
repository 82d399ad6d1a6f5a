// Which exporter writes a file: by the suffix of its name.
#pragma once

#include "torvi/mediasession_session.h"

#include <string>

namespace torvi::tool
{

/// The exporter that writes files of a suffix, without the dot and without regard to case; an error if there is none.
Result<MediaOutputUrlRef> CreateExporter(std::string_view suffix);

/// The suffix of a file name, without the dot; empty if it has none.
std::string SuffixOf(const std::string& name);

} // namespace torvi::tool
