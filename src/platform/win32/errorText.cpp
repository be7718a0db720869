// System error text and the wide formatter, forwarded to Win32 (FormatMessageW, wvsprintfW).
#include "platform/errorText.h"

#include <cstdarg>
#include <cstring>

#include "platform/win32/win32.h"

namespace mlib::platform {

unsigned systemErrorText(int code, WideChar* dst, unsigned room) noexcept {
  if (dst == nullptr || room == 0) return 0;
  std::memset(dst, 0, room * sizeof(WideChar));
  WideChar* text = nullptr;
  // 0x1100: the system allocates the text; language 0x400: the user's default language.
  const DWORD units =
      ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
                       static_cast<DWORD>(code), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                       reinterpret_cast<LPWSTR>(&text), 0, nullptr);
  if (units == 0 || text == nullptr) {
    if (text != nullptr) ::LocalFree(text);
    return 0;
  }
  const unsigned copied = units < room ? units : room - 1;
  std::memcpy(dst, text, copied * sizeof(WideChar));
  dst[copied] = 0;
  ::LocalFree(text);
  return copied;
}

int formatWide(WideChar* dst, unsigned room, const WideChar* format, ...) noexcept {
  if (dst == nullptr || format == nullptr || room == 0) return 0;
  va_list args;
  va_start(args, format);
  int written = 0;
  if (room >= kFormatWideLimit) {
    written = ::wvsprintfW(dst, format, args);
    // A cut rendering: some versions count the terminator's slot too.
    if (written >= static_cast<int>(kFormatWideLimit)) {
      written = static_cast<int>(kFormatWideLimit) - 1;
      dst[written] = 0;
    }
  } else {
    // The system formatter takes no size: render into its full-size buffer, then cut.
    WideChar full[kFormatWideLimit + 1] = {};
    (void)::wvsprintfW(full, format, args);
    unsigned kept = 0;
    while (kept + 1 < room && full[kept] != 0) ++kept;
    std::memcpy(dst, full, kept * sizeof(WideChar));
    dst[kept] = 0;
    written = static_cast<int>(kept);
  }
  va_end(args);
  return written < 0 ? 0 : written;
}

}  // namespace mlib::platform
