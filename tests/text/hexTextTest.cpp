// Hexadecimal text of byte arrays in <mlib/text.h>.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <string>
#include <vector>

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;

TEST(HexText, RenderingStopsAtTheRoom) {
  const unsigned char bytes[] = {0xAB, 0x01};
  // The wide form can stop between the two digits of a byte; a space needs one slot more.
  const struct {
    unsigned capacity;
    bool spaced;
    const WideChar* want;
  } wide[] = {{16, false, MLIB_T("AB01")}, {16, true, MLIB_T("AB 01 ")}, {5, false, MLIB_T("AB01")},
              {4, false, MLIB_T("AB0")},   {2, false, MLIB_T("A")},      {5, true, MLIB_T("AB 0")},
              {4, true, MLIB_T("AB")}};
  for (const auto& r : wide) {
    WideString dst(17, '~');
    ASSERT_EQ(ByteToHexString(bytes, 2, &dst[0], r.capacity, r.spaced), &dst[0]);
    const WideString want = r.want;
    EXPECT_EQ(dst,
              want + WideString(r.capacity - want.size(), 0) + WideString(17 - r.capacity, '~'))
        << r.capacity << (r.spaced ? " spaced" : "");
  }
  // The narrow form writes whole bytes only.
  const unsigned char narrowBytes[] = {0x0A, 0xFF};
  const struct {
    unsigned capacity;
    bool spaced;
    std::string want;
  } narrow[] = {{16, false, "0AFF"}, {16, true, "0A FF "}, {5, false, "0AFF"},
                {4, false, "0A"},    {6, true, "0A "},     {2, false, ""}};
  for (const auto& r : narrow) {
    std::string dst(17, '~');
    ASSERT_EQ(ByteToHex(narrowBytes, 2, &dst[0], r.capacity, r.spaced), &dst[0]);
    EXPECT_EQ(dst, r.want + std::string(r.capacity - r.want.size(), '\0') +
                       std::string(17 - r.capacity, '~'))
        << r.capacity << (r.spaced ? " spaced" : "");
  }
  WideChar wideDst[2] = {'~', '~'};
  EXPECT_EQ(ByteToHexString(nullptr, 2, wideDst, 2, false), wideDst);
  EXPECT_EQ(wideDst[0], 0) << "filled even without bytes";
  // Capacity 0: nothing to fill, and the destination comes back.
  wideDst[0] = '~';
  EXPECT_EQ(ByteToHexString(bytes, 2, wideDst, 0, false), wideDst);
  EXPECT_EQ(wideDst[0], '~');
  char narrowDst[4] = {'~', '~', '~', '~'};
  EXPECT_EQ(ByteToHex(bytes, 2, narrowDst, 0, false), narrowDst);
  EXPECT_EQ(narrowDst[0], '~');
  EXPECT_EQ(ByteToHex(nullptr, 2, narrowDst, 4, false), nullptr);
}

TEST(HexText, ParsingPairsDigitsAndSkipsEverythingElse) {
  const struct {
    const WideChar* text;
    int capacity;
    std::vector<unsigned char> want;
  } rows[] = {{MLIB_T("0x1F"), 4, {0x01, 0x0F}},  // "x" is skipped, the "0" counts
              {MLIB_T("a b c"), 4, {0xAB, 0x0C}},
              {MLIB_T("ABC"), 1, {0xAB}},  // full: the lone "C" is dropped
              {MLIB_T("de:AD-be\u00EFef"), 8, {0xDE, 0xAD, 0xBE, 0xEF}},
              {MLIB_T(""), 4, {}},
              {MLIB_T("FF"), 0, {}}};
  for (const auto& r : rows) {
    std::vector<unsigned char> out(9, 0x5A);
    ASSERT_EQ(HexStringToByte(r.text, out.data(), r.capacity), static_cast<int>(r.want.size()));
    std::vector<unsigned char> want = r.want;
    want.resize(static_cast<std::size_t>(r.capacity), 0);
    want.resize(9, 0x5A);
    EXPECT_EQ(out, want) << testing::PrintToString(WideString(r.text));
  }
  unsigned char out[2] = {7, 7};
  EXPECT_EQ(HexStringToByte(nullptr, out, 2), 0);
  EXPECT_EQ(out[0], 0) << "the output is cleared before the null text is noticed";
  EXPECT_EQ(HexStringToByte(MLIB_T("AB"), nullptr, 2), 0);

  // Every byte value survives rendering and parsing back.
  std::vector<unsigned char> bytes(256);
  for (int i = 0; i < 256; ++i) bytes[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i);
  WideString text(3 * 256 + 1, 0);
  ByteToHexString(bytes.data(), 256, &text[0], 3 * 256 + 1, true);
  std::vector<unsigned char> back(256);
  EXPECT_EQ(HexStringToByte(text.c_str(), back.data(), 256), 256);
  EXPECT_EQ(back, bytes);
}
