// Code page 65001 (UTF-8) for the POSIX conversions: computed, no tables. Generic POSIX
// code only.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include <cstdint>
#include <cstring>

#include "platform/posix/codePageCodecs.h"
#include "platform/processorFeatures.h"

#if defined(MLIB_AVX2_DISPATCH)
#include <immintrin.h>
#endif

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

#if defined(MLIB_AVX2_DISPATCH)
// For each set of units in a block that are not ASCII (bit i for unit i): the shuffle that
// packs the block's byte pairs (2i the unit's first byte, 2i + 1 its second) into the
// bytes of its text, and how many bytes that is.
struct PairPacking {
  unsigned char shuffle[256][16];
  unsigned char length[256];
};

constexpr PairPacking makePairPacking() noexcept {
  PairPacking packing{};
  for (unsigned wide = 0; wide < 256; ++wide) {
    unsigned out = 0;
    for (unsigned unit = 0; unit < 8; ++unit) {
      packing.shuffle[wide][out++] = static_cast<unsigned char>(2 * unit);
      if ((wide >> unit & 1u) != 0) {
        packing.shuffle[wide][out++] = static_cast<unsigned char>(2 * unit + 1);
      }
    }
    packing.length[wide] = static_cast<unsigned char>(out);
    for (; out < 16; ++out) packing.shuffle[wide][out] = 0x80;  // zero the junk lanes
  }
  return packing;
}

alignas(16) constexpr PairPacking kPairPacking = makePairPacking();

// Converts whole blocks from at on while their units are all below 0x800 (ASCII text and
// the two-byte letters of Western and mixed text) and two blocks are left before spanEnd;
// stops at the first block with a unit of 0x800 or above. Each unit becomes a byte pair
// and one shuffle drops the second byte of the ASCII ones, whatever their mix, where the
// plain SSE2 path stores unit by unit. One call runs the whole stretch: a call per block
// costs more than the shuffle saves. The 16-byte store leaves up to eight junk bytes,
// which the next block overwrites (encodeSpan's rule).
__attribute__((target("avx2"))) void encodeNarrowRun(const WideChar* src, std::size_t spanEnd,
                                                     std::size_t& at, unsigned char* dst,
                                                     std::size_t& written) noexcept {
  const __m128i threeBytes = _mm_set1_epi16(-2048);  // 0xF800: 0x800 and above
  const __m128i notAscii = _mm_set1_epi16(-128);     // 0xFF80
  const __m128i low6 = _mm_set1_epi16(0x3F);
  while (spanEnd - at >= 2 * kBlockUnits) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + at));
    if (_mm_testz_si128(v, threeBytes) == 0) return;
    const __m128i ascii = _mm_cmpeq_epi16(_mm_and_si128(v, notAscii), _mm_setzero_si128());
    const unsigned wide =
        ~static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(ascii, ascii))) & 0xFFu;
    const __m128i lead = _mm_or_si128(_mm_srli_epi16(v, 6), _mm_set1_epi16(0xC0));
    const __m128i first = _mm_blendv_epi8(lead, v, ascii);
    const __m128i second =
        _mm_slli_epi16(_mm_or_si128(_mm_and_si128(v, low6), _mm_set1_epi16(0x80)), 8);
    const __m128i pattern =
        _mm_load_si128(reinterpret_cast<const __m128i*>(kPairPacking.shuffle[wide]));
    const __m128i bytes = _mm_shuffle_epi8(_mm_or_si128(first, second), pattern);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + written), bytes);
    written += kPairPacking.length[wide];
    at += kBlockUnits;
  }
}

// For each set of classes of four units (bits 2i and 2i + 1 for unit i: below 0x800, below
// 0x80), the shuffle that packs the units' byte quads (4i the lead of a three-byte unit, 4i
// + 1 its middle byte, 4i + 2 the last byte of a two- or three-byte unit, 4i + 3 the lead of
// a two-byte unit or an ASCII unit itself) into the bytes of their text, and its length.
struct QuadPacking {
  unsigned char shuffle[256][16];
  unsigned char length[256];
};

constexpr QuadPacking makeQuadPacking() noexcept {
  QuadPacking packing{};
  for (unsigned classes = 0; classes < 256; ++classes) {
    unsigned out = 0;
    for (unsigned unit = 0; unit < 4; ++unit) {
      const unsigned narrow = classes >> 2 * unit & 1u;
      const unsigned ascii = classes >> (2 * unit + 1) & 1u;
      const auto take = [&](unsigned byte) {
        packing.shuffle[classes][out++] = static_cast<unsigned char>(4 * unit + byte);
      };
      if (narrow == 0) {  // (an ASCII unit is always narrow: the other mix never comes)
        take(0);
        take(1);
        take(2);
      } else if (ascii == 0) {
        take(3);
        take(2);
      } else {
        take(3);
      }
    }
    packing.length[classes] = static_cast<unsigned char>(out);
    for (; out < 16; ++out) packing.shuffle[classes][out] = 0x80;
  }
  return packing;
}

