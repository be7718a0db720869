// The free conversions that pass through the ANSI code page, under every code page that can
// be the ANSI code page: their ANSI temporaries hold the whole text, UTF-8's three-byte
// characters included, while GetStringHashCodeT keeps its cut of one byte per character.
// Where the ANSI code page cannot be chosen (Windows), only the active one is tried.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <string>
#include <vector>

#include "ansiCodePageScope.h"
#include "ansiPageSamples.h"
#include "platform/codePage.h"

using mlib::WideChar;

using mlib::test::bytesIn;

namespace {

using WideString = std::basic_string<WideChar>;

TEST(AnsiPages, TripsThroughTheAnsiPageKeepTheTextWhole) {
  const int tried = mlib::test::forEachAnsiPageSample([](const mlib::test::AnsiPageSample& sample) {
    const std::string utf8 = bytesIn(mlib::platform::kUtf8CodePage, sample.text);
    const std::string ansi = bytesIn(sample.codePage, sample.text);
    std::vector<char> narrow(utf8.size() + 8, '~');
    ASSERT_EQ(T2U8(narrow.data(), sample.text, static_cast<int>(narrow.size())), narrow.data());
    EXPECT_EQ(std::string(narrow.data()), utf8);
    std::vector<WideChar> wide(utf8.size() + 8, '~');
    ASSERT_EQ(U82T(wide.data(), utf8.c_str(), static_cast<int>(wide.size())), wide.data());
    EXPECT_EQ(WideString(wide.data()), WideString(sample.text));
    narrow.assign(ansi.size() + 1, '~');
    ASSERT_EQ(U82A(narrow.data(), utf8.c_str(), static_cast<int>(narrow.size())), narrow.data());
    EXPECT_EQ(std::string(narrow.data()), ansi);
    narrow.assign(utf8.size() + 1, '~');
    ASSERT_EQ(A2U8(narrow.data(), ansi.c_str(), static_cast<int>(narrow.size())), narrow.data());
    EXPECT_EQ(std::string(narrow.data()), utf8);
  });
  EXPECT_GE(tried, 1) << "no sample for the active ANSI code page " << GetAnsiCodePage();
}

TEST(AnsiPages, WideHashKeepsOneByteOfRoomPerCharacterInUtf8) {
  MLIB_USE_ANSI_CODE_PAGE(65001);
  // Three units give three bytes of room and two of text: é (two bytes) fits, 中 does not.
  EXPECT_EQ(GetStringHashCodeT(MLIB_T("\u00E9\u4E2D")), GetStringHashCode("\xC3\xA9"));
  EXPECT_EQ(GetStringHashCodeT(MLIB_T("\u4E2D\u6587")), GetStringHashCode(""));
}

}  // namespace
