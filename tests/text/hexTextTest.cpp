// Hexadecimal text of byte arrays in <mlib/text.h>.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <algorithm>
#include <iterator>
#include <random>
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

namespace {

// The rules, one character at a time: digit pairs make bytes, anything else is skipped, a
// full output ends the walk, a lone last digit is a byte of its own.
std::vector<unsigned char> plainParse(const WideString& text, int capacity) {
  std::vector<unsigned char> out;
  int pending = -1;
  for (WideChar c : text) {
    const int value = c >= '0' && c <= '9'   ? c - '0'
                      : c >= 'A' && c <= 'F' ? c - 'A' + 10
                      : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                             : -1;
    if (value < 0) continue;
    if (pending < 0) {
      pending = value;
      continue;
    }
    out.push_back(static_cast<unsigned char>(pending << 4 | value));
    pending = -1;
    if (static_cast<int>(out.size()) == capacity) return out;
  }
  if (pending >= 0) out.push_back(static_cast<unsigned char>(pending));
  return out;
}

}  // namespace

// Long texts go 16 units at a time while they are unbroken digits: random texts of digits
// with now and then a character next to a digit's range (and units whose low byte is a digit),
// at every length and room, must parse as one character at a time does.
TEST(HexText, LongTextsParseAsTheRulesSay) {
  std::mt19937 generator(99);
  const WideChar strangers[] = {'/', ':', '@', 'G', '`', 'g', ' ', 0x130, 0x141, 0xFF10, 0x3041};
  const WideString digits = MLIB_T("0123456789ABCDEFabcdef");
  for (int round = 0; round < 400; ++round) {
    const std::size_t length = generator() % 200;
    const unsigned oddOneIn = 1 + generator() % 60;
    WideString text;
    for (std::size_t i = 0; i < length; ++i) {
      text += generator() % oddOneIn == 0 ? strangers[generator() % std::size(strangers)]
                                          : digits[generator() % digits.size()];
    }
    const int capacity = 1 + static_cast<int>(generator() % 110);
    SCOPED_TRACE(testing::Message() << "round " << round << ", capacity " << capacity);
    const std::vector<unsigned char> want = plainParse(text, capacity);
    std::vector<unsigned char> out(static_cast<std::size_t>(capacity) + 8, 0xEE);
    ASSERT_EQ(HexStringToByte(text.c_str(), out.data(), capacity), static_cast<int>(want.size()));
    EXPECT_EQ(std::vector<unsigned char>(out.begin(), out.begin() + want.size()), want);
    EXPECT_EQ(std::count(out.begin() + capacity, out.end(), 0xEE), 8) << "wrote past the room";
  }
}

// Digits go 16 bytes at a time; every count and room around the blocks' edges must render
// the whole bytes that fit and then one lone first digit where only that fits.
TEST(HexText, LongRenderingsMatchByteByByteDigits) {
  std::vector<unsigned char> bytes(80);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i * 37 + 11);
  WideString all;
  for (unsigned char b : bytes) {
    all += static_cast<WideChar>("0123456789ABCDEF"[b >> 4]);
    all += static_cast<WideChar>("0123456789ABCDEF"[b & 0xF]);
  }
  for (int count = 0; count <= 80; ++count) {
    for (unsigned capacity = 1; capacity <= 170; capacity += 1 + capacity / 16) {
      WideString dst(capacity + 4, WideChar('~'));
      ASSERT_EQ(ByteToHexString(bytes.data(), count, &dst[0], capacity, false), &dst[0]);
      const std::size_t digitsThatFit =
          std::min<std::size_t>(2 * static_cast<std::size_t>(count), capacity - 1);
      EXPECT_EQ(WideString(dst.c_str()), all.substr(0, digitsThatFit))
          << count << " bytes, capacity " << capacity;
      EXPECT_EQ(dst.substr(capacity), WideString(4, WideChar('~')));
    }
  }
}
