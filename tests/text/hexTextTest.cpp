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

const WideString kDigits = MLIB_T("0123456789ABCDEFabcdef");

// The rendering rules one digit at a time: a digit needs a slot besides the terminator's, a
// space one slot more; the narrow form (`whole`) writes whole pieces ("0A" or "0A ") only.
template <typename C>
std::basic_string<C> plainHex(const Bytes& bytes, std::size_t room, bool spaced, bool whole) {
  std::basic_string<C> out;
  for (const unsigned char b : bytes) {
    const std::size_t piece = spaced ? 3 : 2;
    if (whole && out.size() + piece >= room) break;
    for (const int digit : {b >> 4, b & 15}) {
      if (out.size() + 1 >= room) return out;
      out += static_cast<C>(kDigits[static_cast<std::size_t>(digit)]);
    }
    if (spaced && !whole && out.size() + 2 >= room) return out;
    if (spaced) out += ' ';
  }
  return out;
}

// Parsing, one character at a time: digit pairs make bytes, anything else is skipped, a
// full output ends the walk, a lone last digit is a byte of its own.
Bytes plainParse(const WideString& text, int capacity) {
  Bytes out;
  int pending = -1;
  for (const WideChar c : text) {
    const std::size_t at = kDigits.find(c);
    if (at == WideString::npos || static_cast<int>(out.size()) >= capacity) continue;
    const int value = static_cast<int>(at < 16 ? at : at - 6);
    if (pending >= 0) out.push_back(static_cast<unsigned char>(pending << 4 | value));
    pending = pending < 0 ? value : -1;
  }
  if (pending >= 0 && static_cast<int>(out.size()) < capacity) out.push_back(pending & 15);
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
        const WideString wantWide = plainHex<WideChar>(bytes, room, spaced, false);
        EXPECT_EQ(wide, wantWide + WideString(room - wantWide.size(), 0) + MLIB_T("~~~~"));
        std::string narrow(room + 4, '~');
        ASSERT_EQ(ByteToHex(all.data(), static_cast<unsigned>(count), &narrow[0], room, spaced),
                  &narrow[0]);
        const std::string wantNarrow = plainHex<char>(bytes, room, spaced, true);
        EXPECT_EQ(narrow, wantNarrow + std::string(room - wantNarrow.size(), 0) + "~~~~");
      }
    }
  }
  WideChar wideDst[2] = {'~', '~'};
  EXPECT_EQ(ByteToHexString(nullptr, 2, wideDst, 2, false), wideDst);
  EXPECT_EQ(WideString(wideDst, 2), WideString(2, 0)) << "filled even without bytes";
  char narrowDst[2] = {'~', '~'};
  EXPECT_EQ(ByteToHexString(all.data(), 2, nullptr, 2, false), nullptr);
  EXPECT_EQ(ByteToHex(nullptr, 2, narrowDst, 2, false), nullptr);
  EXPECT_EQ(ByteToHex(all.data(), 2, nullptr, 2, false), nullptr);
  EXPECT_EQ(narrowDst[0], '~');
}

// Long texts go 16 units at a time while they are unbroken digits: random texts of digits
// with now and then a character next to a digit's range (and units whose low byte is a
// digit), at every length and room (none and -1 first), must parse as one character at a
// time does.
TEST(HexText, ParsingPairsDigitsAndSkipsEverythingElse) {
  unsigned char cleared[2] = {7, 7};
  EXPECT_EQ(HexStringToByte(nullptr, cleared, 2), 0);
  EXPECT_EQ(cleared[0], 0) << "the output is cleared before the null text is noticed";
  EXPECT_EQ(HexStringToByte(MLIB_T("AB"), nullptr, 2), 0);
  std::mt19937 generator(99);
  const WideChar strangers[] = {'/', ':', '@', 'G', '`', 'g', ' ', 'x', 0x130, 0x141, 0xFF10};
  for (int round = 0; round < 400; ++round) {
    const std::size_t length = round < 20 ? round % 5 : generator() % 200;
    const unsigned oddOneIn = 1 + generator() % 60;
    WideString text;
    for (std::size_t i = 0; i < length; ++i) {
      text += generator() % oddOneIn == 0 ? strangers[generator() % std::size(strangers)]
                                          : kDigits[generator() % kDigits.size()];
    }
    const int capacity = round < 20 ? round % 4 - 1 : 1 + static_cast<int>(generator() % 110);
    SCOPED_TRACE(testing::Message() << "round " << round << ", capacity " << capacity);
    const Bytes want = plainParse(text, capacity);
    const std::size_t room = static_cast<std::size_t>(std::max(capacity, 0));
    Bytes out(room + 8, 0xEE);
    ASSERT_EQ(HexStringToByte(text.c_str(), out.data(), capacity), static_cast<int>(want.size()));
    Bytes expected = want;
    expected.resize(room, 0);
    expected.resize(room + 8, 0xEE);
    EXPECT_EQ(out, expected);
  }
}
