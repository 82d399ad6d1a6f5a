// The sample files of a format: the folders of tests/data, their lists, and the real files of the corpus.
#pragma once

#include "tests/mediasession/test_format_fixture.h"

#include <filesystem>
#include <map>

namespace torvi::test
{

struct SampleFile
{
	std::string _name;
	std::vector<Byte> _bytes;
};

/// The whole file; the test fails if it cannot be read.
std::vector<Byte> ReadWholeFile(const std::filesystem::path& path);

/// The files of tests/data/<format>/<folder>, in order of their names; empty if there is no such folder.
std::vector<SampleFile> GetSampleFiles(const std::string& format, const std::string& folder);

/// One file of tests/data/<format>/good.
std::vector<Byte> GetSampleFile(const std::string& format, const std::string& name);

/// The fields of each line of a text file with tabs between them.
std::vector<std::vector<std::string>> ReadTable(const std::filesystem::path& path);

/// Each file of good/ gives the pixels of digests.tsv, each of bad/ the error of errors.tsv, in both directions; those of crash/ end.
void CheckSampleFiles(const std::string& format);

/// Every good file, or each `fileStep`-th, cut off at each length up to `denseCuts`, then in steps, and with each of its first
/// `flippedBytes` bytes set to 0, 1, 127, 128 and 255. Loading gives pixels or an error, and asks for no block of memory that is larger
/// than the picture and 16 MiB.
void CheckCutAndFlippedFiles(const std::string& format, Int denseCuts, Int flippedBytes, std::size_t fileStep);

/// Checks the corpus' files of a format and prints how many were checked; fails below `minimum`. Skips without a corpus. Files that are
/// right to load differently from what other programs make of them stand in differences.tsv of the format's folder, each with its outcome:
/// the digest of its pixels, the error, the error's id alone, or nothing for any pixels.
void CheckCorpus(const std::string& format, int minimum);

} // namespace torvi::test
