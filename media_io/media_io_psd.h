// Photoshop documents: the rows that register PSD, and PSB, its form for large documents.
#pragma once

#include "mediasession/image_format.h"

namespace torvi
{

Result<Bool> DetectPsd(const InputStreamRef& stream);
Result<Bool> DetectPsb(const InputStreamRef& stream);
Result<ObjectRef> CreatePsdImporter();
Result<ObjectRef> CreatePsbImporter();

/// The stream classes of both.
Result<void> RegisterPsdStreams(Module& module);

inline constexpr std::string_view PSD_SUFFIXES[] = {"psd"};
inline constexpr std::string_view PSB_SUFFIXES[] = {"psb"};

inline constexpr ImageFormatEntry PSD_FORMAT = {
	._fileFormat = ids::FILEFORMAT_PSD,
	._suffixes = PSD_SUFFIXES,
	._detect = &DetectPsd,
	._handler = ids::FILEFORMATHANDLER_PSD,
	._importer = ids::CLASS_PSDIMPORT,
	._createImporter = &CreatePsdImporter,
};

inline constexpr ImageFormatEntry PSB_FORMAT = {
	._fileFormat = ids::FILEFORMAT_PSB,
	._suffixes = PSB_SUFFIXES,
	._detect = &DetectPsb,
	._handler = ids::FILEFORMATHANDLER_PSB,
	._importer = ids::CLASS_PSBIMPORT,
	._createImporter = &CreatePsbImporter,
};

} // namespace torvi
