// Process queries and the last error for POSIX systems.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include "platform/process.h"

#include <unistd.h>

#include <cerrno>
#include <climits>

#include "platform/codePage.h"

namespace mlib::platform {

unsigned executablePath(WideChar* dst, unsigned room) noexcept {
  if (dst == nullptr || room == 0) return 0;
  char path[PATH_MAX + 1];
  const ssize_t byteCount = ::readlink("/proc/self/exe", path, PATH_MAX);
  if (byteCount <= 0) return 0;
  path[byteCount] = '\0';
  // The path's bytes are UTF-8 on every system the library supports; a path that does not
  // fit is cut to the room, as the Windows call does.
  const int need = multiByteToWide(kUtf8CodePage, path, -1, nullptr, 0);
  if (need <= 0) return 0;
  if (static_cast<unsigned>(need) <= room) {
    const int written = multiByteToWide(kUtf8CodePage, path, -1, dst, static_cast<int>(room));
    return written > 0 ? static_cast<unsigned>(written - 1) : 0;
  }
  (void)multiByteToWide(kUtf8CodePage, path, -1, dst, static_cast<int>(room));
  return room;
}

WideChar pathSeparator() noexcept { return u'/'; }

unsigned long long physicalMemoryInUse() noexcept {
  const long pageSize = ::sysconf(_SC_PAGESIZE);
  const long totalPages = ::sysconf(_SC_PHYS_PAGES);
  const long freePages = ::sysconf(_SC_AVPHYS_PAGES);
  if (pageSize <= 0 || totalPages <= 0 || freePages < 0 || freePages > totalPages) return 0;
  return static_cast<unsigned long long>(totalPages - freePages) *
         static_cast<unsigned long long>(pageSize);
}

int lastError() noexcept { return errno; }

void setLastError(int code) noexcept { errno = code; }

}  // namespace mlib::platform
