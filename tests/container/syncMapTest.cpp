// SyncMap: every operation under the map's lock, from several threads at once.
#include <mlib/containers.h>

#include "container/containerTestUtil.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace mlib {
namespace {

using testing::TreeIsValid;

TEST(SyncMap, ThreadsAddingDisjointKeysAllLand) {
  SyncMap<int, String> map;
  constexpr int kPerThread = 2000;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&map, t] {
      for (int i = 0; i < kPerThread; ++i) map.Add(t * kPerThread + i, String(i));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(map.GetCount(), 4u * kPerThread);
  for (int k = 0; k < 4 * kPerThread; ++k) ASSERT_TRUE(map.ContainsKey(k)) << k;
  EXPECT_TRUE(TreeIsValid(map));
}

TEST(SyncMap, MixedOperationsFromSeveralThreads) {
  SyncMap<int, String> map;
  for (int k = 0; k < 100; ++k) map.Add(k, String(k));  // shared keys, only read
  std::atomic<bool> iterationConsistent{true};
  std::vector<std::thread> threads;
  for (int t = 1; t <= 3; ++t) {
    threads.emplace_back([&map, t] {
      const int base = t * 10000;
      for (int round = 0; round < 300; ++round) {
        const int key = base + round % 50;
        if (!map.ContainsKey(key)) map.Add(key, String(key));
        String* value = nullptr;
        map.Lock();  // keep the entry alive while its address is used
        value = map.LookupPtr(round % 100);
        const int seen = value != nullptr ? value->toInt() : -1;
        map.Unlock();
        EXPECT_EQ(seen, round % 100);
        if (round % 3 == 0) map.Remove(base + (round / 3) % 50);
        map.SetAt(key, String(-key));
      }
    });
  }
  threads.emplace_back([&] {
    for (int round = 0; round < 100; ++round) {
      map.Lock();  // the whole walk as one operation
      unsigned walked = 0;
      int key = 0;
      String value;
      for (bool ok = map.GetFirst(key, value); ok; ok = map.GetNext(key, value)) ++walked;
      if (walked != map.GetCount()) iterationConsistent = false;
      map.Unlock();
      (void)map.PrintToString();
    }
  });
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(iterationConsistent.load());
  for (int k = 0; k < 100; ++k) EXPECT_TRUE(map.ContainsKey(k));
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
  Fragile() = default;
  Fragile(const Fragile&) = default;
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
  EXPECT_EQ(map.GetCount(), 1u);
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
