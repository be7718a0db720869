// The shapes of the generated code page tables (codePageTablesNNN.inc, written by
// tools/genCodePageTables.py from the recorded Windows answers). Each table file
// specialises one of the two page templates below for its code page; the engines in
// codePageSingleByte.cpp and codePageDoubleByte.cpp read them.
#ifndef MLIB_SRC_PLATFORM_POSIX_CODEPAGETABLES_H
#define MLIB_SRC_PLATFORM_POSIX_CODEPAGETABLES_H

#include <mlib/config.h>

#include <cstdint>

namespace mlib::platform::detail {

// A unit whose byte is not the inverse of the bytes-to-UTF-16 table.
struct BestFitByte {
  std::uint16_t unit;
  std::uint8_t byte;
};

// The same for a double-byte page: one byte, or lead * 256 + trail.
struct BestFitPair {
  std::uint16_t unit;
  std::uint16_t bytes;
};

// A page of one byte per character: kToWide[256], kBestFit[].
template <unsigned kCodePage>
struct SingleBytePage;

// A page of one or two bytes per character: kDefaultUnit, kTrailFirst, kTrailLast,
// kLeadRow[256], kSingleToWide[256], kDoubleToWide[rows][trails], kBestFit[].
template <unsigned kCodePage>
struct DoubleBytePage;

}  // namespace mlib::platform::detail

#endif  // MLIB_SRC_PLATFORM_POSIX_CODEPAGETABLES_H
