// The copy, re-sizing and conversion helpers of <mlib/text.h>. In 1252, 0x80 is the euro sign
// and U+0100 falls back to "A"; in 936, U+4E2D U+6587 are D6 D0 CE C4.
#include <gtest/gtest.h>
#include <mlib/text.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "ansiPageSamples.h"

using mlib::WideChar;
using WideString = std::basic_string<WideChar>;

namespace {

// Whether an element continues a character: a UTF-8 continuation byte, a low surrogate.
bool continues(char byte) { return (byte & 0xC0) == 0x80; }
bool continues(WideChar unit) { return (unit & 0xFC00) == 0xDC00; }

// A cutting copy or conversion of src into a buffer fenced by '~', at every capacity up to two
// past the whole output: the output cut to the last whole character within capacity - 1
// (characters of `step` elements; 0: UTF-8 or UTF-16 characters), zeros up to the capacity
// (with `fillsAll` false, only a terminator when the whole output fits), the fence untouched.
// A null pointer gives null, capacity 0 null or, with `zeroGivesDst`, the destination.
template <typename Out, typename In>
void expectCuts(Out* (*copy)(Out*, const In*, int), const std::basic_string<In>& src,
                const std::basic_string<Out>& want, std::size_t step = 1, bool zeroGivesDst = false,
                bool fillsAll = true) {
  const std::size_t size = want.size() + 3;
  for (std::size_t capacity = 1; capacity < size; ++capacity) {
    std::basic_string<Out> dst(size, '~');
    ASSERT_EQ(copy(&dst[0], src.c_str(), static_cast<int>(capacity)), &dst[0]);
    std::size_t keep = std::min(want.size(), capacity - 1);
    while (step == 0 ? keep < want.size() && continues(want[keep]) : keep % step != 0) --keep;
    std::basic_string<Out> cut = want.substr(0, keep);
    cut.resize(fillsAll || keep < want.size() ? capacity : keep + 1, 0);
    EXPECT_EQ(dst, cut + std::basic_string<Out>(size - cut.size(), '~')) << "capacity " << capacity;
  }
  Out one[1] = {'~'};
  EXPECT_EQ(copy(nullptr, src.c_str(), 2), nullptr);
  EXPECT_EQ(copy(one, nullptr, 2), nullptr);
  EXPECT_EQ(copy(one, src.c_str(), 0), zeroGivesDst ? one : nullptr);
  EXPECT_EQ(one[0], '~');
}

// A conversion into exactly the room of the whole output and its terminator.
template <typename Out, typename In>
void expectConverts(Out* (*convert)(Out*, const In*, int), const std::basic_string<In>& src,
                    const std::basic_string<Out>& want) {
  std::basic_string<Out> dst(want.size() + 1, '~');
  ASSERT_EQ(convert(&dst[0], src.c_str(), static_cast<int>(dst.size())), &dst[0]);
  EXPECT_EQ(dst, want + Out(0));
}

template <int kCount>
WideChar* strCpyN(WideChar* dst, const WideChar* src, int capacity) {
  return StrCpyN(dst, src, kCount, capacity);
}

// A re-sizing: capacity 0 or no buffer gives the argument back; otherwise a new buffer
// holding the text cut to capacity - 1, then zeros.
template <typename Char>
void expectResizes(Char* (*resize)(Char*, unsigned)) {
  Char* buffer = new Char[5]{'a', 'b', 'c', 'd', 0};
  EXPECT_EQ(resize(buffer, 0), buffer);
  EXPECT_EQ(resize(nullptr, 8), nullptr);
  buffer = resize(buffer, 3);
  EXPECT_EQ(std::basic_string<Char>(buffer, 3), std::basic_string<Char>({'a', 'b', 0}));
  buffer = resize(buffer, 6);
  EXPECT_EQ(std::basic_string<Char>(buffer, 6), std::basic_string<Char>({'a', 'b', 0, 0, 0, 0}));
  delete[] buffer;
}

}  // namespace

