// String storage, construction, assignment, concatenation, equality and ANSI text: texts and
// the exact capacities every operation leaves, and the text scans and copies beneath them.
#include <gtest/gtest.h>
#include <mlib/string.h>
#include <mlib/text.h>

#include <algorithm>
#include <new>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "ansiPageSamples.h"
#include "string/stringOps.h"

namespace {

using mlib::String;
using mlib::WideChar;
using mlib::detail::StringAccess;
using mlib::test::State;
using mlib::test::state;
using mlib::test::units;

const WideChar* const kNoText = nullptr;

TEST(String, NullAndEmptyTextsMakeNullStrings) {
  const String made[] = {String(),
                         String(MLIB_T("")),
                         String(kNoText),
                         String(""),
                         String(static_cast<const char*>(nullptr)),
                         String(std::string())};
  for (const String& s : made) {
    SCOPED_TRACE(&s - made);
    EXPECT_TRUE(s.IsNull() && s.IsEmpty() && s.GetLength() == 0);
    EXPECT_TRUE(s.toUnicode() == nullptr && s.toAnsi() == nullptr && s.GetBuffer(0) == nullptr);
    EXPECT_EQ(StringAccess::capacity(s), 0u);
    EXPECT_EQ(std::string(s), "");
  }
  String huge;
  EXPECT_THROW(huge.AllocBuffer(0xFFFFFFFFu), std::bad_alloc);
  EXPECT_TRUE(huge.IsNull());
}

// Seeded scripts through the driver the fuzz target runs on its input.
TEST(String, FollowsTheModelAndReadsLikeATerminatedCopy) {
  for (unsigned seed = 0; seed < 2000; ++seed) {
    std::mt19937 rng(seed);
    ASSERT_EQ(mlib::test::runStringScript([&] { return static_cast<unsigned>(rng()); }, 16), "")
        << "seed " << seed;
  }
}

// Long digit texts without terminator: the reads that convert or copy in pieces.
TEST(String, LongTextsWithoutTerminatorReadAsTheirCapacity) {
  for (const std::size_t n : {1000u, 5000u}) {
    std::u16string text(n, u'0');
    for (std::size_t i = 0; i < n; ++i) text[i] = static_cast<char16_t>(u'0' + i % 10);
    mlib::test::dirtyTheHeap(n + 1);
    String full(mlib::test::wide(text)), same(mlib::test::wide(text + u'9'));
    full[static_cast<unsigned>(n)] = MLIB_T('9');
    const String p(MLIB_T("45"));
    EXPECT_EQ(mlib::test::readings(full, p, 2, 3), mlib::test::readings(same, p, 2, 3)) << n;
  }
}

TEST(String, CopyIsExactAndMoveTakesTheBufferAsItIs) {
  String number(100);  // a number's text sits in a 515-unit buffer
  const char* ansi = number.toAnsi();
  const String copy(number);
  EXPECT_EQ(state(copy), State(u"100", 4));
  EXPECT_EQ(StringAccess::ansiBuffer(copy), nullptr);
  String moved(std::move(number));
  EXPECT_EQ(state(moved), State(u"100", 515));
  EXPECT_EQ(StringAccess::ansiBuffer(moved), ansi);
  EXPECT_TRUE(number.IsNull());  // NOLINT(bugprone-use-after-move): moved-from is null
  String target(MLIB_T("old"));
  target = std::move(moved);
  EXPECT_EQ(state(target), State(u"100", 515));

  String reserve;  // short text in a large reserve
  reserve.AllocBuffer(100000);
  reserve += MLIB_T("ab");
  EXPECT_EQ(state(String(reserve)), State(u"ab", 3));
  EXPECT_EQ(state(reserve + reserve), State(u"abab", 5));
}

TEST(String, AnsiBufferInCodePage1252) {
  MLIB_USE_ANSI_CODE_PAGE(1252);
  EXPECT_EQ(state(String(reinterpret_cast<const unsigned char*>("\x80"))), State(u"\u20AC", 2));
  String wide(MLIB_T("h\u00E9llo \u20AC"));
  EXPECT_STREQ(static_cast<char*>(wide), "h\xE9llo \x80");
  wide = MLIB_T("hi");  // buffer reused: the ANSI text still describes the older text
  EXPECT_EQ(wide.GetAnsiLength(), 7);
  EXPECT_STREQ(wide.toAnsi(), "hi");
  EXPECT_EQ(wide.GetAnsiLength(), 2);
  // Without an ANSI buffer, GetAnsiLength makes one.
  const String fresh(MLIB_T("\u0100bc"));
  EXPECT_EQ(fresh.GetAnsiLength(), 3);
  EXPECT_STREQ(StringAccess::ansiBuffer(fresh), "Abc") << "best-fit look-alike of U+0100";
}

// Text made from narrow bytes and turned back is never cut, double-byte pages and UTF-8's
// three- and four-byte characters included.
TEST(String, TextGoesThroughEveryAnsiPageWhole) {
  const int tried = mlib::test::forEachAnsiPageSample([](const mlib::test::AnsiPageSample& sample) {
    const std::string bytes = mlib::test::bytesIn(sample.codePage, sample.text);
    ASSERT_FALSE(bytes.empty());
    const String wide(sample.text);
    EXPECT_STREQ(wide.toAnsi(), bytes.c_str());
    EXPECT_EQ(wide.GetAnsiLength(), static_cast<int>(bytes.size()));
    EXPECT_EQ(std::string(wide), bytes);
    // Made from the bytes, the capacity follows the byte count (and no ANSI buffer is kept);
    // through operator=(const char*) the text lands in an exact-size buffer.
    const std::u16string text(reinterpret_cast<const char16_t*>(sample.text));
    const String fromBytes(bytes.c_str());
    EXPECT_EQ(units(fromBytes), text + std::u16string(bytes.size() + 1 - text.size(), u'\0'));
    EXPECT_EQ(StringAccess::ansiBuffer(fromBytes), nullptr);
    EXPECT_EQ(state(String(bytes)), State(text, text.size() + 1));
    EXPECT_EQ(state(String(MLIB_T("x")) + bytes.c_str()), State(u"x" + text, text.size() + 2));
    String longer(sample.text);  // long enough that any shortfall of the buffer shows
    for (int i = 0; i < 6; ++i) longer += longer;
    EXPECT_EQ(std::string(longer.toAnsi()).size(), bytes.size() * 64);
    EXPECT_TRUE(String(longer.toAnsi()) == longer);
  });
  EXPECT_GE(tried, 1) << "no sample for the active ANSI code page " << GetAnsiCodePage();
}

TEST(String, TextFromItsOwnBufferIsReadBeforeTheChange) {
  String s(MLIB_T("hello world"));
  s = s.GetBuffer(6);
  EXPECT_EQ(state(s), State(u"world", 12));
  s += s.toString();
  EXPECT_EQ(state(s), State(u"worldworld", 12));
  s += s;
  EXPECT_EQ(state(s), State(u"worldworldworldworld", 21));
}

// The scans read whole aligned blocks; sweep start alignments, lengths and bounds against a
// unit-by-unit count, and check that the copies write nothing past what they report.
TEST(StringStorage, ScanAndCopyAgreeWithAPlainLoopEverywhere) {
  std::vector<WideChar> source(400), target(400);
  for (std::size_t offset = 0; offset < 40; ++offset) {
    for (std::size_t length = 0; length < 300; length += (length < 80 ? 1 : 37)) {
      std::fill(source.begin(), source.end(), WideChar(0x5A5A));
      for (std::size_t i = 0; i < length; ++i) source[offset + i] = WideChar('a' + i % 26);
      source[offset + length] = 0;
      const WideChar* in = source.data() + offset;
      SCOPED_TRACE(testing::Message() << "offset " << offset << " length " << length);
      ASSERT_EQ(mlib::detail::wideLength(in), length);
      for (std::size_t bound :
           {length * 0, length / 2, length, length + 1, length + 50, length + 70}) {
        const std::size_t want = std::min(bound, length);
        ASSERT_EQ(mlib::detail::wideLengthBounded(in, bound), want) << "bound " << bound;
        // The copy that reads like the scan, and the one for a source readable up to the bound.
        for (const auto copy : {&mlib::detail::copyWideText, &mlib::detail::copyWideTextWithin}) {
          std::fill(target.begin(), target.end(), WideChar(0x7777));
          ASSERT_EQ(copy(target.data(), in, bound), want) << "bound " << bound;
          const auto written = static_cast<std::ptrdiff_t>(bound <= length ? bound : length + 1);
          ASSERT_TRUE(std::equal(in, in + written, target.begin())) << "bound " << bound;
          ASSERT_TRUE(std::all_of(target.begin() + written, target.end(),
                                  [](WideChar unit) { return unit == 0x7777; }))
              << "written past the copy, bound " << bound;
        }
      }
    }
  }
  EXPECT_EQ(mlib::detail::wideLength(nullptr), 0u);
}

}  // namespace
