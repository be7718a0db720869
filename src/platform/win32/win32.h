// The one way the win32 backend includes <windows.h>: lean, and without the min/max macros.
#ifndef MLIB_SRC_PLATFORM_WIN32_WIN32_H
#define MLIB_SRC_PLATFORM_WIN32_WIN32_H

#if !defined(_WIN32)
#error "win32 backend built for a system that is not Windows"
#endif

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#endif  // MLIB_SRC_PLATFORM_WIN32_WIN32_H