alignas(16) constexpr QuadPacking kQuadPacking = makeQuadPacking();

// The units a turn of encodeWideRun takes.
constexpr std::size_t kWideRunUnits = 16;

// Converts 16 units a turn from at on while they hold no surrogate, are not all ASCII
// (the ASCII path is twice as fast on a long ASCII stretch), and two turns are left
// before spanEnd; stops (maybe at once) at the first turn that breaks a rule. Every
// unit's bytes are formed in 16-bit lanes, widened to four-byte quads, and one shuffle per
// four units, keyed on their lengths, packs them: 1 Mi units of Chinese went from 1.61 to
// 0.51 ms, the mixed ANSI sample (words of all three lengths, 1 MiB of UTF-8) from 0.85 to
// 0.34 ms. Each 16-byte store leaves up to 12 junk bytes; a turn leaves 16 units (16
// bytes at least) before spanEnd, which overwrite them (encodeSpan's rule).
__attribute__((target("avx2"))) void encodeWideRun(const WideChar* src, std::size_t spanEnd,
                                                   std::size_t& at, unsigned char* dst,
                                                   std::size_t& written) noexcept {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i high5 = _mm256_set1_epi16(-2048);        // 0xF800
  const __m256i surrogates = _mm256_set1_epi16(-10240);  // 0xD800
  const __m256i notAscii = _mm256_set1_epi16(-128);      // 0xFF80
  const __m256i highBytes = _mm256_set1_epi16(-256);     // 0xFF00
  const __m256i low6 = _mm256_set1_epi16(0x3F);
  while (spanEnd - at >= 2 * kWideRunUnits) {
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + at));
    const __m256i top = _mm256_and_si256(v, high5);
    const __m256i ascii = _mm256_cmpeq_epi16(_mm256_and_si256(v, notAscii), zero);
    if (_mm256_testz_si256(_mm256_cmpeq_epi16(top, surrogates), _mm256_set1_epi8(-1)) == 0 ||
        _mm256_testc_si256(ascii, _mm256_set1_epi8(-1)) != 0) {
      return;
    }
    const __m256i narrow = _mm256_cmpeq_epi16(top, zero);
    // Bit 2i of `classes` set where unit i is narrow, bit 2i + 1 where it is ASCII.
    const auto classes =
        static_cast<unsigned>(_mm256_movemask_epi8(_mm256_blendv_epi8(narrow, ascii, highBytes)));
    // Per unit, the low lane byte is the lead of three bytes, the high one the middle byte;
    // then the last byte, and above it the lead of two bytes or the ASCII unit.
    const __m256i shifted = _mm256_slli_epi16(v, 2);
    const __m256i leadAndMiddle = _mm256_or_si256(
        _mm256_or_si256(_mm256_srli_epi16(v, 12), _mm256_set1_epi16(static_cast<short>(0x80E0))),
        _mm256_and_si256(shifted, _mm256_set1_epi16(0x3F00)));
    const __m256i lead2 =
        _mm256_or_si256(_mm256_and_si256(shifted, highBytes), _mm256_set1_epi16(-16384));  // 0xC000
    const __m256i lastAndFirst =
        _mm256_or_si256(_mm256_or_si256(_mm256_and_si256(v, low6), _mm256_set1_epi16(0x80)),
                        _mm256_blendv_epi8(lead2, _mm256_slli_epi16(v, 8), ascii));
    // Lane by lane: units 0-3 and 8-11, then 4-7 and 12-15.
    const __m256i quadsA = _mm256_unpacklo_epi16(leadAndMiddle, lastAndFirst);
    const __m256i quadsB = _mm256_unpackhi_epi16(leadAndMiddle, lastAndFirst);
    const unsigned k0 = classes & 0xFFu;
    const unsigned k1 = classes >> 8 & 0xFFu;
    const unsigned k2 = classes >> 16 & 0xFFu;
    const unsigned k3 = classes >> 24;
    const auto* const table = reinterpret_cast<const __m128i*>(kQuadPacking.shuffle);
    const __m256i bytesA = _mm256_shuffle_epi8(
        quadsA, _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_load_si128(table + k0)),
                                        _mm_load_si128(table + k2), 1));
    const __m256i bytesB = _mm256_shuffle_epi8(
        quadsB, _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_load_si128(table + k1)),
                                        _mm_load_si128(table + k3), 1));
    unsigned char* out = dst + written;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(bytesA));
    out += kQuadPacking.length[k0];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(bytesB));
    out += kQuadPacking.length[k1];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_extracti128_si256(bytesA, 1));
    out += kQuadPacking.length[k2];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_extracti128_si256(bytesB, 1));
    out += kQuadPacking.length[k3];
    written = static_cast<std::size_t>(out - dst);
    at += kWideRunUnits;
  }
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

