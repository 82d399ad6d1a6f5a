// Compiles as it stands. A copy of an Error must not compile; Share says what is meant.
#include "host/error.h"

torvi::Error Again(const torvi::Error& error)
{
#ifdef TORVI_MUST_NOT_COMPILE
	return error;
#else
	return error.Share();
#endif
}
