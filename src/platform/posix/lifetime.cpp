// The library's end on POSIX: a destructor function of the library. The dynamic linker runs
// it when dlclose unloads the library and, at exit, after every handler that exit runs (the
// host's static destructors among them), for a shared library and a program alike.
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
