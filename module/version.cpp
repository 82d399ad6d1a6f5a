// The library's version at run time.
#include "torvi/version.h"

namespace torvi
{

const char* GetLibraryVersion()
{
	return VERSION_TEXT;
}

} // namespace torvi
