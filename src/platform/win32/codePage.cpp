// Code page conversions, forwarded to Win32.
#include "platform/codePage.h"

#include "platform/win32/win32.h"

namespace mlib::platform {

int multiByteToWide(unsigned codePage, const char* src, int srcBytes, WideChar* dst,
                    int dstUnits) noexcept {
  return ::MultiByteToWideChar(codePage, 0, src, srcBytes, dst, dstUnits);
}

int wideToMultiByte(unsigned codePage, const WideChar* src, int srcUnits, char* dst,
                    int dstBytes) noexcept {
  return ::WideCharToMultiByte(codePage, 0, src, srcUnits, dst, dstBytes, nullptr, nullptr);
}

unsigned ansiCodePage() noexcept { return ::GetACP(); }

bool setAnsiCodePage(unsigned) noexcept { return false; }

}  // namespace mlib::platform
