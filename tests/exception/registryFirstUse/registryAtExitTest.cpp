// A host's static object, made before the library's registry and so destroyed after it,
// prints an exception from its destructor: it must still get the registered texts, not a
// destroyed table. The destructor runs after main, where no test framework reports, so it
// ends the process with a failure code of its own when the answer is wrong.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>

#include <cstdio>
#include <cstdlib>

#include "exception/reportText.h"

namespace {

constexpr char kIndexMessage[] = "the current index is out of range of an array";

struct LateUser {
  ~LateUser() {
    const mlib::MxException e(-4);
    if (mlib::testing::ascii(e.GetExceptionInfo()) != kIndexMessage) {
      std::fputs("the registry gave a wrong text after its destruction\n", stderr);
      std::_Exit(3);
    }
  }
};

LateUser lateUser;  // constructed before main, before the registry's first use

}  // namespace

TEST(RegistryAtExit, AStaticDestructorThatRunsAfterTheRegistryStillGetsItsTexts) {
  const mlib::MxException e(-4);
  EXPECT_EQ(mlib::testing::ascii(e.GetExceptionInfo()), kIndexMessage);
}
