// MxLock, MxSyncBase and MxContainerBase.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <atomic>
#include <thread>

#include "container/containerTestUtil.h"
#include "platform/sync.h"

namespace mlib::detail {
// Test hook: lets a test ask the platform lock directly whether it could be taken.
struct LockAccess {
  static bool TryLockOnAnotherThread(MxLock& lock) {
    bool taken = false;
    std::thread([&] {
      taken = platform::recursiveLockTryEnter(lock.state_);
      if (taken) (void)platform::recursiveLockLeave(lock.state_);
    }).join();
    return taken;
  }
};
}  // namespace mlib::detail

namespace mlib {
namespace {

using detail::LockAccess;

TEST(MxLock, FreeOnlyAfterAsManyUnlocksByTheHolder) {
  MxLock lock;
  lock.Unlock();  // free lock: nothing happens
  lock.Lock();
  lock.Lock();                                 // same thread: must not block
  std::thread([&] { lock.Unlock(); }).join();  // a foreign thread cannot release it
  lock.Unlock();
  EXPECT_FALSE(LockAccess::TryLockOnAnotherThread(lock)) << "freed after one of two unlocks";
  lock.Unlock();
  EXPECT_TRUE(LockAccess::TryLockOnAnotherThread(lock));
  lock.Unlock();  // one more than taken: ignored
  EXPECT_TRUE(LockAccess::TryLockOnAnotherThread(lock));
}

TEST(MxLock, WaiterGetsTheLockOnlyAfterTheOwnerReleasesEveryLevel) {
  MxLock lock;
  std::atomic<bool> started{false};
  std::atomic<bool> acquired{false};
  lock.Lock();
  lock.Lock();
  std::thread waiter([&] {
    started = true;
    lock.Lock();
    acquired = true;
    lock.Unlock();
  });
  while (!started) std::this_thread::yield();
  lock.Unlock();
  EXPECT_FALSE(acquired.load());
  lock.Unlock();
  waiter.join();
  EXPECT_TRUE(acquired.load());
}

TEST(MxContainerBase, EveryContainerIsEmptyAfterRemoveAll) {
  MxList<int> list;
  MxMap<int, String> map;
  SyncMap<int, String> syncMap;
  for (int i = 0; i < 20; ++i) {
    list.AddTail(i);
    map.Add(i, String(MLIB_T("v")));
    syncMap.Add(i, String(MLIB_T("v")));
  }
  MxContainerBase* containers[] = {&list, &map, &syncMap};
  for (MxContainerBase* container : containers) {
    EXPECT_EQ(container->GetCount(), 20u);
    EXPECT_FALSE(container->IsEmpty());
    container->RemoveAll();
    EXPECT_TRUE(container->IsEmpty());
    EXPECT_EQ(container->GetCount(), 0u);
  }
}

}  // namespace
}  // namespace mlib
