// String::Format and the number constructors: the conversions, the buffer rule and its
// growth, decimal cutting, and independence from the C locale.
#include <gtest/gtest.h>
#include <mlib/string.h>

#include <climits>
#include <clocale>
#include <cstring>
#include <string>

#include "stringText.h"

namespace {

using mlib::String;
using mlib::WideChar;
using mlib::detail::StringAccess;
using mlib::test::shown;
using mlib::test::State;
using mlib::test::state;
using mlib::test::wide;

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

// True when every unit from `from` to the end of the buffer is zero.
bool zeroFrom(const String& s, unsigned from) {
  for (unsigned i = from; i < StringAccess::capacity(s); ++i) {
    if (*s.GetBuffer(i) != 0) return false;
  }
  return true;
}

TEST(Format, Conversions) {
  struct Row {
    String got;
    std::u16string want;
    const char* why;
  } const rows[] = {
      {formatted(MLIB_T("%d items"), 42), u"42 items", "decimal"},
      {formatted(MLIB_T("%d|%d|%d"), -7, INT_MIN, INT_MAX), u"-7|-2147483648|2147483647", "ints"},
      {formatted(MLIB_T("%u"), -1), u"4294967295", "unsigned reading of -1"},
      {formatted(MLIB_T("%x|%X|%x|%X"), 0x1234, 0xAB, 5, 0x100), u"34|AB|5|0",
       "low byte, no leading zero"},
      {formatted(MLIB_T("%f|%f"), 0.5, -1.25), u"0.500000|-1.250000", "six decimals"},
      {formatted(MLIB_T("%f|%f"), 2.0 / 3.0, 1e20), u"0.666667|100000000000000000000.000000",
       "rounding, large"},
      {formatted(MLIB_T("%f"), 1e60),
       u"999999999999999949387135297074018866963645011013410073083904.000000",
       "longer than any fixed piece buffer"},
      {formatted(MLIB_T("%t|%t"), floatBits(1.5f), floatBits(-0.1f)), u"1.500000|-0.100000",
       "float bits"},
      {formatted(MLIB_T("%c%c|%c"), 'A', 0x142, 0xE9), u"AB|\uFFE9",
       "low byte; high byte sign-extended"},
      {formatted(MLIB_T("%s|%s[%s]"), MLIB_T("text"), static_cast<const WideChar*>(nullptr),
                 MLIB_T("")),
       u"text|[]", "null text gives nothing"},
      {formatted(MLIB_T("%5d|%%d|%q%d|50%"), 3, 1), u"%5d|%3|%q1|50%", "not conversions: copied"},
      {formatted(MLIB_T("%d %s %f %u"), 1, MLIB_T("x"), 0.25, 2u), u"1 x 0.250000 2", "mixed"},
  };
  for (const Row& r : rows) EXPECT_EQ(shown(r.got), r.want) << r.why;
}

TEST(Format, BufferRuleAndGrowth) {
  EXPECT_EQ(state(formatted(MLIB_T(""))), State(u"", 513));
  String unchanged(MLIB_T("keep"));
  unchanged.Format(nullptr, 1);
  EXPECT_EQ(state(unchanged), State(u"keep", 5));
  // need = 2 + 512: a capacity above it is kept, one of exactly 514 is not.
  String big, edge;
  const WideChar* kept = big.AllocBuffer(599);
  big.Format(MLIB_T("%d"), 12);
  EXPECT_EQ(state(big), State(u"12", 600));
  EXPECT_EQ(big.GetBuffer(0), kept);
  edge.AllocBuffer(513);
  edge.Format(MLIB_T("%d"), 12);
  EXPECT_EQ(state(edge), State(u"12", 515));

  // A 600-unit piece: limit 514 -> 600 + 2 x 514.
  const std::u16string y600(600, u'y'), x517(517, u'x'), a2000(2000, u'a'), b3000(3000, u'b');
  const String grown = formatted(MLIB_T("%s"), wide(y600));
  EXPECT_EQ(state(grown), State(y600, 1629));
  EXPECT_TRUE(zeroFrom(grown, 600));
  // A piece that fills the limit exactly, then literals: each literal is a piece of one.
  const String literal = formatted(MLIB_T("%sabc"), wide(x517));
  EXPECT_EQ(state(literal), State(x517 + u"abc", 1036));
  EXPECT_TRUE(zeroFrom(literal, 520));
  // need = 4 + 512; 2000 > 516 gives 2000 + 1032; then 3000 > 3032 - 2000 gives 3000 + 6064.
  EXPECT_EQ(state(formatted(MLIB_T("%s%s"), wide(a2000), wide(b3000))), State(a2000 + b3000, 9065));
}

TEST(Format, LeavesTheAnsiBufferAndReadsItsOwnTextFirst) {
  String s;
  s.AllocBuffer(700);
  for (unsigned i = 0; i < 700; ++i) *s.GetBuffer(i) = 'z';
  const char* ansi = s.toAnsi();
  s.Format(MLIB_T("%d-%s"), 5, MLIB_T("ok"));
  EXPECT_EQ(state(s), State(u"5-ok", 701));
  EXPECT_TRUE(zeroFrom(s, 4));
  EXPECT_EQ(StringAccess::ansiBuffer(s), ansi);
  EXPECT_EQ(s.GetAnsiLength(), 700) << "the ANSI text still describes the older text";

  String own(MLIB_T("world"));
  own.toAnsi();
  own.Format(MLIB_T("[%s|%s]"), own.toString(), own.GetBuffer(2));  // replaced buffer
  EXPECT_EQ(state(own), State(u"[world|rld]", 520));
  EXPECT_NE(StringAccess::ansiBuffer(own), nullptr);
  own.Format(MLIB_T("<%s>"), own.toString());  // kept buffer: 520 > 4 + 512
  EXPECT_EQ(state(own), State(u"<[world|rld]>", 520));
  String f(MLIB_T("%d+%d"));
  f.Format(f.toString(), 1, 2);
  EXPECT_EQ(shown(f), u"1+2");
}

TEST(Format, NumberConstructorsAndAssignments) {
  struct Row {
    String got;
    State want;
    const char* why;
  } const rows[] = {
      {String(-42), {u"-42", 515}, "int"},
      {String(4294967295u), {u"4294967295", 515}, "unsigned"},
      {String((1LL << 32) + 5), {u"4294967301", 515}, "64-bit, all digits"},
      {String(LLONG_MIN), {u"-9223372036854775808", 515}, "64-bit minimum"},
      {String(ULLONG_MAX), {u"18446744073709551615", 515}, "64-bit unsigned maximum"},
      {String(3.14159, 2), {u"3.14", 515}, "cut to two"},
      {String(3.14159, -1), {u"3.141590", 515}, "negative places keep six"},
      {String(-2.5, 3), {u"-2.500", 515}, "trailing zeros stay"},
      {String(1.999, 2), {u"1.99", 515}, "cut, not rounded up"},
      {String(5.0, 0), {u"5", 515}, "no places drops the full stop"},
      {String(1.5, 9), {u"1.500000", 515}, "more than six keeps six"},
      {String(1.5f, 1), {u"1.5", 4}, "float: exact size"},
      {String(0.25f, -1), {u"0.250000", 9}, "float, all six"},
  };
  for (const Row& r : rows) EXPECT_EQ(state(r.got), r.want) << r.why;
  EXPECT_TRUE(zeroFrom(String(3.14159, 2), 4)) << "cut decimals are cleared";

  String s(MLIB_T("ab")), big, n(1);
  s = 12;
  EXPECT_EQ(state(s), State(u"12", 515));
  s = 0.125;
  EXPECT_EQ(state(s), State(u"0.125000", 515));
  s = 4000000000u;
  EXPECT_EQ(state(s), State(u"4000000000", 515));
  big.AllocBuffer(1000);
  big = -3;
  EXPECT_EQ(state(big), State(u"-3", 1001));
  const WideChar* reserve = n.GetBuffer(0);
  n += MLIB_T(" apple");  // appends fit into the number's reserve
  EXPECT_EQ(state(n), State(u"1 apple", 515));
  EXPECT_EQ(n.GetBuffer(0), reserve);
}

TEST(Format, NumbersIgnoreTheCLocale) {
  const char* set = nullptr;
  for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE"}) {
    if ((set = std::setlocale(LC_NUMERIC, name)) != nullptr) break;
  }
  if (set == nullptr) GTEST_SKIP() << "no German locale installed";
  const String a(2.5, 1), b = formatted(MLIB_T("%f|%d"), 1234.5, 1234567);
  String c;
  c = 0.75;
  std::setlocale(LC_NUMERIC, "C");
  EXPECT_EQ(shown(a) + u"/" + shown(b) + u"/" + shown(c), u"2.5/1234.500000|1234567/0.750000");
}

}  // namespace
