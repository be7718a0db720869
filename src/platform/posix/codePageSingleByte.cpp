// The code pages of one byte per character (874, 1250 to 1258) for the POSIX conversions:
// one engine, read from each page's generated tables. Generic POSIX code only.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include <cstdint>
#include <cstring>

#include "platform/posix/codePageCodecs.h"
#include "platform/posix/codePageTables.h"

namespace mlib::platform::detail {

#include "platform/posix/codePageTables1250.inc"
#include "platform/posix/codePageTables1251.inc"
#include "platform/posix/codePageTables1252.inc"
#include "platform/posix/codePageTables1253.inc"
#include "platform/posix/codePageTables1254.inc"
#include "platform/posix/codePageTables1255.inc"
#include "platform/posix/codePageTables1256.inc"
#include "platform/posix/codePageTables1257.inc"
#include "platform/posix/codePageTables1258.inc"
#include "platform/posix/codePageTables874.inc"

namespace {

// Every single-byte page writes '?' for a unit without a byte (tools/genCodePageTables.py
// refuses answers that say otherwise).
constexpr unsigned char kDefaultByte = '?';

// True for a page whose bytes A0-FF are the units of the same value (1252): a block of
// such a page needs a table look-up only for its bytes 80-9F. On Western text this runs
// at 7-10 GB/s, against 2.4 GB/s for a look-up of every byte that is not ASCII.
template <unsigned kCodePage>
constexpr bool highHalfIsLatin1() noexcept {
  for (unsigned b = 0xA0; b < 0x100; ++b) {
    if (SingleBytePage<kCodePage>::kToWide[b] != b) return false;
  }
  return true;
}

// The distance from each byte C0-FF to its unit where it is the same for all of them (1251,
// whose C0-FF are the Cyrillic letters U+0410-044F), else 0. Such a page widens a block
// with that shift and looks up only its bytes 80-BF: Cyrillic text went from 4.4 to
// 8.7 GB/s.
template <unsigned kCodePage>
constexpr WideChar topQuarterShift() noexcept {
  const auto shift = static_cast<WideChar>(SingleBytePage<kCodePage>::kToWide[0xC0] - 0xC0);
  for (unsigned b = 0xC0; b < 0x100; ++b) {
    if (SingleBytePage<kCodePage>::kToWide[b] != static_cast<WideChar>(b + shift)) return 0;
  }
  return shift;
}

// Every UTF-16 unit's byte: the inverse of kToWide (a later byte winning), then the
// best-fit list, '?' for the rest. 64 KB, built at the page's first conversion to bytes (a
// function-local static, so concurrent first uses are safe), so the sources carry only the
// lists.
template <unsigned kCodePage>
struct FromWideTable {
  unsigned char bytes[0x10000];

  FromWideTable() noexcept {
    using Page = SingleBytePage<kCodePage>;
    std::memset(bytes, kDefaultByte, sizeof bytes);
    for (unsigned b = 0; b < 256; ++b) {
      // A byte that gave '?' has no unit of its own to point back at it.
      if (Page::kToWide[b] != u'?') bytes[Page::kToWide[b]] = static_cast<unsigned char>(b);
    }
    for (const BestFitByte& fit : Page::kBestFit) bytes[fit.unit] = fit.byte;
  }
};

template <unsigned kCodePage>
const unsigned char* fromWideBytes() noexcept {
  static const FromWideTable<kCodePage> table;
  return table.bytes;
}

}  // namespace

// One byte is always one unit, so the count is the byte count and a short room simply
// cuts the text.
template <unsigned kCodePage>
Converted singleByteToWide(const unsigned char* src, std::size_t byteCount, WideChar* dst,
                           std::size_t room) noexcept {
  if (dst == nullptr) return {byteCount, true};
  const WideChar* const table = SingleBytePage<kCodePage>::kToWide;
  const std::size_t todo = room < byteCount ? room : byteCount;
  std::size_t i = 0;
  for (; todo - i >= kBlockBytes; i += kBlockBytes) {
    if constexpr (highHalfIsLatin1<kCodePage>()) {
      widenBlock(src + i, dst + i);
      for (unsigned c1 = c1Bytes(src + i); c1 != 0; c1 &= c1 - 1) {
        const std::size_t k = i + lowestBit(c1);
        dst[k] = table[src[k]];
      }
    } else if (nonAsciiBytes(src + i) == 0) {
      widenBlock(src + i, dst + i);
    } else if constexpr (topQuarterShift<kCodePage>() != 0) {
      widenBlockShiftingTopQuarter(src + i, dst + i, topQuarterShift<kCodePage>());
      const unsigned rest = nonAsciiBytes(src + i) & ~topQuarterBytes(src + i);
      for (unsigned mask = rest; mask != 0; mask &= mask - 1) {
        const std::size_t k = i + lowestBit(mask);
        dst[k] = table[src[k]];
      }
    } else {
      for (std::size_t k = i; k < i + kBlockBytes; ++k) dst[k] = table[src[k]];
    }
  }
  for (; i < todo; ++i) dst[i] = table[src[i]];
  return {todo, todo == byteCount};
}

// Every unit is one byte, a surrogate included (each half becomes '?').
template <unsigned kCodePage>
Converted singleByteFromWide(const WideChar* src, std::size_t unitCount, unsigned char* dst,
                             std::size_t room) noexcept {
  if (dst == nullptr) return {unitCount, true};
  const unsigned char* const table = fromWideBytes<kCodePage>();
  const std::size_t todo = room < unitCount ? room : unitCount;
  std::size_t i = 0;
  for (; todo - i >= kBlockUnits; i += kBlockUnits) {
    if constexpr (highHalfIsLatin1<kCodePage>()) {
      // Units below 0x100 narrow as they are, then the ones in 80-9F are looked up.
      if (allBelow100(src + i)) {
        narrowBlock(src + i, dst + i);
        for (unsigned c1 = c1Units(src + i); c1 != 0; c1 &= c1 - 1) {
          const std::size_t k = i + lowestBit(c1);
          dst[k] = table[src[k]];
        }
        continue;
      }
    } else if (nonAsciiUnits(src + i) == 0) {
      narrowBlock(src + i, dst + i);
      continue;
    }
    for (std::size_t k = i; k < i + kBlockUnits; ++k) dst[k] = table[src[k]];
  }
  for (; i < todo; ++i) dst[i] = table[src[i]];
  return {todo, todo == unitCount};
}

#define MLIB_SINGLE_BYTE_PAGE(codePage)                                                         \
  template Converted singleByteToWide<codePage>(const unsigned char*, std::size_t, WideChar*,   \
                                                std::size_t) noexcept;                          \
  template Converted singleByteFromWide<codePage>(const WideChar*, std::size_t, unsigned char*, \
                                                  std::size_t) noexcept;
MLIB_SINGLE_BYTE_PAGE(874)
MLIB_SINGLE_BYTE_PAGE(1250)
MLIB_SINGLE_BYTE_PAGE(1251)
MLIB_SINGLE_BYTE_PAGE(1252)
MLIB_SINGLE_BYTE_PAGE(1253)
MLIB_SINGLE_BYTE_PAGE(1254)
MLIB_SINGLE_BYTE_PAGE(1255)
MLIB_SINGLE_BYTE_PAGE(1256)
MLIB_SINGLE_BYTE_PAGE(1257)
MLIB_SINGLE_BYTE_PAGE(1258)
#undef MLIB_SINGLE_BYTE_PAGE

}  // namespace mlib::platform::detail
