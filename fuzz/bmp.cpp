// Reading and writing of BMP files.
#include "fuzz/fuzz_format.h"

TORVI_FUZZ_FORMAT(torvi::ids::FILEFORMAT_BMP, torvi::ids::CLASS_BMPEXPORT)
