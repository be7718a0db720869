// String storage, construction, assignment, concatenation, equality and ANSI text: texts and
// the exact capacities every operation leaves, and the text scans and copies beneath them.
#include <gtest/gtest.h>
#include <mlib/string.h>
#include <mlib/text.h>

#include <algorithm>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "ansiPageSamples.h"
#include "stringText.h"

namespace {

using mlib::String;
using mlib::WideChar;
using mlib::detail::StringAccess;
using mlib::test::State;
using mlib::test::state;

// Unit i of the buffer, unbounded (positions after the terminator included).
WideChar unitAt(const String& s, unsigned i) { return *s.GetBuffer(i); }
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
}

TEST(String, AssignmentReusesOrGrowsToExactSize) {
  String s;
  s = MLIB_T("abc");
  EXPECT_EQ(state(s), State(u"abc", 4));
  const char* ansi = s.toAnsi();
  s = MLIB_T("x");
  EXPECT_EQ(state(s), State(u"x", 4));
  EXPECT_EQ(unitAt(s, 1) | unitAt(s, 2), 0) << "slots after the new text are cleared";
  EXPECT_EQ(StringAccess::ansiBuffer(s), ansi) << "a reused buffer keeps the ANSI buffer";
  s = MLIB_T("abcde");
  EXPECT_EQ(state(s), State(u"abcde", 6));
  EXPECT_EQ(StringAccess::ansiBuffer(s), nullptr);
  s = kNoText;
  EXPECT_EQ(state(s), State(u"", 6));
  s = MLIB_T("ab");
  s = MLIB_T("");
  EXPECT_EQ(state(s), State(u"", 6));
  EXPECT_EQ(unitAt(s, 1), 0);
  const String& same = s;
  s = same;
  EXPECT_EQ(state(s), State(u"", 6));
  s.toAnsi();
  s = "ansi";  // converted, then assigned into the reused buffer
  EXPECT_EQ(state(s), State(u"ansi", 6));
  EXPECT_NE(StringAccess::ansiBuffer(s), nullptr);

  String null;
  null = MLIB_T("");
  EXPECT_TRUE(null.IsNull());
  null = WideChar('q');
  EXPECT_EQ(state(null), State(u"q", 2));
  null = WideChar(0);
  EXPECT_EQ(state(null), State(u"", 2));
}

TEST(String, AppendGrowsExactlyOrWorksInPlace) {
  String s(MLIB_T("ab"));
  s.toAnsi();
  s += WideChar('c');
  EXPECT_EQ(state(s), State(u"abc", 4));
  EXPECT_EQ(StringAccess::ansiBuffer(s), nullptr);
  s += MLIB_T("defgh");
  EXPECT_EQ(state(s), State(u"abcdefgh", 9));

  String built;
  WideChar* buffer = built.AllocBuffer(10);
  buffer[0] = 'x';
  buffer[1] = 'y';
  const char* ansi = built.toAnsi();
  built += WideChar('z');
  EXPECT_EQ(state(built), State(u"xyz", 11));
  EXPECT_TRUE(built.GetBuffer(0) == buffer && StringAccess::ansiBuffer(built) == ansi);
  built += std::string("12");
  built += kNoText;
  built += static_cast<const char*>(nullptr);
  EXPECT_EQ(state(built), State(u"xyz12", 11));

  // Units a caller left behind a new terminator are cleared by the next append.
  String cut(MLIB_T("abcdef"));
  *cut.GetBuffer(2) = 0;
  cut += MLIB_T("x");
  EXPECT_EQ(state(cut), State(u"abx", 7));
  EXPECT_EQ(unitAt(cut, 3) | unitAt(cut, 5), 0);

  String null;
  null += MLIB_T("");
  EXPECT_TRUE(null.IsNull());
  null += MLIB_T("a");
  EXPECT_EQ(state(null), State(u"a", 2));
}

TEST(String, BufferOperations) {
  String s(MLIB_T("abcde"));
  s.toAnsi();
  s.ResizeBuffer(2);
  EXPECT_EQ(state(s), State(u"ab", 3));
  EXPECT_NE(StringAccess::ansiBuffer(s), nullptr) << "ResizeBuffer keeps the ANSI buffer";
  s.ResizeBuffer(10);
  EXPECT_EQ(state(s), State(u"ab", 11));
  for (unsigned i = 2; i < 11; ++i) EXPECT_EQ(unitAt(s, i), 0) << i;
  s.ResetBuffer();
  EXPECT_EQ(state(s), State(u"", 11));
  EXPECT_EQ(unitAt(s, 1), 0);

  String null;
  EXPECT_NE(null.ResizeBuffer(4), nullptr);
  EXPECT_EQ(state(null), State(u"", 5));
  const WideChar* fresh = s.AllocBuffer(5);
  EXPECT_EQ(state(s), State(u"", 6));
  EXPECT_EQ(StringAccess::ansiBuffer(s), nullptr);
  EXPECT_TRUE(std::all_of(fresh, fresh + 6, [](WideChar unit) { return unit == 0; }));
  EXPECT_EQ(s.GetBuffer(3), fresh + 3);
  s.ReleaseBuffer();
  EXPECT_TRUE(s.IsNull());
  EXPECT_THROW(s.AllocBuffer(0xFFFFFFFFu), std::bad_alloc);
  EXPECT_TRUE(s.IsNull());
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

  String emptyWithBuffer;
  emptyWithBuffer.AllocBuffer(3);
  EXPECT_TRUE(String(emptyWithBuffer).IsNull());
  String reserve;  // short text in a large reserve
  reserve.AllocBuffer(100000);
  reserve += MLIB_T("ab");
  EXPECT_EQ(state(String(reserve)), State(u"ab", 3));
  EXPECT_EQ(state(reserve + reserve), State(u"abab", 5));
}

