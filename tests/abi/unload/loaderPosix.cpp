// Run-time loading through dlopen.
#include <dlfcn.h>

#include "loader.h"

namespace loader {

void* load(const std::string& path, std::string& error) {
  // A bare file name would be searched in the system's folders only.
  const std::string local = path.find('/') == std::string::npos ? "./" + path : path;
  void* library = ::dlopen(local.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) error = ::dlerror();
  return library;
}

void* find(void* library, const char* name) { return ::dlsym(library, name); }

bool unload(void* library) { return ::dlclose(library) == 0; }

bool isLoaded(const char* fileName) {
  // RTLD_NOLOAD answers an object already in the process (matched by its SONAME) and
  // loads nothing; the reference it takes is given back at once.
  void* library = ::dlopen(fileName, RTLD_LAZY | RTLD_NOLOAD);
  if (library == nullptr) return false;
  ::dlclose(library);
  return true;
}

}  // namespace loader
