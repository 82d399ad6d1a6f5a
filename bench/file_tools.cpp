// Files for the measurements.
#include "bench/file_tools.h"

#include "torvi/mediasession_fileformats.h"

#include <filesystem>
#include <fstream>
#include <sys/resource.h>

namespace torvi::bench
{

Result<void> Save(const ImageTextureRef& texture, const Id& exporter, const std::string& path)
{
	const auto output = TORVI_TRY(CreateObject<MediaOutputUrlInterface>(exporter));
	TORVI_TRY(output->SetOutputUrl(TORVI_TRY(Url::FromSystemPath(path))));
	return texture->Save(output, MEDIASESSIONFLAGS::NONE, nullptr);
}

Result<ImageTextureRef> Load(const std::string& path)
{
	return LoadTexture(TORVI_TRY(Url::FromSystemPath(path)), TimeValue(), MEDIASESSIONFLAGS::NONE, ClassRef(), nullptr);
}

TemporaryFile::TemporaryFile(const std::string& suffix)
	: _path((std::filesystem::temp_directory_path() / ("torvi-bench-" + std::to_string(getpid()) + suffix)).string())
{
}

TemporaryFile::~TemporaryFile()
{
	std::error_code code;
	std::filesystem::remove(_path, code);
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

Result<void> ReportPeakOfLoad(benchmark::State& state, const std::string& path, Int side)
{
	const PixelFormat format = TORVI_TRY(Load(path))->GetPixelFormat();
	return ReportPeak(state, format, side,
					  [&]() -> Result<void>
					  {
						  TORVI_TRY(Load(path));
						  return OK;
					  });
}

} // namespace torvi::bench
