// The recursive lock behind MxLock: one owning thread at a time, any depth of re-entry by
// that thread, and a release that does nothing for a thread that does not hold the lock.
#ifndef MLIB_SRC_PLATFORM_SYNC_H
#define MLIB_SRC_PLATFORM_SYNC_H

#include <mlib/config.h>

#include <cstddef>

namespace mlib::platform {

// Bytes of caller-provided storage a recursive lock lives in, and their alignment. The
// storage is opaque to callers; each backend checks at compile time that its lock fits.
constexpr std::size_t kRecursiveLockBytes = 64;
constexpr std::size_t kRecursiveLockAlign = 8;

// Sets up a free lock in `storage` (kRecursiveLockBytes bytes, kRecursiveLockAlign-aligned).
// InitializeCriticalSection: no spin count. A null storage does nothing.
void recursiveLockInit(void* storage) noexcept;

// Tears the lock down. No thread may hold it. A null storage does nothing.
void recursiveLockDestroy(void* storage) noexcept;

// Takes the lock, waiting without time-out while another thread holds it; the owner takes it
// again at once, one level deeper.
void recursiveLockEnter(void* storage) noexcept;

// Takes the lock only if that needs no wait. True when the calling thread now holds it.
[[nodiscard]] bool recursiveLockTryEnter(void* storage) noexcept;

// Releases one level of the calling thread's ownership. True when it did; false, changing
// nothing, when the calling thread does not hold the lock (free or held by another thread).
bool recursiveLockLeave(void* storage) noexcept;

}  // namespace mlib::platform

#endif  // MLIB_SRC_PLATFORM_SYNC_H
