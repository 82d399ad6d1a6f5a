// What registers PNG files.
#pragma once

#include "mediasession/image_format.h"

namespace torvi
{

Result<Bool> DetectPng(const InputStreamRef& stream);
Result<ObjectRef> CreatePngImporter();
Result<ObjectRef> CreatePngExporter();
/// The class of the importer's streams, and what libpng says of itself.
Result<void> RegisterPngStreamsAndLibrary(Module& module);

inline constexpr std::string_view PNG_SUFFIXES[] = {"png"};

inline constexpr ImageFormatEntry PNG_FORMAT = {
	._fileFormat = ids::FILEFORMAT_PNG,
	._suffixes = PNG_SUFFIXES,
	._detect = &DetectPng,
	._handler = ids::FILEFORMATHANDLER_PNG,
	._importer = ids::CLASS_PNGIMPORT,
	._createImporter = &CreatePngImporter,
	._exporter = ids::CLASS_PNGEXPORT,
	._createExporter = &CreatePngExporter,
};

} // namespace torvi
