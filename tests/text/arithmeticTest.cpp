// Integer power and rounded division of <mlib/text.h>.
#include <mlib/text.h>

#include <gtest/gtest.h>

#include <climits>

TEST(Arithmetic, PowerMultipliesInDoublePrecision) {
  struct Row { int base; int exponent; long long want; };
  const Row rows[] = {
      {2, 10, 1024},
      {2, 0, 2},        // exponents of 1 and below give the base itself
      {2, 1, 2},
      {5, -3, 5},
      {-3, 3, -27},
      {0, 0, 0},
      {0, 5, 0},
      {-2, 63, LLONG_MIN},  // exactly -2^63
      {2, 62, 4611686018427387904LL},
      {3, 39, 4052555153018976256LL},  // above 2^53 the double's rounding shows
      {7, 22, 3909821048582987776LL},
      {2, 63, LLONG_MIN},   // beyond the range: the indefinite value
      {-2, 64, LLONG_MIN},
      {10, INT_MAX, LLONG_MIN},
      {1, INT_MAX, 1},
      {-1, INT_MAX, -1},
      {-1, INT_MAX - 1, 1},
      {-1, INT_MIN, -1},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(testing::Message() << r.base << "^" << r.exponent);
    EXPECT_EQ(Power(r.base, r.exponent), r.want);
  }
}

TEST(Arithmetic, DivideRoundsHalvesAwayFromZero) {
  struct Row { long long a; long long b; long long want; };
  const Row rows[] = {
      {7, 2, 4},   {-7, 2, -4}, {5, 3, 2},   {1, 3, 0},  {9, 0, 0},
      {-5, -2, 3}, {5, -2, -3}, {-4, 3, -1}, {0, 7, 0},  {6, 3, 2},
      {LLONG_MAX, 1, LLONG_MIN + 1},  // 2^63 after rounding to double: indefinite, plus one
      {LLONG_MIN, 1, LLONG_MIN},
      {LLONG_MIN, -1, LLONG_MIN + 1},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(testing::Message() << r.a << " / " << r.b);
    EXPECT_EQ(Divide(r.a, r.b), r.want);
  }
}
