// The code pages of one or two bytes per character (932 Japanese, 936 Simplified Chinese,
// 949 Korean, 950 Traditional Chinese) for the POSIX conversions: one engine, read from
// each page's generated tables. Generic POSIX code only.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include <cstdint>
#include <cstring>

#include "platform/posix/codePageCodecs.h"
#include "platform/posix/codePageTables.h"

namespace mlib::platform::detail {

#include "platform/posix/codePageTables932.inc"
#include "platform/posix/codePageTables936.inc"
#include "platform/posix/codePageTables949.inc"
#include "platform/posix/codePageTables950.inc"

namespace {

// Every double-byte page writes '?' for a unit without bytes.
constexpr std::uint16_t kDefaultByte = '?';

// Every byte pair's unit, indexed by first | second << 8 (the two bytes as one
// little-endian load): a first byte that is no lead byte gives its own unit whatever
// follows; a lead byte gives the pair's unit, or the default unit when the second byte
// forms no character with it (a zero included: the lead byte alone). 128 KB, built at the
// page's first conversion to UTF-16, so that each character costs one lookup and no
// branch on what kind it is.
template <unsigned kCodePage>
struct ToWideTable {
  WideChar units[0x10000];

  ToWideTable() noexcept {
    using Page = DoubleBytePage<kCodePage>;
    for (unsigned first = 0; first < 256; ++first) {
      const unsigned row = Page::kLeadRow[first];
      for (unsigned second = 0; second < 256; ++second) {
        WideChar unit = Page::kDefaultUnit;
        if (row == 0) {
          unit = Page::kSingleToWide[first];
        } else if (second - Page::kTrailFirst <= Page::kTrailLast - Page::kTrailFirst) {
          unit = Page::kDoubleToWide[row - 1][second - Page::kTrailFirst];
        }
        units[first | second << 8] = unit;
      }
    }
  }
};

template <unsigned kCodePage>
const WideChar* toWideUnits() noexcept {
  static const ToWideTable<kCodePage> table;
  return table.units;
}

// Every UTF-16 unit's bytes as they are stored: one byte (below 0x100), or the lead byte
// plus the trail byte * 256, so that one little-endian 16-bit store writes either, and the
// value tells the length (every trail byte is non-zero). The inverse of the two to-wide
// tables (single bytes first, then the pairs by lead and trail, a later one winning), then
// the best-fit list, '?' for the rest. 128 KB, built at the page's first conversion to
// bytes (a function-local static, so concurrent first uses are safe), so the sources carry
// only the to-wide tables and the list.
template <unsigned kCodePage>
struct FromWideTable {
  std::uint16_t bytes[0x10000];

