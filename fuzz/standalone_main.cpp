// The main of fuzz targets in ordinary builds: feeds the target each file of the arguments, folders with all files below them. CTest runs
// it over the stored inputs, so that targets cannot rot and what was fixed once stays fixed.
//
// -timeout=N, as libFuzzer has it, in front: the seconds of processor time that an input of up to a megabyte may take, larger ones as many
// times that as they have megabytes begun. The process ends at the first that takes longer.
#include "host/types.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <sys/time.h>
#include <unistd.h>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const torvi::Byte* data, std::size_t size);

namespace
{

namespace fs = std::filesystem;

constexpr std::string_view TIMEOUT_OPTION = "-timeout=";

std::vector<fs::path> FilesOf(const fs::path& argument)
{
	if (!fs::is_directory(argument))
		return {argument};

	std::vector<fs::path> files;
	for (const fs::directory_entry& entry : fs::recursive_directory_iterator(argument))
		if (entry.is_regular_file())
			files.push_back(entry.path());
	std::sort(files.begin(), files.end());
	return files;
}

/// Ends the process when it has used that much more processor time; 0 takes the limit away.
void LimitTime(std::size_t seconds)
{
	const auto end = [](int)
	{
		static constexpr std::string_view MESSAGE = "The last input takes too long.\n";
		static_cast<void>(!write(STDERR_FILENO, MESSAGE.data(), MESSAGE.size()));
		_exit(1);
	};
	std::signal(SIGPROF, end);
	itimerval limit = {};
	limit.it_value.tv_sec = static_cast<time_t>(seconds);
	setitimer(ITIMER_PROF, &limit, nullptr);
}

bool RunFile(const fs::path& file, std::size_t timeout)
{
	constexpr std::size_t MEGABYTE = 1 << 20;
	std::ifstream stream(file, std::ios::binary);
	if (!stream)
	{
		std::fprintf(stderr, "%s: cannot be read\n", file.c_str());
		return false;
	}
	const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
	std::printf("%s\n", file.c_str());
	std::fflush(stdout); // names the culprit if the next line does not come back
	LimitTime(timeout * std::max<std::size_t>(1, (bytes.size() + MEGABYTE - 1) / MEGABYTE));
	LLVMFuzzerTestOneInput(reinterpret_cast<const torvi::Byte*>(bytes.data()), bytes.size());
	LimitTime(0);
	return true;
}

} // namespace

int main(int count, char** arguments)
{
	std::size_t timeout = 0;
	int first = 1;
	if (count > 1 && std::string_view(arguments[1]).starts_with(TIMEOUT_OPTION))
		timeout = std::strtoul(arguments[first++] + TIMEOUT_OPTION.size(), nullptr, 10);
	int read = 0;
	for (int i = first; i < count; ++i)
	{
		for (const fs::path& file : FilesOf(arguments[i]))
		{
			if (!RunFile(file, timeout))
				return 1;
			++read;
		}
	}
	std::printf("%d files\n", read);
	return read > 0 ? 0 : 1;
}
