// MxLock, MxContainerBase and SyncMap: every map operation under the map's lock, from
// several threads at once.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <atomic>
#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <thread>
#include <utility>

#include "container/containerTestUtil.h"
#include "platform/sync.h"

namespace mlib::detail {
// Test hook: asks the platform lock directly whether another thread could take it.
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
using M = SyncMap<int, String>;

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

TEST(MxContainerBase, EveryContainerIsEmptyAfterRemoveAll) {
  MxList<int> list;
  MxMap<int, String> map;
  M syncMap;
  list.AddTail(1);
  map.Add(1, String());
  syncMap.Add(1, String());
  for (MxContainerBase* container :
       std::initializer_list<MxContainerBase*>{&list, &map, &syncMap}) {
    EXPECT_TRUE(container->GetCount() == 1 && !container->IsEmpty());
    container->RemoveAll();
    EXPECT_TRUE(container->GetCount() == 0 && container->IsEmpty());
  }
}

TEST(SyncMap, EveryOperationWaitsForAnotherThreadsBracket) {
  int key = 1;
  String value;
  const std::pair<const char*, std::function<void(M&)>> operations[] = {
      {"ContainsKey", [](M& m) { (void)m.ContainsKey(1); }},
      {"Add", [](M& m) { (void)m.Add(2, String()); }},
      {"Remove", [](M& m) { (void)m.Remove(2); }},
      {"RemoveCurrent", [](M& m) { (void)m.RemoveCurrent(); }},
      {"LookupPtr", [](M& m) { (void)m.LookupPtr(1); }},
      {"Lookup", [&](M& m) { (void)m.Lookup(key, value); }},
      {"SetAt", [](M& m) { (void)m.SetAt(1, String()); }},
      {"GetFirst", [&](M& m) { (void)m.GetFirst(key, value); }},
      {"GetNext", [&](M& m) { (void)m.GetNext(key, value); }},
      {"PrintToString", [](M& m) { (void)m.PrintToString(); }},
      {"IsEmpty", [](M& m) { (void)m.IsEmpty(); }},
      {"RemoveAll", [](M& m) { m.RemoveAll(); }},
      {"GetCount", [](M& m) { (void)m.GetCount(); }},
  };
  for (const auto& [name, operation] : operations) {
    SCOPED_TRACE(name);
    M map;
    map.Add(1, String(MLIB_T("one")));
    std::atomic<bool> started{false}, done{false};
    map.Lock();
    operation(map);  // the holder re-enters without blocking
    std::thread other([&, op = operation] {
      started = true;
      op(map);
      done = true;
    });
    while (!started) std::this_thread::yield();
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
    EXPECT_FALSE(done.load()) << "it ran inside another thread's bracket";
    map.Unlock();
    other.join();
    EXPECT_TRUE(done.load());
  }
}

TEST(SyncMap, ThreadsAddingAndRemovingDisjointKeysAtOnce) {
  M map;
  auto work = [&map](int t) {
    for (int i = 0; i < 1500; ++i) map.Add(t * 10000 + i, String(i));
    for (int i = 0; i < 1500; i += 2) map.Remove(t * 10000 + i);
  };
  std::thread threads[] = {std::thread(work, 1), std::thread(work, 2), std::thread(work, 3)};
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(map.GetCount(), 3u * 750);
  for (int t = 1; t <= 3; ++t) {
    for (int i = 0; i < 1500; ++i) ASSERT_EQ(map.ContainsKey(t * 10000 + i), i % 2 == 1);
  }
  EXPECT_EQ(testing::TreeProblem(map, true), nullptr);
}

struct Fragile {
  static inline std::atomic<bool> failCopies{false};
  Fragile& operator=(const Fragile&) {
    if (failCopies) throw std::runtime_error("copy failed");
    return *this;
  }
};

TEST(SyncMap, LockIsReleasedWhenAnOperationThrowsAndPrintsAsTheUnlockedMap) {
  SyncMap<int, Fragile> fragile;
  Fragile::failCopies = true;
  EXPECT_THROW(fragile.Add(1, Fragile()), std::runtime_error);
  Fragile::failCopies = false;
  bool added = false;
  std::thread([&] { added = fragile.Add(2, Fragile()); }).join();  // would block for ever
  EXPECT_TRUE(added);
  EXPECT_EQ(fragile.GetCount(), 1u) << "the failed Add left the map unchanged";

  auto* map = new M;  // on the runtime heap
  EXPECT_EQ(testing::TextOf(map->PrintToString()), testing::kObjectText);
  map->Add(5, String(MLIB_T("five")));
  EXPECT_EQ(testing::TextOf(map->PrintToString()),
            testing::Text(MLIB_T("   (5,b)\r\n(0,b)(0,b)\r\n")));
  delete map;
}

}  // namespace
}  // namespace mlib
