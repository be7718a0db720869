// Code page 65001 (UTF-8) for the POSIX conversions: computed, no tables. Generic POSIX
// code only.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include <cstdint>
#include <cstring>

#include "platform/posix/codePageCodecs.h"
#include "platform/posix/codePageUtf8Avx2.h"
#include "platform/processorFeatures.h"

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

// ---- Unchecked spans ----------------------------------------------------------------
// The fast loops below convert a span of the source that is sure to fit the room left
// (the entry points cut the source into such spans), so they check no room per
// character; the checked loops above finish the last few characters before a tight
// room. Callers convert into exactly the room a size query gave, where the whole text
// used to run the checked loop: 0.69 GB/s on Western text (UTF-16 to UTF-8), against
// 1.8 GB/s through the spans and the block loops they allow.

// The shortest span worth a turn of the fast loops; what is left is done checked.
constexpr std::size_t kMinSpan = 64;

[[nodiscard]] inline bool isContinuation(unsigned byte) noexcept { return (byte & 0xC0) == 0x80; }

// Writes the two bytes of a unit in 0080-07FF.
inline void storeTwo(unsigned char* out, unsigned unit) noexcept {
  out[0] = static_cast<unsigned char>(0xC0 | unit >> 6);
  out[1] = static_cast<unsigned char>(0x80 | (unit & 0x3F));
}

inline void storeThree(unsigned char* out, unsigned unit) noexcept {
  out[0] = static_cast<unsigned char>(0xE0 | unit >> 12);
  out[1] = static_cast<unsigned char>(0x80 | (unit >> 6 & 0x3F));
  out[2] = static_cast<unsigned char>(0x80 | (unit & 0x3F));
}

// Converts the units at src[at] on, one character at a time with exact writes, until at
// reaches spanEnd; a surrogate pair may take the unit at spanEnd too (reading nothing
// past unitCount). With kWrite false it only counts.
template <bool kWrite>
void encodeCharacters(const WideChar* src, std::size_t unitCount, std::size_t spanEnd,
                      std::size_t& at, unsigned char* dst, std::size_t& written) noexcept {
  while (at < spanEnd) {
    const unsigned unit = src[at];
    if (unit < 0x80) {
      if constexpr (kWrite) dst[written] = static_cast<unsigned char>(unit);
      written += 1;
      at += 1;
      continue;
    }
    if (unit < 0x800) {
      if constexpr (kWrite) storeTwo(dst + written, unit);
      written += 2;
      at += 1;
      continue;
    }
    if (unit - 0xD800 >= 0x800) {
      if constexpr (kWrite) storeThree(dst + written, unit);
      written += 3;
      at += 1;
      continue;
    }
    // A surrogate: with its partner a four-byte character, alone U+FFFD.
    if (isHighSurrogate(unit) && unitCount - at >= 2 && isLowSurrogate(src[at + 1])) {
      const char32_t codePoint = 0x10000 + ((unit - 0xD800) << 10) + (src[at + 1] - 0xDC00u);
      if constexpr (kWrite) {
        unsigned char* const out = dst + written;
        out[0] = static_cast<unsigned char>(0xF0 | codePoint >> 18);
        out[1] = static_cast<unsigned char>(0x80 | (codePoint >> 12 & 0x3F));
        out[2] = static_cast<unsigned char>(0x80 | (codePoint >> 6 & 0x3F));
        out[3] = static_cast<unsigned char>(0x80 | (codePoint & 0x3F));
      }
      written += 4;
      at += 2;
      continue;
    }
    if constexpr (kWrite) storeThree(dst + written, kReplacement);
    written += 3;
    at += 1;
  }
}

