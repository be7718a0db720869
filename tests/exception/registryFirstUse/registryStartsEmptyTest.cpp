// A fresh process: the registry reached directly is empty until an info operation fills it.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/syncMap.h>

#include "exception/reportText.h"

TEST(RegistryFirstUse, StartsEmptyAndFillsOnTheFirstInfoOperation) {
  mlib::SyncMap<int, mlib::String>& registry = mlib::MxException::GetExceptionMap();
  EXPECT_EQ(registry.GetCount(), 0u);
  const mlib::MxException e(-4);
  (void)mlib::MxException::PrintToString(&e);  // the short report does not ask the registry
  EXPECT_TRUE(registry.IsEmpty());

  EXPECT_EQ(mlib::testing::ascii(e.GetExceptionInfo()),
            "the current index is out of range of an array");
  EXPECT_EQ(&mlib::MxException::GetExceptionMap(), &registry);
  EXPECT_EQ(registry.GetCount(), 9u);
}
