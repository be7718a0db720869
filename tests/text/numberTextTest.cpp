// <mlib/text.h>'s number, hex, hash, sort and process helpers against references written here:
// the C library on seeded values, exact integer arithmetic, the rules written out plainly.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <regex>
#include <string>
#include <tuple>
#include <vector>

#include "text/ansiCodePageScope.h"

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;
using Bytes = std::vector<unsigned char>;

namespace {

// `place` on room + 8 '~' leaves text cut to room - 1, zeros to the room; gives dst (or null).
template <typename C = WideChar, typename Text, typename Place>
void expectPlaced(const Text& text, int room, bool nullWithoutRoom, Place place) {
  std::basic_string<C> dst(static_cast<std::size_t>(room) + 8, '~');
  ASSERT_EQ(place(&dst[0]), room == 0 && nullWithoutRoom ? nullptr : &dst[0]) << room;
  std::basic_string<C> want(text.begin(), text.begin() + std::min(text.size(), dst.size() - 9));
  want.resize(static_cast<std::size_t>(room), 0);
  EXPECT_EQ(dst, want + std::basic_string<C>(8, '~')) << "room " << room;
}

// QuickSort's steps transcribed literally: the same array and the same rand() draws must result.
void modelSort(std::vector<int>& a, int lo, int hi) {
  while (hi > lo) {
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

const WideString kDigits = MLIB_T("0123456789ABCDEFabcdef");

// A digit needs a slot besides the terminator's, a space one more; `whole`: "0A"/"0A " pieces only.
std::string plainHex(const Bytes& bytes, std::size_t room, bool spaced, bool whole) {
  std::string out;
  for (const unsigned char b : bytes) {
    if (whole && out.size() + (spaced ? 3 : 2) >= room) break;
    for (const int digit : {b >> 4, b & 15}) {
      if (out.size() + 1 >= room) return out;
      out += static_cast<char>(kDigits[static_cast<std::size_t>(digit)]);
    }
    if (spaced && !whole && out.size() + 2 >= room) return out;
    if (spaced) out += ' ';
  }
  return out;
}

// Digit pairs make bytes, others are skipped, a lone last digit is a byte; into room + 8 x 0xEE.
Bytes plainParse(const WideString& text, int capacity, int& written) {
  Bytes out;
  int pending = -1;
  for (const WideChar c : text) {
    const std::size_t at = kDigits.find(c);
    if (at == WideString::npos || static_cast<int>(out.size()) >= capacity) continue;
    const int value = static_cast<int>(at < 16 ? at : at - 6);
    if (pending >= 0) out.push_back(static_cast<unsigned char>(pending << 4 | value));
    pending = pending < 0 ? value : -1;
  }
  if (pending >= 0 && static_cast<int>(out.size()) < capacity) out.push_back(pending & 15);
  written = static_cast<int>(out.size());
  out.resize(static_cast<std::size_t>(std::max(capacity, 0)), 0);
  out.resize(out.size() + 8, 0xEE);
  return out;
}

void expectPlainHashes(const std::string& text) {
  std::uint32_t h = 0, a = 1, k = 4, b = 0;
  for (const char c : text) {
    const auto s = static_cast<std::uint32_t>(static_cast<signed char>(c));  // bytes as signed
    h = h * 131u + s;
    a ^= ((a & 63u) + k) * static_cast<unsigned char>(c) + (a << 8);
    k += 3;
    b = (b << 4) + s;
    b ^= (b >> 28 << 28) ^ (b >> 28 << 4);  // the top nibble folded in and cleared
  }
  EXPECT_EQ(GetStringHashCode(text.c_str()), static_cast<int>(h & 0x7FFFFFFFu)) << text.size();
  EXPECT_EQ(static_cast<std::uint32_t>(GetStringHashCodeA(text.c_str())), a) << text.size();
  EXPECT_EQ(static_cast<std::uint32_t>(GetStringHashCodeB(text.c_str())), b) << text.size();
}

}  // namespace

// Under a host's comma-decimal C locale (where installed) the library still writes a full stop.
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
    const int i = static_cast<int>(value);
    expectPlaced(std::to_string(i), room, true, [&](auto* d) { return ITOA(i, 99, d, room); });
    expectPlaced(std::to_string(value), room, true,
                 [&](auto* d) { return I64TOA(value, d, room); });
    expectPlaced(printed, room, true, [&](auto* d) { return FTOA(real, d, room); });
  }
  EXPECT_EQ(ATOF(MLIB_T("2.5")), 2.5);
  std::setlocale(LC_ALL, "C");
  EXPECT_TRUE(ITOA(1, 0, nullptr, 4) == nullptr && FTOA(1.0, nullptr, 4) == nullptr);
}

