// A fresh process. The registry reached directly is empty until an info operation fills it.
// A host's static object, made before the registry's first use, asks the registry from its
// destructor at exit: the registry lives until the library is unloaded, so it still answers
// the built-in texts and the host's own codes. The destructor runs after main, where no test
// framework reports, so it ends the process with a failure code of its own when wrong.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/syncMap.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "exception/reportText.h"

namespace {

using mlib::testing::ascii;
using mlib::testing::kBuiltIns;

constexpr int kHostCode = 7001;
constexpr char kHostText[] = "the host's own error";

struct LateUser {
  ~LateUser() {
    const mlib::MxException e(-4);
    const std::string builtIn = ascii(e.GetExceptionInfo());
    const std::string own = ascii(e.GetExceptionInfo(kHostCode));
    if (builtIn != kBuiltIns[4] || own != kHostText) {
      std::fprintf(stderr, "at exit the registry answered \"%s\" and \"%s\"\n", builtIn.c_str(),
                   own.c_str());
      std::_Exit(3);
    }
  }
};

LateUser lateUser;  // constructed before main, before the registry's first use

}  // namespace

TEST(RegistryAtExit, StartsEmptyAndAStaticDestructorStillGetsBuiltInAndHostTexts) {
  mlib::SyncMap<int, mlib::String>& registry = mlib::MxException::GetExceptionMap();
  EXPECT_EQ(registry.GetCount(), 0u);
  mlib::MxException e(-4);
  (void)mlib::MxException::PrintToString(&e);  // the short report does not ask the registry
  EXPECT_TRUE(registry.IsEmpty());
  EXPECT_EQ(ascii(e.GetExceptionInfo()), kBuiltIns[4]);
  EXPECT_EQ(&mlib::MxException::GetExceptionMap(), &registry);
  EXPECT_EQ(registry.GetCount(), 9u);
  EXPECT_FALSE(e.AddExceptionInfo(kHostCode, mlib::String(kHostText)));
}
