// MxMap::PrintToString: the tree picture, character for character.
#include <mlib/containers.h>

#include "container/containerTestUtil.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace mlib