TEST(String, ConcatenationMakesExactSizeStrings) {
  const String ab(MLIB_T("ab")), number(7);
  String empty;
  empty.AllocBuffer(4);
  const struct Row {
    String got;
    State want;
  } rows[] = {
      {ab + MLIB_T("cde"), {u"abcde", 6}},
      {ab + String(MLIB_T("x")), {u"abx", 4}},
      {ab + "yz", {u"abyz", 5}},
      {ab + std::string("!"), {u"ab!", 4}},
      {ab + WideChar('c'), {u"abc", 4}},
      {String() + MLIB_T("x"), {u"x", 2}},
      {number + kNoText, {u"7", 2}},
      {number + static_cast<const char*>(nullptr), {u"7", 2}},
      {number + number, {u"77", 3}},
      {empty + empty, {u"(null)", 0}},
      {String() + String(), {u"(null)", 0}},
  };
  for (const Row& row : rows) EXPECT_EQ(state(row.got), row.want) << "row " << &row - rows;
}

// A null string equals nothing, not even another null string.
TEST(String, EqualityNeedsABufferOnBothSides) {
  String emptyWithBuffer;
  emptyWithBuffer.AllocBuffer(2);
  const String abc(MLIB_T("abc"));
  EXPECT_FALSE(String() == String() || String() == MLIB_T(""));
  EXPECT_TRUE(emptyWithBuffer == MLIB_T(""));
  EXPECT_TRUE(abc == MLIB_T("abc") && abc == String(MLIB_T("abc")));
  EXPECT_FALSE(abc == MLIB_T("abd") || abc == MLIB_T("ab") || abc == MLIB_T("abcd"));
  EXPECT_FALSE(abc == String(MLIB_T("ab")) || abc == String(MLIB_T("abcd")) || abc == kNoText);
}

TEST(String, AnsiTextInCodePage1252) {
  MLIB_USE_ANSI_CODE_PAGE(1252);
  const String fromAnsi("\x80 caf\xE9");  // 0x80 is the euro sign in 1252, 0xE9 e acute
  EXPECT_EQ(state(fromAnsi), State(u"\u20AC caf\u00E9", 7));
  EXPECT_EQ(StringAccess::ansiBuffer(fromAnsi), nullptr);
  EXPECT_EQ(state(String(reinterpret_cast<const unsigned char*>("abc"))), State(u"abc", 4));

  String wide(MLIB_T("h\u00E9llo \u20AC"));
  EXPECT_STREQ(wide.toAnsi(), "h\xE9llo \x80");
  EXPECT_EQ(std::string(wide), "h\xE9llo \x80");
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

TEST(String, DoubleByteAnsiText) {
  MLIB_USE_ANSI_CODE_PAGE(936);
  const char bytes[] = "\xC4\xE3\xBA\xC3";  // U+4F60 U+597D in code page 936
  const String fromAnsi(bytes);
  EXPECT_EQ(state(fromAnsi), State(u"\u4F60\u597D", 5)) << "capacity follows the byte count";
  EXPECT_STREQ(fromAnsi.toAnsi(), bytes);
  EXPECT_EQ(fromAnsi.GetAnsiLength(), 4);
  // Through operator=(const char*) the text lands in an exact-size buffer.
  EXPECT_EQ(state(String(std::string(bytes))), State(u"\u4F60\u597D", 3));
  EXPECT_EQ(state(String(MLIB_T("x")) + bytes), State(u"x\u4F60\u597D", 4));
}

// Text made from narrow bytes and turned back is never cut, UTF-8's three- and four-byte
// characters included.
TEST(String, TextGoesThroughEveryAnsiPageWhole) {
  const int tried = mlib::test::forEachAnsiPageSample([](const mlib::test::AnsiPageSample& sample) {
    const std::string bytes = mlib::test::bytesIn(sample.codePage, sample.text);
    ASSERT_FALSE(bytes.empty());
    const String wide(sample.text);
    EXPECT_STREQ(wide.toAnsi(), bytes.c_str());
    EXPECT_EQ(wide.GetAnsiLength(), static_cast<int>(bytes.size()));
    EXPECT_EQ(std::string(wide), bytes);
    EXPECT_TRUE(String(bytes.c_str()) == sample.text && String(bytes) == sample.text);
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