#if defined(__SSE2__)
// Encodes a block of units all below 0x800 (Western text) like encodeBlock, two bytes a
// unit in 16-bit lanes. Up to one junk byte follows the block's bytes. Against
// encodeBlock on such blocks: 1.14 to 0.85 ms for 1 Mi units, one accented letter in seven.
inline std::size_t encodeBlockNarrow(const WideChar* src, unsigned char* dst) noexcept {
  const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
  const __m128i low6 = _mm_set1_epi16(0x3F);
  const __m128i two =
      _mm_or_si128(_mm_or_si128(_mm_srli_epi16(v, 6), _mm_set1_epi16(0xC0)),
                   _mm_slli_epi16(_mm_or_si128(_mm_and_si128(v, low6), _mm_set1_epi16(0x80)), 8));
  const __m128i ascii =
      _mm_cmpeq_epi16(_mm_and_si128(v, _mm_set1_epi16(-128)), _mm_setzero_si128());
  const __m128i bytes = _mm_or_si128(_mm_and_si128(ascii, v), _mm_andnot_si128(ascii, two));
  const __m128i lengths = _mm_add_epi16(_mm_set1_epi16(2), ascii);
  std::uint64_t lengthBytes;
  _mm_storel_epi64(reinterpret_cast<__m128i*>(&lengthBytes), _mm_packus_epi16(lengths, lengths));
  const std::uint64_t ends = lengthBytes * 0x0101010101010101u;
  const auto put = [dst](std::size_t offset, int lane) {
    const auto pair = static_cast<std::uint16_t>(lane);
    std::memcpy(dst + offset, &pair, sizeof pair);
  };
  put(0, _mm_extract_epi16(bytes, 0));
  put(ends & 0xFF, _mm_extract_epi16(bytes, 1));
  put(ends >> 8 & 0xFF, _mm_extract_epi16(bytes, 2));
  put(ends >> 16 & 0xFF, _mm_extract_epi16(bytes, 3));
  put(ends >> 24 & 0xFF, _mm_extract_epi16(bytes, 4));
  put(ends >> 32 & 0xFF, _mm_extract_epi16(bytes, 5));
  put(ends >> 40 & 0xFF, _mm_extract_epi16(bytes, 6));
  put(ends >> 48 & 0xFF, _mm_extract_epi16(bytes, 7));
  return ends >> 56;
}
#endif

#if defined(__SSE2__)
// Encodes a block of units none of which is a surrogate, with no branch on the units: the
// bytes of all eight are formed at once, then each goes out as one four-byte store
// advanced by its length. Up to three junk bytes follow the block's bytes. Chinese went
// from 2.5 GB/s (a branch per unit) to 3.8 GB/s.
inline std::size_t encodeBlock(const WideChar* src, unsigned char* dst) noexcept {
  const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
  const __m128i zero = _mm_setzero_si128();
  const auto encode = [](__m128i x) {
    const __m128i low6 = _mm_set1_epi32(0x3F);
    const __m128i last = _mm_or_si128(_mm_and_si128(x, low6), _mm_set1_epi32(0x80));
    const __m128i middle =
        _mm_or_si128(_mm_and_si128(_mm_srli_epi32(x, 6), low6), _mm_set1_epi32(0x80));
    const __m128i three =
        _mm_or_si128(_mm_or_si128(_mm_srli_epi32(x, 12), _mm_set1_epi32(0xE0)),
                     _mm_or_si128(_mm_slli_epi32(middle, 8), _mm_slli_epi32(last, 16)));
    const __m128i two = _mm_or_si128(_mm_or_si128(_mm_srli_epi32(x, 6), _mm_set1_epi32(0xC0)),
                                     _mm_slli_epi32(last, 8));
    const __m128i ascii =
        _mm_cmpeq_epi32(_mm_and_si128(x, _mm_set1_epi32(0xFF80)), _mm_setzero_si128());
    const __m128i narrow =
        _mm_cmpeq_epi32(_mm_and_si128(x, _mm_set1_epi32(0xF800)), _mm_setzero_si128());
    const __m128i upTo2 = _mm_or_si128(_mm_and_si128(narrow, two), _mm_andnot_si128(narrow, three));
    return _mm_or_si128(_mm_and_si128(ascii, x), _mm_andnot_si128(ascii, upTo2));
  };
  const __m128i low = encode(_mm_unpacklo_epi16(v, zero));
  const __m128i high = encode(_mm_unpackhi_epi16(v, zero));
  // Each unit's length is 3, less one when below 0x800, less one more when below 0x80;
  // one byte each in a word, whose product with 0x0101... holds in byte i the length of
  // units 0 to i: the stores then depend on nothing but the lengths.
  const __m128i ascii = _mm_cmpeq_epi16(_mm_and_si128(v, _mm_set1_epi16(-128)), zero);
  const __m128i narrow = _mm_cmpeq_epi16(_mm_and_si128(v, _mm_set1_epi16(-2048)), zero);
  const __m128i lengths = _mm_add_epi16(_mm_set1_epi16(3), _mm_add_epi16(ascii, narrow));
  std::uint64_t lengthBytes;
  _mm_storel_epi64(reinterpret_cast<__m128i*>(&lengthBytes), _mm_packus_epi16(lengths, lengths));
  const std::uint64_t ends = lengthBytes * 0x0101010101010101u;
  const auto put = [dst](std::size_t offset, __m128i lane) {
    const std::uint32_t word = static_cast<std::uint32_t>(_mm_cvtsi128_si32(lane));
    std::memcpy(dst + offset, &word, sizeof word);
  };
  put(0, low);
  put(ends & 0xFF, _mm_shuffle_epi32(low, 1));
  put(ends >> 8 & 0xFF, _mm_shuffle_epi32(low, 2));
  put(ends >> 16 & 0xFF, _mm_shuffle_epi32(low, 3));
  put(ends >> 24 & 0xFF, high);
  put(ends >> 32 & 0xFF, _mm_shuffle_epi32(high, 1));
  put(ends >> 40 & 0xFF, _mm_shuffle_epi32(high, 2));
  put(ends >> 48 & 0xFF, _mm_shuffle_epi32(high, 3));
  const std::size_t written = ends >> 56;
  return written;
}
#endif