  FromWideTable() noexcept {
    using Page = DoubleBytePage<kCodePage>;
    for (std::uint16_t& b : bytes) b = kDefaultByte;
    // A sequence that gave the default unit has no unit of its own to point back at it.
    for (unsigned b = 0; b < 256; ++b) {
      const WideChar unit = Page::kSingleToWide[b];
      if (Page::kLeadRow[b] == 0 && unit != Page::kDefaultUnit) {
        bytes[unit] = static_cast<std::uint16_t>(b);
      }
    }
    for (unsigned lead = 0; lead < 256; ++lead) {
      if (Page::kLeadRow[lead] == 0) continue;
      for (unsigned trail = Page::kTrailFirst; trail <= Page::kTrailLast; ++trail) {
        const WideChar unit =
            Page::kDoubleToWide[Page::kLeadRow[lead] - 1][trail - Page::kTrailFirst];
        if (unit != Page::kDefaultUnit) bytes[unit] = static_cast<std::uint16_t>(lead | trail << 8);
      }
    }
    for (const BestFitPair& fit : Page::kBestFit) {
      bytes[fit.unit] = static_cast<std::uint16_t>(
          fit.bytes < 0x100 ? fit.bytes : (fit.bytes >> 8 | (fit.bytes & 0xFF) << 8));
    }
  }
};

template <unsigned kCodePage>
const std::uint16_t* fromWideBytes() noexcept {
  static const FromWideTable<kCodePage> table;
  return table.bytes;
}

// The byte at src and the one after it, the first in the low byte (one 16-bit load).
[[nodiscard]] inline unsigned loadPair(const unsigned char* src) noexcept {
  return src[0] | unsigned{src[1]} << 8;
}

// Writes both bytes of a FromWideTable entry (one 16-bit store).
inline void storePair(unsigned char* dst, unsigned bytes) noexcept {
  dst[0] = static_cast<unsigned char>(bytes);
  dst[1] = static_cast<unsigned char>(bytes >> 8);
}

// ---- To UTF-16 ----------------------------------------------------------------------

// The character at src[at] (any byte), advancing `at` past it. As Windows does, a lead
// byte takes the next byte with it whatever that is, unless it is a zero or there is none;
// the lead byte alone is then the default unit and the zero stays a character of its own.
template <unsigned kCodePage>
WideChar decodeOne(const unsigned char* src, std::size_t byteCount, std::size_t& at,
                   const WideChar* units) noexcept {
  const unsigned first = src[at];
  const unsigned second = byteCount - at >= 2 ? src[at + 1] : 0;
  at += 1 + unsigned{DoubleBytePage<kCodePage>::kLeadRow[first] != 0 && second != 0};
  return units[first | second << 8];
}

// The blocks of the fast loop: 64 bytes, described by one bit a byte.
constexpr std::size_t kBlock = 64;

struct BlockMasks {
  std::uint64_t nonAscii;  // 0x80 and above
  std::uint64_t lead;      // a lead byte of the page
  std::uint64_t zero;
};

// The lead bytes of a page as at most two ranges (every page's are), found from its table.
struct LeadRanges {
  unsigned first[2];
  unsigned last[2];
  unsigned count;
};

template <unsigned kCodePage>
constexpr LeadRanges leadRanges() noexcept {
  LeadRanges ranges{{0, 0}, {0, 0}, 0};
  for (unsigned b = 0; b < 256; ++b) {
    const bool lead = DoubleBytePage<kCodePage>::kLeadRow[b] != 0;
    const bool begins = lead && (b == 0 || DoubleBytePage<kCodePage>::kLeadRow[b - 1] == 0);
    if (begins) {
      if (ranges.count == 2) return {{0, 0}, {0, 0}, 3};
      ranges.first[ranges.count] = b;
      ++ranges.count;
    }
    if (lead) ranges.last[ranges.count - 1] = b;
  }
  return ranges;
}

template <unsigned kCodePage>
BlockMasks blockMasks(const unsigned char* src) noexcept {
  constexpr LeadRanges kLeads = leadRanges<kCodePage>();
  static_assert(kLeads.count >= 1 && kLeads.count <= 2, "lead bytes in one or two ranges");
  BlockMasks masks{0, 0, 0};
#if defined(__SSE2__)
  for (unsigned i = 0; i < kBlock; i += 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
    // b in [first, last] exactly when b - first (wrapping) is at most last - first.
    const auto inRange = [v](unsigned first, unsigned last) {
      const __m128i offset = _mm_sub_epi8(v, _mm_set1_epi8(static_cast<char>(first)));
      return _mm_cmpeq_epi8(_mm_min_epu8(offset, _mm_set1_epi8(static_cast<char>(last - first))),
                            offset);
    };
    __m128i lead = inRange(kLeads.first[0], kLeads.last[0]);
    if constexpr (kLeads.count == 2)
      lead = _mm_or_si128(lead, inRange(kLeads.first[1], kLeads.last[1]));
    masks.nonAscii |= std::uint64_t{static_cast<unsigned>(_mm_movemask_epi8(v))} << i;
    masks.lead |= std::uint64_t{static_cast<unsigned>(_mm_movemask_epi8(lead))} << i;
    masks.zero |= std::uint64_t{static_cast<unsigned>(
                      _mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())))}
                  << i;
  }
#else
  for (unsigned i = 0; i < kBlock; ++i) {
    masks.nonAscii |= std::uint64_t{src[i] >= 0x80} << i;
    masks.lead |= std::uint64_t{DoubleBytePage<kCodePage>::kLeadRow[src[i]] != 0} << i;
    masks.zero |= std::uint64_t{src[i] == 0} << i;
  }
#endif
  return masks;
}

