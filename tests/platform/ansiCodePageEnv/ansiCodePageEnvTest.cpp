// MLIB_ANSI_CODEPAGE sets the ANSI code page at first use, once. Run by CTest once per
// value, with the code page expected in MLIB_TEST_EXPECTED_ANSI_CODEPAGE.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "platform/codePage.h"

namespace mlib::platform {
namespace {

TEST(AnsiCodePageEnvironment, FirstUseTakesTheVariableAndOnlyThen) {
  const char* const expectedText = std::getenv("MLIB_TEST_EXPECTED_ANSI_CODEPAGE");
  if (expectedText == nullptr) GTEST_SKIP() << "run through CTest, which sets the variables";
  const unsigned expected = static_cast<unsigned>(std::stoul(expectedText));
  const char* const row = std::getenv("MLIB_TEST_ROW");
  if (row != nullptr && std::string(row) == "set_first") {
    // A change made before any other use is not undone by the variable read after it.
    ASSERT_TRUE(setAnsiCodePage(expected));
    EXPECT_EQ(ansiCodePage(), expected);
    return;
  }
  // The first use of all is a conversion through code page 0; it must give what the
  // expected page gives under its own number ("中" in 936, "ÖÐ" in 1252, U+FFFD twice in
  // UTF-8).
  WideChar units[3] = {}, expectedUnits[3] = {};
  const int written = multiByteToWide(kAnsiCodePage, "\xD6\xD0", -1, units, 3);
  EXPECT_EQ(written, multiByteToWide(expected, "\xD6\xD0", -1, expectedUnits, 3));
  EXPECT_EQ(std::u16string(units), std::u16string(expectedUnits));
  EXPECT_EQ(ansiCodePage(), expected);
  // A change at run time holds: the variable is not read again.
  for (const unsigned page : {expected == 936 ? 1252u : 936u, expected}) {
    ASSERT_TRUE(setAnsiCodePage(page));
    EXPECT_EQ(ansiCodePage(), page);
  }
}

}  // namespace
}  // namespace mlib::platform
