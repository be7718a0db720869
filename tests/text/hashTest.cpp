// The four string hashes of <mlib/text.h>, against their rules written out plainly, one
// byte at a time.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <cstdint>
#include <random>
#include <string>

#include "text/ansiCodePageScope.h"

namespace {

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
  expectPlainHashes(text);
  expectPlainHashes(std::string(1u << 20, '\xFF'));  // every byte -1
  expectPlainHashes(std::string(1u << 20, '\x7F'));
}

// The wide hash hashes the ANSI form, cut to one byte of room per character.
TEST(Hash, WideHashHashesTheAnsiFormCutToOneBytePerCharacter) {
  // ASCII text hashes as its bytes, from every start within 64 units and at many lengths:
  // the length is scanned 64 and 128 bytes at a time.
  std::string ascii(700, 'q');
  for (std::size_t i = 0; i < ascii.size(); i += 7) ascii[i] = static_cast<char>('a' + i % 26);
  for (std::size_t start = 0; start < 64; ++start) {
    for (std::size_t length = 0; length < 600; length += 1 + length / 8) {
      const std::string narrow = ascii.substr(0, start + length);
      const std::basic_string<mlib::WideChar> wide(narrow.begin(), narrow.end());
      EXPECT_EQ(GetStringHashCodeT(wide.c_str() + start), GetStringHashCode(narrow.c_str() + start))
          << start << ", " << length;
    }
  }
  const struct {
    unsigned page;
    std::basic_string<mlib::WideChar> text;
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
