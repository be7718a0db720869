// Process queries and the last error, forwarded to Win32.
#include "platform/process.h"

#include "platform/win32/win32.h"

namespace mlib::platform {

unsigned executablePath(WideChar* dst, unsigned room) noexcept {
  if (dst == nullptr || room == 0) return 0;
  return ::GetModuleFileNameW(nullptr, dst, room);
}

WideChar pathSeparator() noexcept { return L'\\'; }

unsigned long long physicalMemoryInUse() noexcept {
  // The extended query: a 32-bit byte count cannot hold today's memory sizes.
  MEMORYSTATUSEX status{};
  status.dwLength = sizeof(status);
  if (!::GlobalMemoryStatusEx(&status)) return 0;
  return status.ullTotalPhys - status.ullAvailPhys;
}

int lastError() noexcept { return static_cast<int>(::GetLastError()); }

void setLastError(int code) noexcept { ::SetLastError(static_cast<DWORD>(code)); }

}  // namespace mlib::platform