// Converts src[at, spanEnd) to dst[written, ...) with no room check: the caller makes
// sure 3 bytes per unit of the span and one more fit. Whole blocks go at once; a block
// may leave junk past its own bytes, at most one block's worth (12 bytes after a turn of
// encodeWideRun, which leaves 16 units), which the units after it (always converted in
// the same span) overwrite, so nothing past the final count is ever left changed.
void encodeSpan(const WideChar* src, std::size_t unitCount, std::size_t spanEnd, std::size_t& at,
                unsigned char* dst, std::size_t& written) noexcept {
  while (spanEnd - at >= 2 * kBlockUnits) {
    const UnitClasses classes = unitClasses(src + at);
#if defined(MLIB_AVX2_DISPATCH)
    if (classes.wider == 0 && classes.wide != 0 && platform::processorHasAvx2()) {
      encodeNarrowRun(src, spanEnd, at, dst, written);
      continue;
    }
    // Two units of 0x800 or above at least: a lone one in ASCII text (a euro sign, a curly
    // quote) is cheaper in the block path below than entering and leaving the run (English
    // with one CJK character in 100: 0.41 ms for 1 Mi units entering at one, 0.32 at two).
    if ((classes.wider & (classes.wider - 1)) != 0 && classes.surrogate == 0 &&
        spanEnd - at >= 2 * kWideRunUnits && platform::processorHasAvx2()) {
      const std::size_t from = at;
      encodeWideRun(src, spanEnd, at, dst, written);
      if (at != from) continue;  // else the block goes the plain way below
    }
#endif
#if defined(__SSE2__)
    if (classes.wider == 0) {
      // ASCII text goes four blocks at a time, tested with one branch: a branch on each
      // block mispredicts on Western text, whose blocks are now ASCII, now not. 1.05 to
      // 0.62 ms for 1 Mi units of Western text.
      if (spanEnd - at >= 4 * kBlockUnits && (classes.wide | nonAsciiUnits(src + at + kBlockUnits) |
                                              nonAsciiUnits(src + at + 2 * kBlockUnits) |
                                              nonAsciiUnits(src + at + 3 * kBlockUnits)) == 0) {
        for (std::size_t i = 0; i < 4 * kBlockUnits; i += kBlockUnits) {
          narrowBlock(src + at + i, dst + written + i);
        }
        at += 4 * kBlockUnits;
        written += 4 * kBlockUnits;
        continue;
      }
      written += encodeBlockNarrow(src + at, dst + written);
      at += kBlockUnits;
      continue;
    }
    if (classes.surrogate == 0) {
      written += encodeBlock(src + at, dst + written);
      at += kBlockUnits;
      continue;
    }
#else
    if (classes.wide == 0) {
      narrowBlock(src + at, dst + written);
      at += kBlockUnits;
      written += kBlockUnits;
      continue;
    }
#endif
    encodeCharacters<true>(src, unitCount, at + kBlockUnits, at, dst, written);
  }
  encodeCharacters<true>(src, unitCount, spanEnd, at, dst, written);
}