#if defined(MLIB_AVX2_DISPATCH)
// countBytes 32 units a turn: each unit counts three bytes, less one when below 0x800 and
// one more when below 0x80, the lesser ones summed in 16-bit lanes (at most 4 a turn, so
// 4096 turns fit) and added up once per 4096 turns. A turn with a surrogate is counted
// character by character. Stops with fewer than 32 units left.
__attribute__((target("avx2"))) void countBytesRun(const WideChar* src, std::size_t unitCount,
                                                   std::size_t& at, std::size_t& written) noexcept {
  constexpr std::size_t kTurnUnits = 32;
  constexpr std::size_t kMaxTurns = 4096;
  const __m256i zero = _mm256_setzero_si256();
  const __m256i high5 = _mm256_set1_epi16(-2048);        // 0xF800
  const __m256i surrogates = _mm256_set1_epi16(-10240);  // 0xD800
  const __m256i notAscii = _mm256_set1_epi16(-128);      // 0xFF80
  while (unitCount - at >= kTurnUnits) {
    std::size_t turns = (unitCount - at) / kTurnUnits;
    if (turns > kMaxTurns) turns = kMaxTurns;
    __m256i less = zero;  // minus the bytes below three per unit, lane by lane
    std::size_t turn = 0;
    for (; turn < turns; ++turn) {
      const WideChar* const p = src + at + turn * kTurnUnits;
      const __m256i v0 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
      const __m256i v1 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 16));
      const __m256i top0 = _mm256_and_si256(v0, high5);
      const __m256i top1 = _mm256_and_si256(v1, high5);
      const __m256i surrogate = _mm256_or_si256(_mm256_cmpeq_epi16(top0, surrogates),
                                                _mm256_cmpeq_epi16(top1, surrogates));
      if (_mm256_testz_si256(surrogate, surrogate) == 0) break;
      const __m256i narrow =
          _mm256_add_epi16(_mm256_cmpeq_epi16(top0, zero), _mm256_cmpeq_epi16(top1, zero));
      const __m256i ascii =
          _mm256_add_epi16(_mm256_cmpeq_epi16(_mm256_and_si256(v0, notAscii), zero),
                           _mm256_cmpeq_epi16(_mm256_and_si256(v1, notAscii), zero));
      less = _mm256_add_epi16(less, _mm256_add_epi16(narrow, ascii));
    }
    const __m256i sums = _mm256_madd_epi16(less, _mm256_set1_epi16(1));
    const __m128i half =
        _mm_add_epi32(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
    const __m128i quarter = _mm_add_epi32(half, _mm_shuffle_epi32(half, 0x4E));
    const int fewer = _mm_cvtsi128_si32(_mm_add_epi32(quarter, _mm_shuffle_epi32(quarter, 0xB1)));
    written += 3 * kTurnUnits * turn - static_cast<std::size_t>(-fewer);
    at += turn * kTurnUnits;
    if (turn < turns)
      encodeCharacters<false>(src, unitCount, at + kTurnUnits, at, nullptr, written);
  }
}
#endif

