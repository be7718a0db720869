// MxMap::PrintToString: the tree picture, character for character.
#include <gtest/gtest.h>
#include <mlib/containers.h>

#include "container/containerTestUtil.h"

namespace mlib {
namespace {

using testing::Text;
using testing::TextOf;

Text Spaces(int n) { return Text(static_cast<std::size_t>(n), WideChar(' ')); }
Text Hyphens(int n) { return Text(static_cast<std::size_t>(n), WideChar('-')); }

String DrawingOfKeys(int count) {
  MxMap<int, String> map;
  for (int k = 1; k <= count; ++k) map.Add(k, String(MLIB_T("v")));
  return map.PrintToString();
}

TEST(MapDrawing, EmptyMapPrintsTheRootText) {
  EXPECT_EQ(TextOf(MxMap<int, String>().PrintToString()), testing::kObjectText);
}

TEST(MapDrawing, OneEntryDrawsItAboveItsTwoLeaves) {
  MxMap<int, String> map;
  map.Add(5, String(MLIB_T("five")));
  EXPECT_EQ(TextOf(map.PrintToString()), Text(MLIB_T("   (5,b)\r\n(0,b)(0,b)\r\n")));
}

TEST(MapDrawing, KeysOneToThree) {
  // clang-format off: one source line per picture line
  const Text want = Spaces(9) + MLIB_T("(2,b)\r\n") + Spaces(3) + MLIB_T("(1,r)") + Hyphens(6) +
                    MLIB_T("(3,r)\r\n") + MLIB_T("(0,b)(0,b) (0,b)(0,b)\r\n");
  // clang-format on
  EXPECT_EQ(TextOf(DrawingOfKeys(3)), want);
}

TEST(MapDrawing, DeeperTreeWorkedByHand) {
  // 1..6: 2b(1b, 4r(3b, 5b(leaf, 6r))). Level 3 starts at index 4, so its first run of
  // spaces counts back from the last label of level 2 (the length carried between levels).
  // clang-format off
  const Text six = Spaces(45) + MLIB_T("(2,b)\r\n") +
                   Spaces(21) + MLIB_T("(1,b)") + Hyphens(39) + MLIB_T("(4,r)\r\n") +
                   Spaces(9) + MLIB_T("(0,b)") + Hyphens(17) + MLIB_T("(0,b)") + Spaces(17) +
                   MLIB_T("(3,b)") + Hyphens(17) + MLIB_T("(5,b)\r\n") +
                   Spaces(50) + MLIB_T("(0,b)") + Hyphens(6) + MLIB_T("(0,b)") + Spaces(6) +
                   MLIB_T("(0,b)") + Hyphens(6) + MLIB_T("(6,r)\r\n") +
                   Spaces(76) + MLIB_T("(0,b)(0,b)\r\n");
  // clang-format on
  EXPECT_EQ(TextOf(DrawingOfKeys(6)), six);
}

TEST(MapDrawing, KeysWithoutTextPrintNilAndWidthIsTheMeanLabelLength) {
  // Labels "(k,b)" (5) and "(nil,b)" (7): W = 6, so the root gets 3 + 1 spaces.
  MxMap<String, int> map;
  map.Add(String(MLIB_T("k")), 1);
  EXPECT_EQ(TextOf(map.PrintToString()), Text(MLIB_T("    (k,b)\r\n(nil,b)(nil,b)\r\n")));
}

TEST(MapDrawing, AfterRemovalsWorkedByHand) {
  // 2b(1r, 3r) less 2: 3 is copied into the root and its old node becomes a black leaf,
  // which for an int key is zero-filled: 3b(1r, leaf).
  MxMap<int, String> numbers;
  for (int k = 1; k <= 3; ++k) numbers.Add(k, String(MLIB_T("v")));
  ASSERT_TRUE(numbers.Remove(2));
  // clang-format off
  EXPECT_EQ(TextOf(numbers.PrintToString()),
            Spaces(9) + MLIB_T("(3,b)\r\n") + Spaces(3) + MLIB_T("(1,r)") + Hyphens(6) +
                MLIB_T("(0,b)\r\n") + MLIB_T("(0,b)(0,b)\r\n"));
  // clang-format on

  // The same with String keys "a" < "b" < "c" (hashes 97, 98, 99): a String key is not
  // zero-filled, so the leaf that was the entry "c" still shows its key, while the leaves
  // made as leaves show nil. Labels of 5 and 7 units: W = 6.
  MxMap<String, int> texts;
  for (const WideChar* k : {MLIB_T("a"), MLIB_T("b"), MLIB_T("c")}) texts.Add(String(k), 1);
  ASSERT_TRUE(texts.Remove(String(MLIB_T("b"))));
  EXPECT_EQ(TextOf(texts.PrintToString()), Spaces(11) + MLIB_T("(c,b)\r\n") + Spaces(4) +
                                               MLIB_T("(a,r)") + Hyphens(8) + MLIB_T("(c,b)\r\n") +
                                               MLIB_T("(nil,b)(nil,b)\r\n"));

  // 1..6 less 1, then less 5: 4b(2b(leaf, 3r), 6b).
  // Removing 1 (black, both children leaves) makes it a leaf; the fix-up rotates at 2 so
  // that 4 comes up: 4b(2b(0, 3r), 5b(0, 6r)). Removing 5 copies 6 into it.
  MxMap<int, String> six;
  for (int k = 1; k <= 6; ++k) six.Add(k, String(MLIB_T("v")));
  ASSERT_TRUE(six.Remove(1));
  ASSERT_TRUE(six.Remove(5));
  // clang-format off
  EXPECT_EQ(TextOf(six.PrintToString()),
            Spaces(21) + MLIB_T("(4,b)\r\n") +
            Spaces(9) + MLIB_T("(2,b)") + Hyphens(17) + MLIB_T("(6,b)\r\n") +
            Spaces(3) + MLIB_T("(0,b)") + Hyphens(6) + MLIB_T("(3,r)") + Spaces(6) +
                MLIB_T("(0,b)") + Hyphens(6) + MLIB_T("(0,b)\r\n") +
            Spaces(10) + MLIB_T("(0,b)(0,b)\r\n"));
  // clang-format on
}

}  // namespace
}  // namespace mlib
