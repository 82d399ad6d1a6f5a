// Reading and writing of JPEG files.
#include "fuzz/fuzz_format.h"

TORVI_FUZZ_FORMAT(torvi::ids::FILEFORMAT_JPG, torvi::ids::CLASS_JPGEXPORT)
