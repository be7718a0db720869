// The library unloads with the last module that uses it: nothing of it may pin it in memory (a
// GNU-unique symbol does, on glibc), and its error registry goes with it (or ASan reports a leak).
#include <gtest/gtest.h>

#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

// Run-time loading: load gives the library of this file name beside the program, or null (and
// loadError tells why); isLoaded says whether a library is in the process and loads nothing.
#if defined(_WIN32)
HMODULE load(const char* fileName) { return ::LoadLibraryA(fileName); }
std::string loadError() { return "LoadLibrary failed: " + std::to_string(::GetLastError()); }
void* find(HMODULE library, const char* name) {
  return reinterpret_cast<void*>(::GetProcAddress(library, name));
}
bool unload(HMODULE library) { return ::FreeLibrary(library) != 0; }
bool isLoaded(const char* fileName) { return ::GetModuleHandleA(fileName) != nullptr; }
#else
// A bare file name would be searched in the system's folders only.
void* load(const char* fileName) {
  return ::dlopen((std::string("./") + fileName).c_str(), RTLD_NOW);
}
std::string loadError() { return ::dlerror(); }
void* find(void* library, const char* name) { return ::dlsym(library, name); }
bool unload(void* library) { return ::dlclose(library) == 0; }
bool isLoaded(const char* fileName) {  // by its SONAME
  void* library = ::dlopen(fileName, RTLD_LAZY | RTLD_NOLOAD);
  return library != nullptr && ::dlclose(library) == 0;
}
#endif

TEST(Unload, TheLibraryLeavesWithTheLastModuleThatUsesItAndComesBackAfresh) {
  ASSERT_FALSE(isLoaded(MLIB_LIBRARY_NAME)) << "the program must not link mlib itself";
  for (int round = 1; round <= 2; ++round) {
    auto plugin = load(MLIB_UNLOAD_PLUGIN);
    ASSERT_NE(plugin, nullptr) << loadError();
    EXPECT_TRUE(isLoaded(MLIB_LIBRARY_NAME)) << "the plug-in brings mlib in";
    auto useLibrary = reinterpret_cast<int (*)()>(find(plugin, "UseLibrary"));
    ASSERT_NE(useLibrary, nullptr);
    EXPECT_EQ(useLibrary(), 10) << "load " << round;
    ASSERT_TRUE(unload(plugin));
    EXPECT_FALSE(isLoaded(MLIB_LIBRARY_NAME)) << "mlib stayed after its last user left";
  }
}

}  // namespace
