// A picture format that exists in tests only, to show that the skeletons carry what real formats need: several pictures, nested layers,
// masks, alpha channels, streams in any subset, and files that cannot seek.
#pragma once

#include "mediasession/image_format.h"

namespace torvi::test
{

Result<Bool> DetectTestFormat(const InputStreamRef& stream);
Result<ObjectRef> CreateTestImporter();
Result<ObjectRef> CreateTestExporter();

inline constexpr std::string_view TEST_SUFFIXES[] = {"tst", "test"};
inline constexpr ImageFormatEntry TEST_FORMAT = {
	._fileFormat = "net.torvi.test.fileformat",
	._suffixes = TEST_SUFFIXES,
	._detect = &DetectTestFormat,
	._handler = "net.torvi.test.fileformathandler",
	._importer = "net.torvi.test.import",
	._createImporter = &CreateTestImporter,
	._exporter = "net.torvi.test.export",
	._createExporter = &CreateTestExporter,
};

Result<void> RegisterTestFormat(Module& module);

} // namespace torvi::test
