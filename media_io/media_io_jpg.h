// What reader and writer of JPEG files share: the row that registers the format.
#pragma once

#include "mediasession/image_format.h"

namespace torvi
{

Result<Bool> DetectJpg(const InputStreamRef& stream);
Result<ObjectRef> CreateJpgImporter();
Result<ObjectRef> CreateJpgExporter();

inline constexpr std::string_view JPG_SUFFIXES[] = {"jpg", "jpeg"};

inline constexpr ImageFormatEntry JPG_FORMAT = {
	._fileFormat = ids::FILEFORMAT_JPG,
	._suffixes = JPG_SUFFIXES,
	._detect = &DetectJpg,
	._handler = ids::FILEFORMATHANDLER_JPG,
	._importer = ids::CLASS_JPGIMPORT,
	._createImporter = &CreateJpgImporter,
	._exporter = ids::CLASS_JPGEXPORT,
	._createExporter = &CreateJpgExporter,
};

/// The classes of the format's streams, and what the library says of itself.
Result<void> RegisterJpgStreamsAndLibrary(Module& module);

} // namespace torvi