// Bit i set where byte i of a block begins a character, when byte 0 does. A byte is a
// trail byte exactly when the lead bytes right before it are an odd number (counted back
// to the first byte that is no lead byte: the byte after one always begins a character),
// unless it is a zero. Adding a run's first bit to the lead mask carries through the run
// and one past it; the carried bits of a run that begins at an even place are its trail
// bytes at odd places, and the other way round.
[[nodiscard]] inline std::uint64_t characterStarts(std::uint64_t lead,
                                                   std::uint64_t zero) noexcept {
  constexpr std::uint64_t kEven = 0x5555555555555555u;
  const std::uint64_t runStarts = lead & ~(lead << 1);
  const std::uint64_t evenStarts = runStarts & kEven;
  const std::uint64_t oddStarts = runStarts & ~kEven;
  const std::uint64_t fromEven = (lead + evenStarts) ^ lead ^ evenStarts;
  const std::uint64_t fromOdd = (lead + oddStarts) ^ lead ^ oddStarts;
  return ~(((fromEven & ~kEven) | (fromOdd & kEven)) & ~zero);
}

// For each byte: the places of its set bits, lowest first, one byte each, and how many.
struct SetBits {
  std::uint64_t places[256];
  unsigned char count[256];

  constexpr SetBits() noexcept : places{}, count{} {
    for (unsigned bits = 0; bits < 256; ++bits) {
      for (unsigned i = 0; i < 8; ++i) {
        if ((bits >> i & 1) == 0) continue;
        places[bits] |= std::uint64_t{i} << 8 * count[bits];
        ++count[bits];
      }
    }
  }
};
constexpr SetBits kSetBits{};

[[nodiscard]] inline std::size_t lowestBit64(std::uint64_t bits) noexcept {
  return static_cast<std::size_t>(__builtin_ctzll(bits));
}

// True when one of the four 16-byte quarters of a block is all ASCII.
[[nodiscard]] inline bool hasAsciiQuarter(std::uint64_t nonAscii) noexcept {
  constexpr std::uint64_t kOnes = 0x0001000100010001u;
  return ((nonAscii - kOnes) & ~nonAscii & (kOnes << 15)) != 0;
}

// Converts the characters that begin in src[at, spanEnd) (the last may take the byte at
// spanEnd) to dst[written, ...) with no room check: the caller makes sure one unit per byte
// of the span fits. With kWrite false it only counts.
//
// Blocks of 64 bytes find where their characters begin all at once, so no character waits
// for the length of the one before, and a mix of pairs and single bytes (Korean words and
// the spaces between them) takes no branch per kind. Korean went from 0.43 to 0.94 GB/s
// (ANSIToWide, the room a size query gives), Japanese from 0.91 to 1.8 GB/s.
template <unsigned kCodePage, bool kWrite>
void decodeSpan(const unsigned char* src, std::size_t byteCount, std::size_t spanEnd,
                std::size_t& at, WideChar* dst, std::size_t& written,
                const WideChar* units) noexcept {
  // Local indexes: the stores could otherwise alias the caller's.
  std::size_t from = at;
  std::size_t to = written;
  // A block also reads the byte after it, and may end one byte past spanEnd.
  while (from + kBlock <= spanEnd && byteCount - from > kBlock) {
    const unsigned char* const block = src + from;
    const BlockMasks masks = blockMasks<kCodePage>(block);
    if ((masks.nonAscii & 0xFFFF) == 0) {
      // ASCII runs go 16 bytes at a time, each byte its own unit.
      const std::size_t run =
          masks.nonAscii == 0
              ? kBlock
              : static_cast<std::size_t>(__builtin_ctzll(masks.nonAscii)) & ~std::size_t{15};
      if constexpr (kWrite) {
        for (std::size_t i = 0; i < run; i += kBlockBytes) widenBlock(block + i, dst + to + i);
      }
      from += run;
      to += run;
      continue;
    }
    const std::uint64_t starts = characterStarts(masks.lead, masks.zero);
    // The last character may be a lead byte at 63 that takes the byte after the block.
    const std::size_t taken =
        kBlock + ((starts & masks.lead) >> 63 & std::size_t{block[kBlock] != 0});
    if constexpr (!kWrite) {
      to += static_cast<std::size_t>(__builtin_popcountll(starts));
    } else if (starts == 0x5555555555555555u) {
      // Pairs only (Chinese and Japanese text): 32 lookups at fixed places, 1.5 times
      // as fast as through the list of places below.
      WideChar* const out = dst + to;
      for (std::size_t i = 0; i < kBlock / 2; ++i) out[i] = units[loadPair(block + 2 * i)];
      to += kBlock / 2;
    } else if (hasAsciiQuarter(masks.nonAscii) && spanEnd - from >= 2 * kBlock + 2) {
      // Mostly ASCII: the runs between the other characters are widened 16 bytes at a
      // time (1.4 times as fast as the list of places with a pair in 40 bytes). A run's
      // last store may reach 15 units past the block's characters; the next block, sure
      // to run in this span, writes at least 16 units over them.
      std::uint64_t others = starts & masks.nonAscii;
      WideChar* out = dst + to;
      std::size_t run = 0;
      for (;;) {
        const std::size_t end = others == 0 ? kBlock : lowestBit64(others);
        for (std::size_t i = run; i < end; i += kBlockBytes) widenBlock(block + i, out + (i - run));
        out += end > run ? end - run : 0;
        if (others == 0) break;
        *out++ = units[loadPair(block + end)];
        run = end + 1 + (masks.lead >> end & std::size_t{block[end + 1] != 0});
        others &= others - 1;
      }
      to = static_cast<std::size_t>(out - dst);
    } else {
      // The places of the characters first, then one lookup each with nothing to wait
      // for: Korean a third faster than with a bit scan per character.
      unsigned char places[kBlock + 8];
      std::size_t count = 0;
      for (unsigned i = 0; i < kBlock / 8; ++i) {
        const unsigned bits = static_cast<unsigned>(starts >> 8 * i) & 0xFF;
        const std::uint64_t eight = kSetBits.places[bits] + 0x0808080808080808u * i;
        std::memcpy(places + count, &eight, sizeof eight);
        count += kSetBits.count[bits];
      }
      WideChar* const out = dst + to;
      for (std::size_t i = 0; i < count; ++i) out[i] = units[loadPair(block + places[i])];
      to += count;
    }
    from += taken;
  }
  while (from < spanEnd) {
    const WideChar unit = decodeOne<kCodePage>(src, byteCount, from, units);
    if constexpr (kWrite) dst[to] = unit;
    ++to;
  }
  at = from;
  written = to;
}