// Texts of number pieces against strtoll (ATOI saturates), strtod and IsNumber's pattern.
TEST(NumberText, ParsingMatchesTheCLibraryInDecimalNotation) {
  std::mt19937 rng(11);
  const std::regex number("[0-9]+(\\.[0-9]+)?");
  const std::string alphabet = "0123456789 \t\r\x01-+.eE,0123456789";
  const std::string nearLimits[] = {"214748364", "922337203685477580"};  // a digit away from them
  for (int round = 0; round < 6000; ++round) {
    std::string text;
    for (unsigned n = rng() % 24; n > 0; --n) text += alphabet[rng() % alphabet.size()];
    if (round < 40)
      text = (round % 2 ? "-" : "") + nearLimits[round % 4 / 2] + char('0' + round % 10);
    const WideString wide(text.begin(), text.end());
    const long long want = std::strtoll(text.c_str(), nullptr, 10);
    EXPECT_EQ(ATOI(wide.c_str()), std::clamp<long long>(want, INT_MIN, INT_MAX)) << text;
    EXPECT_EQ(ATOI64(wide.c_str()), want) << text;
    EXPECT_EQ(ATOF(wide.c_str()), std::strtod(text.c_str(), nullptr)) << text;
    EXPECT_EQ(IsNumber(wide.c_str()), std::regex_match(text, number)) << text;
  }
  // Hexadecimal and named values are not read.
  EXPECT_EQ(ATOF(MLIB_T("0x10")) + ATOF(MLIB_T("inf")) + ATOF(MLIB_T("1e-400")), 0.0);
  EXPECT_EQ(ATOF(MLIB_T("-1e400")), -HUGE_VAL);
  EXPECT_EQ(ATOI(nullptr) + ATOI64(nullptr) + ATOF(nullptr), 0);
  // Only 511 bytes are read: the second digit lies beyond them.
  EXPECT_EQ(ATOI((WideString(510, ' ') + MLIB_T("12")).c_str()), 1);
  // The text is read in the ANSI code page, where 1252 writes full-width digits as ASCII.
  MLIB_USE_ANSI_CODE_PAGE(1252);
  EXPECT_EQ(ATOI(MLIB_T("\uFF11\uFF12")), 12);
}

TEST(NumberText, DigitTests) {
  EXPECT_FALSE(IsNumber(nullptr) || IsNumber(MLIB_T("\uFF11")));
  for (unsigned c = 0; c <= 0xFFFF; ++c) {  // every unit: the 22 digits, and 0 for all others
    const std::size_t i = kDigits.find(static_cast<WideChar>(c));
    EXPECT_EQ(HexCharToDecimal(WideChar(c)), i > 21 ? 0 : int(i < 16 ? i : i - 6)) << c;
  }
}

// Exact integer arithmetic (halves away from zero), then rows where the double's rounding shows.
TEST(Arithmetic, PowerMultipliesInDoublePrecisionAndDivideRoundsHalvesAway) {
  for (int base = -6; base <= 6; ++base) {
    long long want = base;  // exponents <= 1 give the base
    for (int exponent = -2; exponent <= 21; ++exponent) {
      if (exponent > 1) want *= base;
      EXPECT_EQ(Power(base, exponent), want) << base << "^" << exponent;
    }
  }
  for (int a = -30; a <= 30; ++a) {
    for (int b = -12; b <= 12; ++b) {
      const int magnitude = b == 0 ? 0 : (2 * std::abs(a) + std::abs(b)) / (2 * std::abs(b));
      EXPECT_EQ(Divide(a, b), (a < 0) != (b < 0) ? -magnitude : magnitude) << a << " / " << b;
    }
  }
  const long long rows[][2] = {
      {Power(3, 39), 4052555153018976256LL},  // 3^39 ends in ...267: the double's rounding
      {Power(-2, 63), LLONG_MIN},             // exactly -2^63
      {Power(2, 63), LLONG_MIN},              // beyond the range: the indefinite value
      {Power(10, INT_MAX), LLONG_MIN},
      {Power(-1, INT_MAX), -1},  // answered without running the exponent out
      {Divide(LLONG_MIN, 1), LLONG_MIN},
      {Divide(LLONG_MAX, 1), LLONG_MIN + 1},  // 2^63 as a double: indefinite, then rounded
      {Divide(LLONG_MIN, -1), LLONG_MIN + 1}};
  for (const auto& r : rows) EXPECT_EQ(r[0], r[1]) << "row " << &r - rows;
}

