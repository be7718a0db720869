// The library's end on Windows: a destructor function of the module. The MinGW runtime runs
// it from the DLL's DLL_PROCESS_DETACH notification (FreeLibrary, or the process's end, after
// the program's static destructors), after the DLL's own static objects; in a program the
// library is linked into, after every handler that exit runs.
#include "platform/lifetime.h"

#include <atomic>

namespace mlib::platform {
namespace {

std::atomic<LibraryEndFunction> pendingRelease{nullptr};

__attribute__((destructor)) void runAtLibraryEnd() {
  if (const LibraryEndFunction release = pendingRelease.exchange(nullptr)) release();
}

}  // namespace

void atLibraryEnd(LibraryEndFunction release) noexcept { pendingRelease = release; }

}  // namespace mlib::platform
