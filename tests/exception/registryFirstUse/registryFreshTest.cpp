// A fresh process. Many threads reach the registry for the first time at once: it is made
// once and empty (reaching it and the short report do not fill it), and the info operations
// fill it once (a second fill would add every code twice). A host's static object, made
// before the registry's first use, asks it for texts from its destructor after main, where no
// test framework reports: the registry lives to the library's end, so it still answers.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "exception/reportText.h"

namespace mlib::testing {
namespace {

constexpr int kHostCode = 7001;
constexpr char kHostText[] = "the host's own error";
constexpr int kThreadCount = 16;

struct LateUser {
  ~LateUser() {
    const MxException e(-4);
    const std::string builtIn = ascii(e.GetExceptionInfo()),
                      own = ascii(e.GetExceptionInfo(kHostCode));
    if (builtIn != kBuiltIns[4] || own != kHostText) {
      std::fprintf(stderr, "at exit the registry answered \"%s\" and \"%s\"\n", builtIn.c_str(),
                   own.c_str());
      std::_Exit(3);  // the test program's result
    }
  }
} lateUser;  // constructed before main, before the registry's first use

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
      for (int i = t; i < t + 9; ++i) {
        EXPECT_EQ(ascii(e.GetExceptionInfo(-(i % 9))), kBuiltIns[i % 9]) << t;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(MxException::GetExceptionMap().GetCount(), 9u);
  EXPECT_FALSE(MxException().AddExceptionInfo(kHostCode, String(kHostText)));
}

}  // namespace
}  // namespace mlib::testing
