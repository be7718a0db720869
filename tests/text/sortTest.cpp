// The integer sort of <mlib/text.h>, against std::sort.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <algorithm>
#include <climits>
#include <random>
#include <vector>

TEST(QuickSort, SortsTheInclusiveRangeOnly) {
  std::vector<int> values = {3, -1, 2, -1};
  QuickSort(values.data(), 0, 3);
  EXPECT_EQ(values, (std::vector<int>{-1, -1, 2, 3}));
  values = {9, 5, 4, 3, 1, 0};
  QuickSort(values.data(), 1, 4);
  EXPECT_EQ(values, (std::vector<int>{9, 1, 3, 4, 5, 0}));
  QuickSort(values.data(), 2, 2);
  QuickSort(values.data(), 4, 0);
  EXPECT_EQ(values, (std::vector<int>{9, 1, 3, 4, 5, 0})) << "lo = hi and hi < lo do nothing";
  QuickSort(nullptr, 0, 5);
}

TEST(QuickSort, MatchesStdSort) {
  std::mt19937 generator(12345);
  std::vector<int> random(20000), few(20000), ascending(50000);
  for (int& v : random) v = static_cast<int>(generator());
  for (int& v : few) v = static_cast<int>(generator() % 4);
  for (std::size_t i = 0; i < ascending.size(); ++i) ascending[i] = static_cast<int>(i);
  std::vector<std::vector<int>> cases = {random,
                                         few,
                                         ascending,
                                         {ascending.rbegin(), ascending.rend()},
                                         std::vector<int>(30000, 7),
                                         {INT_MAX, INT_MIN, 0, INT_MIN, INT_MAX, -1, 1}};
  for (std::vector<int>& values : cases) {
    std::vector<int> want = values;
    std::sort(want.begin(), want.end());
    QuickSort(values.data(), 0, static_cast<int>(values.size()) - 1);
    EXPECT_EQ(values, want) << values.size() << " values";
  }
}
