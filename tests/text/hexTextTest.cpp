// Hexadecimal text of byte arrays and the four string hashes of <mlib/text.h>, against
// their rules written out plainly.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "text/ansiCodePageScope.h"

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;
using Bytes = std::vector<unsigned char>;

namespace {

const WideString kDigits = MLIB_T("0123456789ABCDEFabcdef");

// One digit at a time: a digit needs a slot besides the terminator's, a space one slot more;
// the narrow form (`whole`) writes whole pieces ("0A" or "0A ") only.
template <typename C>
std::basic_string<C> plainHex(const Bytes& bytes, std::size_t room, bool spaced, bool whole) {
  std::basic_string<C> out;
  for (const unsigned char b : bytes) {
    if (whole && out.size() + (spaced ? 3 : 2) >= room) break;
    for (const int digit : {b >> 4, b & 15}) {
      if (out.size() + 1 >= room) return out;
      out += static_cast<C>(kDigits[static_cast<std::size_t>(digit)]);
    }
    if (spaced && !whole && out.size() + 2 >= room) return out;
    if (spaced) out += ' ';
  }
  return out;
}

// Digit pairs make bytes, anything else is skipped, a full output ends the walk, a lone last
// digit is a byte of its own. Gives the output as written into room + 8 bytes of 0xEE.
Bytes plainParse(const WideString& text, int capacity, int& written) {
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
  written = static_cast<int>(out.size());
  out.resize(static_cast<std::size_t>(std::max(capacity, 0)), 0);
  out.resize(out.size() + 8, 0xEE);
  return out;
}

void expectPlainHashes(const std::string& text) {
  std::uint32_t h = 0, a = 1, k = 4, b = 0;
  for (const char c : text) {
    const auto s = static_cast<std::uint32_t>(static_cast<signed char>(c));  // bytes as signed
    h = h * 131u + s;
    a ^= ((a & 63u) + k) * static_cast<unsigned char>(c) + (a << 8);
    k += 3;
    b = (b << 4) + s;
    const std::uint32_t x = b & 0xF0000000u;
    if (x != 0) b = b ^ (x >> 24) ^ x;
  }
  EXPECT_EQ(static_cast<std::uint32_t>(GetStringHashCode(text.c_str())), h & 0x7FFFFFFFu);
  EXPECT_EQ(static_cast<std::uint32_t>(GetStringHashCodeA(text.c_str())), a);
  EXPECT_EQ(static_cast<std::uint32_t>(GetStringHashCodeB(text.c_str())), b);
}

}  // namespace

// Every count up to 80 bytes (digits go 16 bytes at a time) and rooms around the blocks'
// edges, spaced or not: the rule's text, zeros up to the room, nothing written beyond it.
TEST(HexText, RenderingStopsAtTheRoom) {
  Bytes all(80);
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<unsigned char>(i * 37 + 11);
  for (unsigned count = 0; count <= all.size(); ++count) {
    const Bytes bytes(all.begin(), all.begin() + count);
    for (unsigned room = 0; room <= 250; room += 1 + room / 16) {
      for (bool spaced : {false, true}) {
        SCOPED_TRACE(testing::Message() << count << " bytes, room " << room << " " << spaced);
        WideString wide(room + 4, '~');
        ASSERT_EQ(ByteToHexString(all.data(), int(count), &wide[0], room, spaced), &wide[0]);
        const WideString wantWide = plainHex<WideChar>(bytes, room, spaced, false);
        EXPECT_EQ(wide, wantWide + WideString(room - wantWide.size(), 0) + MLIB_T("~~~~"));
        std::string narrow(room + 4, '~');
        ASSERT_EQ(ByteToHex(all.data(), count, &narrow[0], room, spaced), &narrow[0]);
        const std::string wantNarrow = plainHex<char>(bytes, room, spaced, true);
        EXPECT_EQ(narrow, wantNarrow + std::string(room - wantNarrow.size(), 0) + "~~~~");
      }
    }
  }
  WideChar wideDst[2] = {'~', '~'};
  EXPECT_EQ(ByteToHexString(nullptr, 2, wideDst, 2, false), wideDst);
  EXPECT_EQ(WideString(wideDst, 2), WideString(2, 0)) << "filled even without bytes";
  char narrowDst[2] = {'~', '~'};
  EXPECT_TRUE(ByteToHexString(all.data(), 2, nullptr, 2, false) == nullptr &&
              ByteToHex(nullptr, 2, narrowDst, 2, false) == nullptr &&
              ByteToHex(all.data(), 2, nullptr, 2, false) == nullptr && narrowDst[0] == '~');
}

