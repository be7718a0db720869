// Run-time loading of a shared library, one small file per platform.
#ifndef MLIB_TESTS_ABI_LOADER_H
#define MLIB_TESTS_ABI_LOADER_H

#include <string>

namespace loader {

// The library of this file name beside the program, or null with `error` telling why.
void* load(const std::string& fileName, std::string& error);
void* find(void* library, const char* name);  // the exported C function `name`, or null
bool unload(void* library);                   // drops load's reference; false when refused
bool isLoaded(const char* fileName);          // whether it is in the process; loads nothing

}  // namespace loader

#endif  // MLIB_TESTS_ABI_LOADER_H
