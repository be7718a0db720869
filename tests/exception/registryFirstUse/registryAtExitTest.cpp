// A host's static object, made before the registry's first use, asks the registry from its
// destructor at exit: the registry lives until the library is unloaded, so it still answers
// the built-in texts and the host's own codes. The destructor runs after main, where no test
// framework reports, so it ends the process with a failure code of its own when wrong.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "exception/reportText.h"

namespace {

constexpr int kHostCode = 7001;
constexpr char kHostText[] = "the host's own error";
constexpr char kIndexMessage[] = "the current index is out of range of an array";

struct LateUser {
  ~LateUser() {
    const mlib::MxException e(-4);
    const std::string builtIn = mlib::testing::ascii(e.GetExceptionInfo());
    const std::string own = mlib::testing::ascii(e.GetExceptionInfo(kHostCode));
    if (builtIn != kIndexMessage || own != kHostText) {
      std::fprintf(stderr, "at exit the registry answered \"%s\" and \"%s\"\n", builtIn.c_str(),
                   own.c_str());
      std::_Exit(3);
    }
  }
};

LateUser lateUser;  // constructed before main, before the registry's first use

}  // namespace

TEST(RegistryAtExit, AStaticDestructorStillGetsBuiltInAndHostTexts) {
  mlib::MxException e(-4);
  EXPECT_FALSE(e.AddExceptionInfo(kHostCode, mlib::String(kHostText)));
  EXPECT_EQ(mlib::testing::ascii(e.GetExceptionInfo()), kIndexMessage);
}
