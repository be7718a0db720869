// QuickSort against a literal transcription of its steps: from the same seed, the same
// result and the same number of rand() draws (so the next rand() agrees).
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

void modelSort(std::vector<int>& a, int lo, int hi) {
  for (; hi > lo;) {
    const int pivot = a[lo + (std::rand() % 32768) % (hi - lo + 1)];
    int i = lo, j = hi;
    while (i <= j) {
      while (a[i] < pivot && i < hi) ++i;
      while (a[j] > pivot && j > lo) --j;
      if (i <= j) std::swap(a[i++], a[j--]);
    }
    if (lo < j) modelSort(a, lo, j);
    if (i >= hi) return;
    lo = i;
  }
}

TEST(QuickSort, FollowsItsStepsDrawForDraw) {
  std::mt19937 generator(12345);
  for (int round = 0; round < 500; ++round) {  // random, 4 values, up, down, all equal
    const int n = round == 0 ? 50000 : static_cast<int>(generator() % (round % 3 ? 9 : 3000));
    std::vector<int> want(n);
    for (int k = 0, v = 0; k < n; ++k, v = static_cast<int>(generator())) {
      const int kinds[] = {v, v % 4, k, -k, 7};
      want[k] = kinds[round % 5];
    }
    if (n > 2) want[n / 2] = round % 2 ? INT_MIN : INT_MAX;
    // Mostly the whole array, sometimes an inner range, or none (hi < lo).
    const int lo = round % 7 == 1 ? n / 3 : 0, hi = round % 7 == 2 ? n / 4 - 1 : n - 1 - lo / 2;
    std::vector<int> got = want;
    std::srand(static_cast<unsigned>(round));
    modelSort(want, lo, hi);
    const int wantNext = std::rand();
    std::srand(static_cast<unsigned>(round));
    QuickSort(got.data(), lo, hi);
    EXPECT_EQ(got, want) << "round " << round << ", " << n << " values, " << lo << " to " << hi;
    EXPECT_EQ(std::rand(), wantNext) << "round " << round << ": other draws";
    EXPECT_TRUE(hi <= lo || std::is_sorted(want.begin() + lo, want.begin() + hi + 1));
  }
  QuickSort(nullptr, 0, 5);
}

}  // namespace
