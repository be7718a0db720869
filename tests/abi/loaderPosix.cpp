// Run-time loading through dlopen.
#include <dlfcn.h>

#include "loader.h"

namespace loader {

void* load(const std::string& fileName, std::string& error) {
  // A bare file name would be searched in the system's folders only.
  void* library = ::dlopen(("./" + fileName).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) error = ::dlerror();
  return library;
}

void* find(void* library, const char* name) { return ::dlsym(library, name); }

bool unload(void* library) { return ::dlclose(library) == 0; }

bool isLoaded(const char* fileName) {
  // RTLD_NOLOAD finds an object already in the process by its SONAME and loads nothing.
  void* library = ::dlopen(fileName, RTLD_LAZY | RTLD_NOLOAD);
  return library != nullptr && ::dlclose(library) == 0;
}

}  // namespace loader
