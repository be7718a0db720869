// MxLock, MxSyncBase and MxContainerBase: the out-of-line parts, so their type information
// and virtual tables live in the library and are exported once.
#include <mlib/lock.h>

#include "platform/sync.h"

namespace mlib {

MxLock::MxLock() noexcept {
  static_assert(kStateBytes >= platform::kRecursiveLockBytes, "MxLock cannot hold the lock");
  static_assert(alignof(MxLock) >= platform::kRecursiveLockAlign, "MxLock storage misaligned");
  platform::recursiveLockInit(state_);
}

MxLock::~MxLock() { platform::recursiveLockDestroy(state_); }

void MxLock::Lock() noexcept { platform::recursiveLockEnter(state_); }

void MxLock::Unlock() noexcept { (void)platform::recursiveLockLeave(state_); }

MxSyncBase::MxSyncBase() noexcept = default;

MxSyncBase::~MxSyncBase() = default;

void MxSyncBase::Lock() const noexcept { lock_.Lock(); }

void MxSyncBase::Unlock() const noexcept { lock_.Unlock(); }

void* MxSyncBase::operator new(std::size_t size) noexcept { return MxObject::operator new(size); }

void MxSyncBase::operator delete(void* block) noexcept { MxObject::operator delete(block); }

MxContainerBase::~MxContainerBase() = default;

}  // namespace mlib
