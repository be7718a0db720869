// String::Format and the number constructors (buffer rule and growth, decimal cutting, the C
// locale ignored), number reading, radix conversions, byte <-> hexadecimal text and UTF-8.
#include <gtest/gtest.h>
#include <mlib/byte.h>
#include <mlib/string.h>
#include <mlib/text.h>

#include <climits>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>

#include "byteContent.h"
#include "stringText.h"
#include "text/ansiCodePageScope.h"

namespace {

using mlib::String;
using mlib::WideChar;
using mlib::detail::StringAccess;
using mlib::test::content;
using mlib::test::shown;
using mlib::test::State;
using mlib::test::state;
using mlib::test::units;
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

TEST(Format, Conversions) {
  const WideChar* const noText = nullptr;
  const struct Row {
    String got;
    std::u16string want;
  } rows[] = {
      {formatted(MLIB_T("%d items"), 42), u"42 items"},
      {formatted(MLIB_T("%d|%d|%d"), -7, INT_MIN, INT_MAX), u"-7|-2147483648|2147483647"},
      {formatted(MLIB_T("%u"), -1), u"4294967295"},
      {formatted(MLIB_T("%x|%X|%x|%X"), 0x1234, 0xAB, 5, 0x100), u"34|AB|5|0"},  // low byte
      {formatted(MLIB_T("%f|%f|%f"), 0.5, -1.25, 2.0 / 3.0), u"0.500000|-1.250000|0.666667"},
      {formatted(MLIB_T("%f"), 1e20), u"100000000000000000000.000000"},
      {formatted(MLIB_T("%f"), 1e60),  // longer than any fixed piece buffer
       u"999999999999999949387135297074018866963645011013410073083904.000000"},
      {formatted(MLIB_T("%t|%t"), floatBits(1.5f), floatBits(-0.1f)), u"1.500000|-0.100000"},
      {formatted(MLIB_T("%c%c|%c"), 'A', 0x142, 0xE9), u"AB|\uFFE9"},  // high byte sign-extended
      {formatted(MLIB_T("%s|%s[%s]"), MLIB_T("text"), noText, MLIB_T("")), u"text|[]"},
      {formatted(MLIB_T("%5d|%%d|%q%d|50%"), 3, 1), u"%5d|%3|%q1|50%"},  // copied as they are
      {formatted(MLIB_T("%d %s %f %u"), 1, MLIB_T("x"), 0.25, 2u), u"1 x 0.250000 2"},
  };
  for (const Row& r : rows) EXPECT_EQ(shown(r.got), r.want) << "row " << &r - rows;
}

String sized(unsigned capacity) {  // no text in a buffer of capacity + 1 units
  String s;
  s.AllocBuffer(capacity);
  return s;
}
template <typename Edit>
String after(String s, Edit edit) {
  edit(s);
  return s;
}

// Text and capacity: Format's buffer rule (need = pieces + 512; a capacity above it is kept)
// and its growth, numbers in a 515-unit buffer (floats exact), decimals cut, not rounded.
TEST(Format, BufferRuleGrowthAndNumberText) {
  const std::u16string y600(600, u'y'), x517(517, u'x'), a2000(2000, u'a'), b3000(3000, u'b');
  const struct Row {
    String got;
    State want;
  } rows[] = {
      {formatted(MLIB_T("")), {u"", 513}},
      {after(String(MLIB_T("keep")), [](String& s) { s.Format(nullptr, 1); }), {u"keep", 5}},
      {after(sized(599), [](String& s) { s.Format(MLIB_T("%d"), 12); }), {u"12", 600}},
      {after(sized(513), [](String& s) { s.Format(MLIB_T("%d"), 12); }), {u"12", 515}},
      // need = 4 + 512; 2000 > 516 gives 2000 + 1032; then 3000 > 3032 - 2000 gives 3000 + 6064.
      {formatted(MLIB_T("%s%s"), wide(a2000), wide(b3000)), {a2000 + b3000, 9065}},
      {String(-42), {u"-42", 515}},
      {String(4294967295u), {u"4294967295", 515}},
      {String((1LL << 32) + 5), {u"4294967301", 515}},
      {String(LLONG_MIN), {u"-9223372036854775808", 515}},
      {String(ULLONG_MAX), {u"18446744073709551615", 515}},
      {String(3.14159, 2), {u"3.14", 515}},
      {String(3.14159, -1), {u"3.141590", 515}},  // negative places keep six
      {String(-2.5, 3), {u"-2.500", 515}},
      {String(1.999, 2), {u"1.99", 515}},
      {String(5.0, 0), {u"5", 515}},
      {String(1.5, 9), {u"1.500000", 515}},
      {String(1.5f, 1), {u"1.5", 4}},
      {String(0.25f, -1), {u"0.250000", 9}},
      {after(String(MLIB_T("ab")), [](String& s) { s = 12; }), {u"12", 515}},
      {after(String(MLIB_T("ab")), [](String& s) { s = 0.125; }), {u"0.125000", 515}},
      {after(String(MLIB_T("ab")), [](String& s) { s = 4000000000u; }), {u"4000000000", 515}},
      {after(sized(1000), [](String& s) { s = -3; }), {u"-3", 1001}},
      {after(String(1), [](String& s) { s += MLIB_T(" apple"); }), {u"1 apple", 515}},  // reserve
  };
  for (const Row& r : rows) EXPECT_EQ(state(r.got), r.want) << "row " << &r - rows;
  EXPECT_EQ(units(String(3.14159, 2)), u"3.14" + std::u16string(511, u'\0')) << "cut decimals";
  // A 600-unit piece: limit 514 -> 600 + 2 x 514; a piece filling the limit, then literals.
  EXPECT_EQ(units(formatted(MLIB_T("%s"), wide(y600))), y600 + std::u16string(1029, u'\0'));
  EXPECT_EQ(units(formatted(MLIB_T("%sabc"), wide(x517))),
            x517 + u"abc" + std::u16string(516, u'\0'));
}

TEST(Format, LeavesTheAnsiBufferAndReadsItsOwnTextFirst) {
  String s = sized(700);
  for (unsigned i = 0; i < 700; ++i) *s.GetBuffer(i) = 'z';
  const char* ansi = s.toAnsi();
  s.Format(MLIB_T("%d-%s"), 5, MLIB_T("ok"));
  EXPECT_EQ(units(s), u"5-ok" + std::u16string(697, u'\0'));
  EXPECT_EQ(StringAccess::ansiBuffer(s), ansi);
  EXPECT_EQ(s.GetAnsiLength(), 700) << "the ANSI text still describes the older text";
  String own(MLIB_T("world")), f(MLIB_T("%d+%d"));
  own.toAnsi();
  own.Format(MLIB_T("[%s|%s]"), own.toString(), own.GetBuffer(2));  // replaced buffer
  EXPECT_EQ(state(own), State(u"[world|rld]", 520));
  EXPECT_NE(StringAccess::ansiBuffer(own), nullptr);
  own.Format(MLIB_T("<%s>"), own.toString());  // kept buffer: 520 > 4 + 512
  EXPECT_EQ(state(own), State(u"<[world|rld]>", 520));
  f.Format(f.toString(), 1, 2);
  EXPECT_EQ(shown(f), u"1+2");
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

TEST(StringConvert, ReadsNumbers) {
  EXPECT_EQ(String(MLIB_T("  -12abc")).toInt(), -12);
  EXPECT_EQ(String().toInt(), 0);
  EXPECT_EQ(String(MLIB_T("-1")).toUint32(), 4294967295u);
  EXPECT_EQ(String(MLIB_T("99999999999")).toInt(), INT_MAX);  // saturates
  EXPECT_EQ(String(MLIB_T("99999999999")).toInt64(), 99999999999LL);
  EXPECT_EQ(String(MLIB_T("-1")).toUint64(), ULLONG_MAX);
  EXPECT_DOUBLE_EQ(String(MLIB_T("2.5")).toDouble(), 2.5);
}

// The digits of v in a base, padded on the left with '0' to a multiple of `group`.
std::u16string digits(std::uint32_t v, unsigned base, std::size_t group) {
  std::u16string t;
  do t.insert(t.begin(), u"0123456789ABCDEF"[v % base]);
  while ((v /= base) != 0);
  return std::u16string((group - t.size() % group) % group, u'0') + t;
}

// Every base conversion, as the static function and as the member: seeded 32-bit values
// against their digits, then the malformed and out-of-range texts.
TEST(StringConvert, RadixConversions) {
  struct Conversion {
    String (*asStatic)(const String&);
    String (String::*asMember)() const;
  };
#define MLIB_BOTH(name) \
  Conversion { &String::name, &String::name }
  const Conversion toBinary = MLIB_BOTH(DecimalToBinary), binToDec = MLIB_BOTH(BinaryToDecimal),
                   binToHex = MLIB_BOTH(BinaryToHex), toHex = MLIB_BOTH(DecimalToHex),
                   hexToBin = MLIB_BOTH(HexToBinary), hexToDec = MLIB_BOTH(HexToDecimal);
#undef MLIB_BOTH
  const auto run = [](const Conversion& c, const WideChar* in) {
    const String s(in);
    const std::u16string got = shown(c.asStatic(s));
    EXPECT_EQ(shown((s.*c.asMember)()), got) << "as the member";
    return got;
  };
  std::mt19937 rng(2024);
  for (int round = 0; round < 400; ++round) {
    const std::uint32_t v = round < 20 ? round : rng() >> (rng() % 32);
    const std::string decimal = std::to_string(static_cast<std::int32_t>(v));
    const std::u16string dec(decimal.begin(), decimal.end()), hex = digits(v, 16, 1);
    std::u16string lower = hex;
    for (char16_t& c : lower) c = c >= u'A' ? c + 32 : c;
    SCOPED_TRACE(decimal);
    EXPECT_EQ(run(toBinary, wide(dec)), digits(v, 2, 8));
    EXPECT_EQ(run(binToDec, wide(digits(v, 2, 1))), dec);
    EXPECT_EQ(run(binToHex, wide(digits(v, 2, 1))), hex);
    EXPECT_EQ(run(toHex, wide(dec)), digits(v, 16, 2));
    EXPECT_EQ(run(hexToBin, wide(lower)), digits(v, 2, 4));
    EXPECT_EQ(run(hexToDec, wide(hex)), dec);
  }
  const struct Row {
    Conversion conversion;
    const WideChar* in;
    std::u16string want;
  } rows[] = {
      {toBinary, nullptr, u"00000000"},
      {toBinary, MLIB_T("4294967296"), u"01111111111111111111111111111111"},  // saturated
      {binToDec, MLIB_T("12"), u"4"},  // other digits count their face value
      {binToDec, nullptr, u"0"},
      {binToDec, MLIB_T("100000000000000000000000000000000"), u"0"},  // wraps
      {binToHex, MLIB_T("2222"), u"U"},
      {binToHex, MLIB_T(""), u"(null)"},
      {hexToBin, MLIB_T("0x1F"), u"000000011111"},
      {hexToBin, MLIB_T("xyz"), u"(null)"},
      {hexToDec, MLIB_T("0x1F"), u"31"},
      {hexToDec, MLIB_T("1FFFFFFFF"), u"-1"},
      {hexToDec, MLIB_T("z1"), u"1"},
      {hexToDec, nullptr, u"(null)"},
  };
  for (const Row& r : rows) EXPECT_EQ(run(r.conversion, r.in), r.want) << "row " << &r - rows;
}

TEST(StringConvert, BytesToHexText) {
  const unsigned char bytes[] = {0x0A, 0xFF};
  const State none(u"(null)", 0);
  const struct Row {
    String got;
    State want;
  } rows[] = {
      // The capacity of "abcd" (5) is kept for 4 units, not for 6.
      {after(String(MLIB_T("abcd")), [&](String& s) { s.ByteDataToHexString(bytes, 2, false); }),
       {u"0AFF", 5}},
      {after(String(MLIB_T("abcd")), [&](String& s) { s.ByteDataToHexString(bytes, 2, true); }),
       {u"0A FF ", 7}},
      {after(String(MLIB_T("ab")), [](String& s) { s.ByteDataToHexString(nullptr, 2, false); }),
       {u"", 3}},
      {after(String(),
             [](String& s) { s.ByteDataToHexString(mlib::test::bytesOf("\x12\x34"), 0); }),
       {u"1234", 5}},
      {String::ByteToHexString(bytes, 0, false), none},
      {String::ByteToHexString(bytes, 1, true), {u"0A ", 4}},
      {String(MLIB_T("AB")).ToHexString(), {u"4142", 5}},
      {String().ToHexString(), none},
  };
  for (const Row& r : rows) EXPECT_EQ(state(r.got), r.want) << "row " << &r - rows;
  // Bytes read from the string's own buffer ("AB" as little-endian UTF-16 units) are made
  // aside, then land as an assignment puts them: the roomy buffer and the ANSI buffer stay.
  String self = sized(20);
  self = MLIB_T("AB");
  const char* ansi = self.toAnsi();
  self.ByteDataToHexString(reinterpret_cast<const unsigned char*>(self.toString()), 4, false);
  EXPECT_EQ(state(self), State(u"41004200", 21));
  self.ByteDataToHexString(bytes, 2, true);
  EXPECT_EQ(state(self), State(u"0A FF ", 21));
  EXPECT_EQ(StringAccess::ansiBuffer(self), ansi);
  if (GetAnsiCodePage() == 1252) {
    EXPECT_EQ(shown(String(MLIB_T("\u00E9\u0100")).ToHexString()), u"E941");  // best fit A
  }
}

TEST(StringConvert, HexTextToBytes) {
  String s(MLIB_T("0A FF")), noDigits(MLIB_T("xyz")), null;
  unsigned char out[4] = {0xEE, 0xEE, 0xEE, 0xEE};
  EXPECT_EQ(s.HexStringToByteData(out, 4), 2);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(out), 4), std::string("\x0A\xFF\0\0", 4));
  EXPECT_EQ(s.HexStringToByteData(out, 1), 1);
  EXPECT_EQ(s.HexStringToByteData(nullptr, 4), 0);
  // A room of 2^31 or more reads as negative once handed on: nothing written, 0.
  out[0] = 0xEE;
  EXPECT_EQ(s.HexStringToByteData(out, 0x80000000u) + s.HexStringToByteData(out, ~0u), 0);
  EXPECT_EQ(out[0], 0xEE);
  const mlib::Byte b = s.HexStringToByteData(), none = noDigits.HexStringToByteData();
  EXPECT_EQ(content(b), "\x0A\xFF");
  EXPECT_EQ(b.GetBufferLength(), 5);
  EXPECT_EQ(none.GetLength() * 10 + none.GetBufferLength(), 3);
  EXPECT_EQ(null.HexStringToByteData().GetData(), nullptr);
}

