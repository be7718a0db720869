// A host's rand() that answers 0 makes every pivot the first element of its range, which the
// sort's steps would meet with thousands of nested calls: the sort must stay right and flat.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <algorithm>
#include <cstdint>
#include <vector>

static std::uintptr_t lowestFrame = UINTPTR_MAX, highestFrame = 0;

// This program's rand(), QuickSort's included: the spread of its frames is the sort's nesting.
extern "C" int rand() noexcept {
  int marker = 0;
  lowestFrame = std::min(lowestFrame, reinterpret_cast<std::uintptr_t>(&marker));
  highestFrame = std::max(highestFrame, reinterpret_cast<std::uintptr_t>(&marker));
  return 0;
}

TEST(QuickSortDepth, StaysFlatAndRightWhenEveryPivotIsTheFirstElement) {
  constexpr int kThirds = 7000, kCount = 3 * kThirds + 1;
  // Down, up, sawtooth, and the third largest first, the two largest last (the larger first)
  // and so on inwards: every partition leaves three unsorted values waiting.
  std::vector<std::vector<int>> inputs(4, std::vector<int>(kCount));
  for (int i = 0; i < kCount; ++i) {
    inputs[0][i] = kCount - i;
    inputs[1][i] = i;
    inputs[2][i] = i % 2 == 0 ? i : kCount - i;
  }
  inputs[3][0] = kCount - 2;
  for (int at = kCount - 1; at > 0; at -= 3)
    inputs[3][at] = at, inputs[3][at - 1] = at + 1, inputs[3][at - 2] = at - 4;
  for (std::vector<int>& input : inputs) {
    std::vector<int> want = input;
    std::sort(want.begin(), want.end());
    lowestFrame = UINTPTR_MAX, highestFrame = 0;
    QuickSort(input.data(), 0, kCount - 1);
    EXPECT_EQ(input, want) << "input " << &input - inputs.data();
    EXPECT_LT(highestFrame - lowestFrame, 1024u) << "input " << &input - inputs.data();
  }
}
