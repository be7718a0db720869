// The AVX2 runs behind the UTF-8 conversions of codePageUtf8.cpp, and the shuffle tables
// they pack by: blocks of characters checked, converted or counted many at a time. Each run
// stops where a block breaks its rules and leaves the rest to the exact paths there, which
// know every replacement rule. Generic POSIX code only.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include "platform/posix/codePageUtf8Avx2.h"

#if defined(MLIB_AVX2_DISPATCH)
#include <immintrin.h>

#include <cstdint>

namespace mlib::platform::detail {

namespace {

// A table of 256 byte shuffles, one for each 8-bit key, and how many bytes each keeps; the
// lanes past those are zeroed.
struct Packing {
  unsigned char shuffle[256][16];
  unsigned char length[256];
};

// Builds a Packing from keep(key, take), which calls take(byte) for each byte the key's
// shuffle keeps, in order.
template <typename Keep>
constexpr Packing makePacking(Keep keep) noexcept {
  Packing packing{};
  for (unsigned key = 0; key < 256; ++key) {
    unsigned out = 0;
    keep(key,
         [&](unsigned byte) { packing.shuffle[key][out++] = static_cast<unsigned char>(byte); });
    packing.length[key] = static_cast<unsigned char>(out);
    for (; out < 16; ++out) packing.shuffle[key][out] = 0x80;
  }
  return packing;
}

// Keyed by the units of a block of eight that are not ASCII (bit i for unit i): packs the
// block's byte pairs (2i the unit's first byte, 2i + 1 its second) into the bytes of its
// text.
alignas(16) constexpr Packing kPairPacking = makePacking([](unsigned wide, auto take) {
  for (unsigned unit = 0; unit < 8; ++unit) {
    take(2 * unit);
    if ((wide >> unit & 1u) != 0) take(2 * unit + 1);
  }
});

// Keyed by the classes of four units (bits 2i and 2i + 1 for unit i: below 0x800, below
// 0x80): packs the units' byte quads (4i the lead of a three-byte unit, 4i + 1 its middle
// byte, 4i + 2 the last byte of a two- or three-byte unit, 4i + 3 the lead of a two-byte
// unit or an ASCII unit itself) into the bytes of their text.
alignas(16) constexpr Packing kQuadPacking = makePacking([](unsigned classes, auto take) {
  for (unsigned unit = 0; unit < 4; ++unit) {
    const bool narrow = (classes >> 2 * unit & 1u) != 0;
    const bool ascii = (classes >> (2 * unit + 1) & 1u) != 0;
    if (!narrow) {  // (an ASCII unit is always narrow: the other mix never comes)
      take(4 * unit);
      take(4 * unit + 1);
      take(4 * unit + 2);
    } else {
      take(4 * unit + 3);
      if (!ascii) take(4 * unit + 2);
    }
  }
});

// Keyed by the eight 16-bit lanes of a 16-byte half that are dropped (bit i for lane i):
// packs the other lanes to the front.
alignas(16) constexpr Packing kLanePacking = makePacking([](unsigned dropped, auto take) {
  for (unsigned lane = 0; lane < 8; ++lane) {
    if ((dropped >> lane & 1u) != 0) continue;
    take(2 * lane);
    take(2 * lane + 1);
  }
});

}  // namespace

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

// countBytes 32 units a turn: each unit counts three bytes, less one when below 0x800 and
// one more when below 0x80, the lesser ones summed in 16-bit lanes (at most 4 a turn, so
// 4096 turns fit) and added up once per 4096 turns. Stops at a turn with a surrogate,
// which the caller counts character by character, or with fewer than 32 units left.
__attribute__((target("avx2"))) void countBytesRun(const WideChar* src, std::size_t unitCount,
                                                   std::size_t& at, std::size_t& written) noexcept {
  constexpr std::size_t kMaxTurns = 4096;
  const __m256i zero = _mm256_setzero_si256();
  const __m256i high5 = _mm256_set1_epi16(-2048);        // 0xF800
  const __m256i surrogates = _mm256_set1_epi16(-10240);  // 0xD800
  const __m256i notAscii = _mm256_set1_epi16(-128);      // 0xFF80
  while (unitCount - at >= kCountRunUnits) {
    std::size_t turns = (unitCount - at) / kCountRunUnits;
    if (turns > kMaxTurns) turns = kMaxTurns;
    __m256i less = zero;  // minus the bytes below three per unit, lane by lane
    std::size_t turn = 0;
    for (; turn < turns; ++turn) {
      const WideChar* const p = src + at + turn * kCountRunUnits;
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
    written += 3 * kCountRunUnits * turn - static_cast<std::size_t>(-fewer);
    at += turn * kCountRunUnits;
    if (turn < turns) return;
  }
}

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

template __attribute__((target("avx2"))) void decodeMixedRun<true>(const unsigned char*,
                                                                   std::size_t, std::size_t&,
                                                                   WideChar*,
                                                                   std::size_t&) noexcept;
template __attribute__((target("avx2"))) void decodeMixedRun<false>(const unsigned char*,
                                                                    std::size_t, std::size_t&,
                                                                    WideChar*,
                                                                    std::size_t&) noexcept;

}  // namespace mlib::platform::detail

#endif  // MLIB_AVX2_DISPATCH