TEST(StringConvert, Utf8) {
  const unsigned char eAcute[] = {0xC3, 0xA9, 0};
  EXPECT_EQ(state(String::FromUtf8(eAcute, 2)), State(u"\u00E9", 2));
  EXPECT_TRUE(String::FromUtf8(eAcute, 0).IsNull());
  EXPECT_TRUE(String::FromUtf8(static_cast<const unsigned char*>(nullptr), 5).IsNull());
  EXPECT_TRUE(String::FromUtf8(static_cast<const char*>(nullptr)).IsNull());
  EXPECT_TRUE(String::FromUtf8("").IsNull());
  EXPECT_EQ(shown(String::FromUtf8(reinterpret_cast<const unsigned char*>("abcdef"), 3)), u"abc");
  // U+1F600 is two units: a cut at one keeps the lead surrogate alone.
  EXPECT_EQ(shown(String::FromUtf8("x\xF0\x9F\x98\x80")), u"x\U0001F600");
  EXPECT_EQ(shown(String::FromUtf8(reinterpret_cast<const unsigned char*>("\xF0\x9F\x98\x80"), 1)),
            std::u16string(1, char16_t(0xD83D)));
  EXPECT_EQ(shown(String::FromUtf8("a\xFF"
                                   "b")),
            u"a\uFFFDb");
  // ToUtf8 goes through the ANSI text.
  EXPECT_EQ(String::ToUtf8(String()).GetData(), nullptr);
  EXPECT_EQ(String::ToUtf8(String(MLIB_T(""))).GetLength(), 0);
  MLIB_USE_ANSI_CODE_PAGE(1252);
  const mlib::Byte utf8 = String::ToUtf8(String(MLIB_T("a\u00E9\u20AC\u4E2D")));
  EXPECT_EQ(content(utf8), "a\xC3\xA9\xE2\x82\xAC?");  // U+4E2D is not in 1252
  EXPECT_EQ(utf8.GetBufferLength(), 8);
}

}  // namespace
