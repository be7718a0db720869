// The conversions of <mlib/text.h> between the ANSI code page, UTF-8 and UTF-16. Expected
// bytes come from the code page tables (1252: 0x80 is the euro sign, U+0100 falls back to
// "A"; 936: U+4E2D U+6587 are D6 D0 CE C4).
#include <mlib/text.h>

#include "text/ansiCodePageScope.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;

namespace {

constexpr WideChar kCanary = 0x7E7E;

// Fills a buffer with a canary, runs a conversion into it with `capacity`, and returns the
// whole buffer so the test can check the text, the zero fill and the untouched tail.
template <typename Char, typename Convert>
std::basic_string<Char> convertInto(std::size_t bufferSize, Char canary, Convert convert) {
  std::basic_string<Char> buffer(bufferSize, canary);
  convert(&buffer[0]);
  return buffer;
}

}  // namespace

TEST(Conversions, AnsiToWideCutsAtTheExactBoundary) {
  MLIB_USE_ANSI_CODE_PAGE(1252);
  struct Row { const char* src; int capacity; WideString want; };
  const Row rows[] = {
      {"abcd", 5, WideString(MLIB_T("abcd\0"), 5)},   // needs exactly 5: fits whole
      {"abcd", 4, WideString(MLIB_T("abc\0"), 4)},    // one short: cut
      {"abcd", 1, WideString(MLIB_T("\0"), 1)},
      {"ab", 5, WideString(MLIB_T("ab\0\0\0"), 5)},   // the rest is zero-filled
      {"", 3, WideString(MLIB_T("\0\0\0"), 3)},
      {"\x80\xE9\xFF", 4, WideString(MLIB_T("\u20AC\u00E9\u00FF\0"), 4)},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.src);
    SCOPED_TRACE(r.capacity);
    for (auto convert : {ANSIToWide, StrA2W, StrA2T}) {
      const WideString got = convertInto<WideChar>(8, kCanary, [&](WideChar* dst) {
        EXPECT_EQ(convert(dst, r.src, r.capacity), dst);
      });
      EXPECT_EQ(got.substr(0, static_cast<std::size_t>(r.capacity)), r.want);
      EXPECT_EQ(got.substr(static_cast<std::size_t>(r.capacity)),
                WideString(8 - static_cast<std::size_t>(r.capacity), kCanary));
    }
  }
}

TEST(Conversions, WideToAnsiCutsBestFitsAndDefaults) {
  MLIB_USE_ANSI_CODE_PAGE(1252);
  struct Row { const WideChar* src; int capacity; std::string want; };
  const Row rows[] = {
      {MLIB_T("abcd"), 5, std::string("abcd\0", 5)},
      {MLIB_T("abcd"), 4, std::string("abc\0", 4)},
      {MLIB_T("\u20AC\u0100\u4E2D"), 4, std::string("\x80" "A?\0", 4)},
      {MLIB_T(""), 2, std::string("\0\0", 2)},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.capacity);
    for (auto convert : {WideToANSI, StrW2A, StrT2A}) {
      const std::string got = convertInto<char>(8, '#', [&](char* dst) {
        EXPECT_EQ(convert(dst, r.src, r.capacity), dst);
      });
      EXPECT_EQ(got.substr(0, static_cast<std::size_t>(r.capacity)), r.want);
      EXPECT_EQ(got.substr(static_cast<std::size_t>(r.capacity)),
                std::string(8 - static_cast<std::size_t>(r.capacity), '#'));
    }
  }
}

TEST(Conversions, DoubleByteCharactersAreNeverSplitByACut) {
  MLIB_USE_ANSI_CODE_PAGE(936);
  const WideChar* chinese = MLIB_T("\u4E2D\u6587");
  struct Row { int capacity; std::string want; };
  const Row narrowRows[] = {
      {5, std::string("\xD6\xD0\xCE\xC4\0", 5)},
      {4, std::string("\xD6\xD0\0\0", 4)},  // the second character would need slot 3 too
      {3, std::string("\xD6\xD0\0", 3)},
      {2, std::string("\0\0", 2)},
  };
  for (const Row& r : narrowRows) {
    SCOPED_TRACE(r.capacity);
    const std::string got = convertInto<char>(6, '#', [&](char* dst) {
      EXPECT_EQ(WideToANSI(dst, chinese, r.capacity), dst);
    });
    EXPECT_EQ(got.substr(0, static_cast<std::size_t>(r.capacity)), r.want);
  }
  WideChar wide[3];
  ASSERT_EQ(ANSIToWide(wide, "\xD6\xD0\xCE\xC4", 2), wide);
  EXPECT_EQ(WideString(wide, 2), WideString(MLIB_T("\u4E2D\0"), 2));
  ASSERT_EQ(ANSIToWide(wide, "\xD6\xD0\xCE\xC4", 3), wide);
  EXPECT_EQ(WideString(wide), WideString(chinese));
}

