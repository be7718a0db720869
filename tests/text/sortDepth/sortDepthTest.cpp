// QuickSort whatever pivots rand() gives: a host may have a rand() that answers the same value
// every time, which makes every pivot the first element of its range. The sort must still be
// right and its stack must stay shallow: it recurses only into the smaller part.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <vector>

namespace {

// What the program's rand() answers, and the extent of the stack it was called at.
bool fixedAnswer = false;
std::uintptr_t lowestFrame = UINTPTR_MAX;
std::uintptr_t highestFrame = 0;
unsigned state = 1;

}  // namespace

// Replaces the C library's rand() for this program, the library's QuickSort included. Each
// partition draws once, from QuickSort's own frame, so the spread of the addresses seen here
// is the depth of QuickSort's recursion.
extern "C" int rand() noexcept {
  int marker = 0;
  const auto at = reinterpret_cast<std::uintptr_t>(&marker);
  lowestFrame = std::min(lowestFrame, at);
  highestFrame = std::max(highestFrame, at);
  if (fixedAnswer) return 0;
  state = state * 1103515245u + 12345u;
  return static_cast<int>((state >> 16) & 0x7FFF);
}

namespace {

// Sorts values with QuickSort and gives the stack spread its rand() calls saw.
std::uintptr_t sortAndMeasureDepth(std::vector<int>& values, bool fixed) {
  fixedAnswer = fixed;
  lowestFrame = UINTPTR_MAX;
  highestFrame = 0;
  QuickSort(values.data(), 0, static_cast<int>(values.size()) - 1);
  fixedAnswer = false;
  return highestFrame >= lowestFrame ? highestFrame - lowestFrame : 0;
}

TEST(QuickSortDepth, StaysShallowWhenEveryPivotIsTheFirstElement) {
  // Descending and ascending runs, and a sawtooth: with the first element as every pivot the
  // parts fall as unevenly as they can.
  constexpr int kCount = 20000;
  std::vector<int> descending(kCount);
  std::iota(descending.rbegin(), descending.rend(), -kCount / 2);
  std::vector<int> ascending(descending.rbegin(), descending.rend());
  std::vector<int> sawtooth(kCount);
  for (int i = 0; i < kCount; ++i) sawtooth[i] = (i % 2 == 0) ? i : kCount - i;
  for (std::vector<int>* values : {&descending, &ascending, &sawtooth}) {
    std::vector<int> want = *values;
    std::sort(want.begin(), want.end());
    const std::uintptr_t spread = sortAndMeasureDepth(*values, true);
    EXPECT_EQ(*values, want);
    // log2(20000) is about 15 levels; even a generous frame of 512 bytes keeps the stack
    // under 16 KiB. Recursing into the larger part would take thousands of levels.
    EXPECT_LT(spread, 16u * 1024u) << "stack spread of " << spread << " bytes";
  }
}

TEST(QuickSortDepth, RandomPivotsAlsoSortAndStayShallow) {
  std::vector<int> values(1 << 18);
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = static_cast<int>((i * 2654435761u) ^ (i >> 3));
  }
  std::vector<int> want = values;
  std::sort(want.begin(), want.end());
  const std::uintptr_t spread = sortAndMeasureDepth(values, false);
  EXPECT_EQ(values, want);
  EXPECT_LT(spread, 16u * 1024u) << "stack spread of " << spread << " bytes";
}

}  // namespace