TEST(ProcessQueries, CurrentPathIsTheFolderOfThisProgram) {
  WideChar folder[1024];
  ASSERT_EQ(GetCurrentPath(folder, 1024), folder);
  const WideString text(folder);
  char utf8[4096];
  const std::filesystem::path dir = std::filesystem::u8path(WideToUtf8(utf8, folder, 4096));
  ASSERT_TRUE(text.size() > 1 && (text.back() == '/' || text.back() == '\\')) << utf8;
  EXPECT_TRUE(exists(dir / "mlib_text_tests") || exists(dir / "mlib_text_tests.exe")) << utf8;
  // A short room cuts the path first, then after its last separator; no room leaves it as it is.
  for (int capacity : {0, 1, 2, 4, 9, static_cast<int>(text.size()) + 1}) {
    WideString want = text.substr(0, static_cast<std::size_t>(std::max(capacity, 1)) - 1);
    const std::size_t cut = want.find_last_of(text.back());
    if (cut != WideString::npos) want.resize(cut + 1);  // without a separator it stays whole
    expectPlaced(want, capacity, false, [&](auto* d) { return GetCurrentPath(d, capacity); });
  }
  EXPECT_EQ(GetCurrentPath(nullptr, 16), nullptr);
  std::ifstream meminfo("/proc/meminfo");  // where readable, the kernel's total bounds it
  double totalKiB = 1e12;
  for (std::string key; meminfo >> key && key != "MemTotal:";) continue;
  meminfo >> totalKiB;
  EXPECT_TRUE(GetMemory() > 0.0f && GetMemory() <= totalKiB / 1024.0);  // mebibytes in use
}

