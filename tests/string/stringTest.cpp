// String storage, ANSI text, search, substrings, editing, comparison and element access: the
// seeded driver of stringOps.h (model and terminated-copy reads) and the edges it does not reach.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/string.h>
#include <mlib/text.h>

#include <algorithm>
#include <fstream>
#include <new>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "ansiPageSamples.h"
#include "exception/reportText.h"
#include "platform/platform.h"
#include "string/replace.h"
#include "string/search.h"
#include "string/stringOps.h"

namespace {

using mlib::String;
using mlib::WideChar;
using mlib::detail::StringAccess;
using mlib::test::State;
using mlib::test::state;
using mlib::test::units;
using Text = std::basic_string<WideChar>;

const WideChar* const kNoText = nullptr;
Text textOf(const String& s) { return s.IsNull() ? Text() : Text(s.toString()); }
std::string ascii(const Text& t) { return std::string(t.begin(), t.end()); }  // for traces

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
  // Long digit texts without terminator: the reads that convert or copy in pieces.
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

TEST(String, CopyIsExactMoveTakesTheBufferAndOwnTextIsReadFirst) {
  String number(100);  // a number's text sits in a 515-unit buffer
  const char* ansi = number.toAnsi();
  EXPECT_EQ(state(String(number)), State(u"100", 4));
  EXPECT_EQ(StringAccess::ansiBuffer(String(number)), nullptr);
  String moved(std::move(number)), target(MLIB_T("old"));
  EXPECT_EQ(state(moved), State(u"100", 515));
  EXPECT_EQ(StringAccess::ansiBuffer(moved), ansi);
  EXPECT_TRUE(number.IsNull());  // NOLINT(bugprone-use-after-move): moved-from is null
  target = std::move(moved);
  EXPECT_EQ(state(target), State(u"100", 515));
  String reserve;  // short text in a large reserve
  reserve.AllocBuffer(100000);
  reserve += MLIB_T("ab");
  EXPECT_EQ(state(String(reserve)), State(u"ab", 3));
  EXPECT_EQ(state(reserve + reserve), State(u"abab", 5));
  String s(MLIB_T("hello world"));
  s = s.GetBuffer(6);
  EXPECT_EQ(state(s), State(u"world", 12));
  s += s.toString();
  EXPECT_EQ(state(s), State(u"worldworld", 12));
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
  const String fresh(MLIB_T("\u0100bc"));  // without an ANSI buffer, GetAnsiLength makes one
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
    // From the bytes, the capacity follows the byte count (no ANSI buffer kept); through
    // operator=(const char*) the text lands in an exact-size buffer.
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
      for (std::size_t bound : {std::size_t{0}, length / 2, length, length + 1, length + 70}) {
        const std::size_t want = std::min(bound, length);
        ASSERT_EQ(mlib::detail::wideLengthBounded(in, bound), want) << "bound " << bound;
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

TEST(StringSearch, FailureTables) {
  const std::pair<const WideChar*, std::vector<int>> rows[] = {
      {MLIB_T("abab"), {-1, 0, 0, 1}},
      {MLIB_T("a"), {-1}},
      {MLIB_T("abcabd"), {-1, 0, 0, 0, 1, 2}},
      {MLIB_T("aabaaab"), {-1, 0, 1, 0, 1, 2, 2}}};
  for (const auto& [pattern, want] : rows) {
    std::vector<int> table(want.size() + 2, 99);  // two canaries past the end
    StringAccess::nextArray(pattern, table.data());
    EXPECT_EQ(std::vector<int>(table.begin(), table.end() - 2), want);
    EXPECT_EQ(table[want.size()] + table[want.size() + 1], 198);
  }
  int untouched = 99;
  StringAccess::nextArray(MLIB_T(""), &untouched);
  StringAccess::nextArray(nullptr, &untouched);
  StringAccess::nextArray(MLIB_T("ab"), nullptr);
  EXPECT_EQ(untouched, 99);
}

// The block scan and its portable form against a loop, over zeros inside and units after
// them, as a buffer holds past its terminator.
TEST(StringSearch, CandidateScansAgree) {
  std::mt19937 rng(99);
  for (int round = 0; round < 3000; ++round) {
    std::vector<WideChar> text(1 + rng() % 80);
    for (WideChar& u : text) u = rng() % 23 == 0 ? WideChar(0) : WideChar(0x7FFE + rng() % 4);
    const std::size_t limit = rng() % (text.size() + 1), from = rng() % (limit + 1);
    const auto first = WideChar(0x7FFE + rng() % 4), last = WideChar(0x7FFE + rng() % 4);
    const std::size_t offset = rng() % 12;
    std::size_t want = from;
    while (want < limit && text[want] != 0 &&
           !(text[want] == first && want + offset < limit && text[want + offset] == last)) {
      ++want;
    }
    SCOPED_TRACE(round);
    EXPECT_EQ(mlib::detail::nextCandidate(text.data(), limit, from, first, last, offset), want);
    EXPECT_EQ(mlib::detail::nextCandidatePortable(text.data(), limit, from, first, last, offset),
              want);
  }
}

// The edges the random texts do not reach: null and empty strings and patterns, zero.
TEST(StringSearch, NullAndEmptyOperands) {
  const String text(MLIB_T("abcabc")), null, aaaa(MLIB_T("aaaa"));
  String empty;
  empty.AllocBuffer(2);
  EXPECT_EQ(text.Find(MLIB_T("ca")), text.GetBuffer(2));
  EXPECT_EQ(text.Find(MLIB_T("")), text.GetBuffer(0));
  EXPECT_EQ(text.Find(kNoText), nullptr);
  EXPECT_EQ(text.Find(WideChar(0)) + text.FindLast(WideChar(0)), -2);  // not text
  EXPECT_EQ(null.Find(MLIB_T('a')) + null.FindLast(MLIB_T('a')), -2);
  EXPECT_EQ(text.IndexOf(MLIB_T('c')), 2);
  // The empty pattern's last occurrence is the end of the text; empty text has none.
  EXPECT_EQ(text.IndexOfLast(MLIB_T("")), 6);
  EXPECT_EQ(empty.FindLast(MLIB_T("")), nullptr);
  EXPECT_EQ(empty.IndexOf(MLIB_T("")), 0);
  EXPECT_EQ(null.IndexOf(MLIB_T("")), -1);
  EXPECT_EQ(aaaa.IndexOfSubString(MLIB_T("aa"), -7), 0);  // below 1: the first
  EXPECT_EQ(aaaa.IndexOfSubString(MLIB_T("aa"), 0x7FFFFFFF), -1);
  // No text, empty text and a buffer without text count nothing and number nothing.
  EXPECT_EQ(aaaa.GetCountOfSubString(kNoText) + null.GetCountOfSubString(MLIB_T("a")), 0);
  EXPECT_EQ(aaaa.GetCountOfSubString(MLIB_T("")) + aaaa.GetCountOfSubString(null), 0);
  EXPECT_EQ(aaaa.IndexOfSubString(MLIB_T(""), 1) + null.IndexOfSubString(MLIB_T("a"), 0), -2);
  EXPECT_EQ(aaaa.GetCountOfSubString(empty), 0);
  EXPECT_EQ(aaaa.IndexOfSubString(empty, 5), 0);  // numbers 0 in non-empty text
  EXPECT_EQ(empty.IndexOfSubString(empty, 1), -1);
}

TEST(StringSearch, Substrings) {
  const String abc(MLIB_T("abc")), hello(MLIB_T("hello")), fields(MLIB_T("a,b,c,d")), null;
  const WideChar* const comma = MLIB_T(",");
  const State none(u"(null)", 0);
  const struct Row {
    String got;
    State want;
  } rows[] = {
      {abc.Left(0), {u"", 1}},
      {abc.Left(10), {u"abc", 4}},
      {abc.Right(2), {u"bc", 3}},
      {abc.Right(0), none},
      {null.Left(3), none},
      {null.Right(3), none},
      {hello.GetSubString(1, 2), {u"el", 3}},
      {hello.GetSubString(-3, 1), {u"he", 3}},
      {hello.GetSubString(2, 100), {u"llo", 4}},
      {hello.GetSubString(3, 1), none},
      {hello.GetSubString(-5, -2), {u"hello", 6}},
      {hello.GetSubString(4, 4), {u"o", 2}},
      {hello.GetSubString(5, 9), none},
      {hello.GetSubString(0, -1), none},
      {null.GetSubString(0, 3), none},
      {fields.GetSubStringBySplit(comma, 1, 1), {u"b", 2}},
      {fields.GetSubStringBySplit(comma, 0, 0), {u"a", 2}},
      {fields.GetSubStringBySplit(comma, 3, 3), {u"d", 2}},
      {fields.GetSubStringBySplit(comma, 0, 2), {u"b,c", 4}},
      {fields.GetSubStringBySplit(comma, 1, 2), {u"c", 2}},
      {fields.GetSubStringBySplit(comma, 2, 1), none},
      {fields.GetSubStringBySplit(comma, -4, 0), {u"a", 2}},
      {fields.GetSubStringBySplit(comma, 1, 9), {u"c,d", 4}},
      {fields.GetSubStringBySplit(nullptr, 0, 2), {u"a,b,c,d", 8}},
      {fields.GetSubStringBySplit(nullptr, 1, 1), {u"a,b,c,d", 8}},
      {fields.GetSubStringBySplit(MLIB_T(";"), 0, 0), {u"a,b,c,d", 8}},
      {fields.GetSubStringBySplit(MLIB_T(",c,"), 1, 1), {u"d", 2}},
  };
  for (const Row& r : rows) EXPECT_EQ(state(r.got), r.want) << "row " << &r - rows;
}

// The edit's whole buffer, then that of the same edit on a null string.
std::u16string edited(const WideChar* in, void (String::*edit)(), unsigned room = 0) {
  String s(in), null;
  if (room != 0) *s.AllocBuffer(room) = MLIB_T('y');
  (s.*edit)();
  (null.*edit)();
  return units(s) + u"|" + units(null);
}

// The buffer stays and is cleared behind the text; line breaks are assigned back: an exact
// buffer unless the old one has room.
TEST(StringEdit, InPlaceEditsAndLineBreaks) {
  using namespace std::string_literals;
  const std::pair<std::u16string, std::u16string> rows[] = {
      {edited(MLIB_T("  ab"), &String::TrimLeft), u"ab\0\0\0|"s},
      {edited(MLIB_T("ab  "), &String::TrimRight), u"ab\0\0\0|"s},
      {edited(MLIB_T("   "), &String::Trim), u"\0\0\0\0|"s},
      {edited(MLIB_T(" \tab\r\n "), &String::Trim), u"\tab\r\n\0\0\0|"s},         // spaces only
      {edited(MLIB_T("aZ9\u00e9@`{"), &String::MakeUpper), u"AZ9\u00e9@`{\0|"s},  // ASCII only
      {edited(MLIB_T("Az9\u00c9@`["), &String::MakeLower), u"az9\u00c9@`[\0|"s},
      {edited(MLIB_T("abc"), &String::Reverse), u"cba\0|"s},
      {edited(MLIB_T("x"), &String::AppendNewLineAtFront), u"\r\nx\0|\r\n\0"s},
      {edited(MLIB_T("x"), &String::AppendNewLineAtBack), u"x\r\n\0|\r\n\0"s},
      {edited(nullptr, &String::AppendNewLineAtFront, 9), u"\r\ny\0\0\0\0\0\0\0|\r\n\0"s},
  };
  for (const auto& r : rows) EXPECT_EQ(r.first, r.second) << "row " << &r - rows;
}

// ReplaceFirst (first) or Replace on a string made from `in` with an ANSI buffer. Anything
// replaced: `want` in a buffer of exactly its length + 1, no ANSI buffer. Otherwise nothing
// changed, buffers included.
void replaceAndCheck(bool first, const Text& in, const WideChar* old, const WideChar* with,
                     const Text& want, bool replaced) {
  String s(in.c_str());
  (void)s.toAnsi();
  const WideChar* before = s.toString();
  if (first) {
    EXPECT_EQ(s.ReplaceFirst(old, with), replaced);
  } else {
    s.Replace(old, with);
  }
  EXPECT_EQ(textOf(s), want);
  EXPECT_EQ(StringAccess::capacity(s), (replaced ? want : in).size() + 1);
  EXPECT_EQ(StringAccess::ansiBuffer(s) == nullptr, replaced);
  EXPECT_TRUE(replaced || s.toString() == before);
}

TEST(StringEdit, ReplaceFirstAndReplaceGiveTheLiteralResult) {
  const Text body(2000, MLIB_T('y')), page = MLIB_T("<p>") + body + MLIB_T("</p>");
  const Text x1057(1057, MLIB_T('x')), a11(11, MLIB_T('a')), a10bba = Text(10, 'a') + MLIB_T("bba");
  const Text a52b52 = Text(52, 'a') + Text(52, 'b');
  const Text a51bab51 = Text(51, 'a') + MLIB_T("ba") + Text(51, 'b');
  struct Row {
    Text in;
    const WideChar *old, *with, *first;  // first: ReplaceFirst's text, null when it fails
    Text all;                            // Replace's text
  } const rows[] = {
      {MLIB_T("abcb"), MLIB_T("b"), MLIB_T("xyz"), MLIB_T("axyzcb"), MLIB_T("axyzcxyz")},
      {MLIB_T("aaabb"), MLIB_T("ab"), MLIB_T(""), MLIB_T("aab"), MLIB_T("a")},  // made by a pass
      {MLIB_T("abcb"), MLIB_T("q"), MLIB_T("r"), nullptr, MLIB_T("abcb")},
      {MLIB_T("abc"), nullptr, MLIB_T("x"), nullptr, MLIB_T("abc")},
      {MLIB_T("abc"), MLIB_T("a"), nullptr, nullptr, MLIB_T("abc")},
      // Refused by Replace: these would never end.
      {MLIB_T("abc"), MLIB_T(""), MLIB_T("x"), MLIB_T("xabc"), MLIB_T("abc")},
      {MLIB_T("abc"), MLIB_T("b"), MLIB_T("abc"), MLIB_T("aabcc"), MLIB_T("abc")},
      {MLIB_T("xA%%y"), MLIB_T("A%"), MLIB_T("%%AA"), MLIB_T("x%%AA%y"), MLIB_T("xA%%y")},
      // Long results and many passes (2047 and 2704).
      {MLIB_T("ab"), MLIB_T("ab"), x1057.c_str(), x1057.c_str(), x1057},
      {MLIB_T("<p>%BODY%</p>"), MLIB_T("%BODY%"), body.c_str(), page.c_str(), page},
      {a11 + MLIB_T("b"), MLIB_T("ab"), MLIB_T("bba"), a10bba.c_str(), Text(2048, 'b') + a11},
      {a52b52, MLIB_T("ab"), MLIB_T("ba"), a51bab51.c_str(), Text(52, 'b') + Text(52, 'a')},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(ascii(r.in.substr(0, 20)) + " / " + (r.old ? ascii(r.old) : "null"));
    replaceAndCheck(true, r.in, r.old, r.with, r.first ? r.first : r.in, r.first != nullptr);
    replaceAndCheck(false, r.in, r.old, r.with, r.all, r.all != r.in);
  }
  String null, s(MLIB_T("abcb"));
  EXPECT_FALSE(null.ReplaceFirst(MLIB_T(""), MLIB_T("r")));
  null.Replace(MLIB_T("a"), MLIB_T("b"));
  EXPECT_TRUE(null.IsNull());
  EXPECT_TRUE(s.ReplaceFirst(MLIB_T("cb"), s.GetBuffer(1)));  // new text from its own buffer
  EXPECT_EQ(textOf(s), MLIB_T("abbcb"));
  // 2^18 + 2 units, so 64 x length (2^24 + 128) is the limit: 131,073 passes of «ab» -> 128
  // units end exactly there; 129 units would pass it, and the string stays as it was.
  Text text;
  for (int i = 0; i < (1 << 17) + 1; ++i) text += MLIB_T("ab");
  const Text c128(128, MLIB_T('c')), c129(129, MLIB_T('c'));
  replaceAndCheck(false, text, MLIB_T("ab"), c128.c_str(), Text(64 * text.size(), 'c'), true);
  replaceAndCheck(false, text, MLIB_T("ab"), c129.c_str(), text, false);
}

// ReplaceFirst's edit again and again from the start, as written; false once a pass goes
// past maxPasses or leaves more than maxUnits units.
bool literalLoop(Text& text, const Text& old, const Text& with, unsigned long long maxPasses,
                 std::size_t maxUnits, unsigned long long& passes) {
  for (std::size_t at; (at = text.find(old)) != Text::npos;) {
    text.replace(at, old.size(), with);
    if (++passes > maxPasses || text.size() > maxUnits) return false;
  }
  return true;
}

// Small random cases against the literal loop: Replace where the loop ends soon, and its
// engine with small limits, so that every way past them is met (too many passes, a text
// growing too long or too long from the start) next to runs that end just within them.
TEST(StringEdit, ReplaceAgreesWithTheLiteralLoop) {
  std::mt19937 rng(424242);
  const auto randomText = [&](std::size_t least, std::size_t most) {
    Text t(least + rng() % (most - least + 1), WideChar(0));
    for (WideChar& u : t) u = static_cast<WideChar>(MLIB_T('a') + rng() % 3);
    return t;
  };
  int compared = 0, refused = 0;
  for (int round = 0; round < 20000; ++round) {
    const Text text = randomText(0, 12), old = randomText(1, 3), with = randomText(0, 4);
    SCOPED_TRACE(ascii(text) + " / " + ascii(old) + " / " + ascii(with));
    Text want = text;
    unsigned long long passes = 0;
    if (!text.empty() && with.find(old) == Text::npos &&
        literalLoop(want, old, with, 1 << 12, 1 << 12, passes)) {
      replaceAndCheck(false, text, old.c_str(), with.c_str(), want, passes > 0);
      ++compared;
    }
    const mlib::detail::ReplaceLimits limits{rng() % 40, rng() % 40};
    want = text;
    passes = 0;
    const bool ends = literalLoop(want, old, with, limits.passes, limits.units, passes);
    refused += ends ? 0 : 1;
    WideChar* got = mlib::detail::replaceRepeatedly(text.c_str(), text.size(), old.c_str(),
                                                    old.size(), with.c_str(), with.size(), limits);
    ASSERT_EQ(got != nullptr, ends);
    if (got == nullptr) continue;
    EXPECT_EQ(Text(got), want);
    EXPECT_EQ(mlib::detail::wideCapacity(got), want.size() + 1);
    mlib::detail::freeWide(got);
  }
  EXPECT_GT(compared, 12000);
  EXPECT_GT(refused, 2000);
}

TEST(StringEdit, CompareOrdersByLengthFirst) {
  struct Row {
    const WideChar *a, *b;
    int exact, noCase;
  } const rows[] = {
      {MLIB_T("b"), MLIB_T("aa"), -1, -1},    {MLIB_T("ab"), MLIB_T("b"), 1, 1},
      {MLIB_T("abc"), MLIB_T("abd"), -1, -1}, {MLIB_T("a"), MLIB_T("a"), 0, 0},
      {MLIB_T("ABC"), MLIB_T("abc"), -1, 0},  {MLIB_T("a\uffff"), MLIB_T("a\u0001"), 1, 1},
      {MLIB_T("@0"), MLIB_T("`P"), -1, 0},    {nullptr, MLIB_T("a"), -1, -1},
      {MLIB_T("a"), nullptr, -1, -1},         {nullptr, nullptr, -1, -1}};
  for (const Row& r : rows) {
    SCOPED_TRACE(&r - rows);
    const String a(r.a);
    EXPECT_EQ(a.Compare(r.b) * 10 + a.CompareNoCase(r.b), r.exact * 10 + r.noCase);
    EXPECT_EQ(a.Compare(String(r.b)) * 10 + a.CompareNoCase(String(r.b)), r.exact * 10 + r.noCase);
  }
  String empty;
  empty.AllocBuffer(1);
  EXPECT_EQ(empty.Compare(MLIB_T("")), 0);
  // CompareCharNoCase: equal or 32 apart, for any two values, wide (no wrap) and signed narrow
  // (-100 and -68 are 32 apart, as are -1 and 31; -128 is below 'a').
  const int wide[][3] = {{'a', 'A', 0}, {'@', '`', 0},       {'0', 'P', 0},      {'a', 'b', -1},
                         {'b', 'A', 1}, {0xFFE0, 0xFFC0, 0}, {0x10, 0xFFF0, -1}, {0xFFFF, 0x1F, 1}},
            narrow[][3] = {
                {'x', 'X', 0}, {-100, -68, 0}, {-1, 31, 0}, {-128, 'a', -1}, {'a', -128, 1}};
  for (const auto& r : wide)
    EXPECT_EQ(String::CompareCharNoCase(WideChar(r[0]), WideChar(r[1])), r[2]) << r[0];
  for (const auto& r : narrow)
    EXPECT_EQ(String::CompareCharNoCase(char(r[0]), char(r[1])), r[2]) << r[0];
}

TEST(StringEdit, StartWithAndEndWith) {
  struct Row {
    const WideChar *text, *affix;
    bool noCase, starts, ends;
  } const rows[] = {
      {MLIB_T("Hello"), MLIB_T("hE"), true, true, false},
      {MLIB_T("Hello"), MLIB_T("hE"), false, false, false},
      {MLIB_T("Hello"), MLIB_T("LLO"), true, false, true},
      {MLIB_T("Hello"), MLIB_T("LLO"), false, false, false},
      {MLIB_T("Hello"), MLIB_T("Hello!"), true, false, false},
      {MLIB_T("Hello"), MLIB_T(""), false, true, true},
      {MLIB_T("@x"), MLIB_T("`X"), true, true, false},  // StartWith's 32 rule, not letters
      {MLIB_T("x\u0391\u03a3"), MLIB_T("\u03b1\u03c3"), true, false, true},  // Greek too
      {nullptr, MLIB_T(""), false, true, false},  // a null string's tail is no text
      {MLIB_T("Hello"), nullptr, true, false, false}};
  for (const Row& r : rows) {
    SCOPED_TRACE(&r - rows);
    EXPECT_EQ(String(r.text).StartWith(r.affix, r.noCase), r.starts);
    EXPECT_EQ(String(r.text).EndWith(r.affix, r.noCase), r.ends);
  }
}

// Two foldings it must not make, then every line of the Unicode folding data where it exists.
TEST(StringEdit, EndWithFoldsCaseByUnicode) {
  if (!mlib::platform::foldsBySimpleCaseFolding()) GTEST_SKIP() << "the locale decides here";
  EXPECT_FALSE(String(MLIB_T("\u0130")).EndWith(MLIB_T("i"), true));  // Turkic only
  EXPECT_FALSE(String(MLIB_T("\u00e9")).EndWith(MLIB_T("e"), true));
  std::ifstream data("/usr/share/unicode/CaseFolding.txt");
  if (!data) GTEST_SKIP() << "no Unicode case folding data (package unicode-data)";
  const auto utf16 = [](unsigned long cp) {  // one code point
    if (cp < 0x10000) return Text(1, static_cast<WideChar>(cp));
    return Text{static_cast<WideChar>(0xD800 + ((cp - 0x10000) >> 10)),
                static_cast<WideChar>(0xDC00 + (cp & 0x3FF))};
  };
  int checked = 0;
  for (std::string line; std::getline(data, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string code, status, mapping;  // "0041; C; 0061; # ..."
    std::getline(fields, code, ';');
    fields >> status >> mapping;
    const Text from = utf16(std::stoul(code, nullptr, 16)),
               to = utf16(std::stoul(mapping, nullptr, 16));
    const bool folds = status == "C;" || status == "S;";
    SCOPED_TRACE(line);
    if (!folds && status != "T;") continue;
    EXPECT_EQ(String(from.c_str()).EndWith(to.c_str(), true), folds);
    EXPECT_TRUE(!folds || String(to.c_str()).EndWith(from.c_str(), true));
    checked += folds;
  }
  EXPECT_GT(checked, 1400);
}

TEST(StringEdit, ElementAccessIsBoundedByTheCapacity) {
  String s(MLIB_T("abc")), null;  // capacity 4
  EXPECT_EQ(s[3u], 0);            // the terminator's slot
  s[1u] = MLIB_T('X');
  try {
    (void)s[4u];
    ADD_FAILURE() << "index 4 of a capacity of 4 did not throw";
  } catch (mlib::MxBaseException& e) {
    EXPECT_EQ(mlib::testing::ascii(mlib::MxException::PrintToString(&e)),
              mlib::testing::framed("mlib exception: { Code: -4; Level: Fatal; Description: Call "
                                    "Stack: String::[]; Location: \"if(uIndex>=getSize())\" }"));
  }
  EXPECT_THROW((void)null[0u], mlib::MxBaseException);
  EXPECT_EQ(s.GetAt(2), MLIB_T('c'));
  EXPECT_EQ(s.GetAt(3) + s.GetAt(-1) + null.GetAt(0), 0);  // the last slot is out of reach
  s.SetAt(3, MLIB_T('!'));
  s.SetAt(-1, MLIB_T('!'));
  s.SetAt(0, MLIB_T('Z'));
  null.SetAt(0, MLIB_T('x'));
  EXPECT_EQ(textOf(s), MLIB_T("ZXc"));
  EXPECT_EQ(*s.GetBuffer(3), 0);
  EXPECT_TRUE(null.IsNull());
}

}  // namespace
