// Whole-text comparison on Windows: the system's own lstrcmpW and lstrcmpiW.
#include "platform/textCompare.h"

#include "platform/win32/win32.h"

namespace mlib::platform {

namespace {

// lstrcmp(i)W already answer -1, 0 or 1; clamp anyway so callers may rely on it.
int sign(int value) noexcept { return (value > 0) - (value < 0); }

}  // namespace

int compareText(const WideChar* a, const WideChar* b) noexcept { return sign(::lstrcmpW(a, b)); }

int compareTextNoCase(const WideChar* a, const WideChar* b) noexcept {
  return sign(::lstrcmpiW(a, b));
}

bool foldsBySimpleCaseFolding() noexcept { return false; }

}  // namespace mlib::platform
