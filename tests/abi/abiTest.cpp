// The library as a host sees it: linked against the shared library, public headers only.
#include <gtest/gtest.h>
#include <mlib/mlib.h>

TEST(Abi, FreeFunctionsAreExportedUnderPlainNames) {
  EXPECT_EQ(GetStringHashCode("a"), 97);
  EXPECT_EQ(GetStringHashCodeA("a"), 740);
  mlib::WideChar wide[8];
  ASSERT_EQ(ANSIToWide(wide, "abc", 8), wide);
  EXPECT_EQ(wide[0], MLIB_T('a'));
  EXPECT_EQ(wide[3], 0);
}