// The shortest span worth a turn of the fast loops; what is left is done checked.
constexpr std::size_t kMinSpan = 2 * kBlock;

template <unsigned kCodePage, Fill kFill>
Converted toWide(const unsigned char* src, std::size_t byteCount, WideChar* dst,
                 std::size_t room) noexcept {
  const WideChar* const units = toWideUnits<kCodePage>();
  std::size_t at = 0;
  std::size_t written = 0;
  if constexpr (kFill == Fill::kCount) {
    decodeSpan<kCodePage, false>(src, byteCount, byteCount, at, dst, written, units);
  } else if constexpr (kFill == Fill::kUnchecked) {
    decodeSpan<kCodePage, true>(src, byteCount, byteCount, at, dst, written, units);
  } else {
    // Each byte gives at most one unit, so as many bytes as there is room left surely fit;
    // callers that asked for the size first pass just the room the text needs.
    for (;;) {
      const std::size_t left = room - written;
      const std::size_t span = byteCount - at < left ? byteCount - at : left;
      if (span < kMinSpan) break;
      decodeSpan<kCodePage, true>(src, byteCount, at + span, at, dst, written, units);
    }
    while (at < byteCount) {
      if (written == room) return {written, false};
      dst[written] = decodeOne<kCodePage>(src, byteCount, at, units);
      ++written;
    }
  }
  return {written, true};
}

// ---- From UTF-16 --------------------------------------------------------------------

// The units looked at together: ASCII ones are narrowed as a block.
constexpr std::size_t kUnitRun = 2 * kBlockUnits;

// Converts src[at, spanEnd) to dst[written, ...) with no room check: the caller makes sure
// two bytes per unit of the span fit. With kWrite false it only counts.
//
// Each unit is stored as two bytes and the count advances by its length, so single bytes
// and pairs (Korean syllables and the spaces between them) take no branch: the byte past a
// single one is junk that the next unit overwrites, so the span's last unit is stored
// exactly. Korean went from 0.54 to 1.56 GB/s (WideToANSI), Japanese from 1.05 to 1.75.
template <bool kWrite>
void encodeSpan(const WideChar* src, std::size_t spanEnd, std::size_t& at, unsigned char* dst,
                std::size_t& written, const std::uint16_t* table) noexcept {
  // Local indexes: the byte stores could otherwise alias the caller's.
  std::size_t from = at;
  std::size_t to = written;
  while (spanEnd - from > kUnitRun) {
    if ((nonAsciiUnits(src + from) | nonAsciiUnits(src + from + kBlockUnits)) == 0) {
      if constexpr (kWrite) {
        narrowBlock(src + from, dst + to);
        narrowBlock(src + from + kBlockUnits, dst + to + kBlockUnits);
      }
      from += kUnitRun;
      to += kUnitRun;
      continue;
    }
    for (std::size_t i = 0; i < kUnitRun; ++i) {
      const std::uint16_t bytes = table[src[from + i]];
      if constexpr (kWrite) storePair(dst + to, bytes);
      to += 1 + std::size_t{bytes > 0xFF};
    }
    from += kUnitRun;
  }
  for (; from < spanEnd; ++from) {
    const std::uint16_t bytes = table[src[from]];
    if constexpr (kWrite) {
      if (spanEnd - from > 1) {
        storePair(dst + to, bytes);
      } else {
        dst[to] = static_cast<unsigned char>(bytes);
        if (bytes > 0xFF) dst[to + 1] = static_cast<unsigned char>(bytes >> 8);
      }
    }
    to += 1 + std::size_t{bytes > 0xFF};
  }
  at = from;
  written = to;
}

