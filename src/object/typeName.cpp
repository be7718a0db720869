// Readable names of run-time types. The GNU toolchains (g++, clang, MinGW) all name types
// by the Itanium C++ ABI's mangling, which their runtime demangles; a toolchain that already
// gives readable names prefixes them with "class " or "struct ", which is removed.
#include "object/typeName.h"

#include <cstring>

#if __has_include(<cxxabi.h>)
#include <cxxabi.h>
#define MLIB_HAVE_CXXABI 1
#endif

namespace mlib::detail {

namespace {

char* copyWithoutKeyword(const char* name) noexcept {
  static constexpr const char* kKeywords[] = {"class ", "struct "};
  for (const char* keyword : kKeywords) {
    const std::size_t keywordLength = std::strlen(keyword);
    if (std::strncmp(name, keyword, keywordLength) == 0) {
      name += keywordLength;
      break;
    }
  }
  const std::size_t length = std::strlen(name);
  char* copy = static_cast<char*>(std::malloc(length + 1));
  if (copy != nullptr) std::memcpy(copy, name, length + 1);
  return copy;
}

}  // namespace

char* readableTypeName(const std::type_info& type) noexcept {
  const char* raw = type.name();
  if (raw == nullptr) return nullptr;
#if defined(MLIB_HAVE_CXXABI)
  int status = 0;
  char* demangled = abi::__cxa_demangle(raw, nullptr, nullptr, &status);
  if (status == 0 && demangled != nullptr) {
    char* bare = copyWithoutKeyword(demangled);
    std::free(demangled);
    return bare;
  }
  std::free(demangled);
#endif
  return copyWithoutKeyword(raw);
}

}  // namespace mlib::detail
