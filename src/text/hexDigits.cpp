// Hexadecimal digits 16 bytes at a time with SSE2 (every x86-64), a byte at a time
// elsewhere and for the tails.
#include "text/hexDigits.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace mlib::detail {
namespace {

constexpr WideChar kUpperDigits[] = MLIB_T("0123456789ABCDEF");

#if defined(__SSE2__)
// The digit characters of 16 nibbles (0-15 in each byte): '0' + n, and 7 more past 9.
__m128i digitCharacters(__m128i nibbles) noexcept {
  const __m128i letters =
      _mm_and_si128(_mm_cmpgt_epi8(nibbles, _mm_set1_epi8(9)), _mm_set1_epi8(7));
  return _mm_add_epi8(_mm_add_epi8(nibbles, _mm_set1_epi8('0')), letters);
}

void storeWidened(WideChar* dst, __m128i characters) noexcept {
  const __m128i zero = _mm_setzero_si128();
  _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm_unpacklo_epi8(characters, zero));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 8), _mm_unpackhi_epi8(characters, zero));
}

// True when x (unsigned bytes) is at most limit, lane by lane, as 0xFF.
__m128i atMost(__m128i x, char limit) noexcept {
  const __m128i bound = _mm_set1_epi8(limit);
  return _mm_cmpeq_epi8(_mm_max_epu8(x, bound), bound);
}
#endif

}  // namespace

void writeHexDigits(WideChar* dst, const unsigned char* bytes, std::size_t count) noexcept {
  std::size_t i = 0;
#if defined(__SSE2__)
  const __m128i low4 = _mm_set1_epi8(0x0F);
  for (; i + 16 <= count; i += 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
    const __m128i high = _mm_and_si128(_mm_srli_epi16(v, 4), low4);
    const __m128i low = _mm_and_si128(v, low4);
    // High digit first: the pairs of bytes 0-7, then of bytes 8-15.
    storeWidened(dst + 2 * i, digitCharacters(_mm_unpacklo_epi8(high, low)));
    storeWidened(dst + 2 * i + 16, digitCharacters(_mm_unpackhi_epi8(high, low)));
  }
#endif
  for (; i < count; ++i) {
    dst[2 * i] = kUpperDigits[bytes[i] >> 4];
    dst[2 * i + 1] = kUpperDigits[bytes[i] & 0xF];
  }
}

std::size_t readHexDigitPairs(const WideChar* text, std::size_t length, unsigned char* out,
                              std::size_t room, std::size_t& written) noexcept {
  std::size_t at = 0;
#if defined(__SSE2__)
  while (length - at >= 16 && room - written >= 8) {
    const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + at));
    const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + at + 8));
    // Units from 0x100 up saturate to 0x00 or 0xFF, neither of them a digit.
    const __m128i bytes = _mm_packus_epi16(first, second);
    const __m128i decimal = _mm_sub_epi8(bytes, _mm_set1_epi8('0'));
    const __m128i letter =
        _mm_sub_epi8(_mm_or_si128(bytes, _mm_set1_epi8(0x20)), _mm_set1_epi8('a'));
    const __m128i isDecimal = atMost(decimal, 9);
    const __m128i isLetter = atMost(letter, 5);
    if (_mm_movemask_epi8(_mm_or_si128(isDecimal, isLetter)) != 0xFFFF) break;
    const __m128i values =
        _mm_or_si128(_mm_and_si128(isDecimal, decimal),
                     _mm_andnot_si128(isDecimal, _mm_add_epi8(letter, _mm_set1_epi8(10))));
    // Each 16-bit lane holds a pair, its first digit in the low byte.
    const __m128i pairs = _mm_or_si128(
        _mm_slli_epi16(_mm_and_si128(values, _mm_set1_epi16(0x0F)), 4), _mm_srli_epi16(values, 8));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + written), _mm_packus_epi16(pairs, pairs));
    written += 8;
    at += 16;
  }
#else
  (void)text;
  (void)length;
  (void)out;
  (void)room;
  (void)written;
#endif
  return at;
}

}  // namespace mlib::detail