template <unsigned kCodePage, Fill kFill>
Converted fromWide(const WideChar* src, std::size_t unitCount, unsigned char* dst,
                   std::size_t room) noexcept {
  const std::uint16_t* const table = fromWideBytes<kCodePage>();
  std::size_t at = 0;
  std::size_t written = 0;
  if constexpr (kFill == Fill::kCount) {
    encodeSpan<false>(src, unitCount, at, dst, written, table);
  } else if constexpr (kFill == Fill::kUnchecked) {
    encodeSpan<true>(src, unitCount, at, dst, written, table);
  } else {
    // Spans of as many units as surely fit at two bytes each, as in toWide.
    for (;;) {
      const std::size_t left = (room - written) / 2;
      const std::size_t span = unitCount - at < left ? unitCount - at : left;
      if (span < kMinSpan) break;
      encodeSpan<true>(src, at + span, at, dst, written, table);
    }
    for (; at < unitCount; ++at) {
      const unsigned bytes = table[src[at]];
      const std::size_t size = bytes > 0xFF ? 2 : 1;
      if (room - written < size) return {written, false};
      dst[written] = static_cast<unsigned char>(bytes);
      if (size == 2) dst[written + 1] = static_cast<unsigned char>(bytes >> 8);
      written += size;
    }
  }
  return {written, true};
}

}  // namespace

// Each byte gives at most one unit.
template <unsigned kCodePage>
Converted doubleByteToWide(const unsigned char* src, std::size_t byteCount, WideChar* dst,
                           std::size_t room) noexcept {
  switch (chooseFill(dst, room, byteCount)) {
    case Fill::kCount:
      return toWide<kCodePage, Fill::kCount>(src, byteCount, dst, room);
    case Fill::kUnchecked:
      return toWide<kCodePage, Fill::kUnchecked>(src, byteCount, dst, room);
    case Fill::kChecked:
      break;
  }
  return toWide<kCodePage, Fill::kChecked>(src, byteCount, dst, room);
}

// Each unit gives at most two bytes; a surrogate half gives '?' like any unit without bytes.
template <unsigned kCodePage>
Converted doubleByteFromWide(const WideChar* src, std::size_t unitCount, unsigned char* dst,
                             std::size_t room) noexcept {
  const std::size_t worstCase = unitCount > SIZE_MAX / 2 ? SIZE_MAX : unitCount * 2;
  switch (chooseFill(dst, room, worstCase)) {
    case Fill::kCount:
      return fromWide<kCodePage, Fill::kCount>(src, unitCount, dst, room);
    case Fill::kUnchecked:
      return fromWide<kCodePage, Fill::kUnchecked>(src, unitCount, dst, room);
    case Fill::kChecked:
      break;
  }
  return fromWide<kCodePage, Fill::kChecked>(src, unitCount, dst, room);
}

#define MLIB_DOUBLE_BYTE_PAGE(codePage)                                                         \
  template Converted doubleByteToWide<codePage>(const unsigned char*, std::size_t, WideChar*,   \
                                                std::size_t) noexcept;                          \
  template Converted doubleByteFromWide<codePage>(const WideChar*, std::size_t, unsigned char*, \
                                                  std::size_t) noexcept;
MLIB_DOUBLE_BYTE_PAGE(932)
MLIB_DOUBLE_BYTE_PAGE(936)
MLIB_DOUBLE_BYTE_PAGE(949)
MLIB_DOUBLE_BYTE_PAGE(950)
#undef MLIB_DOUBLE_BYTE_PAGE

}  // namespace mlib::platform::detail
