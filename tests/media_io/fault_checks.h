// Everything that can fail around a format, written once for all of them: memory, streams, disks, and users who change their minds.
#pragma once

#include "tests/mediasession/test_format_fixture.h"

#include <initializer_list>

namespace torvi::test
{

/// Loads sample files of tests/data/<format>/good through an importer of that class while each allocation in turn fails, each byte cannot
/// be read, the file ends before its time, it does not open, close or seek, and the work is cancelled or refused at each report of
/// progress. Each time the load gives the error of what failed, or what a load without failure gives; no stream stays open, and the next
/// load gives all. Leaks are the sanitizers' to see.
void CheckLoadFaults(const std::string& format, const Id& importer, std::initializer_list<const char*> names);

/// The same for saving through an exporter of that class: memory, each byte that cannot be written or is beyond the end of the disk, a
/// file that does not open, close or seek, cancelling and refusing. A file that was there before keeps its bytes, and nothing is left
/// beside it.
void CheckSaveFaults(const Id& exporter, const ImageTextureRef& texture);

} // namespace torvi::test
