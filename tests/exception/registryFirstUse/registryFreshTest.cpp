// A fresh process. Many threads reach the registry first at once: it is made once and empty, then
// filled once. A host's static object still finds its own entry from its destructor after main.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "exception/reportText.h"

namespace mlib::testing {
namespace {

constexpr int kHostCode = 7001, kThreadCount = 16;
constexpr char kHostText[] = "the host's own error";

struct LateUser {  // constructed before main, before the registry's first use
  ~LateUser() {
    const std::string own = ascii(MxException().GetExceptionInfo(kHostCode));
    if (own == kHostText) return;
    std::fprintf(stderr, "after main the registry answered \"%s\"\n", own.c_str());
    std::_Exit(3);  // no test framework reports after main: this is the program's result
  }
} lateUser;

void meetTheOthers(std::atomic<int>& arrived) {
  arrived.fetch_add(1);
  while (arrived.load() < kThreadCount) std::this_thread::yield();
}

TEST(RegistryFirstUse, ManyThreadsMakeItOnceEmptyFillItOnceAndItOutlivesTheHost) {
  std::atomic<int> started{0}, counted{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreadCount; ++t) {
    threads.emplace_back([&, t] {
      const MxException e(-4);
      meetTheOthers(started);
      const void* made = &MxException::GetExceptionMap();
      (void)MxException::PrintToString(&e);
      const unsigned count = MxException::GetExceptionMap().GetCount();
      meetTheOthers(counted);  // nobody fills before every thread has counted
      EXPECT_TRUE(made == &MxException::GetExceptionMap() && count == 0) << t;
      for (int i = t; i < t + 9; ++i)
        EXPECT_EQ(ascii(e.GetExceptionInfo(-(i % 9))), kBuiltIns[i % 9]);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(MxException::GetExceptionMap().GetCount(), 9u);
  EXPECT_FALSE(MxException().AddExceptionInfo(kHostCode, kHostText));
}

}  // namespace
}  // namespace mlib::testing
