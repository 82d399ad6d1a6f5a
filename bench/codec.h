// Loading and saving of files that are written with a library: time against the plain loop over the library, and the memory that it takes
// at most.
#pragma once

#include "bench/file_tools.h"

namespace torvi::bench
{

struct Codec
{
	std::string _name; ///< of the measurements, and the suffix of the files
	Id _exporter;
	/// The plain loops over a square picture of rgb.u8, from a file into memory that holds it and back; false on failure.
	Bool (*_read)(const char* path, Byte* pixels);
	Bool (*_write)(const char* path, const Byte* pixels, Int side);
};

/// Adds four measurements on a picture like a photograph, which take `seconds` for a load and twice as many for a save.
void AddCodec(const Options& options, const Codec& codec, Int side, double seconds);

} // namespace torvi::bench
