// Files and memory of measurements.
#include "bench/file_tools.h"

#include "torvi/mediasession_session.h"

#include <filesystem>
#include <fstream>
#include <sys/resource.h>

namespace torvi::bench
{

TemporaryFile::TemporaryFile(const std::string& suffix)
	: _path((std::filesystem::temp_directory_path() / ("torvi-bench-" + std::to_string(getpid()) + suffix)).string())
{
}

TemporaryFile::~TemporaryFile()
{
	std::error_code code;
	std::filesystem::remove(_path, code);
}

Result<ImageTextureRef> Load(const std::string& path)
{
	return LoadTexture(TORVI_TRY(Url::FromSystemPath(path)), TimeValue(), MEDIASESSIONFLAGS::NONE, ClassRef(), nullptr);
}

Int GetResidentBytes()
{
	Int all = 0, resident = 0;
	std::ifstream("/proc/self/statm") >> all >> resident;
	return resident * sysconf(_SC_PAGESIZE);
}

Int GetPeakBytes()
{
	rusage usage = {};
	getrusage(RUSAGE_SELF, &usage);
	return Int(usage.ru_maxrss) * 1024;
}

} // namespace torvi::bench
