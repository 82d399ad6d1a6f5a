// How a picture format joins the system: one row says its file format, handler, importer and exporter, and one call registers them. Tests
// and fuzz targets read the same rows.
#pragma once

#include "host/ids.h"
#include "host/module.h"
#include "mediasession/image_import.h"
#include "torvi/mediasession_fileformats.h"

namespace torvi
{

struct ImageFormatEntry
{
	Id _fileFormat;
	Block<const std::string_view> _suffixes;               ///< lower case, without the dot, the main one first
	Result<Bool> (*_detect)(const InputStreamRef& stream); ///< decides on content; false for a short file
	Id _handler;
	Id _importer;
	Result<ObjectRef> (*_createImporter)();
	Id _exporter = {}; ///< empty for a format that is only read
	Result<ObjectRef> (*_createExporter)() = nullptr;
};

/// The number that handlers of pictures and sound are ordered by.
inline constexpr Int HANDLER_DEPENDENDS = 30000;

/// The base of picture file formats, class ids::CLASS_FILEFORMATIMAGEBASE. Detect is a function-not-implemented error, which formats
/// override.
class FileFormatImageBaseImpl : public FileFormatBaseImpl
{
};

/// The file format object of one row.
template <const ImageFormatEntry& ENTRY>
class ImageFileFormatImpl final : public FileFormatImageBaseImpl
{
public:
	Result<Bool> Detect(const Url&, const InputStreamRef& stream) const override
	{
		TORVI_CHECK(stream, NullptrError());
		return NoThrow([&]() { return ENTRY._detect(stream); });
	}
	Result<Data> GetData(const InternedId& key) const override
	{
		return key == ids::FILEFORMAT_COMMONSUFFIXES ? MakeSuffixes(ENTRY._suffixes) : FileFormatImageBaseImpl::GetData(key);
	}

private:
	static Result<Data> MakeSuffixes(Block<const std::string_view> suffixes)
	{
		return NoThrow(
			[&]() -> Result<Data>
			{
				Array<String> texts;
				for (const std::string_view suffix : suffixes)
					texts.push_back(MakeString(suffix));
				return Data::Make<Array<String>>(std::move(texts));
			});
	}
};

/// The handler of one row.
template <const ImageFormatEntry& ENTRY>
class ImageFormatHandlerImpl final : public virtual MediaSessionFileFormatHandlerInterface
{
public:
	Result<FileFormatRef> GetFileFormat() const override
	{
		FileFormatRef format = FindDeclared<FileFormatInterface>(ENTRY._fileFormat);
		TORVI_CHECK(format, NullptrError());
		return format;
	}
	DataType GetHandlerType() const override { return GetDataType<MediaInputRef>(); }
	Result<ObjectRef> CreateHandler(const Url& url) const override
	{
		const Ref<UrlImporterInterface> importer = TORVI_TRY(CreateObject<UrlImporterInterface>(ENTRY._importer));
		return NoThrow(
			[&]() -> Result<ObjectRef>
			{
				importer->SetUrl(url);
				return ObjectRef(importer);
			});
	}
	Int GetDependends() const override { return HANDLER_DEPENDENDS; }
};

/// The class ids::CLASS_FILEFORMATIMAGEBASE; before any format.
Result<void> RegisterFileFormatImageBase(Module& module);

/// Registers importer class, file format and handler, in this order, then the exporter if there is one.
template <const ImageFormatEntry& ENTRY>
Result<void> RegisterImageFormat(Module& module)
{
	TORVI_TRY(module.AddClass(ENTRY._importer, ids::CLASS_MEDIACONVERTERBASE, {{ENTRY._importer, ENTRY._createImporter}}));
	const ClassRef format = TORVI_TRY(module.AddClass<ImageFileFormatImpl<ENTRY>>(ENTRY._fileFormat, ids::CLASS_FILEFORMATIMAGEBASE));
	TORVI_TRY(module.AddObject(ids::REGISTRY_FILEFORMATS, ENTRY._fileFormat, TORVI_TRY(format->Create())));
	const ClassRef handler = TORVI_TRY(module.AddClass<ImageFormatHandlerImpl<ENTRY>>(ENTRY._handler));
	TORVI_TRY(module.AddObject(ids::REGISTRY_FILEFORMATHANDLERS, ENTRY._handler, TORVI_TRY(handler->Create())));
	if (ENTRY._exporter.IsEmpty())
		return OK;
	const ClassRef exporter =
		TORVI_TRY(module.AddClass(ENTRY._exporter, ids::CLASS_MEDIAOUTPUTURLBASE, {{ENTRY._exporter, ENTRY._createExporter}}));
	return module.AddToRegistry(ids::REGISTRY_IMAGESAVERCLASSES, exporter);
}

} // namespace torvi
