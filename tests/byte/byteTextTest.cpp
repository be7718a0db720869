// Byte's ANSI <-> UTF-8 conversions: against the code page reference table, and through every
// code page that can be the ANSI code page (where it cannot be chosen, on Windows, only the
// active one) without anything cut, UTF-8 as the ANSI page included. Empty content and an
// embedded zero are steps of the Byte driver (byteOps.h).
#include <gtest/gtest.h>
#include <mlib/byte.h>
#include <mlib/text.h>

#include <fstream>
#include <sstream>
#include <string>

#include "ansiPageSamples.h"
#include "byteContent.h"

namespace {

using mlib::Byte;
using mlib::test::bytesIn;
using mlib::test::bytesOf;
using mlib::test::content;

// UTF-8 of one BMP code point, worked out here.
std::string utf8Of(unsigned cp) {
  if (cp < 0x80) return std::string(1, static_cast<char>(cp));
  if (cp < 0x800)
    return {static_cast<char>(0xC0 | (cp >> 6)), static_cast<char>(0x80 | (cp & 0x3F))};
  return {static_cast<char>(0xE0 | (cp >> 12)), static_cast<char>(0x80 | ((cp >> 6) & 0x3F)),
          static_cast<char>(0x80 | (cp & 0x3F))};
}

TEST(ByteText, Every1252ByteMatchesOracleBothWays) {
  MLIB_USE_ANSI_CODE_PAGE(1252);
  std::ifstream table(MLIB_TEST_DATA_DIR "/cp1252-to-wide.txt");
  ASSERT_TRUE(table.is_open());
  std::string ansi, expectedUtf8, line;
  while (std::getline(table, line)) {
    // One byte, a tab, one unit: the lines of the single bytes (the mixtures are longer).
    if (line.size() != 7) continue;
    unsigned byte = 0, unit = 0;
    std::istringstream(line) >> std::hex >> byte >> unit;
    ansi += static_cast<char>(byte);
    expectedUtf8 += utf8Of(unit);
  }
  ASSERT_EQ(ansi.size(), 255u);
  const Byte utf8 = bytesOf(ansi).AnsiToUtf8();
  EXPECT_EQ(content(utf8), expectedUtf8);
  EXPECT_EQ(utf8.GetBufferLength(), utf8.GetLength() + 1);
  EXPECT_EQ(content(utf8.Utf8ToAnsi()), ansi);
  // Three UTF-8 bytes for every ANSI byte must fit.
  const Byte euros = bytesOf(std::string(1000, '\x80')).AnsiToUtf8();
  EXPECT_EQ(euros.GetLength(), 3000);
  EXPECT_EQ(content(euros).substr(2997), "\xE2\x82\xAC");
}

TEST(ByteText, TextGoesThroughEveryAnsiPageWhole) {
  const int tried = mlib::test::forEachAnsiPageSample([](const mlib::test::AnsiPageSample& sample) {
    const std::string ansi = bytesIn(sample.codePage, sample.text);
    const std::string utf8 = bytesIn(65001, sample.text);
    EXPECT_EQ(content(bytesOf(ansi).AnsiToUtf8()), utf8);
    EXPECT_EQ(content(bytesOf(utf8).Utf8ToAnsi()), ansi);
  });
  EXPECT_GE(tried, 1) << "no sample for the active ANSI code page " << GetAnsiCodePage();
}

// With UTF-8 as the ANSI page, each invalid byte becomes U+FFFD, three bytes, both ways.
TEST(ByteText, Utf8AsAnsiPageKeepsEveryReplacementCharacter) {
  MLIB_USE_ANSI_CODE_PAGE(65001);
  std::string replacements;
  for (int i = 0; i < 40; ++i) replacements += "\xEF\xBF\xBD";
  EXPECT_EQ(content(bytesOf(std::string(40, '\xFF')).Utf8ToAnsi()), replacements);
  EXPECT_EQ(content(bytesOf(std::string(40, '\x80')).AnsiToUtf8()), replacements);
}

}  // namespace
