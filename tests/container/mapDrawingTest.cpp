// MxMap::PrintToString: the tree picture, character for character.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include <initializer_list>
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

}  // namespace
}  // namespace mlib
