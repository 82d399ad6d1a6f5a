// Compiles as it stands. A Result that nobody looks at must not compile.
#include "host/result.h"

torvi::Result<int> Make();

void Use()
{
#ifdef TORVI_MUST_NOT_COMPILE
	Make();
#else
	static_cast<void>(Make());
#endif
}
