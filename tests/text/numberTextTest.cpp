// Number text of <mlib/text.h> (rendering, parsing, the decimal-number test, hex digits),
// integer power and rounded division, and the two process queries.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <climits>
#include <clocale>
#include <filesystem>
#include <fstream>
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
  for (unsigned c = 0; c <= 0xFFFF; ++c) {  // every unit: the 22 digits, and 0 for all others
    const std::size_t i = digits.find(static_cast<WideChar>(c));
    EXPECT_EQ(HexCharToDecimal(static_cast<WideChar>(c)), i > 21 ? 0 : int(i < 16 ? i : i - 6))
        << c;
  }
}

// Rows above 2^53 were worked out by repeating the double multiplication separately.
TEST(Arithmetic, PowerMultipliesInDoublePrecisionAndDivideRoundsHalvesAway) {
  const struct {
    int base, exponent;
    long long want;
  } powers[] = {{2, 10, 1024},
                {2, 0, 2},
                {2, 1, 2},
                {5, -3, 5},  // exponents <= 1 give the base
                {-3, 3, -27},
                {0, 0, 0},
                {0, 5, 0},
                {2, 62, 4611686018427387904LL},
                {3, 39, 4052555153018976256LL},  // 3^39 ends in ...267: the double's rounding
                {-2, 63, LLONG_MIN},             // exactly -2^63
                {2, 63, LLONG_MIN},              // beyond the range: the indefinite value
                {10, INT_MAX, LLONG_MIN},
                {1, INT_MAX, 1},
                {-1, INT_MAX, -1},
                {-1, INT_MAX - 1, 1}};
  for (const auto& r : powers) {
    EXPECT_EQ(Power(r.base, r.exponent), r.want) << r.base << "^" << r.exponent;
  }
  const struct {
    long long a, b, want;
  } quotients[] = {{7, 2, 4},
                   {-7, 2, -4},
                   {5, 3, 2},
                   {1, 3, 0},
                   {1, 2, 1},  // quotients below 1 round too
                   {-1, 2, -1},
                   {9, 0, 0},
                   {-5, -2, 3},
                   {5, -2, -3},
                   {-4, 3, -1},
                   {6, 3, 2},
                   {LLONG_MIN, 1, LLONG_MIN},
                   {LLONG_MAX, 1, LLONG_MIN + 1},  // 2^63 as a double: indefinite, then rounded
                   {LLONG_MIN, -1, LLONG_MIN + 1}};
  for (const auto& r : quotients) EXPECT_EQ(Divide(r.a, r.b), r.want) << r.a << " / " << r.b;
}

TEST(ProcessQueries, CurrentPathIsTheFolderOfThisProgram) {
  WideChar folder[1024];
  ASSERT_EQ(GetCurrentPath(folder, 1024), folder);
  const WideString text(folder);
  ASSERT_GT(text.size(), 1u);
  char utf8[4096];
  const std::filesystem::path dir = std::filesystem::u8path(WideToUtf8(utf8, folder, 4096));
  EXPECT_TRUE(text.back() == '/' || text.back() == '\\') << utf8;
  EXPECT_TRUE(std::filesystem::exists(dir / "mlib_text_tests") ||
              std::filesystem::exists(dir / "mlib_text_tests.exe"))
      << utf8;
  // A short room cuts the path first, then after its last separator.
  for (int capacity : {1, 2, 4, 9, static_cast<int>(text.size()) + 1}) {
    WideString want = text.substr(0, static_cast<std::size_t>(capacity) - 1);
    const std::size_t cut = want.find_last_of(text.back());
    if (cut != WideString::npos) want.resize(cut + 1);  // without a separator it stays whole
    WideString dst(static_cast<std::size_t>(capacity) + 1, '~');
    ASSERT_EQ(GetCurrentPath(&dst[0], capacity), &dst[0]);
    EXPECT_EQ(dst,
              want + WideString(static_cast<std::size_t>(capacity) - want.size(), 0) + MLIB_T("~"))
        << "capacity " << capacity;
  }
  EXPECT_EQ(GetCurrentPath(nullptr, 16), nullptr);
  folder[0] = '~';
  EXPECT_EQ(GetCurrentPath(folder, 0), folder);  // nothing to fill: the destination back
  EXPECT_EQ(folder[0], '~');
}

TEST(ProcessQueries, MemoryInUseIsWithinThePhysicalMemory) {
  // The kernel's own report, where readable, bounds the answer from above.
  std::ifstream meminfo("/proc/meminfo");
  double totalKiB = 1e12;
  for (std::string key; meminfo >> key && key != "MemTotal:";) {
  }
  meminfo >> totalKiB;
  EXPECT_GT(GetMemory(), 0.0f);
  EXPECT_LE(GetMemory(), totalKiB / 1024.0);
}
