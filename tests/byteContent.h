// Test helper: a Byte's content or whole storage as a std::string (empty without storage), and a
// Byte holding given bytes, so that checks compare plain strings.
#ifndef MLIB_TESTS_BYTECONTENT_H
#define MLIB_TESTS_BYTECONTENT_H

#include <mlib/byte.h>

#include <cstddef>
#include <string>

namespace mlib::test {

inline std::string storage(const Byte& b) {
  const auto* data = reinterpret_cast<const char*>(b.GetData());
  return data == nullptr ? "" : std::string(data, static_cast<std::size_t>(b.GetBufferLength()));
}

inline std::string content(const Byte& b) { return storage(b).substr(0, b.GetLength()); }

inline Byte bytesOf(const std::string& s) {
  Byte b;
  b.SetData(reinterpret_cast<const unsigned char*>(s.data()), static_cast<int>(s.size()));
  return b;
}

}  // namespace mlib::test

#endif  // MLIB_TESTS_BYTECONTENT_H
