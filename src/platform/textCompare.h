// Whole-text comparison as the system does it: the exact and the case-insensitive form
// (lstrcmpW and lstrcmpiW on Windows; unit order and Unicode simple case folding elsewhere).
#ifndef MLIB_SRC_PLATFORM_TEXTCOMPARE_H
#define MLIB_SRC_PLATFORM_TEXTCOMPARE_H

#include <mlib/config.h>

namespace mlib::platform {

// lstrcmpW: -1, 0 or 1 as a orders before, equal to or after b. Both texts are
// zero-terminated; a null pointer orders before any text and two nulls are equal. Windows
// orders by the user's locale; elsewhere the order is that of the unsigned UTF-16 units,
// a text ordering before every longer text it starts.
[[nodiscard]] int compareText(const WideChar* a, const WideChar* b) noexcept;

// lstrcmpiW: compareText without regard to case. Windows folds case by the user's locale;
// elsewhere both sides are read as code points (a surrogate pair is one code point, an
// unpaired surrogate stands for itself), each folded by Unicode simple case folding, and
// the folded code points are compared in order.
[[nodiscard]] int compareTextNoCase(const WideChar* a, const WideChar* b) noexcept;

// True where compareTextNoCase folds by Unicode simple case folding (every platform but
// Windows, whose comparison belongs to the system's locale).
[[nodiscard]] bool foldsBySimpleCaseFolding() noexcept;

}  // namespace mlib::platform

#endif  // MLIB_SRC_PLATFORM_TEXTCOMPARE_H
