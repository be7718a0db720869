// Byte's conversions between the ANSI code page and UTF-8 through every code page that can
// be the ANSI code page: nothing is cut, UTF-8 as the ANSI page included. Where the ANSI
// code page cannot be chosen (Windows), only the active one is tried.
#include <gtest/gtest.h>
#include <mlib/byte.h>
#include <mlib/text.h>

#include <string>
#include <vector>

#include "ansiPageSamples.h"
#include "byteContent.h"
#include "platform/codePage.h"

using mlib::Byte;
using mlib::WideChar;

using mlib::test::bytesOf;
using mlib::test::content;

using mlib::test::bytesIn;

namespace {

TEST(ByteAnsiPages, TextGoesThroughEveryAnsiPageWhole) {
  const int tried = mlib::test::forEachAnsiPageSample([](const mlib::test::AnsiPageSample& sample) {
    const std::string ansi = bytesIn(sample.codePage, sample.text);
    const std::string utf8 = bytesIn(mlib::platform::kUtf8CodePage, sample.text);
    EXPECT_EQ(content(bytesOf(ansi).AnsiToUtf8()), utf8);
    EXPECT_EQ(content(bytesOf(utf8).Utf8ToAnsi()), ansi);
  });
  EXPECT_GE(tried, 1) << "no sample for the active ANSI code page " << GetAnsiCodePage();
}

// With UTF-8 as the ANSI page, each invalid byte becomes U+FFFD, three bytes, both ways.
TEST(ByteAnsiPages, Utf8AsAnsiPageKeepsEveryReplacementCharacter) {
  const unsigned previous = GetAnsiCodePage();
  if (previous != 65001 && !SetAnsiCodePage(65001)) GTEST_SKIP() << "the ANSI page is not UTF-8";
  std::string replacements;
  for (int i = 0; i < 40; ++i) replacements += "\xEF\xBF\xBD";
  EXPECT_EQ(content(bytesOf(std::string(40, '\xFF')).Utf8ToAnsi()), replacements);
  EXPECT_EQ(content(bytesOf(std::string(40, '\x80')).AnsiToUtf8()), replacements);
  (void)SetAnsiCodePage(previous);
}

}  // namespace
