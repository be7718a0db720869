// The four string hashes of <mlib/text.h>, against the hashing rules written out plainly.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <cstdint>
#include <random>
#include <string>

#include "text/ansiCodePageScope.h"

namespace {

// The hashing rules, one byte at a time, as plainly as they can be written.
std::uint32_t plainHash(const std::string& text) {
  std::uint32_t h = 0;
  for (char c : text) h = h * 131u + static_cast<std::uint32_t>(static_cast<signed char>(c));
  return h & 0x7FFFFFFFu;
}

std::uint32_t plainHashA(const std::string& text) {
  std::uint32_t h = 1, k = 4;
  for (char c : text) {
    h ^= ((h & 63u) + k) * static_cast<unsigned char>(c) + (h << 8);
    k += 3;
  }
  return h;
}

std::uint32_t plainHashB(const std::string& text) {
  std::uint32_t h = 0;
  for (char c : text) {
    h = (h << 4) + static_cast<std::uint32_t>(static_cast<signed char>(c));
    const std::uint32_t x = h & 0xF0000000u;
    if (x != 0) h = h ^ (x >> 24) ^ x;
  }
  return h;
}

void expectPlainHashes(const std::string& text) {
  EXPECT_EQ(static_cast<std::uint32_t>(GetStringHashCode(text.c_str())), plainHash(text));
  EXPECT_EQ(static_cast<std::uint32_t>(GetStringHashCodeA(text.c_str())), plainHashA(text));
  EXPECT_EQ(static_cast<std::uint32_t>(GetStringHashCodeB(text.c_str())), plainHashB(text));
}

}  // namespace

// The reference values worked out by hand, then random texts (bytes 1 to 255, high bytes
// negative as signed char) at every length from every start within a block, and long ones:
// the hashes work through long texts in blocks.
TEST(Hash, NarrowHashesFollowTheRules) {
  const struct {
    const char* text;
    int hash, hashA, hashB;
  } rows[] = {{"", 0, 1, 0},
              {"a", 97, 740, 97},
              {"abc", 97 * 131 * 131 + 98 * 131 + 99, 49572422, (97 * 16 + 98) * 16 + 99},
              {"\xE9", 2147483647 - 22, 1 ^ (5 * 233 + 256), (1 << 28) - 231}};
  for (const auto& r : rows) {
    EXPECT_EQ(GetStringHashCode(r.text), r.hash) << r.text;
    EXPECT_EQ(GetStringHashCodeA(r.text), r.hashA) << r.text;
    EXPECT_EQ(GetStringHashCodeB(r.text), r.hashB) << r.text;
  }
  EXPECT_EQ(GetStringHashCode(nullptr) & GetStringHashCodeA(nullptr) & GetStringHashCodeB(nullptr) &
                GetStringHashCodeT(nullptr),
            -1);
  std::mt19937 generator(2026);
  const auto randomText = [&generator](std::size_t length) {
    std::string text(length, ' ');
    for (char& c : text) c = static_cast<char>(1 + generator() % 255);
    return text;
  };
  for (std::size_t length = 0; length <= 300; ++length) {
    SCOPED_TRACE(length);
    expectPlainHashes(randomText(length + 63).substr(length % 64, length));
  }
  expectPlainHashes(randomText((1u << 20) + 37));
  expectPlainHashes(std::string(1u << 20, '\xFF'));  // every byte -1
  expectPlainHashes(std::string(1u << 20, '\x7F'));
}

// The wide hash hashes the ANSI form, cut to one byte of room per character.
TEST(Hash, WideHashHashesTheAnsiFormCutToOneBytePerCharacter) {
  // ASCII text hashes as its bytes, from every start within 128 bytes and at many lengths:
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
