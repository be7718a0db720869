// Code page 936 (Simplified Chinese, one or two bytes per character) for the POSIX
// conversions. Generic POSIX code only; the tables come from codePageTables936.inc.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include <cstdint>

#include "platform/posix/codePageCodecs.h"

namespace mlib::platform::detail {
namespace {

struct BestFit936 {
  std::uint16_t unit;
  std::uint16_t bytes;  // one byte, or lead * 256 + trail
};

#include "platform/posix/codePageTables936.inc"

constexpr WideChar kDefaultUnit = u'?';
constexpr std::uint16_t kDefaultByte = '?';

// Every UTF-16 unit's bytes as one number (below 0x100: one byte; else lead * 256 +
// trail, the lead being 0x81 or above): the inverse of the two to-wide tables, then the
// best-fit look-alikes, '?' for the rest. Built on first use (128 KB), so the sources
// carry only the to-wide tables and the list.
struct FromWideTable {
  std::uint16_t bytes[0x10000];

  FromWideTable() noexcept {
    for (std::uint16_t& b : bytes) b = kDefaultByte;
    for (unsigned b = 0; b < 256; ++b) {
      if (b >= k936LeadFirst && b <= k936LeadLast) continue;  // alone they are only '?'
      bytes[k936SingleToWide[b]] = static_cast<std::uint16_t>(b);
    }
    for (unsigned lead = k936LeadFirst; lead <= k936LeadLast; ++lead) {
      for (unsigned trail = k936TrailFirst; trail <= k936TrailLast; ++trail) {
        const WideChar unit = k936DoubleToWide[lead - k936LeadFirst][trail - k936TrailFirst];
        if (unit != kDefaultUnit) bytes[unit] = static_cast<std::uint16_t>(lead << 8 | trail);
      }
    }
    for (const BestFit936& fit : k936BestFit) bytes[fit.unit] = fit.bytes;
  }
};

const std::uint16_t* fromWideBytes() noexcept {
  static const FromWideTable table;
  return table.bytes;
}

constexpr bool isLeadByte(unsigned b) noexcept {
  return b - k936LeadFirst <= k936LeadLast - k936LeadFirst;
}

// The character at src[at] (not ASCII-only: any byte), advancing `at` past it. As Windows
// does, a lead byte takes the next byte with it whatever that is, unless it is a zero or
// there is none; the lead byte alone is then '?' and the zero stays a character of its own.
WideChar decodeOne(const unsigned char* src, std::size_t byteCount, std::size_t& at) noexcept {
  const unsigned b = src[at];
  if (!isLeadByte(b)) {
    ++at;
    return k936SingleToWide[b];
  }
  if (byteCount - at < 2 || src[at + 1] == 0) {
    ++at;
    return kDefaultUnit;
  }
  const unsigned trail = src[at + 1];
  at += 2;
  if (trail - k936TrailFirst > k936TrailLast - k936TrailFirst) return kDefaultUnit;
  return k936DoubleToWide[b - k936LeadFirst][trail - k936TrailFirst];
}

template <Fill kFill>
Converted toWide(const unsigned char* src, std::size_t byteCount, WideChar* dst,
                 std::size_t room) noexcept {
  std::size_t at = 0;
  std::size_t written = 0;
  while (at < byteCount) {
    if (src[at] < 0x80) {
      copyAsciiBytes<kFill, 2, 0>(src, byteCount, at, dst, room, written);
      if (at == byteCount) break;
    }
    if constexpr (kFill == Fill::kChecked) {
      if (written == room) return {written, false};
    }
    const WideChar unit = decodeOne(src, byteCount, at);
    if constexpr (kFill != Fill::kCount) dst[written] = unit;
    ++written;
  }
  return {written, true};
}

template <Fill kFill>
Converted fromWide(const WideChar* src, std::size_t unitCount, unsigned char* dst,
                   std::size_t room) noexcept {
  const std::uint16_t* const table = fromWideBytes();
  std::size_t at = 0;
  std::size_t written = 0;
  while (at < unitCount) {
    if (src[at] < 0x80) {
      copyAsciiUnits<kFill, 1>(src, unitCount, at, dst, room, written);
      if (at == unitCount) break;
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
Converted cp936ToWide(const unsigned char* src, std::size_t byteCount, WideChar* dst,
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

// Each unit gives at most two bytes; a surrogate half gives '?' like any unit without bytes.
Converted cp936FromWide(const WideChar* src, std::size_t unitCount, unsigned char* dst,
                        std::size_t room) noexcept {
  const std::size_t worstCase = unitCount > SIZE_MAX / 2 ? SIZE_MAX : unitCount * 2;
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
