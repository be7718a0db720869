// Integer power and rounded division of <mlib/text.h>. Rows above 2^53 were worked out by
// repeating the double multiplication separately.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <climits>

TEST(Arithmetic, PowerMultipliesInDoublePrecision) {
  const struct {
    int base, exponent;
    long long want;
  } rows[] = {{2, 10, 1024},
              {2, 0, 2},
              {2, 1, 2},
              {5, -3, 5},  // exponents <= 1 give the base
              {-3, 3, -27},
              {0, 0, 0},
              {0, 5, 0},
              {2, 62, 4611686018427387904LL},
              {3, 39, 4052555153018976256LL},  // 3^39 ends in ...267: the double's rounding shows
              {-2, 63, LLONG_MIN},             // exactly -2^63
              {2, 63, LLONG_MIN},              // beyond the range: the indefinite value
              {10, INT_MAX, LLONG_MIN},
              {1, INT_MAX, 1},
              {-1, INT_MAX, -1},
              {-1, INT_MAX - 1, 1}};
  for (const auto& r : rows) {
    EXPECT_EQ(Power(r.base, r.exponent), r.want) << r.base << "^" << r.exponent;
  }
}

TEST(Arithmetic, DivideRoundsHalvesAwayFromZero) {
  const struct {
    long long a, b, want;
  } rows[] = {{7, 2, 4},
              {-7, 2, -4},
              {5, 3, 2},
              {1, 3, 0},
              {9, 0, 0},
              {-5, -2, 3},
              {5, -2, -3},
              {-4, 3, -1},
              {6, 3, 2},
              {LLONG_MIN, 1, LLONG_MIN},
              {LLONG_MAX, 1, LLONG_MIN + 1},  // 2^63 as a double: indefinite, then rounded up
              {LLONG_MIN, -1, LLONG_MIN + 1}};
  for (const auto& r : rows) EXPECT_EQ(Divide(r.a, r.b), r.want) << r.a << " / " << r.b;
}
