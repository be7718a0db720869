// String's number reading, radix conversions, byte <-> hexadecimal text and UTF-8.
#include <mlib/string.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include <mlib/byte.h>
#include <mlib/text.h>

#include "string/storage.h"

using mlib::Byte;
using mlib::String;
using mlib::WideChar;
using WideText = std::basic_string<WideChar>;

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

std::string content(const Byte& b) {
  if (b.GetData() == nullptr) return {};
  return std::string(reinterpret_cast<const char*>(b.GetData()),
                     static_cast<std::size_t>(b.GetLength()));
}

const char* const kNull = "<null>";

struct Row {
  const WideChar* in;  // null for a null string
  const char* want;
};

// Runs a radix conversion over rows, as the static function and as the member.
void checkConversion(String (*asStatic)(const String&), String (String::*asMember)() const,
                     const Row* rows, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const String in(rows[i].in);
    SCOPED_TRACE(shown(in));
    EXPECT_EQ(shown(asStatic(in)), rows[i].want);
    EXPECT_EQ(shown((in.*asMember)()), rows[i].want);
  }
}

}  // namespace

TEST(StringConvert, ReadsNumbers) {
  EXPECT_EQ(String(MLIB_T("  -12abc")).toInt(), -12);
  EXPECT_EQ(String(MLIB_T("abc")).toInt32(), 0);
  EXPECT_EQ(String().toInt(), 0);
  EXPECT_EQ(String(MLIB_T("-1")).toUint(), 4294967295u);
  EXPECT_EQ(String(MLIB_T("99999999999")).toInt(), INT_MAX);  // saturates
  EXPECT_EQ(String(MLIB_T("99999999999")).toInt64(), 99999999999LL);
  EXPECT_EQ(String(MLIB_T("-9223372036854775808")).toInt64(), LLONG_MIN);
  EXPECT_EQ(String(MLIB_T("-1")).toUint64(), ULLONG_MAX);
  EXPECT_DOUBLE_EQ(String(MLIB_T("2.5")).toDouble(), 2.5);
  EXPECT_DOUBLE_EQ(String().toDouble(), 0.0);
}

TEST(StringConvert, DecimalToBinary) {
  const Row rows[] = {
      {MLIB_T("5"), "00000101"},
      {MLIB_T("0"), "00000000"},
      {nullptr, "00000000"},
      {MLIB_T("256"), "0000000100000000"},
      {MLIB_T("-1"), "11111111111111111111111111111111"},
      {MLIB_T("-5"), "11111111111111111111111111111011"},
      {MLIB_T("4294967296"), "01111111111111111111111111111111"},  // read as INT_MAX
  };
  checkConversion(&String::DecimalToBinary, &String::DecimalToBinary, rows, std::size(rows));
}

TEST(StringConvert, BinaryToDecimal) {
  const Row rows[] = {
      {MLIB_T("101"), "5"},
      {MLIB_T("12"), "4"},  // other digits count with their face value
      {MLIB_T("1a1"), "5"},
      {MLIB_T(""), "0"},
      {nullptr, "0"},
      {MLIB_T("11111111111111111111111111111111"), "-1"},
      {MLIB_T("100000000000000000000000000000000"), "0"},  // 2^32 wraps
  };
  checkConversion(&String::BinaryToDecimal, &String::BinaryToDecimal, rows, std::size(rows));
}

TEST(StringConvert, BinaryAndDecimalToHex) {
  const Row toHex[] = {
      {MLIB_T("101"), "5"},   {MLIB_T("11111"), "1F"}, {MLIB_T("11111111"), "FF"},
      {MLIB_T("2222"), "U"},  {MLIB_T(""), kNull},     {nullptr, kNull},
  };
  checkConversion(&String::BinaryToHex, &String::BinaryToHex, toHex, std::size(toHex));
  const Row decimal[] = {
      {MLIB_T("255"), "FF"}, {MLIB_T("5"), "05"}, {MLIB_T("256"), "0100"},
      {MLIB_T("-1"), "FFFFFFFF"}, {MLIB_T("x"), "00"},
  };
  checkConversion(&String::DecimalToHex, &String::DecimalToHex, decimal, std::size(decimal));
}

TEST(StringConvert, HexToBinaryAndDecimal) {
  const Row binary[] = {
      {MLIB_T("1F"), "00011111"}, {MLIB_T("1f"), "00011111"},
      {MLIB_T("0x1F"), "000000011111"}, {MLIB_T("xyz"), kNull}, {nullptr, kNull},
  };
  checkConversion(&String::HexToBinary, &String::HexToBinary, binary, std::size(binary));
  const Row decimal[] = {
      {MLIB_T("FF"), "255"},        {MLIB_T("0x1F"), "31"},  {MLIB_T("FFFFFFFF"), "-1"},
      {MLIB_T("1FFFFFFFF"), "-1"},  {MLIB_T("z1"), "1"},     {MLIB_T(""), kNull},
  };
  checkConversion(&String::HexToDecimal, &String::HexToDecimal, decimal, std::size(decimal));
}

TEST(StringConvert, BytesToHexText) {
  const unsigned char bytes[] = {0x0A, 0xFF};
  String s(MLIB_T("previous text that is longer"));
  s.ByteDataToHexString(bytes, 2, false);
  EXPECT_EQ(shown(s), "0AFF");
  s.ByteDataToHexString(bytes, 2, true);
  EXPECT_EQ(shown(s), "0A FF ");
  Byte b;
  b.SetData(bytes, 2);
  s.ByteDataToHexString(b, false);
  EXPECT_EQ(shown(s), "0AFF");
  s.ByteDataToHexString(nullptr, 2, false);
  EXPECT_FALSE(s.IsNull());
  EXPECT_TRUE(s.IsEmpty());
  s.ByteDataToHexString(Byte(), true);
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

  const String fresh = String::ByteToHexString(bytes, 2, true);
  EXPECT_EQ(shown(fresh), "0A FF ");
  EXPECT_EQ(shown(String::ByteToHexString(bytes, 0, false)), kNull);

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

  const Byte b = s.HexStringToByteData();
  EXPECT_EQ(content(b), "\x0A\xFF");
  EXPECT_EQ(b.GetBufferLength(), 5);

  String odd(MLIB_T("ABC"));
  EXPECT_EQ(content(odd.HexStringToByteData()), "\xAB\x0C");
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

  const auto* text = reinterpret_cast<const unsigned char*>("abcdef");
  EXPECT_EQ(shown(String::FromUtf8(text, 3)), "abc");
  EXPECT_EQ(shown(String::FromUtf8(text, 100)), "abcdef");

  // U+1F600 is two units: a cut at one keeps the lead surrogate alone.
  const String pair = String::FromUtf8("x\xF0\x9F\x98\x80");
  ASSERT_EQ(pair.GetLength(), 3);
  EXPECT_EQ(pair.toString()[1], 0xD83D);
  EXPECT_EQ(pair.toString()[2], 0xDE00);
  EXPECT_EQ(String::FromUtf8(reinterpret_cast<const unsigned char*>("\xF0\x9F\x98\x80"), 1)
                .toString()[0],
            0xD83D);

  const String bad = String::FromUtf8("a\xFF" "b");
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
