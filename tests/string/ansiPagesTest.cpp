// String's ANSI text through every code page that can be the ANSI code page: text made from
// narrow bytes and turned back (toAnsi, GetAnsiLength, std::string) is never cut, UTF-8's
// three- and four-byte characters included. Where the ANSI code page cannot be chosen
// (Windows), only the active one is tried.
#include <gtest/gtest.h>
#include <mlib/string.h>
#include <mlib/text.h>

#include <string>
#include <vector>

#include "ansiPageSamples.h"
#include "platform/codePage.h"

using mlib::String;
using mlib::WideChar;

using mlib::test::bytesIn;

namespace {

TEST(StringAnsiPages, TextGoesThroughEveryAnsiPageWhole) {
  const int tried = mlib::test::forEachAnsiPageSample([](const mlib::test::AnsiPageSample& sample) {
    const std::string bytes = bytesIn(sample.codePage, sample.text);
    ASSERT_FALSE(bytes.empty());

    const String wide(sample.text);
    EXPECT_STREQ(wide.toAnsi(), bytes.c_str());
    EXPECT_EQ(wide.GetAnsiLength(), static_cast<int>(bytes.size()));
    EXPECT_EQ(std::string(wide), bytes);
    EXPECT_TRUE(String(bytes.c_str()) == sample.text);
    EXPECT_TRUE(String(bytes) == sample.text);
    // A text long enough that any shortfall of the buffer shows.
    String longer(sample.text);
    for (int i = 0; i < 6; ++i) longer += longer;
    EXPECT_EQ(std::string(longer.toAnsi()).size(), bytes.size() * 64);
    EXPECT_TRUE(String(longer.toAnsi()) == longer);
  });
  EXPECT_GE(tried, 1) << "no sample for the active ANSI code page " << GetAnsiCodePage();
}

}  // namespace