TEST(QuickSort, FollowsItsStepsDrawForDraw) {
  std::mt19937 generator(12345);
  for (int round = 0; round < 500; ++round) {  // random, 4 values, up, down, all equal
    const int n = round == 0 ? 50000 : static_cast<int>(generator() % (round % 3 ? 9 : 3000));
    std::vector<int> want(n);
    for (int k = 0, v = 0; k < n; ++k, v = static_cast<int>(generator()))
      want[k] = std::vector<int>{v, v % 4, k, -k, 7}[round % 5];
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

// Every count up to 80 bytes (digits go 16 bytes at a time), rooms around the blocks' edges.
TEST(HexText, RenderingStopsAtTheRoom) {
  Bytes all(80);
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<unsigned char>(i * 37 + 11);
  for (unsigned count = 0; count <= all.size(); ++count) {
    const Bytes bytes(all.begin(), all.begin() + count);
    for (unsigned room = 0; room <= 250; room += 1 + room / 16) {
      for (bool spaced : {false, true}) {
        SCOPED_TRACE(testing::Message() << count << " bytes, room " << room << " " << spaced);
        expectPlaced(plainHex(bytes, room, spaced, false), int(room), false, [&](auto* d) {
          return ByteToHexString(all.data(), int(count), d, room, spaced);
        });
        expectPlaced<char>(plainHex(bytes, room, spaced, true), int(room), false,
                           [&](auto* d) { return ByteToHex(all.data(), count, d, room, spaced); });
      }
    }
  }
  expectPlaced(std::string(), 2, false,  // filled even without bytes
               [](auto* d) { return ByteToHexString(nullptr, 2, d, 2, false); });
  char narrowDst[2] = {'~', '~'};
  EXPECT_TRUE(ByteToHexString(all.data(), 2, nullptr, 2, false) == nullptr &&
              ByteToHex(nullptr, 2, narrowDst, 2, false) == nullptr &&
              ByteToHex(all.data(), 2, nullptr, 2, false) == nullptr && narrowDst[0] == '~');
}

// Digits and now and then a unit next to a digit's range (or whose low byte is one); digits after
// the terminator show a walk that strays past the text.
TEST(HexText, ParsingPairsDigitsAndSkipsEverythingElse) {
  unsigned char cleared[2] = {7, 7};
  EXPECT_TRUE(HexStringToByte(nullptr, cleared, 2) == 0 && cleared[0] == 0) << "cleared first";
  EXPECT_EQ(HexStringToByte(MLIB_T("AB"), nullptr, 2), 0);
  std::mt19937 generator(99);
  const WideString strangers = MLIB_T("/:@G`g x\u0130\u0141\uFF10");
  for (int round = 0; round < 400; ++round) {
    const std::size_t length = round < 20 ? round % 5 : generator() % 200;
    const unsigned oddOneIn = 1 + generator() % 60;
    WideString text;
    for (std::size_t i = 0; i < length; ++i) {
      text += generator() % oddOneIn == 0 ? strangers[generator() % strangers.size()]
                                          : kDigits[generator() % kDigits.size()];
    }
    const int capacity = round < 20 ? round % 4 - 1 : 1 + static_cast<int>(generator() % 110);
    const std::size_t start = 1024 + generator() % 64;
    const WideString stored = WideString(start, '~') + text + WideChar(0) + kDigits + kDigits;
    int written = 0;
    const Bytes want = plainParse(text, capacity, written);
    Bytes out(want.size(), 0xEE);
    EXPECT_EQ(HexStringToByte(stored.c_str() + start, out.data(), capacity), written) << round;
    EXPECT_EQ(out, want) << "round " << round << ", capacity " << capacity;
  }
}

// Random texts (bytes 1 to 255) at every length from every start within a block, and long ones.
TEST(Hash, HashesFollowTheRules) {
  EXPECT_EQ(GetStringHashCode(nullptr) & GetStringHashCodeA(nullptr) & GetStringHashCodeB(nullptr) &
                GetStringHashCodeT(nullptr),
            -1);
  EXPECT_EQ(GetStringHashCodeA("a"), 740);  // the rule's one value worked out by hand
  std::mt19937 generator(2026);
  std::string text((1u << 20) + 37, ' ');
  for (char& c : text) c = static_cast<char>(1 + generator() % 255);
  for (std::size_t length = 0; length <= 300; ++length)
    expectPlainHashes(text.substr(length % 64, length));
  expectPlainHashes(text);
  for (const char fill : {'\xFF', '\x7F'}) expectPlainHashes(std::string(1u << 20, fill));
  // The wide hash hashes the ANSI form (a byte of room per character); ASCII at every alignment.
  std::string ascii(700, 'q');
  for (std::size_t i = 0; i < ascii.size(); i += 7) ascii[i] = static_cast<char>('a' + i % 26);
  for (std::size_t start = 0; start < 64; ++start) {
    for (std::size_t length = 0; length < 600; length += 1 + length / 8) {
      const std::string narrow = ascii.substr(0, start + length);
      const WideString wide(narrow.begin(), narrow.end());
      EXPECT_EQ(GetStringHashCodeT(wide.c_str() + start), GetStringHashCode(narrow.c_str() + start))
          << start << ", " << length;
    }
  }
  const std::tuple<unsigned, const WideChar*, const char*> rows[] = {
      {1252, MLIB_T("\u00E9"), "\xE9"},
      {936, MLIB_T("\u4E2D\u6587"), "\xD6\xD0"},  // two bytes of room: the first fits
      {936, MLIB_T("\u4E2D"), ""},
      {65001, MLIB_T("\u00E9\u4E2D"), "\xC3\xA9"},  // three bytes of room, two of text
      {65001, MLIB_T("\u4E2D\u6587"), ""}};
  for (const auto& [page, wide, ansi] : rows) {
    AnsiCodePageScope scope(page);
    if (!scope.active) continue;
    EXPECT_EQ(GetStringHashCodeT(wide), GetStringHashCode(ansi)) << page << ": " << ansi;
  }
}
