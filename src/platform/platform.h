// The library's only interface to the operating system. Subsystems include this header and
// nothing of the system's; exactly one backend (win32/ or posix/) is compiled in.
//
// Every function keeps the contract of the Win32 call it stands for (inputs, outcomes,
// last error): the win32 backend forwards, the posix backend does the work. All functions
// are noexcept and leave a failure's system error for lastError().
#ifndef MLIB_SRC_PLATFORM_PLATFORM_H
#define MLIB_SRC_PLATFORM_PLATFORM_H

#include "platform/codePage.h"
#include "platform/errorText.h"
#include "platform/file.h"
#include "platform/lifetime.h"
#include "platform/process.h"
#include "platform/socket.h"
#include "platform/sync.h"
#include "platform/textCompare.h"

#endif  // MLIB_SRC_PLATFORM_PLATFORM_H
