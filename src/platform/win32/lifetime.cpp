// The library's end on Windows. In mlib.dll: a destructor function of the DLL, which MinGW's
// runtime runs from the DLL's DLL_PROCESS_DETACH notification (FreeLibrary, or ExitProcess
// after exit has run the program's handlers, its static destructors among them). Linked into
// a program, the library ends with the process: MinGW runs a program's destructor functions
// before its static destructors, so there the state is left to the process's end instead.
#include "platform/lifetime.h"

#include <atomic>

#include "platform/win32/win32.h"

namespace mlib::platform {
namespace {

std::atomic<LibraryEndFunction> pendingRelease{nullptr};

// Whether this code is in a DLL rather than in the program itself.
bool inLibraryModule() noexcept {
  HMODULE self = nullptr;
  const auto address = reinterpret_cast<LPCWSTR>(&pendingRelease);
  if (!::GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          address, &self)) {
    return false;
  }
  return self != ::GetModuleHandleW(nullptr);
}

__attribute__((destructor)) void runAtLibraryEnd() {
  if (!inLibraryModule()) return;
  if (const LibraryEndFunction release = pendingRelease.exchange(nullptr)) release();
}

}  // namespace

void atLibraryEnd(LibraryEndFunction release) noexcept { pendingRelease = release; }

}  // namespace mlib::platform