// Long texts go 16 units at a time while they are unbroken digits: texts of digits with now
// and then a character next to a digit's range (or a unit whose low byte is a digit), at
// every length and room (none and -1 first).
TEST(HexText, ParsingPairsDigitsAndSkipsEverythingElse) {
  unsigned char cleared[2] = {7, 7};
  EXPECT_EQ(HexStringToByte(nullptr, cleared, 2), 0);
  EXPECT_EQ(cleared[0], 0) << "the output is cleared before the null text is noticed";
  EXPECT_EQ(HexStringToByte(MLIB_T("AB"), nullptr, 2), 0);
  std::mt19937 generator(99);
  const WideString strangers = MLIB_T("/:@G`g x\u0130\u0141\uFF10");
  for (int round = 0; round < 400; ++round) {
    const std::size_t length = round < 20 ? round % 5 : generator() % 200;
    const unsigned oddOneIn = 1 + generator() % 60;
    WideString text;
    for (std::size_t i = 0; i < length; ++i) {
      text += generator() % oddOneIn == 0 ? strangers[generator() % strangers.size()]
                                          : kDigits[generator() % kDigits.size()];
    }
    const int capacity = round < 20 ? round % 4 - 1 : 1 + static_cast<int>(generator() % 110);
    int written = 0;
    const Bytes want = plainParse(text, capacity, written);
    Bytes out(want.size(), 0xEE);
    EXPECT_EQ(HexStringToByte(text.c_str(), out.data(), capacity), written) << "round " << round;
    EXPECT_EQ(out, want) << "round " << round << ", capacity " << capacity;
  }
}

// Random texts (bytes 1 to 255) at every length from every start within a block, and long
// ones: the hashes work through long texts in blocks.
TEST(Hash, NarrowHashesFollowTheRules) {
  EXPECT_EQ(GetStringHashCode(nullptr) & GetStringHashCodeA(nullptr) & GetStringHashCodeB(nullptr) &
                GetStringHashCodeT(nullptr),
            -1);
  EXPECT_EQ(GetStringHashCodeA("a"), 740);  // the rule's one value worked out by hand
  std::mt19937 generator(2026);
  std::string text((1u << 20) + 37, ' ');
  for (char& c : text) c = static_cast<char>(1 + generator() % 255);
  for (std::size_t length = 0; length <= 300; ++length) {
    SCOPED_TRACE(length);
    expectPlainHashes(text.substr(length % 64, length));
  }
  for (const std::string& t :
       {text, std::string(1u << 20, '\xFF'), std::string(1u << 20, '\x7F')}) {
    expectPlainHashes(t);
  }
}

// The wide hash hashes the ANSI form, cut to one byte of room per character. ASCII text
// hashes as its bytes, from every start within 64 units and at many lengths (the length is
// scanned 64 and 128 bytes at a time).
TEST(Hash, WideHashHashesTheAnsiFormCutToOneBytePerCharacter) {
  std::string ascii(700, 'q');
  for (std::size_t i = 0; i < ascii.size(); i += 7) ascii[i] = static_cast<char>('a' + i % 26);
  for (std::size_t start = 0; start < 64; ++start) {
    for (std::size_t length = 0; length < 600; length += 1 + length / 8) {
      const std::string narrow = ascii.substr(0, start + length);
      const WideString wide(narrow.begin(), narrow.end());
      EXPECT_EQ(GetStringHashCodeT(wide.c_str() + start), GetStringHashCode(narrow.c_str() + start))
          << start << ", " << length;
    }
  }
  const struct {
    unsigned page;
    WideString text;
    std::string ansi;
  } rows[] = {{1252, MLIB_T("\u00E9"), "\xE9"},
              {936, MLIB_T("\u4E2D\u6587"), "\xD6\xD0"},  // two bytes of room: the first fits
              {936, MLIB_T("\u4E2D"), ""},
              {65001, MLIB_T("\u00E9\u4E2D"), "\xC3\xA9"},  // three bytes of room, two of text
              {65001, MLIB_T("\u4E2D\u6587"), ""}};
  for (const auto& r : rows) {
    AnsiCodePageScope scope(r.page);
    if (!scope.active) continue;
    EXPECT_EQ(GetStringHashCodeT(r.text.c_str()), GetStringHashCode(r.ansi.c_str()))
        << r.page << ": " << r.ansi;
  }
}