TEST(CopyHelpers, CopiesAndConversionsCutWholeCharactersAndZeroFill) {
  const WideString text = MLIB_T("abcdef");
  for (auto copy : {StrCpyT, StrCpyW, t2w, w2t, StrT2W, StrW2T}) expectCuts(copy, text, text);
  expectCuts(StrCpyA, std::string("abcdef"), std::string("abcdef"));
  // StrCpyN copies min(count, capacity - 1) characters (none for a negative count) and a
  // terminator, and leaves the rest alone.
  expectCuts(strCpyN<-3>, text, WideString(), 1, false, false);
  expectCuts(strCpyN<0>, text, WideString(), 1, false, false);
  expectCuts(strCpyN<4>, text, text.substr(0, 4), 1, false, false);
  expectCuts(strCpyN<10>, text, text, 1, false, false);
  // UTF-8 keeps every character; text that fits leaves the rest of the destination as it was.
  const std::string utf8 = "h\xC3\xA9 \xE4\xB8\xAD\xF0\x9F\x98\x80";
  expectCuts(Utf8ToWide, utf8, WideString(MLIB_T("h\u00E9 \u4E2D\U0001F600")), 0, false, false);
  expectCuts(WideToUtf8, WideString(MLIB_T("h\u00E9 \u4E2D\U0001F600")), utf8, 0, false, false);
  if (AnsiCodePageScope scope(1252); scope.active) {  // one byte a character
    for (auto convert : {ANSIToWide, StrA2W, StrA2T}) {
      expectCuts(convert, std::string(), WideString());
      expectCuts(convert, std::string("\x80\xE9"), WideString(MLIB_T("\u20AC\u00E9")));
    }
    for (auto convert : {WideToANSI, StrW2A, StrT2A}) {  // best fit, then default character
      expectCuts(convert, WideString(), std::string());
      expectCuts(convert, WideString(MLIB_T("\u20AC\u0100\u4E2D")), std::string("\x80\x41?"));
    }
    // The trips through the ANSI code page keep only what it holds.
    const std::string mixed = "\xC3\xA9\xE2\x82\xAC\xE4\xB8\xAD";
    for (auto convert : {U82A, Utf8ToANSI}) expectCuts(convert, mixed, std::string("\xE9\x80?"));
    expectCuts(A2U8, std::string("\xE9\x80\xE9"), std::string("\xC3\xA9\xE2\x82\xAC\xC3\xA9"), 0);
    expectCuts(U82T, std::string("\xC3\xA9\xE4\xB8\xAD"), WideString(MLIB_T("\u00E9?")), 1, true);
    expectCuts(T2U8, WideString(MLIB_T("\u00E9\u4E2D\u20AC")), std::string("\xC3\xA9?\xE2\x82\xAC"),
               0, true);
    char narrow[4] = {'~', '~', '~', '~'};
    ASSERT_EQ(ANSIToUtf8(narrow, nullptr, 4), narrow);
    EXPECT_EQ(std::string(narrow, 4), std::string(1, '\0') + "~~~") << "a null source is empty";
  }
  if (AnsiCodePageScope scope(936); scope.active) {  // a cut never splits a double-byte pair
    expectCuts(WideToANSI, WideString(MLIB_T("\u4E2D\u6587")), std::string("\xD6\xD0\xCE\xC4"), 2);
    expectCuts(ANSIToWide, std::string("\xD6\xD0\xCE\xC4"), WideString(MLIB_T("\u4E2D\u6587")));
  }
}

TEST(CopyHelpers, ByteCopiesAreVerbatimAndResizingMovesTheText) {
  const unsigned char src[8] = {1, 2, 0, 4, 5, 6, 7, 8};
  unsigned char dst[8] = {};
  EXPECT_EQ(Memcpy(dst, src, 5, 3), dst);  // min(count, limit)
  EXPECT_EQ(std::memcmp(dst, "\1\2\0\0", 4), 0);
  EXPECT_EQ(Memcpy(dst, nullptr, 5, 5), dst);
  for (auto copy : {a2t, a2w, t2a, w2a}) {
    std::memset(dst, 0xEE, sizeof(dst));
    ASSERT_EQ(copy(dst, src, 6), dst);
    EXPECT_EQ(std::memcmp(dst, src, 6), 0) << "six bytes, the zero among them, no widening";
    EXPECT_EQ(dst[6], 0xEE);
    EXPECT_EQ(copy(dst, src, -1), dst);
    EXPECT_EQ(copy(dst, nullptr, 2), nullptr);
  }
  expectResizes(ResizeBufferA);
  for (auto resize : {ResizeBufferT, ResizeBufferW}) expectResizes(resize);
}

// Under every page that can be the ANSI page (on Windows only the active one), the trips' ANSI
// temporaries hold the whole text, UTF-8's three-byte characters included.
TEST(Conversions, TripsThroughEveryAnsiPageKeepItsTextWhole) {
  const int tried = mlib::test::forEachAnsiPageSample([](const mlib::test::AnsiPageSample& sample) {
    const std::string utf8 = mlib::test::bytesIn(65001, sample.text);
    const std::string ansi = mlib::test::bytesIn(sample.codePage, sample.text);
    expectConverts(T2U8, WideString(sample.text), utf8);
    expectConverts(U82T, utf8, WideString(sample.text));
    expectConverts(U82A, utf8, ansi);
    expectConverts(A2U8, ansi, utf8);
  });
  EXPECT_GE(tried, 1) << "no sample for the active ANSI code page " << GetAnsiCodePage();
}
