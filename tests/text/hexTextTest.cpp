// Hexadecimal text of byte arrays in <mlib/text.h>, against the rules written out plainly.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <string>
#include <vector>

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;
using Bytes = std::vector<unsigned char>;

namespace {

const char kDigits[] = "0123456789ABCDEF";

// ByteToHexString, one digit at a time: a digit needs a slot besides the terminator's, so
// the text can end between the two digits of a byte; a space needs one slot more.
WideString plainHexString(const Bytes& bytes, unsigned capacity, bool spaced) {
  WideString out;
  for (unsigned char b : bytes) {
    for (int digit : {b >> 4, b & 15}) {
      if (out.size() + 1 >= capacity) return out;
      out += static_cast<WideChar>(kDigits[digit]);
    }
    if (spaced && out.size() + 2 >= capacity) return out;
    if (spaced) out += ' ';
  }
  return out;
}

// ByteToHex writes whole bytes only.
std::string plainHex(const Bytes& bytes, unsigned capacity, bool spaced) {
  std::string out;
  for (unsigned char b : bytes) {
    const std::string piece = std::string{kDigits[b >> 4], kDigits[b & 15]} + (spaced ? " " : "");
    if (out.size() + piece.size() >= capacity) break;
    out += piece;
  }
  return out;
}

// HexStringToByte, one character at a time: digit pairs make bytes, anything else is
// skipped, a full output ends the walk, a lone last digit is a byte of its own.
Bytes plainParse(const WideString& text, int capacity) {
  Bytes out;
  int pending = -1;
  for (WideChar c : text) {
    const WideString digits = MLIB_T("0123456789ABCDEFabcdef");
    const std::size_t at = digits.find(c);
    if (at == WideString::npos) continue;
    const int value = static_cast<int>(at < 16 ? at : at - 6);
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

// Both renderings, for every count up to 80 bytes (digits go 16 bytes at a time) and rooms
// around the blocks' edges, spaced or not: the destination holds the rule's text, then zeros
// up to the room, and nothing is written beyond it.
TEST(HexText, RenderingStopsAtTheRoom) {
  Bytes all(80);
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<unsigned char>(i * 37 + 11);
  for (std::size_t count = 0; count <= all.size(); ++count) {
    const Bytes bytes(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count));
    for (unsigned room = 0; room <= 250; room += 1 + room / 16) {
      for (bool spaced : {false, true}) {
        SCOPED_TRACE(testing::Message() << count << " bytes, room " << room << " " << spaced);
        WideString wide(room + 4, '~');
        ASSERT_EQ(ByteToHexString(all.data(), static_cast<int>(count), &wide[0], room, spaced),
                  &wide[0]);
        const WideString wantWide = plainHexString(bytes, room, spaced);
        EXPECT_EQ(wide, wantWide + WideString(room - wantWide.size(), 0) + MLIB_T("~~~~"));
        std::string narrow(room + 4, '~');
        ASSERT_EQ(ByteToHex(all.data(), static_cast<unsigned>(count), &narrow[0], room, spaced),
                  &narrow[0]);
        const std::string wantNarrow = plainHex(bytes, room, spaced);
        EXPECT_EQ(narrow, wantNarrow + std::string(room - wantNarrow.size(), 0) + "~~~~");
      }
    }
  }
  // The documented cases, by hand: wide text, narrow text.
  const unsigned char bytes[] = {0x0A, 0xFF};
  const struct {
    unsigned room;
    bool spaced;
    const WideChar* wide;
    const char* narrow;
  } rows[] = {{16, false, MLIB_T("0AFF"), "0AFF"}, {16, true, MLIB_T("0A FF "), "0A FF "},
              {5, false, MLIB_T("0AFF"), "0AFF"},  {4, false, MLIB_T("0AF"), "0A"},
              {2, false, MLIB_T("0"), ""},         {5, true, MLIB_T("0A F"), "0A "}};
  for (const auto& r : rows) {
    WideChar wide[16];
    char narrow[16];
    EXPECT_EQ(WideString(ByteToHexString(bytes, 2, wide, r.room, r.spaced)), r.wide) << r.room;
    EXPECT_EQ(std::string(ByteToHex(bytes, 2, narrow, r.room, r.spaced)), r.narrow) << r.room;
  }
  WideChar wideDst[2] = {'~', '~'};
  EXPECT_EQ(ByteToHexString(nullptr, 2, wideDst, 2, false), wideDst);
  EXPECT_EQ(WideString(wideDst, 2), WideString(2, 0)) << "filled even without bytes";
  char narrowDst[2] = {'~', '~'};
  EXPECT_EQ(ByteToHexString(bytes, 2, nullptr, 2, false), nullptr);
  EXPECT_EQ(ByteToHex(nullptr, 2, narrowDst, 2, false), nullptr);
  EXPECT_EQ(ByteToHex(bytes, 2, nullptr, 2, false), nullptr);
  EXPECT_EQ(narrowDst[0], '~');
}

// Long texts go 16 units at a time while they are unbroken digits: random texts of digits
// with now and then a character next to a digit's range (and units whose low byte is a
// digit), at every length and room, must parse as one character at a time does.
TEST(HexText, ParsingPairsDigitsAndSkipsEverythingElse) {
  const struct {
    const WideChar* text;
    int capacity;
    Bytes want;
  } rows[] = {{MLIB_T("0x1F"), 4, {0x01, 0x0F}},  // "x" is skipped, the "0" counts
              {MLIB_T("a b c"), 4, {0xAB, 0x0C}},
              {MLIB_T("ABC"), 1, {0xAB}},  // full: the lone "C" is dropped
              {MLIB_T(""), 4, {}},
              {MLIB_T("FF"), 0, {}},
              {MLIB_T("FF"), -1, {}}};
  for (const auto& r : rows) {
    Bytes out(5, 0x5A);
    EXPECT_EQ(HexStringToByte(r.text, out.data(), r.capacity), static_cast<int>(r.want.size()));
    Bytes want = r.want;
    want.resize(static_cast<std::size_t>(std::max(r.capacity, 0)), 0);
    want.resize(5, 0x5A);
    EXPECT_EQ(out, want) << testing::PrintToString(WideString(r.text)) << " " << r.capacity;
  }
  unsigned char cleared[2] = {7, 7};
  EXPECT_EQ(HexStringToByte(nullptr, cleared, 2), 0);
  EXPECT_EQ(cleared[0], 0) << "the output is cleared before the null text is noticed";
  EXPECT_EQ(HexStringToByte(MLIB_T("AB"), nullptr, 2), 0);

  std::mt19937 generator(99);
  const WideChar strangers[] = {'/', ':', '@',   'G',   '`',    'g',
                                ' ', 'x', 0x130, 0x141, 0xFF10, 0x3041};
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
    const Bytes want = plainParse(text, capacity);
    Bytes out(static_cast<std::size_t>(capacity) + 8, 0xEE);
    ASSERT_EQ(HexStringToByte(text.c_str(), out.data(), capacity), static_cast<int>(want.size()));
    EXPECT_EQ(Bytes(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(want.size())), want);
    EXPECT_EQ(std::count(out.begin() + want.size(), out.begin() + capacity, 0),
              capacity - static_cast<int>(want.size()));
    EXPECT_EQ(std::count(out.begin() + capacity, out.end(), 0xEE), 8) << "wrote past the room";
  }
}
