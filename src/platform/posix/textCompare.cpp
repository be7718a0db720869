// Whole-text comparison for POSIX systems: exact unit order, and Unicode simple case
// folding (statuses C and S of the Unicode Character Database) for the case-blind form.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include "platform/textCompare.h"

#include <cstdint>

namespace mlib::platform {

namespace {

// Code points first, first + stride, ... (count of them) fold to themselves plus delta.
struct CaseFoldRun {
  std::uint32_t first;
  std::uint16_t count;
  std::uint16_t stride;
  std::int32_t delta;
};

constexpr CaseFoldRun kCaseFoldRuns[] = {
#include "platform/posix/caseFoldingTable.inc"
};
constexpr int kCaseFoldRunCount = static_cast<int>(sizeof kCaseFoldRuns / sizeof kCaseFoldRuns[0]);

// The simple case folding of one code point: ASCII directly, the rest by a binary search
// for the last run starting at or before it (about 8 steps over 202 runs).
std::uint32_t foldCodePoint(std::uint32_t cp) noexcept {
  if (cp < 0x80) return (cp >= 'A' && cp <= 'Z') ? cp + 32 : cp;
  int lo = 0;
  int hi = kCaseFoldRunCount - 1;
  int found = -1;
  while (lo <= hi) {
    const int mid = lo + (hi - lo) / 2;
    if (kCaseFoldRuns[mid].first <= cp) {
      found = mid;
      lo = mid + 1;
    } else {
      hi = mid - 1;
    }
  }
  if (found < 0) return cp;
  const CaseFoldRun& run = kCaseFoldRuns[found];
  const std::uint32_t offset = cp - run.first;
  if (offset % run.stride != 0 || offset / run.stride >= run.count) return cp;
  return static_cast<std::uint32_t>(static_cast<std::int64_t>(cp) + run.delta);
}

// Reads the code point at *text and advances past it: a lead surrogate followed by a trail
// surrogate is one code point, any other unit (an unpaired surrogate too) is itself.
std::uint32_t nextCodePoint(const WideChar*& text) noexcept {
  const std::uint32_t unit = static_cast<std::uint16_t>(*text++);
  if (unit >= 0xD800 && unit <= 0xDBFF) {
    const std::uint32_t next = static_cast<std::uint16_t>(*text);
    if (next >= 0xDC00 && next <= 0xDFFF) {
      ++text;
      return 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00);
    }
  }
  return unit;
}

// Orders null pointers before any text; 2 means both are present.
int compareNulls(const WideChar* a, const WideChar* b) noexcept {
  if (a == nullptr) return b == nullptr ? 0 : -1;
  if (b == nullptr) return 1;
  return 2;
}

}  // namespace

int compareText(const WideChar* a, const WideChar* b) noexcept {
  const int nulls = compareNulls(a, b);
  if (nulls != 2) return nulls;
  for (;; ++a, ++b) {
    const auto unitA = static_cast<std::uint16_t>(*a);
    const auto unitB = static_cast<std::uint16_t>(*b);
    if (unitA != unitB) return unitA < unitB ? -1 : 1;
    if (unitA == 0) return 0;
  }
}

int compareTextNoCase(const WideChar* a, const WideChar* b) noexcept {
  const int nulls = compareNulls(a, b);
  if (nulls != 2) return nulls;
  for (;;) {
    // The terminator is code point 0, which folds to itself and orders first.
    const std::uint32_t cpA = foldCodePoint(nextCodePoint(a));
    const std::uint32_t cpB = foldCodePoint(nextCodePoint(b));
    if (cpA != cpB) return cpA < cpB ? -1 : 1;
    if (cpA == 0) return 0;
  }
}

bool foldsBySimpleCaseFolding() noexcept { return true; }

}  // namespace mlib::platform
