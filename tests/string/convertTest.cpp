// String's number reading, radix conversions, byte <-> hexadecimal text and UTF-8.
#include <gtest/gtest.h>
#include <mlib/byte.h>
#include <mlib/string.h>
#include <mlib/text.h>

#include <climits>
#include <string>

#include "byteContent.h"
#include "string/storage.h"

using mlib::Byte;
using mlib::String;
using mlib::WideChar;

using mlib::test::content;

namespace {

// The text, or "<null>" for a null string, so failures print something readable.
std::string shown(const String& s) {
  if (s.IsNull()) return "<null>";
  std::string out;
  for (const WideChar* p = s.toString(); *p != 0; ++p) {
    out += *p < 0x80 ? static_cast<char>(*p) : '#';
  }
  return out;
}

const char* const kNull = "<null>";

}  // namespace

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
  struct Conversion {
    String (*asStatic)(const String&);
    String (String::*asMember)() const;
  };
  const Conversion toBin{&String::DecimalToBinary, &String::DecimalToBinary};
  const Conversion toDec{&String::BinaryToDecimal, &String::BinaryToDecimal};
  const Conversion binToHex{&String::BinaryToHex, &String::BinaryToHex};
  const Conversion decToHex{&String::DecimalToHex, &String::DecimalToHex};
  const Conversion hexToBin{&String::HexToBinary, &String::HexToBinary};
  const Conversion hexToDec{&String::HexToDecimal, &String::HexToDecimal};
  struct Row {
    const Conversion* conversion;
    const WideChar* in;
    const char* want;
  };
  const Row rows[] = {
      {&toBin, MLIB_T("5"), "00000101"},
      {&toBin, nullptr, "00000000"},
      {&toBin, MLIB_T("-5"), "11111111111111111111111111111011"},
      {&toBin, MLIB_T("4294967296"), "01111111111111111111111111111111"},  // read as INT_MAX
      {&toDec, MLIB_T("101"), "5"},
      {&toDec, MLIB_T("12"), "4"},  // other digits count with their face value
      {&toDec, nullptr, "0"},
      {&toDec, MLIB_T("11111111111111111111111111111111"), "-1"},
      {&toDec, MLIB_T("100000000000000000000000000000000"), "0"},  // 2^32 wraps
      {&binToHex, MLIB_T("101"), "5"},
      {&binToHex, MLIB_T("11111"), "1F"},
      {&binToHex, MLIB_T("2222"), "U"},
      {&binToHex, MLIB_T(""), kNull},
      {&decToHex, MLIB_T("255"), "FF"},
      {&decToHex, MLIB_T("256"), "0100"},
      {&decToHex, MLIB_T("-1"), "FFFFFFFF"},
      {&hexToBin, MLIB_T("1f"), "00011111"},
      {&hexToBin, MLIB_T("0x1F"), "000000011111"},
      {&hexToBin, MLIB_T("xyz"), kNull},
      {&hexToDec, MLIB_T("0x1F"), "31"},
      {&hexToDec, MLIB_T("1FFFFFFFF"), "-1"},
      {&hexToDec, MLIB_T("z1"), "1"},
      {&hexToDec, nullptr, kNull},
  };
  for (const Row& r : rows) {
    const String in(r.in);
    SCOPED_TRACE("row " + std::to_string(&r - rows) + ": " + shown(in));
    EXPECT_EQ(shown(r.conversion->asStatic(in)), r.want);
    EXPECT_EQ(shown((in.*(r.conversion->asMember))()), r.want);
  }
}

