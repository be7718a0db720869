// Readable names of run-time types, for MxObject::GetType.
#ifndef MLIB_SRC_OBJECT_TYPENAME_H
#define MLIB_SRC_OBJECT_TYPENAME_H

#include <cstdlib>
#include <typeinfo>

namespace mlib::detail {

// Releases a block from malloc.
struct FreeDeleter {
  void operator()(char* block) const noexcept { std::free(block); }
};

// The bare qualified name of `type` ("mlib::MxException"), in a block from malloc: the
// toolchain's mangled name demangled, or the readable name with a leading "class " or
// "struct " removed. Null when no name can be made (out of memory); then the caller falls
// back to type.name().
[[nodiscard]] char* readableTypeName(const std::type_info& type) noexcept;

}  // namespace mlib::detail

#endif  // MLIB_SRC_OBJECT_TYPENAME_H
