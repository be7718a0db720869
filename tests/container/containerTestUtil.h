// Helpers shared by the container tests: a String's text, MxObject's text and, from
// mapDriver.h, the map's hash, the check of its tree and Tally, a value that counts itself.
#ifndef MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H
#define MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H

#include <mlib/containers.h>

#include <cstddef>
#include <string>

#include "container/mapDriver.h"

namespace mlib {
namespace testing {

using Text = std::basic_string<WideChar>;

// The text of s; empty for a null String (check IsNull separately where it matters).
inline Text TextOf(const String& s) {
  return s.IsNull() ? Text() : Text(s.toString(), static_cast<std::size_t>(s.GetLength()));
}

// What MxObject::PrintToString answers, word for word.
inline const Text kObjectText =
    MLIB_T("String can not be printed, as the class couldn't interpret this type of instance yet.");

}  // namespace testing
}  // namespace mlib

#endif  // MLIB_TESTS_CONTAINER_CONTAINERTESTUTIL_H
