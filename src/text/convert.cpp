// The conversions of <mlib/text.h> between the ANSI code page, UTF-8 and UTF-16, and the
// ANSI code page setting. Every conversion goes through the platform's two code page
// services with the whole zero-terminated source, terminator included.
#include <mlib/text.h>

#include <cstddef>
#include <cstring>

#include "platform/platform.h"
#include "text/textBuffers.h"

using mlib::WideChar;
using mlib::detail::clampToInt;
using mlib::detail::ScratchBuffer;
using mlib::detail::textLength;
using mlib::detail::zeroRange;
namespace platform = mlib::platform;

namespace {

[[nodiscard]] bool isHighSurrogate(WideChar unit) noexcept {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

// Narrow text of `codePage` into dst[0, capacity) with the cut rule: the result is the first
// min(k - 1, capacity - 1) units (k = the units the whole text needs, terminator included)
// followed by zeros up to capacity. capacity >= 1, pointers non-null.
//
// The rule reads "ask for k, then convert with room k if k < capacity, else capacity - 1".
// Converting with the whole capacity as room succeeds exactly when k <= capacity, and then
// leaves what the rule leaves (for k == capacity the terminator lands in the last slot,
// where the rule's fill puts its zero): the same text without the counting pass.
WideChar* narrowToWideCut(unsigned codePage, WideChar* dst, const char* src,
                          int capacity) noexcept {
  const int written = platform::multiByteToWide(codePage, src, -1, dst, capacity);
  if (written > 0) {
    zeroRange(dst, static_cast<std::size_t>(written), static_cast<std::size_t>(capacity));
    return dst;
  }
  // The text is cut (or could not be converted): how far the platform wrote is not
  // reported, so fill first and convert again with the last slot kept for the zero.
  zeroRange(dst, 0, static_cast<std::size_t>(capacity));
  if (capacity > 1) (void)platform::multiByteToWide(codePage, src, -1, dst, capacity - 1);
  return dst;
}

// The source length the platform gets for zero-terminated wide text: its units with the
// terminator, which converts exactly as length -1 does. Counted here with the vectorised
// scan, since the platform's own count goes a unit at a time; -1 for text beyond int.
[[nodiscard]] int wideSourceUnits(const WideChar* src) noexcept {
  const std::size_t units = textLength(src) + 1;
  return units <= 0x7FFFFFFFu ? static_cast<int>(units) : -1;
}

// The mirror of narrowToWideCut. The platform never writes part of a multi-byte character,
// so a cut never splits one.
char* wideToNarrowCut(unsigned codePage, char* dst, const WideChar* src, int capacity) noexcept {
  const int srcUnits = wideSourceUnits(src);
  const int written = platform::wideToMultiByte(codePage, src, srcUnits, dst, capacity);
  if (written > 0) {
    zeroRange(dst, static_cast<std::size_t>(written), static_cast<std::size_t>(capacity));
    return dst;
  }
  zeroRange(dst, 0, static_cast<std::size_t>(capacity));
  if (capacity > 1) (void)platform::wideToMultiByte(codePage, src, srcUnits, dst, capacity - 1);
  return dst;
}

}  // namespace

WideChar* ANSIToWide(WideChar* dst, const char* src, int capacity) {
  if (dst == nullptr || src == nullptr || capacity < 1) return nullptr;
  return narrowToWideCut(platform::kAnsiCodePage, dst, src, capacity);
}

char* WideToANSI(char* dst, const WideChar* src, int capacity) {
  if (dst == nullptr || src == nullptr || capacity < 1) return nullptr;
  return wideToNarrowCut(platform::kAnsiCodePage, dst, src, capacity);
}

WideChar* Utf8ToWide(WideChar* dst, const char* src, int capacity) {
  if (dst == nullptr || src == nullptr || capacity < 1) return nullptr;
  // Text that fits is converted once, leaving the rest of dst untouched.
  if (platform::multiByteToWide(platform::kUtf8CodePage, src, -1, dst, capacity) > 0) return dst;
  // It does not fit: cut and terminate. A surrogate pair split by the cut loses its first
  // half too, so the result never ends in half a character.
  zeroRange(dst, 0, static_cast<std::size_t>(capacity));
  if (capacity > 1) {
    (void)platform::multiByteToWide(platform::kUtf8CodePage, src, -1, dst, capacity - 1);
  }
  if (capacity >= 2 && isHighSurrogate(dst[capacity - 2])) dst[capacity - 2] = 0;
  return dst;
}

char* WideToUtf8(char* dst, const WideChar* src, int capacity) {
  if (dst == nullptr || src == nullptr || capacity < 1) return nullptr;
  const int srcUnits = wideSourceUnits(src);
  if (platform::wideToMultiByte(platform::kUtf8CodePage, src, srcUnits, dst, capacity) > 0) {
    return dst;
  }
  zeroRange(dst, 0, static_cast<std::size_t>(capacity));
  if (capacity > 1) {
    (void)platform::wideToMultiByte(platform::kUtf8CodePage, src, srcUnits, dst, capacity - 1);
  }
  return dst;
}

char* Utf8ToANSI(char* dst, const char* src, int capacity) {
  if (dst == nullptr || src == nullptr || capacity < 1) return nullptr;
  // The wide temporary has room for capacity units; UTF-8 never takes fewer bytes than
  // UTF-16 units, so a shorter source needs only its own length and a terminator.
  const std::size_t sourceBytes = textLength(src) + 1;
  const int tempUnits =
      sourceBytes < static_cast<std::size_t>(capacity) ? static_cast<int>(sourceBytes) : capacity;
  ScratchBuffer<WideChar> temp(static_cast<std::size_t>(tempUnits));
  if (temp.data() == nullptr) return nullptr;
  Utf8ToWide(temp.data(), src, tempUnits);
  return WideToANSI(dst, temp.data(), capacity);
}

char* ANSIToUtf8(char* dst, const char* src, int capacity) {
  if (dst == nullptr || capacity < 1) return nullptr;
  // A null source is empty text. An ANSI character is never more than one UTF-16 unit.
  const std::size_t sourceBytes = src == nullptr ? 1 : textLength(src) + 1;
  const int tempUnits =
      sourceBytes < static_cast<std::size_t>(capacity) ? static_cast<int>(sourceBytes) : capacity;
  ScratchBuffer<WideChar> temp(static_cast<std::size_t>(tempUnits));
  if (temp.data() == nullptr) return nullptr;
  temp.data()[0] = 0;
  if (src != nullptr) ANSIToWide(temp.data(), src, tempUnits);
  return WideToUtf8(dst, temp.data(), capacity);
}

WideChar* StrA2W(WideChar* dst, const char* src, int capacity) {
  return ANSIToWide(dst, src, capacity);
}

WideChar* StrA2T(WideChar* dst, const char* src, int capacity) {
  return ANSIToWide(dst, src, capacity);
}

char* StrW2A(char* dst, const WideChar* src, int capacity) {
  return WideToANSI(dst, src, capacity);
}

char* StrT2A(char* dst, const WideChar* src, int capacity) {
  return WideToANSI(dst, src, capacity);
}

char* U82A(char* dst, const char* src, int capacity) {
  if (dst == nullptr || src == nullptr || capacity < 1) return nullptr;
  // Utf8ToANSI ends in WideToANSI, which zero-fills all capacity bytes itself.
  return Utf8ToANSI(dst, src, capacity);
}

char* A2U8(char* dst, const char* src, int capacity) {
  if (dst == nullptr || src == nullptr || capacity < 1) return nullptr;
  std::memset(dst, 0, static_cast<std::size_t>(capacity));
  return ANSIToUtf8(dst, src, capacity);
}

WideChar* U82T(WideChar* dst, const char* src, int capacity) {
  if (dst == nullptr || src == nullptr) return nullptr;
  // A capacity below 1 leaves the destination untouched; nothing else is observable.
  if (capacity < 1) return dst;
  const std::size_t sourceBytes = textLength(src);
  // Each UTF-8 byte gives at most one unit, and a unit at most three ANSI bytes (UTF-8 as
  // the ANSI code page included): room for the whole text in every page.
  const int ansiBytes = clampToInt(3 * sourceBytes + 1);
  ScratchBuffer<char> ansi(static_cast<std::size_t>(ansiBytes));
  if (ansi.data() == nullptr) return nullptr;
  Utf8ToANSI(ansi.data(), src, ansiBytes);
  return ANSIToWide(dst, ansi.data(), capacity);
}

char* T2U8(char* dst, const WideChar* src, int capacity) {
  if (dst == nullptr || src == nullptr) return nullptr;
  if (capacity < 1) return dst;  // zero-fills no bytes and converts into no room
  // Room for the whole text in the ANSI code page: 2 bytes per unit, 3 in UTF-8.
  const int ansiBytes = clampToInt(platform::ansiBytesPerWideUnit() * textLength(src) + 1);
  ScratchBuffer<char> ansi(static_cast<std::size_t>(ansiBytes));
  if (ansi.data() == nullptr) return nullptr;
  WideToANSI(ansi.data(), src, ansiBytes);
  std::memset(dst, 0, static_cast<std::size_t>(capacity));
  return ANSIToUtf8(dst, ansi.data(), capacity);
}

unsigned GetAnsiCodePage(void) { return platform::ansiCodePage(); }

bool SetAnsiCodePage(unsigned codePage) { return platform::setAnsiCodePage(codePage); }
