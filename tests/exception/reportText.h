// Test helpers: a String as ASCII, the exception reports' frame, the registry's built-in texts.
#ifndef MLIB_TESTS_EXCEPTION_REPORTTEXT_H
#define MLIB_TESTS_EXCEPTION_REPORTTEXT_H

#include <mlib/string.h>

#include <string>

namespace mlib::testing {

// Each UTF-16 unit of s as one char; units past ASCII become '?'. Empty for a null string.
inline std::string ascii(const String& s) {
  std::string out;
  for (const WideChar* u = s.toString(); u != nullptr && *u != 0; ++u)
    out += *u < 0x80 ? static_cast<char>(*u) : '?';
  return out;
}

// middle framed by two rulers of 74 '-', "\r\n" between the lines and none after the last.
inline std::string framed(const std::string& middle) {
  const std::string ruler(74, '-');
  return ruler + "\r\n" + middle + "\r\n" + ruler;
}

// The messages of the codes 0, -1, ..., -8.
inline const char* const kBuiltIns[] = {"no error",
                                        "unknown exception",
                                        "the current pointer is null",
                                        "the current pointer is invalid",
                                        "the current index is out of range of an array",
                                        "can not found the specific key",
                                        "the value is too less",
                                        "the specific port has been used",
                                        "the called method has not been found"};

}  // namespace mlib::testing

#endif  // MLIB_TESTS_EXCEPTION_REPORTTEXT_H
