// A fresh process: many threads reach the registry for the first time at the same moment.
// It must be made once and filled once (a second fill would add every code twice).
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/syncMap.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "exception/reportText.h"

TEST(RegistryFirstUse, ManyThreadsAtOnceMakeAndFillItExactlyOnce) {
  constexpr int kThreadCount = 16;
  std::atomic<int> ready{0};
  std::vector<std::vector<std::string>> answers(kThreadCount);
  std::vector<const void*> maps(kThreadCount, nullptr);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreadCount; ++t) {
    threads.emplace_back([&, t] {
      const mlib::MxException e;
      ready.fetch_add(1);
      while (ready.load() < kThreadCount) std::this_thread::yield();
      // Half reach the registry through the map first, half through an info operation.
      if (t % 2 == 1) maps[t] = &mlib::MxException::GetExceptionMap();
      for (int i = 0; i < 9; ++i) {
        answers[t].push_back(mlib::testing::ascii(e.GetExceptionInfo(-((t + i) % 9))));
      }
      if (t % 2 == 0) maps[t] = &mlib::MxException::GetExceptionMap();
    });
  }
  for (std::thread& thread : threads) thread.join();

  for (int t = 0; t < kThreadCount; ++t) {
    SCOPED_TRACE(t);
    EXPECT_EQ(maps[t], &mlib::MxException::GetExceptionMap());
    ASSERT_EQ(answers[t].size(), 9u);
    for (int i = 0; i < 9; ++i) EXPECT_EQ(answers[t][i], mlib::testing::kBuiltIns[(t + i) % 9]);
  }
  EXPECT_EQ(mlib::MxException::GetExceptionMap().GetCount(), 9u);
}
