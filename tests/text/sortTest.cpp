// The integer sort of <mlib/text.h>, against std::sort.
#include <mlib/text.h>

#include <gtest/gtest.h>

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

  values = {2, 1};
  QuickSort(values.data(), 1, 1);
  QuickSort(values.data(), 1, 0);
  EXPECT_EQ(values, (std::vector<int>{2, 1})) << "lo = hi and hi < lo leave the array";
  QuickSort(nullptr, 0, 5);
}

TEST(QuickSort, MatchesStdSortOnRandomAndAdversarialData) {
  std::mt19937 generator(12345);
  struct Case { const char* name; std::vector<int> values; };
  std::vector<Case> cases;
  std::vector<int> random(20000);
  for (int& v : random) v = static_cast<int>(generator());
  cases.push_back({"random over the whole int range", random});
  std::vector<int> few(20000);
  for (int& v : few) v = static_cast<int>(generator() % 4);
  cases.push_back({"many duplicates", few});
  std::vector<int> ascending(50000);
  for (int i = 0; i < 50000; ++i) ascending[static_cast<std::size_t>(i)] = i;
  cases.push_back({"already sorted", ascending});
  cases.push_back({"reversed", std::vector<int>(ascending.rbegin(), ascending.rend())});
  cases.push_back({"all equal", std::vector<int>(30000, 7)});
  cases.push_back({"extremes", {INT_MAX, INT_MIN, 0, INT_MIN, INT_MAX, -1, 1}});
  for (Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<int> want = c.values;
    std::sort(want.begin(), want.end());
    QuickSort(c.values.data(), 0, static_cast<int>(c.values.size()) - 1);
    EXPECT_EQ(c.values, want);
  }
}
