// Test helper: a String's text ("(null)" for a null string), its text with its capacity, so
// that one expectation shows both, its whole buffer, and a u16string as the library's text.
#ifndef MLIB_TESTS_STRINGTEXT_H
#define MLIB_TESTS_STRINGTEXT_H

#include <mlib/string.h>

#include <string>
#include <utility>

#include "string/storage.h"

namespace mlib::test {

inline std::u16string shown(const String& s) {
  if (s.IsNull()) return u"(null)";
  return std::u16string(reinterpret_cast<const char16_t*>(s.toString()),
                        static_cast<std::size_t>(s.GetLength()));
}

using State = std::pair<std::u16string, unsigned>;
inline State state(const String& s) { return {shown(s), detail::StringAccess::capacity(s)}; }

// Every unit of the buffer, the terminator and what follows it included; empty when null.
inline std::u16string units(const String& s) {
  const auto* first = reinterpret_cast<const char16_t*>(s.GetBuffer(0));
  return std::u16string(first, first == nullptr ? 0 : detail::StringAccess::capacity(s));
}

inline const WideChar* wide(const std::u16string& s) {
  return reinterpret_cast<const WideChar*>(s.c_str());
}

}  // namespace mlib::test

#endif  // MLIB_TESTS_STRINGTEXT_H
