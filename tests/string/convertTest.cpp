// String's number reading, radix conversions, byte <-> hexadecimal text and UTF-8.
#include <gtest/gtest.h>
#include <mlib/byte.h>
#include <mlib/string.h>
#include <mlib/text.h>

#include <climits>
#include <string>

#include "byteContent.h"
#include "stringText.h"
#include "text/ansiCodePageScope.h"

namespace {

using mlib::Byte;
using mlib::String;
using mlib::WideChar;
using mlib::detail::StringAccess;
using mlib::test::content;
using mlib::test::shown;
using mlib::test::State;
using mlib::test::state;

TEST(StringConvert, ReadsNumbers) {
  EXPECT_EQ(String(MLIB_T("  -12abc")).toInt(), -12);
  EXPECT_EQ(String().toInt(), 0);
  EXPECT_EQ(String(MLIB_T("-1")).toUint32(), 4294967295u);
  EXPECT_EQ(String(MLIB_T("99999999999")).toInt(), INT_MAX);  // saturates
  EXPECT_EQ(String(MLIB_T("99999999999")).toInt64(), 99999999999LL);
  EXPECT_EQ(String(MLIB_T("-1")).toUint64(), ULLONG_MAX);
  EXPECT_DOUBLE_EQ(String(MLIB_T("2.5")).toDouble(), 2.5);
}

// Every base conversion, as the static function and as the member.
TEST(StringConvert, RadixConversions) {
  struct Row {
    String (*asStatic)(const String&);
    String (String::*asMember)() const;
    const WideChar* in;
    std::u16string want;
  };
#define MLIB_BOTH(name) &String::name, &String::name
  const Row rows[] = {
      {MLIB_BOTH(DecimalToBinary), MLIB_T("5"), u"00000101"},
      {MLIB_BOTH(DecimalToBinary), nullptr, u"00000000"},
      {MLIB_BOTH(DecimalToBinary), MLIB_T("-5"), u"11111111111111111111111111111011"},
      {MLIB_BOTH(DecimalToBinary), MLIB_T("4294967296"), u"01111111111111111111111111111111"},
      {MLIB_BOTH(BinaryToDecimal), MLIB_T("101"), u"5"},
      {MLIB_BOTH(BinaryToDecimal), MLIB_T("12"), u"4"},  // other digits count their face value
      {MLIB_BOTH(BinaryToDecimal), nullptr, u"0"},
      {MLIB_BOTH(BinaryToDecimal), MLIB_T("11111111111111111111111111111111"), u"-1"},
      {MLIB_BOTH(BinaryToDecimal), MLIB_T("100000000000000000000000000000000"), u"0"},  // wraps
      {MLIB_BOTH(BinaryToHex), MLIB_T("101"), u"5"},
      {MLIB_BOTH(BinaryToHex), MLIB_T("11111"), u"1F"},
      {MLIB_BOTH(BinaryToHex), MLIB_T("2222"), u"U"},
      {MLIB_BOTH(BinaryToHex), MLIB_T(""), u"(null)"},
      {MLIB_BOTH(DecimalToHex), MLIB_T("255"), u"FF"},
      {MLIB_BOTH(DecimalToHex), MLIB_T("256"), u"0100"},
      {MLIB_BOTH(DecimalToHex), MLIB_T("-1"), u"FFFFFFFF"},
      {MLIB_BOTH(HexToBinary), MLIB_T("1f"), u"00011111"},
      {MLIB_BOTH(HexToBinary), MLIB_T("0x1F"), u"000000011111"},
      {MLIB_BOTH(HexToBinary), MLIB_T("xyz"), u"(null)"},
      {MLIB_BOTH(HexToDecimal), MLIB_T("0x1F"), u"31"},
      {MLIB_BOTH(HexToDecimal), MLIB_T("1FFFFFFFF"), u"-1"},
      {MLIB_BOTH(HexToDecimal), MLIB_T("z1"), u"1"},
      {MLIB_BOTH(HexToDecimal), nullptr, u"(null)"},
  };
#undef MLIB_BOTH
  for (const Row& r : rows) {
    const String in(r.in);
    SCOPED_TRACE(&r - rows);
    EXPECT_EQ(shown(r.asStatic(in)), r.want);
    EXPECT_EQ(shown((in.*(r.asMember))()), r.want);
  }
}

TEST(StringConvert, BytesToHexText) {
  const unsigned char bytes[] = {0x0A, 0xFF};
  String s(MLIB_T("abcd"));
  s.ByteDataToHexString(bytes, 2, false);  // capacity 5 > 4 units: kept
  EXPECT_EQ(state(s), State(u"0AFF", 5));
  s.ByteDataToHexString(bytes, 2, true);  // 6 units: exactly 7
  EXPECT_EQ(state(s), State(u"0A FF ", 7));
  s.ByteDataToHexString(nullptr, 2, false);
  EXPECT_EQ(state(s), State(u"", 7));
  s.ByteDataToHexString(mlib::test::bytesOf("\x12\x34"), false);
  EXPECT_EQ(shown(s), u"1234");
  EXPECT_TRUE(String::ByteToHexString(bytes, 0, false).IsNull());
  EXPECT_EQ(shown(String::ByteToHexString(bytes, 1, true)), u"0A ");

  // Bytes read from the string's own buffer ("AB" as little-endian UTF-16 units) are made
  // aside, then land as an assignment puts them: the roomy buffer and the ANSI buffer stay.
  String self;
  self.AllocBuffer(20);
  self = MLIB_T("AB");
  const char* ansi = self.toAnsi();
  self.ByteDataToHexString(reinterpret_cast<const unsigned char*>(self.toString()), 4, false);
  EXPECT_EQ(state(self), State(u"41004200", 21));
  self.ByteDataToHexString(bytes, 2, true);
  EXPECT_EQ(state(self), State(u"0A FF ", 21));
  EXPECT_EQ(StringAccess::ansiBuffer(self), ansi);

  EXPECT_EQ(shown(String(MLIB_T("AB")).ToHexString()), u"4142");
  EXPECT_TRUE(String().ToHexString().IsNull());
  if (GetAnsiCodePage() == 1252) {
    EXPECT_EQ(shown(String(MLIB_T("\u00E9\u0100")).ToHexString()), u"E941");  // best fit A
  }
}

TEST(StringConvert, HexTextToBytes) {
  String s(MLIB_T("0A FF"));
  unsigned char out[4] = {0xEE, 0xEE, 0xEE, 0xEE};
  EXPECT_EQ(s.HexStringToByteData(out, 4), 2);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(out), 4), std::string("\x0A\xFF\0\0", 4));
  EXPECT_EQ(s.HexStringToByteData(out, 1), 1);
  EXPECT_EQ(s.HexStringToByteData(nullptr, 4), 0);
  // A room of 2^31 or more reads as negative once handed on: nothing written, 0.
  out[0] = 0xEE;
  EXPECT_EQ(s.HexStringToByteData(out, 0x80000000u) + s.HexStringToByteData(out, ~0u), 0);
  EXPECT_EQ(out[0], 0xEE);

  const Byte b = s.HexStringToByteData();
  EXPECT_EQ(content(b), "\x0A\xFF");
  EXPECT_EQ(b.GetBufferLength(), 5);
  String noDigits(MLIB_T("xyz")), null;
  const Byte none = noDigits.HexStringToByteData();
  EXPECT_EQ(none.GetLength() * 10 + none.GetBufferLength(), 3);
  EXPECT_EQ(null.HexStringToByteData().GetData(), nullptr);
}

TEST(StringConvert, FromUtf8CutsAtUnits) {
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
}

TEST(StringConvert, ToUtf8GoesThroughAnsi) {
  EXPECT_EQ(String::ToUtf8(String()).GetData(), nullptr);
  EXPECT_EQ(String::ToUtf8(String(MLIB_T(""))).GetLength(), 0);
  MLIB_USE_ANSI_CODE_PAGE(1252);
  const Byte utf8 = String::ToUtf8(String(MLIB_T("a\u00E9\u20AC\u4E2D")));
  EXPECT_EQ(content(utf8), "a\xC3\xA9\xE2\x82\xAC?");  // U+4E2D is not in 1252
  EXPECT_EQ(utf8.GetBufferLength(), 8);
}

}  // namespace
