// Run-time loading of a shared library, one small file per platform.
#ifndef MLIB_TESTS_ABI_UNLOAD_LOADER_H
#define MLIB_TESTS_ABI_UNLOAD_LOADER_H

#include <string>

namespace loader {

// Loads the library at `path` (a file name is looked up beside the program); null on failure,
// with `error` telling why.
void* load(const std::string& path, std::string& error);
// The address of the exported C function `name`, or null.
void* find(void* library, const char* name);
// Drops one reference taken by load; true when the system accepted it.
bool unload(void* library);
// Whether a library with this file name is in the process now, without loading it.
bool isLoaded(const char* fileName);

}  // namespace loader

#endif  // MLIB_TESTS_ABI_UNLOAD_LOADER_H