// The UTF-8 size of src[0, unitCount). Blocks without surrogates count in one step: a
// unit gives one byte, one more from 0x80 and one more from 0x800 (4x ICU's size query
// on Western text, 1.6x on Chinese). The AVX2 run took 1 MiB of Western text from 0.60
// to 0.06 ms, 1 MiB of Chinese from 0.41 to 0.035 ms.
std::size_t countBytes(const WideChar* src, std::size_t unitCount) noexcept {
  std::size_t at = 0;
  std::size_t written = 0;
#if defined(MLIB_AVX2_DISPATCH)
  if (platform::processorHasAvx2()) countBytesRun(src, unitCount, at, written);
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

#if defined(MLIB_AVX2_DISPATCH)
// Bytes that must be left in the span for a turn of decodeMixedRun: it reads 34 bytes and
// stores 32 units, so at most 8 units of junk lie past its final count, and at least 62
// bytes are left, which give 21 units or more and overwrite the junk.
constexpr std::size_t kMixedRunMargin = 96;

// For each set of the eight 16-bit lanes of a 16-byte half that are dropped (bit i for
// lane i): the shuffle that packs the other lanes to the front.
struct LanePacking {
  unsigned char shuffle[256][16];
};

constexpr LanePacking makeLanePacking() noexcept {
  LanePacking packing{};
  for (unsigned dropped = 0; dropped < 256; ++dropped) {
    unsigned out = 0;
    for (unsigned lane = 0; lane < 8; ++lane) {
      if ((dropped >> lane & 1u) != 0) continue;
      packing.shuffle[dropped][out++] = static_cast<unsigned char>(2 * lane);
      packing.shuffle[dropped][out++] = static_cast<unsigned char>(2 * lane + 1);
    }
    for (; out < 16; ++out) packing.shuffle[dropped][out] = 0x80;
  }
  return packing;
}

alignas(16) constexpr LanePacking kLanePacking = makeLanePacking();

// Decodes text of ASCII and well-formed two- and three-byte characters (Western, Cyrillic,
// CJK and mixed text) 32 bytes at a time from at on, which is a character's first byte:
// the block is checked at once (C0, C1 and F0-FF refused, each continuation byte where a
// lead byte wants one and nowhere else, no overlong form, no surrogate), every byte
// position gets the unit of the character starting there, and one shuffle per 8 units
// drops the continuation bytes' lanes. A character begun in the block's last two bytes
// is decoded with it and its continuation bytes checked with the next block. Stops at the
// first block that fails the check, which is left to the caller's exact path, or when
// fewer than kMixedRunMargin bytes of the span are left. With kWrite false it only
// counts. Against a branch per character on ASCII and two-byte blocks, and a three-byte
// run of 8 characters a turn: Western text 1.8x faster, mixed text 5x, Chinese 1.3x, the
// size query on Western text 10x.
template <bool kWrite>
__attribute__((target("avx2"))) void decodeMixedRun(const unsigned char* src, std::size_t spanEnd,
                                                    std::size_t& at, WideChar* dst,
                                                    std::size_t& written) noexcept {
  const __m256i continuationTop = _mm256_set1_epi8(-64);  // below C0: 80-BF
  const __m256i leadBottom = _mm256_set1_epi8(-63);       // above C1
  const __m256i leadTop = _mm256_set1_epi8(-16);          // below F0
  const __m256i threeBottom = _mm256_set1_epi8(-33);      // above DF
  const __m256i e0 = _mm256_set1_epi8(static_cast<char>(0xE0));
  const __m256i ed = _mm256_set1_epi8(static_cast<char>(0xED));
  const __m256i secondLow = _mm256_set1_epi8(-96);   // below A0 (E0 80-9F is overlong)
  const __m256i secondHigh = _mm256_set1_epi8(-97);  // A0 or above (ED A0-BF, a surrogate)
  std::size_t from = at;
  std::size_t count = written;
  // The continuation bytes at the block's first two positions that the previous block's
  // last character wants (bit 0 and bit 1).
  unsigned carried = 0;
  unsigned asciiBlocks = 0;
  while (spanEnd - from >= kMixedRunMargin) {
    const unsigned char* const p = src + from;
    const __m256i b0 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    const __m256i b1 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 1));
    const __m256i continuation = _mm256_cmpgt_epi8(continuationTop, b0);
    const __m256i lead =
        _mm256_and_si256(_mm256_cmpgt_epi8(b0, leadBottom), _mm256_cmpgt_epi8(leadTop, b0));
    const __m256i lead3 = _mm256_and_si256(lead, _mm256_cmpgt_epi8(b0, threeBottom));
    // Sign bit set in a lane that is none of ASCII, a continuation byte or a lead byte, or
    // that starts an overlong or surrogate three-byte form.
    const __m256i faults = _mm256_or_si256(
        _mm256_andnot_si256(_mm256_or_si256(continuation, lead), b0),
        _mm256_or_si256(
            _mm256_and_si256(_mm256_cmpeq_epi8(b0, e0), _mm256_cmpgt_epi8(secondLow, b1)),
            _mm256_and_si256(_mm256_cmpeq_epi8(b0, ed), _mm256_cmpgt_epi8(b1, secondHigh))));
    if (_mm256_movemask_epi8(faults) != 0) break;
    const auto continuations = static_cast<std::uint32_t>(_mm256_movemask_epi8(continuation));
    const auto leads = static_cast<std::uint32_t>(_mm256_movemask_epi8(lead));
    const auto leads3 = static_cast<std::uint32_t>(_mm256_movemask_epi8(lead3));
    // The continuation bytes the lead bytes want must be exactly the block's; those past
    // it (bits 32 and 33) are checked by the next block.
    const std::uint64_t wanted = std::uint64_t{leads} << 1 | std::uint64_t{leads3} << 2;
    if ((static_cast<std::uint32_t>(wanted) | carried) != continuations) break;
    if constexpr (kWrite) {
      // Two ASCII blocks in a row leave the stretch to the caller's ASCII loop, which
      // widens it for less: 2.3x faster on ASCII text after an accented letter.
      asciiBlocks = (continuations | leads) == 0 ? asciiBlocks + 1 : 0;
      if (asciiBlocks == 2) break;
      // The unit of the character starting at each position, as its low and its high
      // byte (junk at continuation bytes): ASCII as it is, then xxxyyyyy 10zzzzzz and
      // 1110xxxx 10yyyyyy 10zzzzzz. The shifts go by 16-bit lanes; the masks keep each
      // byte's own bits.
      const __m256i b2 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 2));
      const __m256i low2 = _mm256_set1_epi8(0x03);
      const __m256i low6 = _mm256_set1_epi8(0x3F);
      const __m256i twoLow = _mm256_or_si256(_mm256_slli_epi16(_mm256_and_si256(b0, low2), 6),
                                             _mm256_and_si256(b1, low6));
      const __m256i threeLow = _mm256_or_si256(_mm256_slli_epi16(_mm256_and_si256(b1, low2), 6),
                                               _mm256_and_si256(b2, low6));
      const __m256i twoHigh = _mm256_and_si256(_mm256_srli_epi16(b0, 2), _mm256_set1_epi8(0x07));
      const __m256i low4 = _mm256_set1_epi8(0x0F);
      const __m256i threeHigh = _mm256_or_si256(_mm256_slli_epi16(_mm256_and_si256(b0, low4), 4),
                                                _mm256_and_si256(_mm256_srli_epi16(b1, 2), low4));
      const __m256i unitLow =
          _mm256_blendv_epi8(b0, _mm256_blendv_epi8(twoLow, threeLow, lead3), b0);
      const __m256i unitHigh = _mm256_blendv_epi8(
          _mm256_setzero_si256(), _mm256_blendv_epi8(twoHigh, threeHigh, lead3), b0);
      // Positions 0-7 and 16-23, then 8-15 and 24-31, as units; each eight packed by its
      // own quarter of the continuation mask.
      const unsigned char(*const shuffle)[16] = kLanePacking.shuffle;
      unsigned quarter[4];
      for (unsigned k = 0; k < 4; ++k) quarter[k] = continuations >> (8 * k) & 0xFFu;
      const __m256i packed0 = _mm256_shuffle_epi8(
          _mm256_unpacklo_epi8(unitLow, unitHigh),
          _mm256_inserti128_si256(
              _mm256_castsi128_si256(
                  _mm_load_si128(reinterpret_cast<const __m128i*>(shuffle[quarter[0]]))),
              _mm_load_si128(reinterpret_cast<const __m128i*>(shuffle[quarter[2]])), 1));
      const __m256i packed1 = _mm256_shuffle_epi8(
          _mm256_unpackhi_epi8(unitLow, unitHigh),
          _mm256_inserti128_si256(
              _mm256_castsi128_si256(
                  _mm_load_si128(reinterpret_cast<const __m128i*>(shuffle[quarter[1]]))),
              _mm_load_si128(reinterpret_cast<const __m128i*>(shuffle[quarter[3]])), 1));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + count), _mm256_castsi256_si128(packed0));
      count += 8 - static_cast<unsigned>(__builtin_popcount(quarter[0]));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + count), _mm256_castsi256_si128(packed1));
      count += 8 - static_cast<unsigned>(__builtin_popcount(quarter[1]));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + count),
                       _mm256_extracti128_si256(packed0, 1));
      count += 8 - static_cast<unsigned>(__builtin_popcount(quarter[2]));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + count),
                       _mm256_extracti128_si256(packed1, 1));
      count += 8 - static_cast<unsigned>(__builtin_popcount(quarter[3]));
    } else {
      count += 32 - static_cast<unsigned>(__builtin_popcount(continuations));
    }
    // A fixed step: the next block's loads wait for nothing, where a step over the last
    // character's continuation bytes made each turn wait for the one before (2.8x slower
    // size query on Western text).
    from += 32;
    carried = static_cast<unsigned>(wanted >> 32);
  }
  if (carried != 0) {
    // The last block's last character is unchecked and is left to the caller: its lead
    // byte is the block's last byte, or the one before for a three-byte character.
    from -= src[from - 1] >= 0xC0 ? 1 : 2;
    count -= 1;
  }
  at = from;
  written = count;
}
#endif

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
