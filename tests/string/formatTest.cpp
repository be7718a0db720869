// String::Format and the number constructors: the conversions, the buffer rule and its
// growth, decimal cutting, and independence from the C locale.
#include <mlib/string.h>

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cstring>
#include <string>

#include "string/storage.h"

namespace {

using mlib::String;
using mlib::WideChar;
using mlib::detail::StringAccess;

unsigned capacityOf(const String& s) { return StringAccess::capacity(s); }

std::u16string text(const String& s) {
  std::u16string out;
  for (const WideChar* p = s.toString(); p != nullptr && *p != 0; ++p) {
    out += static_cast<char16_t>(*p);
  }
  return out;
}

template <typename... Args>
String formatted(const WideChar* format, Args... args) {
  String s;
  s.Format(format, args...);
  return s;
}

int floatBits(float value) {
  int bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

// True when every unit from `from` up to the end of the buffer is zero.
bool zeroFrom(const String& s, unsigned from) {
  for (unsigned i = from; i < capacityOf(s); ++i) {
    if (*s.GetBuffer(i) != 0) return false;
  }
  return true;
}

TEST(Format, Conversions) {
  const WideChar hello[] = MLIB_T("text");
  struct Row {
    String got;
    std::u16string want;
    const char* why;
  };
  const Row rows[] = {
      {formatted(MLIB_T("%d items"), 42), u"42 items", "decimal"},
      {formatted(MLIB_T("%d"), -7), u"-7", "negative decimal"},
      {formatted(MLIB_T("%d|%d"), INT_MIN, INT_MAX), u"-2147483648|2147483647", "int limits"},
      {formatted(MLIB_T("%u"), -1), u"4294967295", "unsigned reading of -1"},
      {formatted(MLIB_T("%x"), 0x1234), u"34", "low byte only"},
      {formatted(MLIB_T("%X"), 0xAB), u"AB", "upper case"},
      {formatted(MLIB_T("%x|%X"), 5, 0x100), u"5|0", "no leading zero"},
      {formatted(MLIB_T("%f"), 0.5), u"0.500000", "six decimals"},
      {formatted(MLIB_T("%f"), -1.25), u"-1.250000", "negative"},
      {formatted(MLIB_T("%f"), 2.0 / 3.0), u"0.666667", "rounded at six"},
      {formatted(MLIB_T("%f"), 1e20), u"100000000000000000000.000000", "large"},
      {formatted(MLIB_T("%f"), 1e60),
       u"999999999999999949387135297074018866963645011013410073083904.000000",
       "longer than any fixed piece buffer"},
      {formatted(MLIB_T("%t"), floatBits(1.5f)), u"1.500000", "float bits"},
      {formatted(MLIB_T("%t"), floatBits(-0.1f)), u"-0.100000", "float bits, widened"},
      {formatted(MLIB_T("%c%c"), 'A', 0x142), u"AB", "low byte as a character"},
      {formatted(MLIB_T("%c"), 0xE9), u"\uFFE9", "high byte sign-extended"},
      {formatted(MLIB_T("%s|%s"), hello, static_cast<const WideChar*>(nullptr)), u"text|",
       "null text gives nothing"},
      {formatted(MLIB_T("[%s]"), MLIB_T("")), u"[]", "empty text"},
      {formatted(MLIB_T("%5d"), 9), u"%5d", "widths are not conversions"},
      {formatted(MLIB_T("%%d"), 3), u"%3", "doubled percent"},
      {formatted(MLIB_T("50%")), u"50%", "final percent"},
      {formatted(MLIB_T("%q%d"), 1), u"%q1", "unknown letter"},
      {formatted(MLIB_T("%d %s %f %u"), 1, hello, 0.25, 2u), u"1 text 0.250000 2", "mixed"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.why);
    EXPECT_EQ(text(r.got), r.want);
  }
}

TEST(Format, BufferRule) {
  const String empty = formatted(MLIB_T(""));
  EXPECT_FALSE(empty.IsNull());
  EXPECT_TRUE(empty.IsEmpty());
  EXPECT_EQ(capacityOf(empty), 513u);

  String unchanged(MLIB_T("keep"));
  unchanged.Format(nullptr, 1);
  EXPECT_EQ(text(unchanged), u"keep");
  EXPECT_EQ(capacityOf(unchanged), 5u);

  // need = 2 + 512: a capacity above it is kept, one of exactly 514 is not.
  String big;
  WideChar* kept = big.AllocBuffer(599);
  big.Format(MLIB_T("%d"), 12);
  EXPECT_EQ(big.GetBuffer(0), kept);
  EXPECT_EQ(capacityOf(big), 600u);
  EXPECT_EQ(text(big), u"12");
  String edge;
  edge.AllocBuffer(513);
  edge.Format(MLIB_T("%d"), 12);
  EXPECT_EQ(capacityOf(edge), 515u);

  // A 600-unit piece: limit 514 -> 600 + 2 x 514.
  const std::u16string long600(600, u'y');
  const String grown = formatted(MLIB_T("%s"), reinterpret_cast<const WideChar*>(long600.c_str()));
  EXPECT_EQ(text(grown), long600);
  EXPECT_EQ(capacityOf(grown), 1629u);
  EXPECT_TRUE(zeroFrom(grown, 600));

  // A piece that fills the limit exactly, then literals: each literal is a piece of one.
  const std::u16string long517(517, u'x');
  const String literal =
      formatted(MLIB_T("%sabc"), reinterpret_cast<const WideChar*>(long517.c_str()));
  EXPECT_EQ(text(literal), long517 + u"abc");
  EXPECT_EQ(capacityOf(literal), 1036u);
  EXPECT_TRUE(zeroFrom(literal, 520));

  // Two growths: need = 4 + 512; 2000 > 516 gives 2000 + 1032 = 3032; then
  // 3000 > 3032 - 2000 gives 3000 + 6064.
  const std::u16string long2000(2000, u'a');
  const std::u16string long3000(3000, u'b');
  const String twice = formatted(MLIB_T("%s%s"), reinterpret_cast<const WideChar*>(long2000.c_str()),
                                 reinterpret_cast<const WideChar*>(long3000.c_str()));
  EXPECT_EQ(text(twice), long2000 + long3000);
  EXPECT_EQ(capacityOf(twice), 9065u);
}

TEST(Format, LeavesTheAnsiBufferAndClearsBehindTheText) {
  String s;
  s.AllocBuffer(700);
  for (unsigned i = 0; i < 700; ++i) *s.GetBuffer(i) = 'z';
  const char* ansi = s.toAnsi();
  s.Format(MLIB_T("%d-%s"), 5, MLIB_T("ok"));
  EXPECT_EQ(text(s), u"5-ok");
  EXPECT_TRUE(zeroFrom(s, 4));
  EXPECT_EQ(StringAccess::ansiBuffer(s), ansi);
  EXPECT_EQ(s.GetAnsiLength(), 700) << "the ANSI text still describes the older text";

  String replaced(MLIB_T("abc"));
  const char* old = replaced.toAnsi();
  replaced.Format(MLIB_T("%d"), 1);
  EXPECT_EQ(capacityOf(replaced), 515u);
  EXPECT_EQ(StringAccess::ansiBuffer(replaced), old);
}

TEST(Format, TextsFromItsOwnBufferAreReadAsTheyStood) {
  String s(MLIB_T("world"));
  s.Format(MLIB_T("[%s|%s]"), s.toString(), s.GetBuffer(2));
  EXPECT_EQ(text(s), u"[world|rld]");
  EXPECT_EQ(capacityOf(s), 520u);
  // Kept buffer this time (520 > 4 + 512).
  s.Format(MLIB_T("<%s>"), s.toString());
  EXPECT_EQ(text(s), u"<[world|rld]>");
  String f(MLIB_T("%d+%d"));
  f.Format(f.toString(), 1, 2);
  EXPECT_EQ(text(f), u"1+2");
}

TEST(Format, NumberConstructorsAndAssignments) {
  struct Row {
    String got;
    std::u16string want;
    unsigned capacity;
    const char* why;
  };
  const Row rows[] = {
      {String(42), u"42", 515, "int"},
      {String(-42), u"-42", 515, "negative int"},
      {String(4294967295u), u"4294967295", 515, "unsigned"},
      {String((1LL << 32) + 5), u"4294967301", 515, "64-bit, all digits"},
      {String(LLONG_MIN), u"-9223372036854775808", 515, "64-bit minimum"},
      {String(ULLONG_MAX), u"18446744073709551615", 515, "64-bit unsigned maximum"},
      {String(3.14159, 2), u"3.14", 515, "cut to two"},
      {String(3.14159, -1), u"3.141590", 515, "negative places keep six"},
      {String(2.5, 3), u"2.500", 515, "trailing zeros stay"},
      {String(-2.5, 1), u"-2.5", 515, "negative value"},
      {String(2.71828, 2), u"2.71", 515, "cut, not rounded"},
      {String(1.999, 2), u"1.99", 515, "cut, not rounded up"},
      {String(5.0, 0), u"5", 515, "no places drops the full stop"},
      {String(1.5, 9), u"1.500000", 515, "more than six keeps six"},
      {String(1.5f, 1), u"1.5", 4, "float: exact size"},
      {String(0.25f, -1), u"0.250000", 9, "float, all six"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.why);
    EXPECT_EQ(text(r.got), r.want);
    EXPECT_EQ(capacityOf(r.got), r.capacity);
  }
  const String cut(3.14159, 2);
  EXPECT_TRUE(zeroFrom(cut, 4)) << "cut decimals are cleared";

  String s(MLIB_T("ab"));
  s = 12;
  EXPECT_EQ(text(s), u"12");
  EXPECT_EQ(capacityOf(s), 515u);
  s = 7u;
  EXPECT_EQ(text(s), u"7");
  EXPECT_EQ(capacityOf(s), 515u) << "a buffer above 514 is kept";
  s = 0.125;
  EXPECT_EQ(text(s), u"0.125000");
  String big;
  big.AllocBuffer(1000);
  big = -3;
  EXPECT_EQ(text(big), u"-3");
  EXPECT_EQ(capacityOf(big), 1001u);
  // Appends fit into the number's reserve.
  String n(1);
  const WideChar* before = n.GetBuffer(0);
  n += MLIB_T(" apple");
  EXPECT_EQ(n.GetBuffer(0), before);
  EXPECT_EQ(text(n), u"1 apple");
}

TEST(Format, NumbersIgnoreTheCLocale) {
  const char* wanted[] = {"de_DE.UTF-8", "de_DE.utf8", "de_DE"};
  const char* set = nullptr;
  for (const char* name : wanted) {
    if ((set = std::setlocale(LC_NUMERIC, name)) != nullptr) break;
  }
  if (set == nullptr) GTEST_SKIP() << "no German locale installed";
  const String a(2.5, 1);
  const String b = formatted(MLIB_T("%f|%d"), 1234.5, 1234567);
  String c;
  c = 0.75;
  std::setlocale(LC_NUMERIC, "C");
  EXPECT_EQ(text(a), u"2.5");
  EXPECT_EQ(text(b), u"1234.500000|1234567");
  EXPECT_EQ(text(c), u"0.750000");
}

}  // namespace