TEST(Conversions, Utf8RoundTripKeepsEveryCharacterAndCutsWhole) {
  const char* utf8 = "h\xC3\xA9llo \xE4\xB8\xAD \xF0\x9F\x98\x80";  // "héllo 中 😀"
  const WideString wide = MLIB_T("h\u00E9llo \u4E2D \U0001F600");
  WideString got = convertInto<WideChar>(16, kCanary, [&](WideChar* dst) {
    EXPECT_EQ(Utf8ToWide(dst, utf8, 16), dst);
  });
  EXPECT_EQ(WideString(got.c_str()), wide);
  EXPECT_EQ(got[wide.size() + 1], kCanary) << "no fill past the terminator when it fits";

  std::string back = convertInto<char>(20, '#', [&](char* dst) {
    EXPECT_EQ(WideToUtf8(dst, wide.c_str(), 20), dst);
  });
  EXPECT_EQ(std::string(back.c_str()), utf8);

  // Cuts never leave half a character: the surrogate pair needs units 9 and 10.
  got = convertInto<WideChar>(12, kCanary, [&](WideChar* dst) { Utf8ToWide(dst, utf8, 10); });
  EXPECT_EQ(WideString(got.c_str()), MLIB_T("h\u00E9llo \u4E2D "));
  EXPECT_EQ(got[9], 0);
  EXPECT_EQ(got[10], kCanary);
  back = convertInto<char>(12, '#', [&](char* dst) { WideToUtf8(dst, MLIB_T("a\u4E2D"), 3); });
  EXPECT_EQ(back.substr(0, 4), std::string("a\0\0#", 4));

  EXPECT_EQ(Utf8ToWide(nullptr, utf8, 4), nullptr);
  EXPECT_EQ(WideToUtf8(&back[0], nullptr, 4), nullptr);
}

TEST(Conversions, Utf8AndAnsiThroughTheWideTemporary) {
  MLIB_USE_ANSI_CODE_PAGE(1252);
  char ansi[8];
  ASSERT_EQ(Utf8ToANSI(ansi, "\xC3\xA9\xE2\x82\xAC\xE4\xB8\xAD", 8), ansi);
  EXPECT_EQ(std::string(ansi), "\xE9\x80?");
  std::memset(ansi, '#', sizeof(ansi));
  ASSERT_EQ(U82A(ansi, "abcdef", 4), ansi);
  EXPECT_EQ(std::string(ansi, 5), std::string("abc\0#", 5));

  char utf8[12];
  ASSERT_EQ(ANSIToUtf8(utf8, "\xE9\x80", 12), utf8);
  EXPECT_EQ(std::string(utf8), "\xC3\xA9\xE2\x82\xAC");
  std::memset(utf8, '#', sizeof(utf8));
  ASSERT_EQ(ANSIToUtf8(utf8, nullptr, 12), utf8) << "a null source is empty text";
  EXPECT_EQ(utf8[0], '\0');
  std::memset(utf8, '#', sizeof(utf8));
  ASSERT_EQ(A2U8(utf8, "\xE9\xE9\xE9", 6), utf8);
  EXPECT_EQ(std::string(utf8, 7), std::string("\xC3\xA9\xC3\xA9\0\0#", 7));

  EXPECT_EQ(U82A(nullptr, "a", 4), nullptr);
  EXPECT_EQ(U82A(ansi, "a", 0), nullptr);
  EXPECT_EQ(A2U8(utf8, nullptr, 4), nullptr);
  EXPECT_EQ(A2U8(utf8, "a", 0), nullptr);
}

TEST(Conversions, TripThroughAnsiLosesWhatTheCodePageCannotHold) {
  MLIB_USE_ANSI_CODE_PAGE(1252);
  const char* utf8 = "\xC3\xA9\xE4\xB8\xAD";  // "é中"
  WideChar wide[8];
  ASSERT_EQ(U82T(wide, utf8, 8), wide);
  EXPECT_EQ(WideString(wide), MLIB_T("\u00E9?"));
  ASSERT_EQ(Utf8ToWide(wide, utf8, 8), wide);
  EXPECT_EQ(WideString(wide), MLIB_T("\u00E9\u4E2D"));
  ASSERT_EQ(U82T(wide, "abcdef", 3), wide);
  EXPECT_EQ(WideString(wide), MLIB_T("ab"));
  wide[0] = kCanary;
  EXPECT_EQ(U82T(wide, utf8, 0), wide) << "capacity 0 leaves the destination untouched";
  EXPECT_EQ(wide[0], kCanary);
  EXPECT_EQ(U82T(nullptr, utf8, 8), nullptr);

  char back[8];
  ASSERT_EQ(T2U8(back, MLIB_T("\u00E9\u4E2D"), 8), back);
  EXPECT_EQ(std::string(back), "\xC3\xA9?");
  EXPECT_EQ(T2U8(back, nullptr, 8), nullptr);
  EXPECT_EQ(T2U8(back, MLIB_T("a"), 0), nullptr);
}

TEST(Conversions, CodePageSettingRefusesUnknownPages) {
  const unsigned before = GetAnsiCodePage();
  EXPECT_FALSE(SetAnsiCodePage(12345));
  EXPECT_EQ(GetAnsiCodePage(), before);
}