// The UTF-8 size of src[0, unitCount). Blocks without surrogates count in one step: a
// unit gives one byte, one more from 0x80 and one more from 0x800 (4x ICU's size query
// on Western text, 1.6x on Chinese). The AVX2 run took 1 MiB of Western text from 0.60
// to 0.06 ms, 1 MiB of Chinese from 0.41 to 0.035 ms.
std::size_t countBytes(const WideChar* src, std::size_t unitCount) noexcept {
  std::size_t at = 0;
  std::size_t written = 0;
#if defined(MLIB_AVX2_DISPATCH)
  if (platform::processorHasAvx2()) {
    // The run stops at a turn with a surrogate, which is counted here.
    for (;;) {
      countBytesRun(src, unitCount, at, written);
      if (unitCount - at < kCountRunUnits) break;
      encodeCharacters<false>(src, unitCount, at + kCountRunUnits, at, nullptr, written);
    }
  }
#endif
  while (unitCount - at >= kBlockUnits) {
    const UnitClasses classes = unitClasses(src + at);
    if (classes.surrogate == 0) {
      // One population count for both masks, as the instruction is not in the x86-64
      // base: 0.54 to 0.35 ms for 1 Mi units of Western text.
      written += kBlockUnits + static_cast<std::size_t>(
                                   __builtin_popcount(classes.wide | classes.wider << kBlockUnits));
      at += kBlockUnits;
      continue;
    }
    encodeCharacters<false>(src, unitCount, at + kBlockUnits, at, nullptr, written);
  }
  encodeCharacters<false>(src, unitCount, unitCount, at, nullptr, written);
  return written;
}

// Converts the bytes at src[at] on, one character at a time, until at reaches spanEnd; a
// sequence begun before spanEnd may end past it (reading nothing past byteCount). With
// kWrite false it only counts.
template <bool kWrite>
void decodeCharacters(const unsigned char* src, std::size_t byteCount, std::size_t spanEnd,
                      std::size_t& at, WideChar* dst, std::size_t& written) noexcept {
  const auto put = [&](unsigned unit) {
    if constexpr (kWrite) dst[written] = static_cast<WideChar>(unit);
    ++written;
  };
  while (at < spanEnd) {
    const unsigned lead = src[at];
    if (lead < 0x80) {
      put(lead);
      at += 1;
      continue;
    }
    // Well-formed two- and three-byte characters (most non-ASCII text) decode inline;
    // anything else goes through decodeOne, which knows every rule.
    const std::size_t left = byteCount - at;
    if (lead >= 0xC2 && lead < 0xE0 && left >= 2 && isContinuation(src[at + 1])) {
      put((lead & 0x1Fu) << 6 | (src[at + 1] & 0x3Fu));
      at += 2;
      continue;
    }
    if (lead >= 0xE0 && lead < 0xF0 && left >= 3 && isContinuation(src[at + 1]) &&
        isContinuation(src[at + 2])) {
      const unsigned unit =
          (lead & 0x0Fu) << 12 | (src[at + 1] & 0x3Fu) << 6 | (src[at + 2] & 0x3Fu);
      if (unit >= 0x800 && unit - 0xD800 >= 0x800) {
        put(unit);
        at += 3;
        continue;
      }
    }
    const Decoded d = decodeOne(src, byteCount, at);
    if (d.codePoint < 0x10000) {
      put(d.codePoint);
    } else {
      const char32_t offset = d.codePoint - 0x10000;
      put(0xD800 + (offset >> 10));
      put(0xDC00 + (offset & 0x3FF));
    }
    at += d.byteCount;
  }
}

