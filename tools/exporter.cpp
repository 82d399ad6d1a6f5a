// Which exporter writes a file.
#include "tools/exporter.h"

#include "torvi/mediasession_fileformats.h"

#include <filesystem>

namespace torvi::tool
{

namespace
{

Result<Bool> HasSuffix(const FileFormatRef& format, std::string_view suffix)
{
	const auto suffixes = TORVI_TRY(format->Get<Array<String>>(ids::FILEFORMAT_COMMONSUFFIXES));
	return std::ranges::any_of(suffixes,
							   [&](const String& known) { return ComparePart(known, suffix, StringCompareMode::CASEINSENSITIVE) == 0; });
}

} // namespace

Result<MediaOutputUrlRef> CreateExporter(std::string_view suffix)
{
	for (const auto& record : TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_IMAGESAVERCLASSES))->GetEntries<Class>())
	{
		MediaOutputUrlRef exporter = TORVI_TRY(record->Create<MediaOutputUrlInterface>());
		if (TORVI_TRY(HasSuffix(TORVI_TRY(exporter->GetFileFormat()), suffix)))
			return exporter;
	}
	return IllegalArgumentError("No format that is written here has the suffix \"@\".", suffix);
}

std::string SuffixOf(const std::string& name)
{
	const std::string suffix = std::filesystem::path(name).extension().string();
	return suffix.empty() ? suffix : suffix.substr(1);
}

} // namespace torvi::tool
