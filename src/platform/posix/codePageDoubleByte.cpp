// The code pages of one or two bytes per character (932 Japanese, 936 Simplified Chinese,
// 949 Korean, 950 Traditional Chinese) for the POSIX conversions: one engine, read from
// each page's generated tables. Generic POSIX code only.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include <cstdint>

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

// Every UTF-16 unit's bytes as one number (below 0x100: one byte; else lead * 256 +
// trail): the inverse of the two to-wide tables (single bytes first, then the pairs by
// lead and trail, a later one winning), then the best-fit list, '?' for the rest. 128 KB,
// built at the page's first conversion to bytes (a function-local static, so concurrent
// first uses are safe), so the sources carry only the to-wide tables and the list.
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
        if (unit != Page::kDefaultUnit) bytes[unit] = static_cast<std::uint16_t>(lead << 8 | trail);
      }
    }
    for (const BestFitPair& fit : Page::kBestFit) bytes[fit.unit] = fit.bytes;
  }
};

template <unsigned kCodePage>
const std::uint16_t* fromWideBytes() noexcept {
  static const FromWideTable<kCodePage> table;
  return table.bytes;
}

// The character at src[at] (not ASCII-only: any byte), advancing `at` past it. As Windows
// does, a lead byte takes the next byte with it whatever that is, unless it is a zero or
// there is none; the lead byte alone is then the default unit and the zero stays a
// character of its own.
template <unsigned kCodePage>
WideChar decodeOne(const unsigned char* src, std::size_t byteCount, std::size_t& at) noexcept {
  using Page = DoubleBytePage<kCodePage>;
  const unsigned b = src[at];
  const unsigned row = Page::kLeadRow[b];
  if (row == 0) {
    ++at;
    return Page::kSingleToWide[b];
  }
  if (byteCount - at < 2 || src[at + 1] == 0) {
    ++at;
    return Page::kDefaultUnit;
  }
  const unsigned trail = src[at + 1];
  at += 2;
  if (trail - Page::kTrailFirst > Page::kTrailLast - Page::kTrailFirst) return Page::kDefaultUnit;
  return Page::kDoubleToWide[row - 1][trail - Page::kTrailFirst];
}

template <unsigned kCodePage, Fill kFill>
Converted toWide(const unsigned char* src, std::size_t byteCount, WideChar* dst,
                 std::size_t room) noexcept {
  std::size_t at = 0;
  std::size_t written = 0;
  while (at < byteCount) {
    if (src[at] < 0x80) {
      if (byteCount - at >= 2 && src[at + 1] >= 0x80) {
        // One ASCII byte between characters (the space between Korean words) is cheaper
        // alone than through the block copy: Korean text went from 0.60 to 0.69 GB/s
        // (and from 0.65 to 0.83 GB/s the other way).
        if constexpr (kFill == Fill::kChecked) {
          if (written == room) return {written, false};
        }
        if constexpr (kFill != Fill::kCount) dst[written] = src[at];
        ++at;
        ++written;
      } else {
        copyAsciiBytes<kFill, 2, 0>(src, byteCount, at, dst, room, written);
        if (at == byteCount) break;
      }
    }
    if constexpr (kFill == Fill::kChecked) {
      if (written == room) return {written, false};
    }
    const WideChar unit = decodeOne<kCodePage>(src, byteCount, at);
    if constexpr (kFill != Fill::kCount) dst[written] = unit;
    ++written;
  }
  return {written, true};
}

template <unsigned kCodePage, Fill kFill>
Converted fromWide(const WideChar* src, std::size_t unitCount, unsigned char* dst,
                   std::size_t room) noexcept {
  const std::uint16_t* const table = fromWideBytes<kCodePage>();
  std::size_t at = 0;
  std::size_t written = 0;
  while (at < unitCount) {
    if (src[at] < 0x80) {
      if (unitCount - at >= 2 && src[at + 1] >= 0x80) {
        // One ASCII unit between characters, as in toWide.
        if constexpr (kFill == Fill::kChecked) {
          if (written == room) return {written, false};
        }
        if constexpr (kFill != Fill::kCount) dst[written] = static_cast<unsigned char>(src[at]);
        ++at;
        ++written;
      } else {
        copyAsciiUnits<kFill, 1>(src, unitCount, at, dst, room, written);
        if (at == unitCount) break;
      }
    }
    const unsigned bytes = table[src[at]];
    const std::size_t size = bytes < 0x100 ? 1 : 2;
    if constexpr (kFill == Fill::kChecked) {
      if (room - written < size) return {written, false};
    }
    if constexpr (kFill != Fill::kCount) {
      if (size == 1) {
        dst[written] = static_cast<unsigned char>(bytes);
      } else {
        dst[written] = static_cast<unsigned char>(bytes >> 8);
        dst[written + 1] = static_cast<unsigned char>(bytes);
      }
    }
    written += size;
    ++at;
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
