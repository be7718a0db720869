// Number text of <mlib/text.h>: rendering, parsing, the decimal-number test and hex digits.
#include <mlib/text.h>

#include "text/ansiCodePageScope.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <limits>
#include <string>

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;

TEST(NumberText, IntegersRenderAsDecimalDigits) {
  struct Row { long long value; const WideChar* want; };
  const Row rows[] = {
      {0, MLIB_T("0")},
      {-42, MLIB_T("-42")},
      {2147483647, MLIB_T("2147483647")},
      {-2147483647 - 1, MLIB_T("-2147483648")},
  };
  WideChar dst[32];
  for (const Row& r : rows) {
    SCOPED_TRACE(r.value);
    ASSERT_EQ(ITOA(static_cast<int>(r.value), 99, dst, 32), dst);
    EXPECT_EQ(WideString(dst), r.want);
    ASSERT_EQ(I64TOA(r.value, dst, 32), dst);
    EXPECT_EQ(WideString(dst), r.want);
  }
  ASSERT_EQ(I64TOA(LLONG_MIN, dst, 32), dst);
  EXPECT_EQ(WideString(dst), MLIB_T("-9223372036854775808"));
  ASSERT_EQ(I64TOA(LLONG_MAX, dst, 32), dst);
  EXPECT_EQ(WideString(dst), MLIB_T("9223372036854775807"));
  for (WideChar& c : dst) c = 0x7E7E;
  ASSERT_EQ(ITOA(-12345, 0, dst, 4), dst);
  EXPECT_EQ(WideString(dst, 5), WideString(MLIB_T("-12\0\u7E7E"), 5)) << "cut like ANSIToWide";
  EXPECT_EQ(ITOA(1, 0, nullptr, 4), nullptr);
  EXPECT_EQ(I64TOA(1, dst, 0), nullptr);
}

TEST(NumberText, DoublesRenderWithSixDecimalsAndAFullStop) {
  struct Row { double value; const WideChar* want; };
  const Row rows[] = {
      {3.5, MLIB_T("3.500000")},
      {-0.25, MLIB_T("-0.250000")},
      {0.0000004, MLIB_T("0.000000")},
      {0.0000005000001, MLIB_T("0.000001")},
      {1e20, MLIB_T("100000000000000000000.000000")},
      {-123456.789, MLIB_T("-123456.789000")},
  };
  // A host may switch the C library to a locale whose decimal point is a comma; where such
  // a locale is installed the rows run under it.
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) (void)std::setlocale(LC_ALL, "German");
  WideChar dst[64];
  for (const Row& r : rows) {
    SCOPED_TRACE(r.value);
    ASSERT_EQ(FTOA(r.value, dst, 64), dst);
    EXPECT_EQ(WideString(dst), r.want);
  }
  ASSERT_EQ(FTOA(3.5, dst, 4), dst);
  EXPECT_EQ(WideString(dst), MLIB_T("3.5"));
  EXPECT_EQ(ATOF(MLIB_T("2.5")), 2.5);
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(FTOA(1.0, nullptr, 8), nullptr);
  EXPECT_EQ(FTOA(1.0, dst, 0), nullptr);
}

TEST(NumberText, IntegerParsingFollowsAtoiAndSaturates) {
  struct Row { const WideChar* text; long long want32; long long want64; };
  const Row rows[] = {
      {MLIB_T("  42abc"), 42, 42},
      {MLIB_T("\t\n-17"), -17, -17},
      {MLIB_T("+5"), 5, 5},
      {MLIB_T("abc"), 0, 0},
      {MLIB_T("- 5"), 0, 0},
      {MLIB_T(""), 0, 0},
      {MLIB_T("2147483648"), INT_MAX, 2147483648LL},
      {MLIB_T("-2147483649"), INT_MIN, -2147483649LL},
      {MLIB_T("9223372036854775808"), INT_MAX, LLONG_MAX},
      {MLIB_T("-9223372036854775808"), INT_MIN, LLONG_MIN},
      {MLIB_T("-99999999999999999999999"), INT_MIN, LLONG_MIN},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(testing::PrintToString(WideString(r.text)));
    EXPECT_EQ(ATOI(r.text), r.want32);
    EXPECT_EQ(ATOI64(r.text), r.want64);
  }
  EXPECT_EQ(ATOI(nullptr), 0);
  EXPECT_EQ(ATOI64(nullptr), 0);
  // Only 511 bytes are read: the second digit lies beyond them.
  const WideString padded = WideString(510, ' ') + MLIB_T("12");
  EXPECT_EQ(ATOI(padded.c_str()), 1);
  EXPECT_EQ(ATOI64(padded.c_str()), 1);
  // The text is read in the ANSI code page: 1252 writes full-width digits as ASCII ones.
  MLIB_USE_ANSI_CODE_PAGE(1252);
  EXPECT_EQ(ATOI(MLIB_T("\uFF11\uFF12")), 12);
  EXPECT_EQ(ATOI64(MLIB_T("-\uFF19")), -9);
}

TEST(NumberText, DoubleParsingReadsDecimalNotation) {
  struct Row { const WideChar* text; double want; };
  const Row rows[] = {
      {MLIB_T("3.25"), 3.25},
      {MLIB_T("  -1.5e3x"), -1500.0},
      {MLIB_T("+.5"), 0.5},
      {MLIB_T("7."), 7.0},
      {MLIB_T("2E-2"), 0.02},
      {MLIB_T("1e"), 1.0},
      {MLIB_T("1e+"), 1.0},
      {MLIB_T("."), 0.0},
      {MLIB_T("abc"), 0.0},
      {MLIB_T("0x10"), 0.0},
      {MLIB_T("1,5"), 1.0},
      {MLIB_T("1e-400"), 0.0},
      {MLIB_T("1e400"), std::numeric_limits<double>::infinity()},
      {MLIB_T("-1e400"), -std::numeric_limits<double>::infinity()},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(testing::PrintToString(WideString(r.text)));
    EXPECT_EQ(ATOF(r.text), r.want);
  }
  EXPECT_EQ(ATOF(nullptr), 0.0);
}

TEST(NumberText, IsNumberAcceptsDigitsWithOneInnerFullStop) {
  struct Row { const WideChar* text; bool want; };
  const Row rows[] = {
      {MLIB_T("12.5"), true}, {MLIB_T("007"), true},  {MLIB_T("0"), true},
      {MLIB_T("12."), false}, {MLIB_T(".5"), false},  {MLIB_T("1.2.3"), false},
      {MLIB_T("-1"), false},  {MLIB_T("1e5"), false}, {MLIB_T(" 1"), false},
      {MLIB_T(""), false},    {MLIB_T("."), false},   {MLIB_T("\uFF11"), false},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(testing::PrintToString(WideString(r.text)));
    EXPECT_EQ(IsNumber(r.text), r.want);
  }
  EXPECT_FALSE(IsNumber(nullptr));
}

TEST(NumberText, HexCharToDecimalSweepsEveryUnit) {
  const std::string digits = "0123456789abcdef";
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    const auto c = static_cast<WideChar>(unit);
    const std::size_t at =
        unit < 128 ? digits.find(static_cast<char>(unit >= 'A' && unit <= 'F' ? unit + 32 : unit))
                   : std::string::npos;
    const int want = at == std::string::npos ? 0 : static_cast<int>(at);
    ASSERT_EQ(HexCharToDecimal(c), want) << "unit " << unit;
  }
}