TEST(StringConvert, BytesToHexText) {
  const unsigned char bytes[] = {0x0A, 0xFF};
  String s(MLIB_T("previous text that is longer"));
  s.ByteDataToHexString(bytes, 2, false);
  EXPECT_EQ(shown(s), "0AFF");
  s.ByteDataToHexString(bytes, 2, true);
  EXPECT_EQ(shown(s), "0A FF ");
  s.ByteDataToHexString(nullptr, 2, false);
  EXPECT_FALSE(s.IsNull());
  EXPECT_TRUE(s.IsEmpty());

  String roomy;
  roomy.AllocBuffer(100);
  roomy.ByteDataToHexString(bytes, 2, true);  // fits: the buffer is kept, as by assignment
  EXPECT_EQ(shown(roomy), "0A FF ");
  EXPECT_EQ(mlib::detail::StringAccess::capacity(roomy), 101u);
  String tight(MLIB_T("abcd"));
  tight.ByteDataToHexString(bytes, 2, false);  // capacity 5 > 4 units: kept
  EXPECT_EQ(mlib::detail::StringAccess::capacity(tight), 5u);
  tight.ByteDataToHexString(bytes, 2, true);  // 6 units: exactly 7
  EXPECT_EQ(mlib::detail::StringAccess::capacity(tight), 7u);

  Byte b;
  b.SetData(bytes, 2);
  s.ByteDataToHexString(b, false);
  EXPECT_EQ(shown(s), "0AFF");
  EXPECT_EQ(shown(String::ByteToHexString(bytes, 0, false)), kNull);
  // Bytes read from the string's own buffer ("AB" as little-endian UTF-16 units).
  String self;
  self.AllocBuffer(20);
  self = MLIB_T("AB");
  ASSERT_NE(self.toAnsi(), nullptr);
  self.ByteDataToHexString(reinterpret_cast<const unsigned char*>(self.toString()), 4, false);
  EXPECT_EQ(shown(self), "41004200");
  // Made aside, then assigned: the roomy buffer and the ANSI buffer stay, as for outside bytes.
  EXPECT_EQ(mlib::detail::StringAccess::capacity(self), 21u);
  EXPECT_EQ(self.GetAnsiLength(), 2);
  String outside;
  outside.AllocBuffer(20);
  outside = MLIB_T("AB");
  ASSERT_NE(outside.toAnsi(), nullptr);
  outside.ByteDataToHexString(bytes, 2, false);
  EXPECT_EQ(mlib::detail::StringAccess::capacity(outside), 21u);
  EXPECT_EQ(outside.GetAnsiLength(), 2);

  EXPECT_EQ(shown(String(MLIB_T("AB")).ToHexString()), "4142");
  EXPECT_EQ(shown(String().ToHexString()), kNull);
  if (GetAnsiCodePage() == 1252) {
    EXPECT_EQ(shown(String(MLIB_T("\u00E9\u0100")).ToHexString()), "E941");  // best fit A
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
  EXPECT_EQ(s.HexStringToByteData(out, 0x80000000u), 0);
  EXPECT_EQ(s.HexStringToByteData(out, 0xFFFFFFFFu), 0);
  EXPECT_EQ(out[0], 0xEE);

  const Byte b = s.HexStringToByteData();
  EXPECT_EQ(content(b), "\x0A\xFF");
  EXPECT_EQ(b.GetBufferLength(), 5);

  String noDigits(MLIB_T("xyz"));
  const Byte none = noDigits.HexStringToByteData();
  EXPECT_EQ(none.GetLength(), 0);
  EXPECT_EQ(none.GetBufferLength(), 3);
  String null;
  EXPECT_EQ(null.HexStringToByteData().GetData(), nullptr);
}

TEST(StringConvert, FromUtf8CutsAtUnits) {
  const unsigned char eAcute[] = {0xC3, 0xA9, 0};
  const String one = String::FromUtf8(eAcute, 2);
  ASSERT_EQ(one.GetLength(), 1);
  EXPECT_EQ(one.toString()[0], 0xE9);
  EXPECT_EQ(mlib::detail::StringAccess::capacity(one), 2u);
  EXPECT_TRUE(String::FromUtf8(eAcute, 0).IsNull());
  EXPECT_TRUE(String::FromUtf8(static_cast<const unsigned char*>(nullptr), 5).IsNull());
  EXPECT_TRUE(String::FromUtf8(static_cast<const char*>(nullptr)).IsNull());
  EXPECT_TRUE(String::FromUtf8("").IsNull());

  EXPECT_EQ(shown(String::FromUtf8(reinterpret_cast<const unsigned char*>("abcdef"), 3)), "abc");

  // U+1F600 is two units: a cut at one keeps the lead surrogate alone.
  const String pair = String::FromUtf8("x\xF0\x9F\x98\x80");
  ASSERT_EQ(pair.GetLength(), 3);
  EXPECT_EQ(pair.toString()[2], 0xDE00);
  EXPECT_EQ(
      String::FromUtf8(reinterpret_cast<const unsigned char*>("\xF0\x9F\x98\x80"), 1).toString()[0],
      0xD83D);

  const String bad = String::FromUtf8(
      "a\xFF"
      "b");
  ASSERT_EQ(bad.GetLength(), 3);
  EXPECT_EQ(bad.toString()[1], 0xFFFD);
}

TEST(StringConvert, ToUtf8GoesThroughAnsi) {
  EXPECT_EQ(String::ToUtf8(String()).GetData(), nullptr);
  EXPECT_EQ(String::ToUtf8(String(MLIB_T(""))).GetLength(), 0);
  if (GetAnsiCodePage() != 1252) GTEST_SKIP() << "the ANSI code page here is not 1252";
  const Byte utf8 = String::ToUtf8(String(MLIB_T("a\u00E9\u20AC\u4E2D")));
  EXPECT_EQ(content(utf8), "a\xC3\xA9\xE2\x82\xAC?");  // U+4E2D is not in 1252
  EXPECT_EQ(utf8.GetBufferLength(), 8);
}
