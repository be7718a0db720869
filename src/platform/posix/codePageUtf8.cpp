// Code page 65001 (UTF-8) for the POSIX conversions: computed, no tables. Generic POSIX
// code only.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include <cstdint>

#include "platform/posix/codePageCodecs.h"

namespace mlib::platform::detail {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

struct Decoded {
  char32_t codePoint;
  std::size_t byteCount;
};

// The character at src[at], any byte. Invalid input becomes U+FFFD the way Windows cuts
// it, which is not the "maximal subpart" rule: a lead byte whose second byte is a
// continuation byte swallows that byte even when the pair can start no character
// (E0 80, ED A0, F0 8F, F4 90: one U+FFFD for the two bytes); C0, C1 and F5-FF are never
// lead bytes. A sequence cut by the end of the input (or by the terminator, which is
// never a continuation byte) becomes one U+FFFD, and the terminator stays a character.
Decoded decodeOne(const unsigned char* src, std::size_t byteCount, std::size_t at) noexcept {
  const unsigned char* const p = src + at;
  const std::size_t left = byteCount - at;
  const auto isContinuation = [&](std::size_t k) { return k < left && (p[k] & 0xC0) == 0x80; };
  const unsigned lead = p[0];
  if (lead < 0x80) return {lead, 1};
  if (lead < 0xC2 || lead > 0xF4) return {kReplacement, 1};
  if (!isContinuation(1)) return {kReplacement, 1};
  if (lead < 0xE0) return {char32_t((lead & 0x1Fu) << 6 | (p[1] & 0x3Fu)), 2};
  if (lead < 0xF0) {
    const unsigned high = (lead & 0x0Fu) << 6 | (p[1] & 0x3Fu);
    // high < 0x20: overlong (E0 80-9F); 0x360-0x37F: a surrogate (ED A0-BF).
    if (high < 0x20 || (high >= 0x360 && high < 0x380)) return {kReplacement, 2};
    if (!isContinuation(2)) return {kReplacement, 2};
    return {char32_t(high << 6 | (p[2] & 0x3Fu)), 3};
  }
  const unsigned high = (lead & 0x07u) << 6 | (p[1] & 0x3Fu);
  // high < 0x10: overlong (F0 80-8F); 0x110 and above: past U+10FFFF (F4 90-BF).
  if (high < 0x10 || high >= 0x110) return {kReplacement, 2};
  if (!isContinuation(2)) return {kReplacement, 2};
  if (!isContinuation(3)) return {kReplacement, 3};
  return {char32_t(high << 12 | (p[2] & 0x3Fu) << 6 | (p[3] & 0x3Fu)), 4};
}

template <Fill kFill>
Converted toWide(const unsigned char* src, std::size_t byteCount, WideChar* dst,
                 std::size_t room) noexcept {
  std::size_t at = 0;
  std::size_t written = 0;
  const auto fits = [&](std::size_t units) {
    return kFill != Fill::kChecked || room - written >= units;
  };
  const auto put = [&](unsigned unit) {
    if constexpr (kFill != Fill::kCount) dst[written] = static_cast<WideChar>(unit);
    ++written;
  };
  while (at < byteCount) {
    const unsigned lead = src[at];
    if (lead < 0x80) {
      copyAsciiBytes<kFill, 3, 1>(src, byteCount, at, dst, room, written);
      if (at < byteCount && src[at] < 0x80) return {written, false};  // the room ran out
      continue;
    }
    // Well-formed two- and three-byte characters (most non-ASCII text) decode inline;
    // anything else goes through decodeOne, which knows every rule.
    const std::size_t left = byteCount - at;
    if (lead >= 0xC2 && lead < 0xE0 && left >= 2 && (src[at + 1] & 0xC0) == 0x80) {
      if (!fits(1)) return {written, false};
      put((lead & 0x1Fu) << 6 | (src[at + 1] & 0x3Fu));
      at += 2;
      continue;
    }
    if (lead >= 0xE0 && lead < 0xF0 && left >= 3 && (src[at + 1] & 0xC0) == 0x80 &&
        (src[at + 2] & 0xC0) == 0x80) {
      const unsigned unit =
          (lead & 0x0Fu) << 12 | (src[at + 1] & 0x3Fu) << 6 | (src[at + 2] & 0x3Fu);
      if (unit >= 0x800 && (unit < 0xD800 || unit > 0xDFFF)) {
        if (!fits(1)) return {written, false};
        put(unit);
        at += 3;
        continue;
      }
    }
    const Decoded d = decodeOne(src, byteCount, at);
    if (d.codePoint < 0x10000) {
      if (!fits(1)) return {written, false};
      put(d.codePoint);
    } else {
      if (!fits(2)) return {written, false};
      const char32_t offset = d.codePoint - 0x10000;
      put(0xD800 + (offset >> 10));
      put(0xDC00 + (offset & 0x3FF));
    }
    at += d.byteCount;
  }
  return {written, true};
}

constexpr bool isHighSurrogate(unsigned unit) noexcept { return unit - 0xD800 < 0x400; }
constexpr bool isLowSurrogate(unsigned unit) noexcept { return unit - 0xDC00 < 0x400; }

template <Fill kFill>
Converted fromWide(const WideChar* src, std::size_t unitCount, unsigned char* dst,
                   std::size_t room) noexcept {
  std::size_t at = 0;
  std::size_t written = 0;
  const auto fits = [&](std::size_t bytes) {
    return kFill != Fill::kChecked || room - written >= bytes;
  };
  const auto put = [&](unsigned byte) {
    if constexpr (kFill != Fill::kCount) dst[written] = static_cast<unsigned char>(byte);
    ++written;
  };
  while (at < unitCount) {
    char32_t codePoint = src[at];
    if (codePoint < 0x80) {
      copyAsciiUnits<kFill, 3>(src, unitCount, at, dst, room, written);
      if (at < unitCount && src[at] < 0x80) return {written, false};  // the room ran out
      continue;
    }
    if (codePoint < 0x800) {
      if (!fits(2)) return {written, false};
      put(0xC0 | codePoint >> 6);
      put(0x80 | (codePoint & 0x3F));
      ++at;
      continue;
    }
    if (codePoint - 0xD800 >= 0x800) {
      // Three-byte characters come in runs (CJK text): the run stays in this loop, about
      // 1.2x faster on Chinese than one character per turn of the outer loop.
      do {
        if (!fits(3)) return {written, false};
        if constexpr (kFill != Fill::kCount) {
          unsigned char* const out = dst + written;
          out[0] = static_cast<unsigned char>(0xE0 | codePoint >> 12);
          out[1] = static_cast<unsigned char>(0x80 | (codePoint >> 6 & 0x3F));
          out[2] = static_cast<unsigned char>(0x80 | (codePoint & 0x3F));
        }
        written += 3;
        if (++at == unitCount) break;
        codePoint = src[at];
      } while (codePoint >= 0x800 && codePoint - 0xD800 >= 0x800);
      continue;
    }
    // A surrogate: with its partner a four-byte character, alone U+FFFD.
    std::size_t unitsTaken = 1;
    if (isHighSurrogate(codePoint) && unitCount - at >= 2 && isLowSurrogate(src[at + 1])) {
      codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (src[at + 1] - 0xDC00u);
      unitsTaken = 2;
    } else {
      codePoint = kReplacement;
    }
    if (codePoint < 0x10000) {
      if (!fits(3)) return {written, false};
      put(0xE0 | codePoint >> 12);
      put(0x80 | (codePoint >> 6 & 0x3F));
      put(0x80 | (codePoint & 0x3F));
    } else {
      if (!fits(4)) return {written, false};
      put(0xF0 | codePoint >> 18);
      put(0x80 | (codePoint >> 12 & 0x3F));
      put(0x80 | (codePoint >> 6 & 0x3F));
      put(0x80 | (codePoint & 0x3F));
    }
    at += unitsTaken;
  }
  return {written, true};
}

}  // namespace

