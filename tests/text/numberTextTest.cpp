// Number text of <mlib/text.h> against the C library on seeded values, the digit tests,
// Power and Divide against exact integer arithmetic, QuickSort and the two process queries.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "text/ansiCodePageScope.h"

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;

namespace {

// A destination of 48 '~' after `place`: the text cut to room - 1, then zeros up to the room.
void expectPlaced(const std::string& text, int room,
                  const std::function<WideChar*(WideChar*)>& place) {
  WideString dst(48, '~');
  ASSERT_EQ(place(&dst[0]), room > 0 ? &dst[0] : nullptr) << text;
  WideString want(text.begin(),
                  text.begin() + std::min<int>(int(text.size()), std::max(room - 1, 0)));
  want.resize(static_cast<std::size_t>(room), 0);
  EXPECT_EQ(dst, want + WideString(48 - static_cast<std::size_t>(room), '~'))
      << text << ", room " << room;
}

// QuickSort's steps transcribed literally: from the same seed, the library must leave the
// same array and make the same number of rand() draws (so the next rand() agrees).
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

}  // namespace

// A host may switch the C library to a locale whose decimal point is a comma; where one is
// installed, the library runs under it and must still write a full stop.
TEST(NumberText, RenderingMatchesTheCLibraryAndCutsToTheRoom) {
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) (void)std::setlocale(LC_ALL, "German");
  std::mt19937_64 rng(7);
  for (int round = 0; round < 3000; ++round) {
    const long long value =
        round < 2 ? (round ? LLONG_MIN : INT_MIN) : static_cast<long long>(rng()) >> rng() % 64;
    const double real = std::ldexp(static_cast<double>(value), static_cast<int>(rng() % 100) - 80);
    std::string printed = std::to_string(real);  // "%f" in the C library's locale
    std::replace(printed.begin(), printed.end(), ',', '.');
    const int room = static_cast<int>(rng() % 41);
    const int small = static_cast<int>(value);
    expectPlaced(std::to_string(small), room,
                 [&](WideChar* d) { return ITOA(small, 99, d, room); });
    expectPlaced(std::to_string(value), room, [&](WideChar* d) { return I64TOA(value, d, room); });
    expectPlaced(printed, room, [&](WideChar* d) { return FTOA(real, d, room); });
  }
  EXPECT_EQ(ATOF(MLIB_T("2.5")), 2.5);
  std::setlocale(LC_ALL, "C");
  EXPECT_TRUE(ITOA(1, 0, nullptr, 4) == nullptr && FTOA(1.0, nullptr, 4) == nullptr);
}

// Texts of the pieces numbers are made of against strtoll (atoi saturates at the int range)
// and strtod; hexadecimal and named values are not read.
TEST(NumberText, ParsingMatchesTheCLibraryInDecimalNotation) {
  std::mt19937 rng(11);
  const std::string alphabet = "0123456789 \t\r\x01-+.eE,0123456789";
  for (int round = 0; round < 6000; ++round) {
    std::string text;
    for (unsigned n = rng() % 24; n > 0; --n) text += alphabet[rng() % alphabet.size()];
    const WideString wide(text.begin(), text.end());
    const long long want = std::strtoll(text.c_str(), nullptr, 10);
    EXPECT_EQ(ATOI(wide.c_str()), std::clamp<long long>(want, INT_MIN, INT_MAX)) << text;
    EXPECT_EQ(ATOI64(wide.c_str()), want) << text;
    EXPECT_EQ(ATOF(wide.c_str()), std::strtod(text.c_str(), nullptr)) << text;
  }
  EXPECT_EQ(ATOF(MLIB_T("0x10")) + ATOF(MLIB_T("inf")) + ATOF(MLIB_T("1e-400")), 0.0);
  EXPECT_EQ(ATOF(MLIB_T("-1e400")), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(ATOI(nullptr) + ATOI64(nullptr) + ATOF(nullptr), 0);
  // Only 511 bytes are read: the second digit lies beyond them.
  EXPECT_EQ(ATOI((WideString(510, ' ') + MLIB_T("12")).c_str()), 1);
  // The text is read in the ANSI code page, where 1252 writes full-width digits as ASCII.
  MLIB_USE_ANSI_CODE_PAGE(1252);
  EXPECT_EQ(ATOI(MLIB_T("\uFF11\uFF12")), 12);
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

// Small operands against exact integer arithmetic (halves away from zero), then the rows
// where the double's rounding or range shows; those were worked out separately.
TEST(Arithmetic, PowerMultipliesInDoublePrecisionAndDivideRoundsHalvesAway) {
  for (int base = -6; base <= 6; ++base) {
    long long want = base;  // exponents <= 1 give the base
    for (int exponent = -2; exponent <= 21; ++exponent) {
      if (exponent > 1) want *= base;
      EXPECT_EQ(Power(base, exponent), want) << base << "^" << exponent;
    }
  }
  for (long long a = -30; a <= 30; ++a) {
    for (long long b = -12; b <= 12; ++b) {
      const long long magnitude =
          b == 0 ? 0 : (2 * std::llabs(a) + std::llabs(b)) / (2 * std::llabs(b));
      EXPECT_EQ(Divide(a, b), (a < 0) != (b < 0) ? -magnitude : magnitude) << a << " / " << b;
    }
  }
  const struct {
    long long got, want;
  } rows[] = {{Power(3, 39), 4052555153018976256LL},  // 3^39 ends in ...267: the double's rounding
              {Power(-2, 63), LLONG_MIN},             // exactly -2^63
              {Power(2, 63), LLONG_MIN},              // beyond the range: the indefinite value
              {Power(10, INT_MAX), LLONG_MIN},
              {Power(-1, INT_MAX), -1},  // answered without running the exponent out
              {Divide(LLONG_MIN, 1), LLONG_MIN},
              {Divide(LLONG_MAX, 1), LLONG_MIN + 1},  // 2^63 as a double: indefinite, then rounded
              {Divide(LLONG_MIN, -1), LLONG_MIN + 1}};
  for (const auto& r : rows) EXPECT_EQ(r.got, r.want) << "row " << &r - rows;
}

TEST(ProcessQueries, CurrentPathIsTheFolderOfThisProgram) {
  WideChar folder[1024];
  ASSERT_EQ(GetCurrentPath(folder, 1024), folder);
  const WideString text(folder);
  char utf8[4096];
  const std::filesystem::path dir = std::filesystem::u8path(WideToUtf8(utf8, folder, 4096));
  ASSERT_TRUE(text.size() > 1 && (text.back() == '/' || text.back() == '\\')) << utf8;
  EXPECT_TRUE(exists(dir / "mlib_text_tests") || exists(dir / "mlib_text_tests.exe")) << utf8;
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
  EXPECT_TRUE(GetMemory() > 0.0f && GetMemory() < 1e9f);  // mebibytes in use
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
