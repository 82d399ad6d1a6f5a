// The target of one file format, or of a few that share a reader: files of it are loaded, and saved again where there is an exporter.
// TORVI_FUZZ_FORMATS are the ids of the formats, without their namespace.
#include "fuzz/picture.h"
#include "fuzz/target.h"
#include "torvi/mediasession_fileformats.h"

namespace torvi::fuzz
{

namespace
{

Result<Bool> IsOfFormat(const FileFormatInterface& format, const Url& url)
{
	return format.Detect(url, TORVI_TRY(url.OpenInputStream()));
}

/// Null for a format that is not written.
Result<MediaOutputUrlRef> CreateExporter(const FileFormatRef& format)
{
	for (const auto& record : TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_IMAGESAVERCLASSES))->GetEntries<Class>())
	{
		MediaOutputUrlRef exporter = TORVI_TRY(record->Create<MediaOutputUrlInterface>());
		if (TORVI_TRY(exporter->GetFileFormat()) == format)
			return exporter;
	}
	return MediaOutputUrlRef();
}

Result<void> LoadAndSave(const FileFormatRef& format, const Url& url)
{
	const ImageTextureRef texture = TORVI_TRY(LoadSmallPictures(url));
	const MediaOutputUrlRef exporter = TORVI_TRY(CreateExporter(format));
	return texture && exporter ? SavePictures(texture, exporter) : Result<void>(OK);
}

void RunFile(const Url& url)
{
	using namespace ids;
	for (const Id& id : {TORVI_FUZZ_FORMATS})
	{
		const auto format = FindDeclared<FileFormatInterface>(id);
		Require(static_cast<Bool>(format), "The file format is registered.");
		if (IsOfFormat(*format, url).ValueOr(false))
			static_cast<void>(LoadAndSave(format, url));
	}
}

} // namespace

} // namespace torvi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const torvi::Byte* data, std::size_t size)
{
	torvi::fuzz::PrepareModule();
	torvi::fuzz::RunFile(torvi::fuzz::MakeFile({data, size}));
	return 0;
}
