// SyncMap: every operation under the map's lock, from several threads at once.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include "container/containerTestUtil.h"

namespace mlib {
namespace {

using testing::TreeIsValid;

TEST(SyncMap, ThreadsAddingRemovingAndLookingUpAtOnce) {
  SyncMap<int, String> map;
  for (int k = 0; k < 100; ++k) map.Add(k, String(k));  // shared, only read
  std::atomic<bool> walksAgreed{true};
  std::vector<std::thread> threads;
  for (int t = 1; t <= 3; ++t) {
    threads.emplace_back([&map, t] {
      for (int i = 0; i < 1500; ++i) map.Add(t * 10000 + i, String(i));  // disjoint keys
      for (int i = 0; i < 1500; i += 2) {
        map.Remove(t * 10000 + i);
        map.Lock();  // keep the entry alive while its address is used
        const String* value = map.LookupPtr(i % 100);
        const int seen = value != nullptr ? value->toInt() : -1;
        map.Unlock();
        EXPECT_EQ(seen, i % 100);
      }
    });
  }
  threads.emplace_back([&] {
    for (int round = 0; round < 50; ++round) {
      map.Lock();  // the whole walk as one operation
      unsigned walked = 0;
      int key = 0;
      String value;
      for (bool ok = map.GetFirst(key, value); ok; ok = map.GetNext(key, value)) ++walked;
      if (walked != map.GetCount()) walksAgreed = false;
      map.Unlock();
    }
  });
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(walksAgreed.load());
  EXPECT_EQ(map.GetCount(), 100u + 3 * 750);
  for (int t = 1; t <= 3; ++t) {
    for (int i = 0; i < 1500; ++i) ASSERT_EQ(map.ContainsKey(t * 10000 + i), i % 2 == 1);
  }
  EXPECT_TRUE(TreeIsValid(map));
}

TEST(SyncMap, CallerBracketIsOneOperationForOtherThreads) {
  SyncMap<int, String> map;
  std::atomic<bool> started{false};
  std::atomic<bool> answered{false};
  bool sawKey = false;
  map.Lock();
  map.Add(1, String(MLIB_T("one")));
  EXPECT_TRUE(map.ContainsKey(1)) << "the holder re-enters without blocking";
  std::thread reader([&] {
    started = true;
    sawKey = map.ContainsKey(2);
    answered = true;
  });
  while (!started) std::this_thread::yield();
  for (int i = 0; i < 1000; ++i) std::this_thread::yield();
  EXPECT_FALSE(answered.load()) << "the reader ran inside the bracket";
  map.Add(2, String(MLIB_T("two")));
  map.Unlock();
  reader.join();
  EXPECT_TRUE(sawKey) << "the reader must see the whole bracket";
}

struct Fragile {
  static inline std::atomic<bool> failCopies{false};
  Fragile& operator=(const Fragile&) {
    if (failCopies) throw std::runtime_error("copy failed");
    return *this;
  }
};

TEST(SyncMap, LockIsReleasedWhenAnOperationThrows) {
  SyncMap<int, Fragile> map;
  Fragile::failCopies = true;
  EXPECT_THROW(map.Add(1, Fragile()), std::runtime_error);
  Fragile::failCopies = false;
  bool added = false;
  std::thread([&] { added = map.Add(2, Fragile()); }).join();  // would block for ever
  EXPECT_TRUE(added);
  EXPECT_EQ(map.GetCount(), 1u) << "the failed Add left the map unchanged";
}

TEST(SyncMap, PrintsAsTheUnlockedMapAndLivesOnTheHeap) {
  auto* map = new SyncMap<int, String>;
  ASSERT_NE(map, nullptr);
  EXPECT_EQ(testing::TextOf(map->PrintToString()), testing::kObjectText);
  map->Add(5, String(MLIB_T("five")));
  EXPECT_EQ(testing::TextOf(map->PrintToString()),
            testing::Text(MLIB_T("   (5,b)\r\n(0,b)(0,b)\r\n")));
  delete map;
}

}  // namespace
}  // namespace mlib
