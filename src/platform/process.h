// Process queries and the calling thread's last system error.
#ifndef MLIB_SRC_PLATFORM_PROCESS_H
#define MLIB_SRC_PLATFORM_PROCESS_H

#include <mlib/config.h>

namespace mlib::platform {

// GetModuleFileNameW(null, dst, room): the full path of the running program's executable.
// Writes at most room units; returns the units written, terminator excluded. A path that
// does not fit is cut to room units and may then lack a terminator (callers pass one unit
// less than they have). 0 on failure.
[[nodiscard]] unsigned executablePath(WideChar* dst, unsigned room) noexcept;

// The separator that ends a folder in executablePath's text ('\\' on Windows, '/' else).
[[nodiscard]] WideChar pathSeparator() noexcept;

// Physical memory in use, total minus available, in bytes. 0 when unknown.
[[nodiscard]] unsigned long long physicalMemoryInUse() noexcept;

// The calling thread's last system error (GetLastError / errno) and its setter.
[[nodiscard]] int lastError() noexcept;
void setLastError(int code) noexcept;

}  // namespace mlib::platform

#endif  // MLIB_SRC_PLATFORM_PROCESS_H
