// Run-time loading through LoadLibrary.
#include <windows.h>

#include "loader.h"

namespace loader {

void* load(const std::string& fileName, std::string& error) {
  HMODULE library = ::LoadLibraryA(fileName.c_str());
  if (library == nullptr) error = "LoadLibrary failed: " + std::to_string(::GetLastError());
  return reinterpret_cast<void*>(library);
}

void* find(void* library, const char* name) {
  return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(library), name));
}

bool unload(void* library) { return ::FreeLibrary(static_cast<HMODULE>(library)) != 0; }

bool isLoaded(const char* fileName) { return ::GetModuleHandleA(fileName) != nullptr; }

}  // namespace loader
