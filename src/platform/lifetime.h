// The end of the library's life in the process, the one moment its process-wide state (the
// error-code registry) is released.
#ifndef MLIB_SRC_PLATFORM_LIFETIME_H
#define MLIB_SRC_PLATFORM_LIFETIME_H

namespace mlib::platform {

using LibraryEndFunction = void (*)() noexcept;

// Has `release` run once when the library leaves the process: when it is unloaded (dlclose,
// FreeLibrary: DLL_PROCESS_DETACH) or, for a library that stays loaded (or, on POSIX, is
// linked into the program), at the process's end after the host's static objects are
// destroyed, so that their destructors still find the library's state. Linked into a Windows
// program, where nothing runs after those destructors, it never runs: the state goes with
// the process. One slot: a later call replaces the function. Runs on the thread that unloads
// the library or ends the process.
void atLibraryEnd(LibraryEndFunction release) noexcept;

}  // namespace mlib::platform

#endif  // MLIB_SRC_PLATFORM_LIFETIME_H
