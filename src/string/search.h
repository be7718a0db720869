// The text search behind String's Find, counting, numbering and replacement: a
// Knuth-Morris-Pratt scan whose idle state skips ahead with a block scan for places where
// an occurrence could start. All scans are bounded by a unit limit (the buffer's capacity)
// and stop at the terminator.
#ifndef MLIB_SRC_STRING_SEARCH_H
#define MLIB_SRC_STRING_SEARCH_H

#include <mlib/config.h>

#include <cstddef>
#include <memory>

namespace mlib::detail {

// The first index p in [from, limit) where text[p] is the terminator, or where text[p] is
// `first` and text[p + lastOffset] (with p + lastOffset < limit) is `last`: the first place
// an occurrence of a pattern with those end units could start. `limit` when there is none.
// Reads nothing at or past text + limit.
[[nodiscard]] std::size_t nextCandidate(const WideChar* text, std::size_t limit, std::size_t from,
                                        WideChar first, WideChar last,
                                        std::size_t lastOffset) noexcept;
// The same answer from the portable word-at-a-time scan that platforms without 128-bit
// vectors use (nextCandidate takes the vector scan where it has one).
[[nodiscard]] std::size_t nextCandidatePortable(const WideChar* text, std::size_t limit,
                                                std::size_t from, WideChar first, WideChar last,
                                                std::size_t lastOffset) noexcept;

// Index of the first occurrence of pattern[0, patternUnits) in text that starts at or after
// `from`, before the terminator and before `limit`; -1 when there is none. patternUnits >= 1;
// next holds the pattern's failure table (String::getNextArray). Linear in the units read.
[[nodiscard]] std::ptrdiff_t findPattern(const WideChar* text, std::size_t limit, std::size_t from,
                                         const WideChar* pattern, std::size_t patternUnits,
                                         const int* next) noexcept;

// The failure table of one pattern for the length of one search: on the stack for short
// patterns, on the heap for long ones (std::bad_alloc on exhaustion).
class FailureTable {
 public:
  // Fills the table of pattern[0, patternUnits), which must be the whole pattern (its
  // terminator at patternUnits).
  FailureTable(const WideChar* pattern, std::size_t patternUnits);
  FailureTable(const FailureTable&) = delete;
  FailureTable& operator=(const FailureTable&) = delete;

  [[nodiscard]] const int* data() const noexcept { return table_; }

 private:
  static constexpr std::size_t kInlineEntries = 64;

  int inline_[kInlineEntries];   // the table of a pattern of up to 64 units
  std::unique_ptr<int[]> heap_;  // the table of a longer pattern
  int* table_;                   // inline_ or heap_
};

}  // namespace mlib::detail

#endif  // MLIB_SRC_STRING_SEARCH_H
