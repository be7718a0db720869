// The four string hashes of <mlib/text.h>, against values worked out by hand or separately
// from the hashing rules.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <cstdint>
#include <random>
#include <string>

#include "text/ansiCodePageScope.h"

TEST(Hash, ReferenceValues) {
  const struct {
    const char* text;
    int hash, hashA, hashB;
  } rows[] = {{"", 0, 1, 0},
              {"a", 97, 740, 97},
              {"abc", 97 * 131 * 131 + 98 * 131 + 99, 49572422, (97 * 16 + 98) * 16 + 99},
              {"\xE9", 2147483647 - 22, 1 ^ (5 * 233 + 256), (1 << 28) - 231},  // signed bytes
              {"abcdefgh", 387275572, 1691330258, 144358056},  // wraps, folds the top nibble
              {"\xE9\xE9\xE9\xE9\xE9\xE9\xE9\xE9\xE9", 428427737, -817416540, 143159289}};
  for (const auto& r : rows) {
    EXPECT_EQ(GetStringHashCode(r.text), r.hash) << r.text;
    EXPECT_EQ(GetStringHashCodeA(r.text), r.hashA) << r.text;
    EXPECT_EQ(GetStringHashCodeB(r.text), r.hashB) << r.text;
  }
  EXPECT_EQ(GetStringHashCode(nullptr), -1);
  EXPECT_EQ(GetStringHashCodeA(nullptr), -1);
  EXPECT_EQ(GetStringHashCodeB(nullptr), -1);
  EXPECT_EQ(GetStringHashCodeT(nullptr), -1);
  EXPECT_EQ(GetStringHashCodeT(MLIB_T("Hello, world")), GetStringHashCode("Hello, world"));
}

TEST(Hash, WideHashGoesThroughTheAnsiCodePage) {
  MLIB_USE_ANSI_CODE_PAGE(1252);
  EXPECT_EQ(GetStringHashCodeT(MLIB_T("\u00E9")), 2147483647 - 22);
}

TEST(Hash, WideHashReadsNoMoreBytesThanCharacters) {
  MLIB_USE_ANSI_CODE_PAGE(936);
  // Two characters get two bytes of room: the first takes both, the second is left out.
  EXPECT_EQ(GetStringHashCodeT(MLIB_T("\u4E2D\u6587")), GetStringHashCode("\xD6\xD0"));
  EXPECT_EQ(GetStringHashCodeT(MLIB_T("\u4E2D")), 0);
}

namespace {

// The hashing rules, one byte at a time, as plainly as they can be written.
std::uint32_t plainHash(const std::string& text) {
  std::uint32_t h = 0;
  for (char c : text) h = h * 131u + static_cast<std::uint32_t>(static_cast<signed char>(c));
  return h & 0x7FFFFFFFu;
}

std::uint32_t plainHashA(const std::string& text) {
  std::uint32_t h = 1;
  std::uint32_t k = 4;
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

// Random bytes 1 to 255: every value but the terminator, high bytes (negative as signed char)
// included.
std::string randomText(std::mt19937& generator, std::size_t length) {
  std::string text(length, ' ');
  for (char& c : text) c = static_cast<char>(1 + generator() % 255);
  return text;
}

void expectPlainHashes(const std::string& text) {
  EXPECT_EQ(static_cast<std::uint32_t>(GetStringHashCode(text.c_str())), plainHash(text));
  EXPECT_EQ(static_cast<std::uint32_t>(GetStringHashCodeA(text.c_str())), plainHashA(text));
  EXPECT_EQ(static_cast<std::uint32_t>(GetStringHashCodeB(text.c_str())), plainHashB(text));
}

}  // namespace

// The hashes work through long texts in blocks; every length, every start within a block and
// a long text must give what the byte-at-a-time rules give.
TEST(Hash, EqualsThePlainRecurrenceAtEveryLengthAndStart) {
  std::mt19937 generator(2026);
  for (std::size_t length = 0; length <= 300; ++length) {
    SCOPED_TRACE(length);
    const std::string text = randomText(generator, length + 63);
    // Starts 0 to 63 bytes into the allocation, so that blocks fall at every alignment.
    const std::size_t start = length % 64;
    expectPlainHashes(text.substr(start, length));
  }
  const std::string long_text = randomText(generator, (1u << 20) + 37);
  expectPlainHashes(long_text);
  expectPlainHashes(std::string(1u << 20, '\xFF'));  // every byte -1
  expectPlainHashes(std::string(1u << 20, '\x7F'));
  // The wide hash of ASCII text is the narrow hash of the same bytes, at any length.
  const std::string ascii(5000, 'q');
  const std::basic_string<mlib::WideChar> wide(ascii.begin(), ascii.end());
  EXPECT_EQ(GetStringHashCodeT(wide.c_str()), GetStringHashCode(ascii.c_str()));
}