// Each byte gives at most one unit (four bytes give a surrogate pair).
Converted utf8ToWide(const unsigned char* src, std::size_t byteCount, WideChar* dst,
                     std::size_t room) noexcept {
  switch (chooseFill(dst, room, byteCount)) {
    case Fill::kCount:
      return toWide<Fill::kCount>(src, byteCount, dst, room);
    case Fill::kUnchecked:
      return toWide<Fill::kUnchecked>(src, byteCount, dst, room);
    case Fill::kChecked:
      break;
  }
  return toWide<Fill::kChecked>(src, byteCount, dst, room);
}

// Each unit gives at most three bytes (a surrogate pair gives four for two units).
Converted utf8FromWide(const WideChar* src, std::size_t unitCount, unsigned char* dst,
                       std::size_t room) noexcept {
  const std::size_t worstCase = unitCount > SIZE_MAX / 3 ? SIZE_MAX : unitCount * 3;
  switch (chooseFill(dst, room, worstCase)) {
    case Fill::kCount:
      return fromWide<Fill::kCount>(src, unitCount, dst, room);
    case Fill::kUnchecked:
      return fromWide<Fill::kUnchecked>(src, unitCount, dst, room);
    case Fill::kChecked:
      break;
  }
  return fromWide<Fill::kChecked>(src, unitCount, dst, room);
}

}  // namespace mlib::platform::detail
