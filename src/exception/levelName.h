// The names the exception reports print for severity levels.
#ifndef MLIB_SRC_EXCEPTION_LEVELNAME_H
#define MLIB_SRC_EXCEPTION_LEVELNAME_H

#include <mlib/config.h>

namespace mlib::detail {

// "Info", "Warnning", "Serious" and "Fatal" for levels 0 to 3 (the second spelled with a
// double n, as the reports always have); "Unknown" for every other value.
[[nodiscard]] inline const WideChar* levelName(int level) noexcept {
  switch (level) {
    case 0:
      return MLIB_T("Info");
    case 1:
      return MLIB_T("Warnning");
    case 2:
      return MLIB_T("Serious");
    case 3:
      return MLIB_T("Fatal");
    default:
      return MLIB_T("Unknown");
  }
}

}  // namespace mlib::detail

#endif  // MLIB_SRC_EXCEPTION_LEVELNAME_H
