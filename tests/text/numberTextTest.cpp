// Number text of <mlib/text.h>: rendering, parsing, the decimal-number test and hex digits.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <climits>
#include <clocale>
#include <limits>
#include <string>

#include "text/ansiCodePageScope.h"

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;

TEST(NumberText, NumbersRenderLikeTheCRuntimeInAnyLocale) {
  // A host may switch the C library to a locale whose decimal point is a comma; where one
  // is installed, everything below runs under it.
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) (void)std::setlocale(LC_ALL, "German");
  WideChar dst[40];
  const struct {
    long long value;
    const WideChar* want;
  } integers[] = {{0, MLIB_T("0")}, {-42, MLIB_T("-42")}, {INT_MIN, MLIB_T("-2147483648")}};
  for (const auto& r : integers) {
    EXPECT_EQ(WideString(ITOA(static_cast<int>(r.value), 99, dst, 40)), r.want);
    EXPECT_EQ(WideString(I64TOA(r.value, dst, 40)), r.want);
  }
  EXPECT_EQ(WideString(I64TOA(LLONG_MIN, dst, 40)), MLIB_T("-9223372036854775808"));
  const struct {
    double value;
    const WideChar* want;
  } doubles[] = {{3.5, MLIB_T("3.500000")},
                 {-0.25, MLIB_T("-0.250000")},
                 {0.0000005000001, MLIB_T("0.000001")},
                 {1e20, MLIB_T("100000000000000000000.000000")}};
  for (const auto& r : doubles) EXPECT_EQ(WideString(FTOA(r.value, dst, 40)), r.want);
  EXPECT_EQ(ATOF(MLIB_T("2.5")), 2.5);
  std::setlocale(LC_ALL, "C");

  for (WideChar& c : dst) c = '~';
  ASSERT_EQ(ITOA(-12345, 0, dst, 4), dst);
  EXPECT_EQ(WideString(dst, 5), WideString(MLIB_T("-12\0~"), 5)) << "cut like ANSIToWide";
  EXPECT_EQ(WideString(FTOA(3.5, dst, 4)), MLIB_T("3.5"));
  EXPECT_EQ(ITOA(1, 0, nullptr, 4), nullptr);
  EXPECT_EQ(I64TOA(1, dst, 0), nullptr);
  EXPECT_EQ(FTOA(1.0, dst, 0), nullptr);
}

TEST(NumberText, IntegerParsingFollowsAtoiAndSaturates) {
  const struct {
    const WideChar* text;
    int want32;
    long long want64;
  } rows[] = {{MLIB_T("  42abc"), 42, 42},
              {MLIB_T("\t\n-17"), -17, -17},
              {MLIB_T("+5"), 5, 5},
              {MLIB_T("- 5"), 0, 0},
              {MLIB_T(""), 0, 0},
              {MLIB_T("2147483648"), INT_MAX, 2147483648LL},
              {MLIB_T("-2147483649"), INT_MIN, -2147483649LL},
              {MLIB_T("9223372036854775808"), INT_MAX, LLONG_MAX},
              {MLIB_T("-99999999999999999999999"), INT_MIN, LLONG_MIN}};
  for (const auto& r : rows) {
    SCOPED_TRACE(testing::PrintToString(WideString(r.text)));
    EXPECT_EQ(ATOI(r.text), r.want32);
    EXPECT_EQ(ATOI64(r.text), r.want64);
  }
  EXPECT_EQ(ATOI(nullptr) + ATOI64(nullptr), 0);
  // Only 511 bytes are read: the second digit lies beyond them.
  EXPECT_EQ(ATOI((WideString(510, ' ') + MLIB_T("12")).c_str()), 1);
  // The text is read in the ANSI code page, where 1252 writes full-width digits as ASCII.
  MLIB_USE_ANSI_CODE_PAGE(1252);
  EXPECT_EQ(ATOI(MLIB_T("\uFF11\uFF12")), 12);
}

TEST(NumberText, DoubleParsingReadsDecimalNotationOnly) {
  const double inf = std::numeric_limits<double>::infinity();
  const struct {
    const WideChar* text;
    double want;
  } rows[] = {{MLIB_T("  -1.5e3x"), -1500.0}, {MLIB_T("+.5"), 0.5},   {MLIB_T("7."), 7.0},
              {MLIB_T("2E-2"), 0.02},         {MLIB_T("1e+"), 1.0},   {MLIB_T("."), 0.0},
              {MLIB_T("0x10"), 0.0},          {MLIB_T("inf"), 0.0},   {MLIB_T("1,5"), 1.0},
              {MLIB_T("1e-400"), 0.0},        {MLIB_T("1e400"), inf}, {MLIB_T("-1e400"), -inf}};
  for (const auto& r : rows) {
    EXPECT_EQ(ATOF(r.text), r.want) << testing::PrintToString(WideString(r.text));
  }
  EXPECT_EQ(ATOF(nullptr), 0.0);
}

TEST(NumberText, DigitTests) {
  const struct {
    const WideChar* text;
    bool want;
  } rows[] = {{MLIB_T("12.5"), true}, {MLIB_T("007"), true},    {MLIB_T("12."), false},
              {MLIB_T(".5"), false},  {MLIB_T("1.2.3"), false}, {MLIB_T("-1"), false},
              {MLIB_T(""), false},    {MLIB_T("1e5"), false},   {MLIB_T("\uFF11"), false}};
  for (const auto& r : rows) {
    EXPECT_EQ(IsNumber(r.text), r.want) << testing::PrintToString(WideString(r.text));
  }
  EXPECT_FALSE(IsNumber(nullptr));
  const WideString digits = MLIB_T("0123456789ABCDEFabcdef");
  for (std::size_t i = 0; i < digits.size(); ++i) {
    EXPECT_EQ(HexCharToDecimal(digits[i]), static_cast<int>(i < 16 ? i : i - 6));
  }
  const WideChar others[] = {'G', ' ', 'g', '/', ':', '@', 0xFF10, 0};
  for (WideChar other : others) {
    EXPECT_EQ(HexCharToDecimal(other), 0) << static_cast<int>(other);
  }
}
