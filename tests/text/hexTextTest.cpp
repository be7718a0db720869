// Hexadecimal text of byte arrays in <mlib/text.h>.
#include <mlib/text.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;

TEST(HexText, WideRenderingStopsAtTheRoomEvenInsideAByte) {
  const unsigned char bytes[] = {0xAB, 0x01};
  struct Row { unsigned capacity; bool spaced; WideString want; };
  const Row rows[] = {
      {16, false, MLIB_T("AB01")},
      {16, true, MLIB_T("AB 01 ")},     // the last byte keeps its space
      {5, false, MLIB_T("AB01")},
      {4, false, MLIB_T("AB0")},        // a lone high nibble
      {2, false, MLIB_T("A")},
      {1, false, MLIB_T("")},
      {5, true, MLIB_T("AB 0")},        // a space needs one slot more than a digit
      {4, true, MLIB_T("AB")},         // no room for the space: the text ends there
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(testing::Message() << r.capacity << (r.spaced ? " spaced" : ""));
    WideString dst(20, 0x7E7E);
    ASSERT_EQ(ByteToHexString(bytes, 2, &dst[0], r.capacity, r.spaced), &dst[0]);
    EXPECT_EQ(dst.substr(0, r.want.size()), r.want);
    EXPECT_EQ(dst.substr(r.want.size(), r.capacity - r.want.size()),
              WideString(r.capacity - r.want.size(), 0));
    EXPECT_EQ(dst[r.capacity], 0x7E7E);
  }
  WideChar dst[4] = {1, 1, 1, 1};
  EXPECT_EQ(ByteToHexString(bytes, 0, dst, 4, false), dst);
  EXPECT_EQ(dst[0], 0);
  dst[0] = 1;
  EXPECT_EQ(ByteToHexString(nullptr, 2, dst, 4, false), dst);
  EXPECT_EQ(dst[0], 0) << "filled even without bytes";
  EXPECT_EQ(ByteToHexString(bytes, 2, nullptr, 4, false), nullptr);
  EXPECT_EQ(ByteToHexString(bytes, 2, dst, 0, false), nullptr);
}

TEST(HexText, NarrowRenderingWritesWholeBytesOnly) {
  const unsigned char bytes[] = {0x0A, 0xFF};
  struct Row { unsigned capacity; bool spaced; std::string want; };
  const Row rows[] = {
      {16, false, "0AFF"}, {16, true, "0A FF "}, {5, false, "0AFF"},
      {4, false, "0A"},    {2, false, ""},       {7, true, "0A FF "},
      {6, true, "0A "},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(testing::Message() << r.capacity << (r.spaced ? " spaced" : ""));
    std::string dst(20, '#');
    ASSERT_EQ(ByteToHex(bytes, 2, &dst[0], r.capacity, r.spaced), &dst[0]);
    EXPECT_EQ(dst.substr(0, r.capacity), r.want + std::string(r.capacity - r.want.size(), '\0'));
    EXPECT_EQ(dst[r.capacity], '#');
  }
  char dst[4] = {'#', '#', '#', '#'};
  EXPECT_EQ(ByteToHex(bytes, 0, dst, 4, false), dst);
  EXPECT_EQ(dst[3], '\0');
  EXPECT_EQ(ByteToHex(nullptr, 2, dst, 4, false), nullptr);
  EXPECT_EQ(ByteToHex(bytes, 2, nullptr, 4, false), nullptr);
}

TEST(HexText, ParsingPairsDigitsAndSkipsEverythingElse) {
  struct Row { const WideChar* text; int capacity; std::vector<int> want; };
  const Row rows[] = {
      {MLIB_T("0x1F"), 4, {0x01, 0x0F}},  // "x" is skipped, the "0" counts
      {MLIB_T("a b c"), 4, {0xAB, 0x0C}},
      {MLIB_T("ABC"), 1, {0xAB}},         // full: the lone "C" is dropped
      {MLIB_T("A"), 1, {0x0A}},
      {MLIB_T("de:AD-be\u00EFef"), 8, {0xDE, 0xAD, 0xBE, 0xEF}},
      {MLIB_T(""), 4, {}},
      {MLIB_T("zz"), 4, {}},
      {MLIB_T("FF"), 0, {}},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(testing::PrintToString(WideString(r.text)));
    std::vector<unsigned char> out(9, 0x5A);
    ASSERT_EQ(HexStringToByte(r.text, out.data(), r.capacity), static_cast<int>(r.want.size()));
    for (std::size_t i = 0; i < r.want.size(); ++i) EXPECT_EQ(out[i], r.want[i]) << i;
    for (int i = static_cast<int>(r.want.size()); i < r.capacity; ++i) EXPECT_EQ(out[i], 0) << i;
    EXPECT_EQ(out[static_cast<std::size_t>(r.capacity)], 0x5A);
  }
  unsigned char out[2] = {7, 7};
  EXPECT_EQ(HexStringToByte(nullptr, out, 2), 0);
  EXPECT_EQ(out[0], 0) << "the output is cleared before the null text is noticed";
  EXPECT_EQ(HexStringToByte(MLIB_T("AB"), nullptr, 2), 0);
}

TEST(HexText, RenderingAndParsingRoundTripEveryByte) {
  std::vector<unsigned char> bytes(256);
  for (int i = 0; i < 256; ++i) bytes[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i);
  WideString wide(3 * 256 + 1, 0);
  ByteToHexString(bytes.data(), 256, &wide[0], 3 * 256 + 1, true);
  std::string narrow(3 * 256 + 1, '\0');
  ByteToHex(bytes.data(), 256, &narrow[0], 3 * 256 + 1, true);
  const char* digits = "0123456789ABCDEF";
  for (std::size_t i = 0; i < 256; ++i) {
    ASSERT_EQ(wide[3 * i], digits[i / 16]);
    ASSERT_EQ(wide[3 * i + 1], digits[i % 16]);
    const std::string piece = {digits[i / 16], digits[i % 16], ' '};
    ASSERT_EQ(narrow.substr(3 * i, 3), piece);
  }
  std::vector<unsigned char> back(256);
  EXPECT_EQ(HexStringToByte(wide.c_str(), back.data(), 256), 256);
  EXPECT_EQ(back, bytes);
}
