// ElementToString and the compile-time type lists behind the containers.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <climits>
#include <string>

#include "container/containerTestUtil.h"

namespace mlib {
namespace {

using testing::Text;
using testing::TextOf;

TEST(ElementToString, NumbersPrintInDecimalByTheirExactType) {
  struct Row {
    String got;
    const WideChar* want;
    const char* why;
  };
  const Row rows[] = {
      {ElementToString(-5), MLIB_T("-5"), "int"},
      {ElementToString(static_cast<short>(-32768)), MLIB_T("-32768"), "short 0x8000"},
      {ElementToString(static_cast<unsigned short>(0x8000)), MLIB_T("32768"), "unsigned short"},
      {ElementToString(static_cast<char>(0xE9)), MLIB_T("-23"), "char is signed"},
      {ElementToString(static_cast<unsigned char>(0xE9)), MLIB_T("233"), "unsigned char"},
      {ElementToString(static_cast<WideChar>(0xE9)), MLIB_T("233"), "UTF-16 unit as number"},
      {ElementToString(4000000000u), MLIB_T("4000000000"), "unsigned int"},
      {ElementToString(-9000000000LL), MLIB_T("-9000000000"), "64-bit"},
      {ElementToString(ULLONG_MAX), MLIB_T("18446744073709551615"), "unsigned 64-bit"},
      {ElementToString(static_cast<long>(-2000000000)), MLIB_T("-2000000000"), "long"},
      {ElementToString(1.5), MLIB_T("1.500000"), "double"},
      {ElementToString(0.25f), MLIB_T("0.250000"), "float"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.why);
    EXPECT_EQ(TextOf(row.got), Text(row.want));
  }
  if (sizeof(long) == 8) {
    EXPECT_EQ(TextOf(ElementToString(static_cast<long>(1LL << 40))), Text(MLIB_T("1099511627776")))
        << "long keeps its full width";
  }
}

TEST(ElementToString, TextsAndUnlistedTypes) {
  const char* ansi = "xyz";
  const WideChar* wide = MLIB_T("wide");
  const auto* bytes = reinterpret_cast<const unsigned char*>("ub");
  const WideChar* nullWide = nullptr;
  EXPECT_EQ(TextOf(ElementToString(String(MLIB_T("copy")))), Text(MLIB_T("copy")));
  EXPECT_EQ(TextOf(ElementToString(std::string("abc"))), Text(MLIB_T("abc")));
  EXPECT_EQ(TextOf(ElementToString(ansi)), Text(MLIB_T("xyz")));
  EXPECT_EQ(TextOf(ElementToString(wide)), Text(MLIB_T("wide")));
  EXPECT_EQ(TextOf(ElementToString(bytes)), Text(MLIB_T("ub")));
  EXPECT_TRUE(ElementToString(nullWide).IsNull());
  EXPECT_TRUE(ElementToString(true).IsNull());
  EXPECT_TRUE(ElementToString(static_cast<signed char>(5)).IsNull());
  EXPECT_TRUE(ElementToString(5UL).IsNull());
  EXPECT_TRUE(ElementToString(MxList<int>()).IsNull());

  // void* is a plain value but not printable: its list prints the root text.
  MxList<void*> pointers;
  pointers.AddTail(nullptr);
  EXPECT_EQ(TextOf(pointers.PrintToString()), testing::kObjectText);
}

}  // namespace
}  // namespace mlib
