// Printing: MxMap::PrintToString's tree picture, character for character, and the element
// texts of ElementToString by type.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <climits>
#include <initializer_list>
#include <string>
#include <vector>

#include "container/containerTestUtil.h"

namespace mlib {
namespace {

using testing::Text;
using testing::TextOf;

// A picture written short: outside a label, a count before a character repeats it (9 nine
// spaces, 6- six hyphens), and '|' ends a line with "\r\n".
Text Picture(const char* shortForm) {
  Text out;
  int run = 0;
  bool label = false;
  for (const char* c = shortForm; *c != 0; ++c) {
    label = *c == '(' || (label && *c != ')');
    if (!label && *c >= '0' && *c <= '9') {
      run = run * 10 + (*c - '0');
    } else {
      out += *c == '|' ? Text(MLIB_T("\r\n")) : Text(run > 0 ? run : 1, WideChar(*c));
      run = 0;
    }
  }
  return out;
}

TEST(MapDrawing, PicturesWorkedByHand) {
  EXPECT_EQ(TextOf(MxMap<int, String>().PrintToString()), testing::kObjectText);
  struct Row {
    int keys;  // 1..keys added in order
    std::vector<int> removed;
    const char* picture;
  };
  const Row rows[] = {
      {1, {}, "3 (1,b)|(0,b)(0,b)|"},
      {3, {}, "9 (2,b)|3 (1,r)6-(3,r)|(0,b)(0,b) (0,b)(0,b)|"},
      // 2b(1b, 4r(3b, 5b(leaf, 6r))). Level 3 starts at index 4, so its first run counts
      // back from the last label of level 2 (the length is carried between levels).
      {6,
       {},
       "45 (2,b)|21 (1,b)39-(4,r)|9 (0,b)17-(0,b)17 (3,b)17-(5,b)|"
       "50 (0,b)6-(0,b)6 (0,b)6-(6,r)|76 (0,b)(0,b)|"},
      // 3 is copied into the root; its old node becomes a black leaf, zero-filled.
      {3, {2}, "9 (3,b)|3 (1,r)6-(0,b)|(0,b)(0,b)|"},
      // Less 1 the fix-up brings 4 up: 4b(2b(0, 3r), 5b(0, 6r)); less 5, 6 is copied in.
      {6, {1, 5}, "21 (4,b)|9 (2,b)17-(6,b)|3 (0,b)6-(3,r)6 (0,b)6-(0,b)|10 (0,b)(0,b)|"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.picture);
    MxMap<int, String> map;
    for (int k = 1; k <= row.keys; ++k) map.Add(k, String(MLIB_T("v")));
    for (int k : row.removed) ASSERT_TRUE(map.Remove(k));
    EXPECT_EQ(TextOf(map.PrintToString()), Picture(row.picture));
  }

  // Keys without text print nil; W is the mean of the shortest and longest label (5 and 7).
  // A String key is not zero-filled, so the leaf that held "c" still shows it.
  MxMap<String, int> texts;
  texts.Add(String(MLIB_T("k")), 1);
  EXPECT_EQ(TextOf(texts.PrintToString()), Picture("4 (k,b)|(nil,b)(nil,b)|"));
  texts.RemoveAll();
  for (const WideChar* k : {MLIB_T("a"), MLIB_T("b"), MLIB_T("c")}) texts.Add(String(k), 1);
  ASSERT_TRUE(texts.Remove(String(MLIB_T("b"))));
  EXPECT_EQ(TextOf(texts.PrintToString()), Picture("11 (c,b)|4 (a,r)8-(c,b)|(nil,b)(nil,b)|"));
}

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
