// The recursive lock for POSIX systems: a plain pthread mutex plus the owner and depth. The
// owner re-enters by counting, without touching the mutex, and a release by a thread that does
// not hold the lock is refused before it reaches the mutex. A plain mutex's fast path is
// cheaper than a recursive one's, which would keep an owner and a count of its own.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include "platform/sync.h"

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <new>

namespace mlib::platform {
namespace {

struct PosixRecursiveLock {
  pthread_mutex_t mutex;              // held, once, by the owner
  std::atomic<std::uintptr_t> owner;  // pthread_self of the holding thread, 0 when free
  unsigned depth;                     // levels held by the owner; touched only by it
};

static_assert(sizeof(PosixRecursiveLock) <= kRecursiveLockBytes, "lock storage too small");
static_assert(alignof(PosixRecursiveLock) <= kRecursiveLockAlign, "lock storage misaligned");

// The calling thread's identity as a number; never 0 for a live thread. pthread_self is a
// register read on the systems the library supports, where a thread-local address would
// cost a call through the dynamic TLS resolver in a shared library.
std::uintptr_t currentThreadTag() noexcept {
  static_assert(sizeof(pthread_t) <= sizeof(std::uintptr_t), "thread id does not fit");
  const pthread_t self = pthread_self();
  std::uintptr_t tag = 0;
  std::memcpy(&tag, &self, sizeof(self));
  return tag;
}

PosixRecursiveLock* asLock(void* storage) noexcept {
  return std::launder(static_cast<PosixRecursiveLock*>(storage));
}

}  // namespace

void recursiveLockInit(void* storage) noexcept {
  if (storage == nullptr) return;
  auto* lock = new (storage) PosixRecursiveLock;
  pthread_mutex_init(&lock->mutex, nullptr);
  lock->owner.store(0, std::memory_order_relaxed);
  lock->depth = 0;
}

void recursiveLockDestroy(void* storage) noexcept {
  if (storage == nullptr) return;
  PosixRecursiveLock* lock = asLock(storage);
  pthread_mutex_destroy(&lock->mutex);
  lock->~PosixRecursiveLock();
}

// Only the owner ever stores its own tag, so a thread that reads its own tag holds the lock;
// any other thread reads 0 or a foreign tag.
void recursiveLockEnter(void* storage) noexcept {
  PosixRecursiveLock* lock = asLock(storage);
  const std::uintptr_t self = currentThreadTag();
  if (lock->owner.load(std::memory_order_relaxed) != self) {
    pthread_mutex_lock(&lock->mutex);
    lock->owner.store(self, std::memory_order_relaxed);
  }
  ++lock->depth;
}

bool recursiveLockTryEnter(void* storage) noexcept {
  PosixRecursiveLock* lock = asLock(storage);
  const std::uintptr_t self = currentThreadTag();
  if (lock->owner.load(std::memory_order_relaxed) != self) {
    if (pthread_mutex_trylock(&lock->mutex) != 0) return false;
    lock->owner.store(self, std::memory_order_relaxed);
  }
  ++lock->depth;
  return true;
}

bool recursiveLockLeave(void* storage) noexcept {
  PosixRecursiveLock* lock = asLock(storage);
  if (lock->owner.load(std::memory_order_relaxed) != currentThreadTag()) return false;
  if (--lock->depth == 0) {
    lock->owner.store(0, std::memory_order_relaxed);
    pthread_mutex_unlock(&lock->mutex);
  }
  return true;
}

}  // namespace mlib::platform
