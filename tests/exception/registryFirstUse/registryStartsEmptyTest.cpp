// A fresh process: the registry reached directly is empty until an info operation fills it.
#include <mlib/containers.h>
#include <mlib/exceptions.h>
#include <mlib/string.h>

#include <gtest/gtest.h>

#include "exception/reportText.h"

namespace {

using mlib::MxException;

TEST(RegistryFirstUse, StartsEmptyAndFillsOnTheFirstInfoOperation) {
  mlib::SyncMap<int, mlib::String>& registry = MxException::GetExceptionMap();
  EXPECT_TRUE(registry.IsEmpty());
  EXPECT_EQ(registry.GetCount(), 0u);
  // Making and printing exceptions does not fill it; only the info operations do.
  const MxException e(-4);
  (void)MxException::PrintToString(&e);
  EXPECT_TRUE(registry.IsEmpty());

  EXPECT_EQ(mlib::testing::ascii(e.GetExceptionInfo()),
            "the current index is out of range of an array");
  EXPECT_EQ(&MxException::GetExceptionMap(), &registry);
  EXPECT_EQ(registry.GetCount(), 9u);

  int key = 0;
  mlib::String message;
  EXPECT_TRUE(registry.Lookup(key, message, false));
  EXPECT_EQ(mlib::testing::ascii(message), "no error");
}

}  // namespace