// Converts src[at, spanEnd) to dst[written, ...) with no room check: the caller makes
// sure one unit per byte of the span and one more fit. With kWrite false it only counts.
// Each ASCII stretch is widened a block at a time; the block that ends it is widened
// whole when at least three blocks of the span follow, whose units overwrite the junk.
template <bool kWrite>
void decodeSpan(const unsigned char* src, std::size_t byteCount, std::size_t spanEnd,
                std::size_t& at, WideChar* dst, std::size_t& written) noexcept {
#if defined(MLIB_AVX2_DISPATCH)
  const bool avx2 = platform::processorHasAvx2();
#else
  constexpr bool avx2 = false;
#endif
  while (at < spanEnd && spanEnd - at >= 3 * kBlockBytes) {
    const ByteClasses classes = byteClasses(src + at);
    if constexpr (kWrite) widenBlock(src + at, dst + written);
    if (classes.nonAscii == 0) {
      at += kBlockBytes;
      written += kBlockBytes;
      continue;
    }
#if defined(MLIB_AVX2_DISPATCH)
    if (avx2) {
      const std::size_t from = at;
      decodeMixedRun<kWrite>(src, spanEnd, at, dst, written);
      if (at != from) continue;
    }
#endif
    if (classes.continuation == classes.twoByteLead << 1 &&
        classes.nonAscii == (classes.continuation | classes.twoByteLead) &&
        spanEnd - at >= 4 * kBlockBytes) {
      // ASCII and whole two-byte characters only (Western text): the block goes at once,
      // each ASCII stretch widened as a block, each character put between them, so the
      // next block no longer waits on decoding each character. 1.8x faster with one
      // accented letter in seven evenly spread; 0.8x with accents at random, where the
      // count of turns mispredicts (still 1.6x ICU there). Junk past the block's units is
      // at most one block, overwritten by the units of the three blocks that follow.
      unsigned leads = classes.twoByteLead;
      unsigned from = 0;
      while (leads != 0) {
        const unsigned next = lowestBit(leads);
        if constexpr (kWrite) widenBlock(src + at + from, dst + written);
        written += next - from;
        if constexpr (kWrite) {
          dst[written] =
              static_cast<WideChar>((src[at + next] & 0x1Fu) << 6 | (src[at + next + 1] & 0x3Fu));
        }
        written += 1;
        from = next + 2;
        leads &= leads - 1;
      }
      if (from < kBlockBytes) {
        if constexpr (kWrite) widenBlock(src + at + from, dst + written);
        written += kBlockBytes - from;
      }
      at += kBlockBytes;
      continue;
    }
    const unsigned stop = classes.nonAscii;
    const unsigned run = lowestBit(stop);
    at += run;
    written += run;
    // The characters up to the next ASCII byte: runs of two- or three-byte characters
    // (CJK text) stay in this loop instead of reloading a block per character.
    const std::size_t runEnd = spanEnd - 3 * kBlockBytes + kBlockBytes;
    do {
      const unsigned lead = src[at];
#if defined(MLIB_AVX2_DISPATCH)
      // Back to the vector run once past what stopped it (four-byte characters, which
      // it leaves, are not worth a try).
      if (avx2 && lead < 0xF0) {
        const std::size_t from = at;
        decodeMixedRun<kWrite>(src, spanEnd, at, dst, written);
        if (at != from) continue;
      }
#endif
      // Five three-byte characters in a row (CJK text) are told by one look at their
      // block and decoded without a branch each: 1.7 to 2.3 GB/s on Chinese. (With AVX2
      // decodeMixedRun has taken such runs.)
      if (kBlockBytes >= 16 && !avx2) {
        const ByteClasses group = byteClasses(src + at);
        if ((group.threeByteLead & 0x7FFF) == 0x1249 && (group.continuation & 0x7FFF) == 0x6DB6) {
          unsigned units[5];
          bool bad = false;
          for (unsigned k = 0; k < 5; ++k) {
            const unsigned char* const p = src + at + 3 * k;
            units[k] = (p[0] & 0x0Fu) << 12 | (p[1] & 0x3Fu) << 6 | (p[2] & 0x3Fu);
            bad |= units[k] < 0x800 || units[k] - 0xD800 < 0x800;
          }
          if (!bad) {
            if constexpr (kWrite) {
              for (unsigned k = 0; k < 5; ++k) dst[written + k] = static_cast<WideChar>(units[k]);
            }
            written += 5;
            at += 15;
            continue;
          }
        }
      }
      if (lead - 0xC2 < 0x1E && isContinuation(src[at + 1])) {
        if constexpr (kWrite)
          dst[written] = static_cast<WideChar>((lead & 0x1Fu) << 6 | (src[at + 1] & 0x3Fu));
        ++written;
        at += 2;
        continue;
      }
      if ((lead & 0xF0) == 0xE0 && isContinuation(src[at + 1]) && isContinuation(src[at + 2])) {
        const unsigned unit =
            (lead & 0x0Fu) << 12 | (src[at + 1] & 0x3Fu) << 6 | (src[at + 2] & 0x3Fu);
        if (unit >= 0x800 && unit - 0xD800 >= 0x800) {
          if constexpr (kWrite) dst[written] = static_cast<WideChar>(unit);
          ++written;
          at += 3;
          continue;
        }
      }
      decodeCharacters<kWrite>(src, byteCount, at + 1, at, dst, written);
    } while (at < runEnd && src[at] >= 0x80);
  }
  decodeCharacters<kWrite>(src, byteCount, spanEnd, at, dst, written);
}

}  // namespace

