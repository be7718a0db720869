// Test helpers: the text of a String as ASCII, and the frame of the exception reports.
#ifndef MLIB_TESTS_EXCEPTION_REPORTTEXT_H
#define MLIB_TESTS_EXCEPTION_REPORTTEXT_H

#include <mlib/string.h>

#include <string>

namespace mlib::testing {

// Each UTF-16 unit of s as one char; units past ASCII become '?'. Empty for a null string.
inline std::string ascii(const String& s) {
  std::string out;
  const WideChar* units = s.toString();
  if (units == nullptr) return out;
  for (; *units != 0; ++units) out += *units < 0x80 ? static_cast<char>(*units) : '?';
  return out;
}

// The UTF-16 units of s.
inline std::basic_string<WideChar> units(const String& s) {
  const WideChar* text = s.toString();
  return text == nullptr ? std::basic_string<WideChar>() : std::basic_string<WideChar>(text);
}

// middle framed by two rulers of 74 '-', "\r\n" between the lines and none after the last.
inline std::string framed(const std::string& middle) {
  const std::string ruler(74, '-');
  return ruler + "\r\n" + middle + "\r\n" + ruler;
}

}  // namespace mlib::testing

#endif  // MLIB_TESTS_EXCEPTION_REPORTTEXT_H
