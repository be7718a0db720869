// System error text for POSIX systems (the C library's strerror_r) and the wide formatter
// that stands in for wsprintfW.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include "platform/errorText.h"

#include <cstdarg>
#include <cstring>

#include "platform/codePage.h"
#include "platform/process.h"

namespace mlib::platform {

namespace {

// strerror_r comes in two shapes. The XSI one returns 0 and fills the buffer, or an error
// number for a code it does not know. The GNU one returns the text; for a code it does not
// know it composes "Unknown error N" in the caller's buffer, whereas a known code's text
// is the C library's own (or its translation), never the caller's buffer.
[[maybe_unused]] const char* knownText(int result, const char* buffer) noexcept {
  return result == 0 ? buffer : nullptr;
}
[[maybe_unused]] const char* knownText(const char* result, const char* buffer) noexcept {
  return result == buffer ? nullptr : result;
}

constexpr WideChar kNullText[] = u"(null)";

// Collects output units up to a limit, dropping the rest.
struct WideSink {
  WideChar* dst;
  unsigned limit;  // units that may be written, terminator excluded
  unsigned count = 0;

  void put(WideChar unit) noexcept {
    if (count < limit) dst[count++] = unit;
  }
  void putText(const WideChar* text) noexcept {
    for (; *text != 0; ++text) put(*text);
  }
  void putDecimal(unsigned long long magnitude, bool negative) noexcept {
    WideChar digits[24];
    unsigned digitCount = 0;
    do {
      digits[digitCount++] = static_cast<WideChar>(u'0' + magnitude % 10);
      magnitude /= 10;
    } while (magnitude != 0);
    if (negative) put(u'-');
    while (digitCount > 0) put(digits[--digitCount]);
  }
};

}  // namespace

unsigned systemErrorText(int code, WideChar* dst, unsigned room) noexcept {
  if (dst == nullptr || room == 0) return 0;
  std::memset(dst, 0, room * sizeof(WideChar));
  char buffer[512];
  buffer[0] = '\0';
  const int savedErrno = lastError();
  const char* text = knownText(::strerror_r(code, buffer, sizeof(buffer)), buffer);
  setLastError(savedErrno);
  if (text == nullptr || text[0] == '\0') return 0;
  const int need = multiByteToWide(kUtf8CodePage, text, -1, nullptr, 0);
  if (need <= 0) return 0;
  if (static_cast<unsigned>(need) <= room) {
    const int written = multiByteToWide(kUtf8CodePage, text, -1, dst, need);
    return written > 0 ? static_cast<unsigned>(written - 1) : 0;
  }
  // Too long: convert what fits (the call then reports the shortage) and terminate.
  (void)multiByteToWide(kUtf8CodePage, text, -1, dst, static_cast<int>(room - 1));
  dst[room - 1] = 0;
  unsigned units = 0;
  while (dst[units] != 0) ++units;
  return units;
}

int formatWide(WideChar* dst, unsigned room, const WideChar* format, ...) noexcept {
  if (dst == nullptr || format == nullptr || room == 0) return 0;
  const unsigned capped = room < kFormatWideLimit ? room : kFormatWideLimit;
  WideSink sink{dst, capped - 1};
  va_list args;
  va_start(args, format);
  for (const WideChar* p = format; *p != 0; ++p) {
    if (*p != u'%') {
      sink.put(*p);
      continue;
    }
    if (p[1] == u'd') {
      const long long value = va_arg(args, int);
      sink.putDecimal(static_cast<unsigned long long>(value < 0 ? -value : value), value < 0);
      ++p;
    } else if (p[1] == u's') {
      const WideChar* text = va_arg(args, const WideChar*);
      sink.putText(text != nullptr ? text : kNullText);
      ++p;
    } else {
      sink.put(u'%');  // "%%" and any other '%' print one '%'; the scan goes on after it
      if (p[1] == u'%') ++p;
    }
  }
  va_end(args);
  dst[sink.count] = 0;
  return static_cast<int>(sink.count);
}

}  // namespace mlib::platform
