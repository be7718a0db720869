// The engine behind String::Replace: the outcome of replacing the leftmost occurrence again
// and again from the start, computed in one left-to-right run, and the limits that end a run
// that might never end by itself.
#ifndef MLIB_SRC_STRING_REPLACE_H
#define MLIB_SRC_STRING_REPLACE_H

#include <mlib/config.h>

#include <cstddef>

namespace mlib::detail {

// Where a run of replacements gives up: after more than `passes` replacements, or once a
// replacement leaves a text longer than `units` UTF-16 units.
struct ReplaceLimits {
  unsigned long long passes;
  std::size_t units;
};

// Replace's limits for a starting text of `textUnits` units: 2^24 + 64 x textUnits passes and
// max(2^24, 64 x textUnits) units, the latter never past the longest text a String holds.
[[nodiscard]] ReplaceLimits replaceLimits(std::size_t textUnits) noexcept;

// A new wide buffer (detail::allocWideRaw) of exactly the result's length + 1 holding
// text[0, textUnits) after replacing the leftmost occurrence of old[0, oldUnits) by
// replacement[0, replacementUnits) until none is left, as many passes of ReplaceFirst would.
// Null when the run passes `limits`. oldUnits >= 1. Throws std::bad_alloc on exhaustion.
// Each pass costs time in proportion to oldUnits + replacementUnits, whatever the text's
// length; the text is read once more, and the result copied once.
[[nodiscard]] WideChar* replaceRepeatedly(const WideChar* text, std::size_t textUnits,
                                          const WideChar* old, std::size_t oldUnits,
                                          const WideChar* replacement, std::size_t replacementUnits,
                                          const ReplaceLimits& limits);

}  // namespace mlib::detail

#endif  // MLIB_SRC_STRING_REPLACE_H
