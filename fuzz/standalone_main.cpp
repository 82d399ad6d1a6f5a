// The main of fuzz targets in ordinary builds: feeds the target each file of the arguments, folders with all files below them.
// CTest runs it over the stored inputs, so that targets cannot rot and a fixed crash stays fixed.
#include "host/types.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const torvi::Byte* data, std::size_t size);

namespace
{

namespace fs = std::filesystem;

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

bool RunFile(const fs::path& file)
{
	std::ifstream stream(file, std::ios::binary);
	if (!stream)
	{
		std::fprintf(stderr, "%s: cannot be read\n", file.c_str());
		return false;
	}
	const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
	std::printf("%s\n", file.c_str());
	std::fflush(stdout); // names the culprit if the next line does not come back
	LLVMFuzzerTestOneInput(reinterpret_cast<const torvi::Byte*>(bytes.data()), bytes.size());
	return true;
}

} // namespace

int main(int count, char** arguments)
{
	int read = 0;
	for (int i = 1; i < count; ++i)
	{
		for (const fs::path& file : FilesOf(arguments[i]))
		{
			if (!RunFile(file))
				return 1;
			++read;
		}
	}
	std::printf("%d files\n", read);
	return read > 0 ? 0 : 1;
}
