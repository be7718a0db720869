// The library's own version, fixed when it was built.
#include <mlib/version.h>

extern "C" const char* MlibVersion(void) { return MLIB_VERSION_STRING; }
