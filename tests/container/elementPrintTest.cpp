// ElementToString and the type lists behind the containers.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <climits>
#include <string>

#include "container/containerTestUtil.h"

namespace mlib {
namespace {

using testing::Text;
using testing::TextOf;

TEST(ElementToString, EachTypeByItsExactRow) {
  const WideChar* nullWide = nullptr;
  struct Row {
    String got;
    const WideChar* want;  // null: the null String
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
      {ElementToString(String(MLIB_T("copy"))), MLIB_T("copy"), "String"},
      {ElementToString(std::string("abc")), MLIB_T("abc"), "std::string"},
      {ElementToString(static_cast<const char*>("xyz")), MLIB_T("xyz"), "const char*"},
      {ElementToString(static_cast<const WideChar*>(MLIB_T("wide"))), MLIB_T("wide"),
       "const wchar_t*"},
      {ElementToString(reinterpret_cast<const unsigned char*>("ub")), MLIB_T("ub"), "bytes"},
      {ElementToString(nullWide), nullptr, "null wide text"},
      {ElementToString(true), nullptr, "bool is not listed"},
      {ElementToString(static_cast<signed char>(5)), nullptr, "signed char is not listed"},
      {ElementToString(5UL), nullptr, "unsigned long is not listed"},
      {ElementToString(MxList<int>()), nullptr, "a list"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.why);
    EXPECT_EQ(row.got.IsNull(), row.want == nullptr);
    EXPECT_EQ(TextOf(row.got), Text(row.want != nullptr ? row.want : MLIB_T("")));
  }
  if (sizeof(long) == 8) {
    EXPECT_EQ(TextOf(ElementToString(static_cast<long>(1LL << 40))), Text(MLIB_T("1099511627776")))
        << "long keeps its full width";
  }
  // void* is a plain value but not printable: its list prints the root text.
  MxList<void*> pointers;
  pointers.AddTail(nullptr);
  EXPECT_EQ(TextOf(pointers.PrintToString()), testing::kObjectText);
}

}  // namespace
}  // namespace mlib