// Each byte gives at most one unit (four bytes give a surrogate pair). The source is cut
// into spans that fit the room left for sure, each converted unchecked; the checked loop
// takes over when such a span would be too short to pay.
Converted utf8ToWide(const unsigned char* src, std::size_t byteCount, WideChar* dst,
                     std::size_t room) noexcept {
  std::size_t at = 0;
  std::size_t written = 0;
  if (dst == nullptr) {
    decodeSpan<false>(src, byteCount, byteCount, at, nullptr, written);
    return {written, true};
  }
  while (at < byteCount) {
    const std::size_t roomLeft = room - written;
    std::size_t spanEnd = byteCount;
    if (roomLeft < byteCount - at) {
      // A sequence begun on the span's last byte may give two units: one unit to spare.
      if (roomLeft <= kMinSpan) break;
      spanEnd = at + (roomLeft - 1);
    }
    decodeSpan<true>(src, byteCount, spanEnd, at, dst, written);
  }
  if (at >= byteCount) return {written, true};
  const Converted rest =
      toWide<Fill::kChecked>(src + at, byteCount - at, dst + written, room - written);
  return {written + rest.count, rest.complete};
}

// Each unit gives at most three bytes (a surrogate pair gives four for two units), cut
// into spans the same way.
Converted utf8FromWide(const WideChar* src, std::size_t unitCount, unsigned char* dst,
                       std::size_t room) noexcept {
  if (dst == nullptr) return {countBytes(src, unitCount), true};
  std::size_t at = 0;
  std::size_t written = 0;
  while (at < unitCount) {
    const std::size_t roomLeft = room - written;
    const std::size_t unitsLeft = unitCount - at;
    std::size_t spanEnd = unitCount;
    if (roomLeft / 3 < unitsLeft) {
      // A high surrogate on the span's last unit may take its partner: one byte to spare.
      if (roomLeft <= 3 * kMinSpan) break;
      spanEnd = at + (roomLeft - 1) / 3;
    }
    encodeSpan(src, unitCount, spanEnd, at, dst, written);
  }
  if (at >= unitCount) return {written, true};
  const Converted rest =
      fromWide<Fill::kChecked>(src + at, unitCount - at, dst + written, room - written);
  return {written + rest.count, rest.complete};
}

}  // namespace mlib::platform::detail
