// String storage, ANSI text, search, substrings, edits, comparison, element access, Format,
// number, radix, hexadecimal and UTF-8 text: the seeded driver of stringOps.h and its edges.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/text.h>

#include <climits>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <new>
#include <random>
#include <tuple>
#include <vector>

#include "ansiPageSamples.h"
#include "byteContent.h"
#include "exception/reportText.h"
#include "platform/platform.h"
#include "string/replace.h"
#include "string/search.h"
#include "string/stringOps.h"
#include "text/ansiCodePageScope.h"

namespace {

using namespace mlib;
using namespace mlib::test;
using detail::StringAccess;
using Text = std::basic_string<WideChar>;

using Made = std::tuple<String, std::u16string, unsigned>;  // made, its text and capacity
template <std::size_t N>
void expectMade(const Made (&rows)[N]) {
  for (std::size_t i = 0; i < N; ++i) {
    const auto& [got, text, capacity] = rows[i];
    EXPECT_EQ(state(got), State(text, capacity)) << "row " << i;
  }
}

Text textOf(const String& s) { return s.IsNull() ? Text() : Text(s.toString()); }
std::string traced(const Text& t) { return std::string(t.begin(), t.end()); }
std::string traced(const WideChar* t) { return t == nullptr ? "null" : traced(Text(t)); }

TEST(String, NullAndEmptyTextsMakeNullStrings) {
  const String made[] = {String(),   String(MLIB_T("")), String(kNoText),
                         String(""), String(kNoAnsi),    String(std::string())};
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
    ASSERT_EQ(runStringScript([&] { return static_cast<unsigned>(rng()); }, 16), "")
        << "seed " << seed;
  }
  // Long digit texts without terminator: the reads that convert or copy in pieces.
  for (const std::size_t n : {1000u, 5000u}) {
    std::u16string text(n, u'0');
    for (std::size_t i = 0; i < n; ++i) text[i] = static_cast<char16_t>(u'0' + i % 10);
    dirtyTheHeap(n + 1);
    String full(wide(text)), same(wide(text + u'9'));
    full[static_cast<unsigned>(n)] = MLIB_T('9');
    const String p(MLIB_T("45"));
    EXPECT_EQ(readings(full, p, 2, 3), readings(same, p, 2, 3)) << n;
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
  String s(MLIB_T("h\u00E9llo \u20AC"));
  EXPECT_STREQ(static_cast<char*>(s), "h\xE9llo \x80");
  s = MLIB_T("hi");  // buffer reused: the ANSI text still describes the older text
  EXPECT_EQ(s.GetAnsiLength(), 7);
  EXPECT_STREQ(s.toAnsi(), "hi");
  EXPECT_EQ(s.GetAnsiLength(), 2);
  const String fresh(MLIB_T("\u0100bc"));  // without an ANSI buffer, GetAnsiLength makes one
  EXPECT_EQ(fresh.GetAnsiLength(), 3);
  EXPECT_STREQ(StringAccess::ansiBuffer(fresh), "Abc") << "best-fit look-alike of U+0100";
}

// Text made from narrow bytes and turned back is never cut, double-byte pages and UTF-8's
// three- and four-byte characters included.
TEST(String, TextGoesThroughEveryAnsiPageWhole) {
  const int tried = forEachAnsiPageSample([](const AnsiPageSample& sample) {
    const std::string bytes = bytesIn(sample.codePage, sample.text);
    ASSERT_FALSE(bytes.empty());
    const String s(sample.text);
    EXPECT_STREQ(s.toAnsi(), bytes.c_str());
    EXPECT_EQ(s.GetAnsiLength(), static_cast<int>(bytes.size()));
    EXPECT_EQ(std::string(s), bytes);
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
  std::vector<WideChar> source(400);
  for (std::size_t offset = 0; offset < 40; ++offset) {
    for (std::size_t length = 0; length < 300; length += (length < 80 ? 1 : 37)) {
      std::fill(source.begin(), source.end(), WideChar(0x5A5A));
      for (std::size_t i = 0; i < length; ++i) source[offset + i] = WideChar('a' + i % 26);
      source[offset + length] = 0;
      const WideChar* in = source.data() + offset;
      ASSERT_EQ(detail::wideLength(in), length) << "offset " << offset;
      for (std::size_t bound : {std::size_t{0}, length / 2, length, length + 1, length + 70}) {
        SCOPED_TRACE(::testing::Message()
                     << "offset " << offset << " length " << length << " bound " << bound);
        const std::size_t want = std::min(bound, length);
        ASSERT_EQ(detail::wideLengthBounded(in, bound), want);
        for (const auto copy : {&detail::copyWideText, &detail::copyWideTextWithin}) {
          std::vector<WideChar> target(400, 0x7777), expected = target;  // nothing past the copy
          std::copy(in, in + (bound <= length ? bound : length + 1), expected.begin());
          ASSERT_EQ(copy(target.data(), in, bound), want);
          ASSERT_EQ(target, expected);
        }
      }
    }
  }
  EXPECT_EQ(detail::wideLength(nullptr), 0u);
}

TEST(StringSearch, FailureTables) {
  const std::pair<const WideChar*, std::vector<int>> rows[] = {
      {MLIB_T("abab"), {-1, 0, 0, 1, 99, 99}},  // two canaries past the end stay
      {MLIB_T("a"), {-1, 99, 99}},
      {MLIB_T("abcabd"), {-1, 0, 0, 0, 1, 2, 99, 99}},
      {MLIB_T("aabaaab"), {-1, 0, 1, 0, 1, 2, 2, 99, 99}}};
  for (const auto& [pattern, want] : rows) {
    std::vector<int> table(want.size(), 99);
    StringAccess::nextArray(pattern, table.data());
    EXPECT_EQ(table, want) << traced(pattern);
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
    EXPECT_EQ(detail::nextCandidate(text.data(), limit, from, first, last, offset), want);
    EXPECT_EQ(detail::nextCandidatePortable(text.data(), limit, from, first, last, offset), want);
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
  const auto sub = [&](int from, int to) { return hello.GetSubString(from, to); };
  const WideChar *const comma = MLIB_T(","), *const semicolon = MLIB_T(";");
  const auto split = [&](const WideChar* by, int from, int to) {
    return fields.GetSubStringBySplit(by, from, to);
  };
  const Made rows[] = {
      {abc.Left(0), u"", 1},        {abc.Left(10), u"abc", 4},    {abc.Right(2), u"bc", 3},
      {abc.Right(0), u"(null)", 0}, {null.Left(3), u"(null)", 0}, {null.Right(3), u"(null)", 0},
      {sub(1, 2), u"el", 3},        {sub(-3, 1), u"he", 3},       {sub(2, 100), u"llo", 4},
      {sub(3, 1), u"(null)", 0},    {sub(-5, -2), u"hello", 6},   {sub(4, 4), u"o", 2},
      {sub(5, 9), u"(null)", 0},    {sub(0, -1), u"(null)", 0}};
  const Made splits[] = {
      {null.GetSubString(0, 3), u"(null)", 0}, {split(comma, 1, 1), u"b", 2},
      {split(comma, 0, 0), u"a", 2},           {split(comma, 3, 3), u"d", 2},
      {split(comma, 0, 2), u"b,c", 4},         {split(comma, 1, 2), u"c", 2},
      {split(comma, 2, 1), u"(null)", 0},      {split(comma, -4, 0), u"a", 2},
      {split(comma, 1, 9), u"c,d", 4},         {split(nullptr, 0, 2), u"a,b,c,d", 8},
      {split(nullptr, 1, 1), u"a,b,c,d", 8},   {split(semicolon, 0, 0), u"a,b,c,d", 8},
      {split(MLIB_T(",c,"), 1, 1), u"d", 2}};
  expectMade(rows);
  expectMade(splits);
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
  if (!first) s.Replace(old, with);
  EXPECT_TRUE(!first || s.ReplaceFirst(old, with) == replaced);
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
    SCOPED_TRACE(traced(r.in.substr(0, 20)) + " / " + traced(r.old));
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
                 std::size_t maxUnits) {
  unsigned long long passes = 0;
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
    SCOPED_TRACE(traced(text) + " / " + traced(old) + " / " + traced(with));
    Text want = text;
    if (!text.empty() && with.find(old) == Text::npos &&
        literalLoop(want, old, with, 1 << 12, 1 << 12)) {
      replaceAndCheck(false, text, old.c_str(), with.c_str(), want, want != text);
      ++compared;
    }
    const detail::ReplaceLimits limits{rng() % 40, rng() % 40};
    want = text;
    const bool ends = literalLoop(want, old, with, limits.passes, limits.units);
    refused += ends ? 0 : 1;
    WideChar* got = detail::replaceRepeatedly(text.c_str(), text.size(), old.c_str(), old.size(),
                                              with.c_str(), with.size(), limits);
    ASSERT_EQ(got != nullptr, ends);
    if (got == nullptr) continue;
    EXPECT_EQ(Text(got), want);
    EXPECT_EQ(detail::wideCapacity(got), want.size() + 1);
    detail::freeWide(got);
  }
  EXPECT_GT(compared, 12000);
  EXPECT_GT(refused, 2000);
}

TEST(StringEdit, CompareOrdersByLengthFirst) {
  const std::tuple<const WideChar*, const WideChar*, int, int> rows[] = {
      // a, b, exact, no case
      {MLIB_T("b"), MLIB_T("aa"), -1, -1},    {MLIB_T("ab"), MLIB_T("b"), 1, 1},
      {MLIB_T("abc"), MLIB_T("abd"), -1, -1}, {MLIB_T("a"), MLIB_T("a"), 0, 0},
      {MLIB_T("ABC"), MLIB_T("abc"), -1, 0},  {MLIB_T("a\uffff"), MLIB_T("a\u0001"), 1, 1},
      {MLIB_T("@0"), MLIB_T("`P"), -1, 0},    {nullptr, MLIB_T("a"), -1, -1},
      {MLIB_T("a"), nullptr, -1, -1},         {nullptr, nullptr, -1, -1}};
  for (const auto& [left, b, exact, noCase] : rows) {
    SCOPED_TRACE(traced(left) + " / " + traced(b));
    const String a(left);
    EXPECT_EQ(a.Compare(b) * 10 + a.CompareNoCase(b), exact * 10 + noCase);
    EXPECT_EQ(a.Compare(String(b)) * 10 + a.CompareNoCase(String(b)), exact * 10 + noCase);
  }
  String empty;
  empty.AllocBuffer(1);
  EXPECT_EQ(empty.Compare(MLIB_T("")), 0);
  // CompareCharNoCase: equal or 32 apart, for any two values, wide (no wrap) and signed narrow
  // (-100 and -68 are 32 apart, as are -1 and 31; -128 is below 'a').
  const int wideRows[][3] = {{'a', 'A', 0},      {'@', '`', 0},    {'0', 'P', 0},
                             {'a', 'b', -1},     {'b', 'A', 1},    {0xFFE0, 0xFFC0, 0},
                             {0x10, 0xFFF0, -1}, {0xFFFF, 0x1F, 1}},
            narrowRows[][3] = {
                {'x', 'X', 0}, {-100, -68, 0}, {-1, 31, 0}, {-128, 'a', -1}, {'a', -128, 1}};
  for (const auto& r : wideRows)
    EXPECT_EQ(String::CompareCharNoCase(WideChar(r[0]), WideChar(r[1])), r[2]) << r[0];
  for (const auto& r : narrowRows)
    EXPECT_EQ(String::CompareCharNoCase(char(r[0]), char(r[1])), r[2]) << r[0];
}

TEST(StringEdit, StartWithAndEndWith) {
  const std::tuple<const WideChar*, const WideChar*, bool, bool, bool> rows[] = {
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
  for (const auto& [text, affix, noCase, starts, ends] : rows) {  // starts, ends: the answers
    SCOPED_TRACE(traced(text) + " / " + traced(affix) + (noCase ? " (no case)" : ""));
    EXPECT_EQ(String(text).StartWith(affix, noCase), starts);
    EXPECT_EQ(String(text).EndWith(affix, noCase), ends);
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
    unsigned long code = 0, mapping = 0;  // "0041; C; 0061; # ..."
    char status = 0;
    if (std::sscanf(line.c_str(), "%lx; %c; %lx;", &code, &status, &mapping) != 3) continue;
    const bool folds = status == 'C' || status == 'S';
    if (!folds && status != 'T') continue;
    SCOPED_TRACE(line);
    const Text from = utf16(code), to = utf16(mapping);
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

template <typename... Args>
String formatted(const WideChar* format, Args... args) {
  String s;
  s.Format(format, args...);
  return s;
}

int floatBits(float value) {
  int bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

TEST(Format, Conversions) {
  const std::pair<String, std::u16string> rows[] = {
      {formatted(MLIB_T("%d items"), 42), u"42 items"},
      {formatted(MLIB_T("%d|%d|%d"), -7, INT_MIN, INT_MAX), u"-7|-2147483648|2147483647"},
      {formatted(MLIB_T("%u"), -1), u"4294967295"},
      {formatted(MLIB_T("%x|%X|%x|%X"), 0x1234, 0xAB, 5, 0x100), u"34|AB|5|0"},  // low byte
      {formatted(MLIB_T("%f|%f|%f"), 0.5, -1.25, 2.0 / 3.0), u"0.500000|-1.250000|0.666667"},
      {formatted(MLIB_T("%f"), 1e20), u"100000000000000000000.000000"},
      {formatted(MLIB_T("%f"), 1e60),  // longer than any fixed piece buffer
       u"999999999999999949387135297074018866963645011013410073083904.000000"},
      {formatted(MLIB_T("%t|%t"), floatBits(1.5f), floatBits(-0.1f)), u"1.500000|-0.100000"},
      {formatted(MLIB_T("%c%c|%c"), 'A', 0x142, 0xE9), u"AB|\uFFE9"},  // high byte sign-extended
      {formatted(MLIB_T("%s|%s[%s]"), MLIB_T("text"), kNoText, MLIB_T("")), u"text|[]"},
      {formatted(MLIB_T("%5d|%%d|%q%d|50%"), 3, 1), u"%5d|%3|%q1|50%"},  // copied as they are
      {formatted(MLIB_T("%d %s %f %u"), 1, MLIB_T("x"), 0.25, 2u), u"1 x 0.250000 2"},
  };
  for (const auto& r : rows) EXPECT_EQ(shown(r.first), r.second) << "row " << &r - rows;
}

String sized(unsigned capacity) {  // no text in a buffer of capacity + 1 units
  String s;
  s.AllocBuffer(capacity);
  return s;
}
template <typename Edit>
String after(String s, Edit edit) {
  edit(s);
  return s;
}

// Text and capacity: Format's buffer rule (need = pieces + 512; a capacity above it is kept)
// and its growth, numbers in a 515-unit buffer (floats exact), decimals cut, not rounded.
TEST(Format, BufferRuleGrowthAndNumberText) {
  const std::u16string y600(600, u'y'), x517(517, u'x'), a2000(2000, u'a'), b3000(3000, u'b');
  const Made rows[] = {
      {formatted(MLIB_T("")), u"", 513},
      {after(String(MLIB_T("keep")), [](String& s) { s.Format(nullptr, 1); }), u"keep", 5},
      {after(sized(599), [](String& s) { s.Format(MLIB_T("%d"), 12); }), u"12", 600},
      {after(sized(513), [](String& s) { s.Format(MLIB_T("%d"), 12); }), u"12", 515},
      // need = 4 + 512; 2000 > 516 gives 2000 + 1032; then 3000 > 3032 - 2000 gives 3000 + 6064.
      {formatted(MLIB_T("%s%s"), wide(a2000), wide(b3000)), a2000 + b3000, 9065},
      {String(-42), u"-42", 515},
      {String(4294967295u), u"4294967295", 515},
      {String((1LL << 32) + 5), u"4294967301", 515},
      {String(LLONG_MIN), u"-9223372036854775808", 515},
      {String(ULLONG_MAX), u"18446744073709551615", 515},
      {String(3.14159, 2), u"3.14", 515},
      {String(3.14159, -1), u"3.141590", 515},  // negative places keep six
      {String(-2.5, 3), u"-2.500", 515},
      {String(1.999, 2), u"1.99", 515},
      {String(5.0, 0), u"5", 515},
      {String(1.5, 9), u"1.500000", 515},
      {String(1.5f, 1), u"1.5", 4},
      {String(0.25f, -1), u"0.250000", 9},
      {after(String(MLIB_T("ab")), [](String& s) { s = 12; }), u"12", 515},
      {after(String(MLIB_T("ab")), [](String& s) { s = 0.125; }), u"0.125000", 515},
      {after(String(MLIB_T("ab")), [](String& s) { s = 4000000000u; }), u"4000000000", 515},
      {after(sized(1000), [](String& s) { s = -3; }), u"-3", 1001},
      {after(String(1), [](String& s) { s += MLIB_T(" apple"); }), u"1 apple", 515},  // reserve
  };
  expectMade(rows);
  EXPECT_EQ(units(String(3.14159, 2)), u"3.14" + std::u16string(511, u'\0')) << "cut decimals";
  // A 600-unit piece: limit 514 -> 600 + 2 x 514; a piece filling the limit, then literals.
  EXPECT_EQ(units(formatted(MLIB_T("%s"), wide(y600))), y600 + std::u16string(1029, u'\0'));
  EXPECT_EQ(units(formatted(MLIB_T("%sabc"), wide(x517))),
            x517 + u"abc" + std::u16string(516, u'\0'));
}

TEST(Format, LeavesTheAnsiBufferAndReadsItsOwnTextFirst) {
  String s = sized(700);
  for (unsigned i = 0; i < 700; ++i) *s.GetBuffer(i) = 'z';
  const char* ansi = s.toAnsi();
  s.Format(MLIB_T("%d-%s"), 5, MLIB_T("ok"));
  EXPECT_EQ(units(s), u"5-ok" + std::u16string(697, u'\0'));
  EXPECT_EQ(StringAccess::ansiBuffer(s), ansi);
  EXPECT_EQ(s.GetAnsiLength(), 700) << "the ANSI text still describes the older text";
  String own(MLIB_T("world")), f(MLIB_T("%d+%d"));
  own.toAnsi();
  own.Format(MLIB_T("[%s|%s]"), own.toString(), own.GetBuffer(2));  // replaced buffer
  EXPECT_EQ(state(own), State(u"[world|rld]", 520));
  EXPECT_NE(StringAccess::ansiBuffer(own), nullptr);
  own.Format(MLIB_T("<%s>"), own.toString());  // kept buffer: 520 > 4 + 512
  EXPECT_EQ(state(own), State(u"<[world|rld]>", 520));
  f.Format(f.toString(), 1, 2);
  EXPECT_EQ(shown(f), u"1+2");
}

TEST(Format, NumbersIgnoreTheCLocale) {
  const char* set = nullptr;
  for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE"}) {
    if ((set = std::setlocale(LC_NUMERIC, name)) != nullptr) break;
  }
  if (set == nullptr) GTEST_SKIP() << "no German locale installed";
  const String a(2.5, 1), b = formatted(MLIB_T("%f|%d"), 1234.5, 1234567);
  String c;
  c = 0.75;
  std::setlocale(LC_NUMERIC, "C");
  EXPECT_EQ(shown(a) + u"/" + shown(b) + u"/" + shown(c), u"2.5/1234.500000|1234567/0.750000");
}

TEST(StringConvert, ReadsNumbers) {
  EXPECT_EQ(String(MLIB_T("  -12abc")).toInt(), -12);
  EXPECT_EQ(String().toInt(), 0);
  EXPECT_EQ(String(MLIB_T("-1")).toUint32(), 4294967295u);
  EXPECT_EQ(String(MLIB_T("99999999999")).toInt(), INT_MAX);  // saturates
  EXPECT_EQ(String(MLIB_T("99999999999")).toInt64(), 99999999999LL);
  EXPECT_EQ(String(MLIB_T("-1")).toUint64(), ULLONG_MAX);
  EXPECT_DOUBLE_EQ(String(MLIB_T("2.5")).toDouble(), 2.5);
}

// The digits of v in a base, padded on the left with '0' to a multiple of `group`.
std::u16string digits(std::uint32_t v, unsigned base, std::size_t group) {
  std::u16string t;
  do t.insert(t.begin(), u"0123456789ABCDEF"[v % base]);
  while ((v /= base) != 0);
  return std::u16string((group - t.size() % group) % group, u'0') + t;
}

// Every base conversion, as the static function and as the member: seeded 32-bit values
// against their digits, then the malformed and out-of-range texts.
TEST(StringConvert, RadixConversions) {
  using Conversion = std::pair<String (*)(const String&), String (String::*)() const>;
  const Conversion toBinary{&String::DecimalToBinary, &String::DecimalToBinary},
      binToDec{&String::BinaryToDecimal, &String::BinaryToDecimal},
      binToHex{&String::BinaryToHex, &String::BinaryToHex},
      toHex{&String::DecimalToHex, &String::DecimalToHex},
      hexToBin{&String::HexToBinary, &String::HexToBinary},
      hexToDec{&String::HexToDecimal, &String::HexToDecimal};
  const auto run = [](const Conversion& c, const WideChar* in) {  // the static and the member
    const String s(in);
    EXPECT_EQ(shown((s.*c.second)()), shown(c.first(s))) << "as the member";
    return shown(c.first(s));
  };
  std::mt19937 rng(2024);
  for (int round = 0; round < 400; ++round) {
    const unsigned shift = rng() % 32;  // short and long values alike
    const std::uint32_t v = round < 20 ? round : rng() >> shift;
    const std::string decimal = std::to_string(static_cast<std::int32_t>(v));
    const std::u16string dec(decimal.begin(), decimal.end()), hex = digits(v, 16, 1);
    std::u16string lower = hex;
    for (char16_t& c : lower) c = c >= u'A' ? c + 32 : c;
    SCOPED_TRACE(decimal);
    EXPECT_EQ(run(toBinary, wide(dec)), digits(v, 2, 8));
    EXPECT_EQ(run(binToDec, wide(digits(v, 2, 1))), dec);
    EXPECT_EQ(run(binToHex, wide(digits(v, 2, 1))), hex);
    EXPECT_EQ(run(toHex, wide(dec)), digits(v, 16, 2));
    EXPECT_EQ(run(hexToBin, wide(lower)), digits(v, 2, 4));
    EXPECT_EQ(run(hexToDec, wide(hex)), dec);
  }
  const std::tuple<Conversion, const WideChar*, std::u16string> rows[] = {
      {toBinary, nullptr, u"00000000"},
      {toBinary, MLIB_T("4294967296"), u"01111111111111111111111111111111"},  // saturated
      {binToDec, MLIB_T("12"), u"4"},  // other digits count their face value
      {binToDec, nullptr, u"0"},
      {binToDec, MLIB_T("100000000000000000000000000000000"), u"0"},  // wraps
      {binToHex, MLIB_T("2222"), u"U"},
      {binToHex, MLIB_T(""), u"(null)"},
      {hexToBin, MLIB_T("0x1F"), u"000000011111"},
      {hexToBin, MLIB_T("xyz"), u"(null)"},
      {hexToDec, MLIB_T("0x1F"), u"31"},
      {hexToDec, MLIB_T("1FFFFFFFF"), u"-1"},
      {hexToDec, MLIB_T("z1"), u"1"},
      {hexToDec, nullptr, u"(null)"},
  };
  for (const auto& [conversion, in, want] : rows) {
    EXPECT_EQ(run(conversion, in), want) << "from " << traced(in);
  }
}

// ByteDataToHexString on s, giving s.
String hexed(String s, const unsigned char* bytes, unsigned count, bool spaced) {
  s.ByteDataToHexString(bytes, count, spaced);
  return s;
}

TEST(StringConvert, BytesToHexText) {
  const unsigned char bytes[] = {0x0A, 0xFF};
  const Made rows[] = {
      {hexed(String(MLIB_T("abcd")), bytes, 2, false), u"0AFF", 5},  // 5 kept for 4, not for 6
      {hexed(String(MLIB_T("abc")), bytes, 2, false), u"0AFF", 5},   // 4 has no room for the 0
      {hexed(String(MLIB_T("abcd")), bytes, 2, true), u"0A FF ", 7},
      {hexed(String(MLIB_T("ab")), nullptr, 2, false), u"", 3},
      {after(String(), [](String& s) { s.ByteDataToHexString(bytesOf("\x12\x34"), false); }),
       u"1234", 5},
      {String::ByteToHexString(bytes, 0, false), u"(null)", 0},
      {String::ByteToHexString(bytes, 1, true), u"0A ", 4},
      {String(MLIB_T("AB")).ToHexString(), u"4142", 5},
      {String().ToHexString(), u"(null)", 0},
  };
  expectMade(rows);
  // Bytes read from the string's own buffer ("AB" as little-endian UTF-16 units) are made
  // aside, then land as an assignment puts them: the roomy buffer and the ANSI buffer stay.
  String self = sized(20);
  self = MLIB_T("AB");
  const char* ansi = self.toAnsi();
  self.ByteDataToHexString(reinterpret_cast<const unsigned char*>(self.toString()), 4, false);
  EXPECT_EQ(state(self), State(u"41004200", 21));
  self.ByteDataToHexString(bytes, 2, true);
  EXPECT_EQ(state(self), State(u"0A FF ", 21));
  EXPECT_EQ(StringAccess::ansiBuffer(self), ansi);
  if (GetAnsiCodePage() == 1252) {
    EXPECT_EQ(shown(String(MLIB_T("\u00E9\u0100")).ToHexString()), u"E941");  // best fit A
  }
}

TEST(StringConvert, HexTextToBytes) {
  String s(MLIB_T("0A FF")), noDigits(MLIB_T("xyz")), null;
  unsigned char out[4] = {0xEE, 0xEE, 0xEE, 0xEE};
  EXPECT_EQ(s.HexStringToByteData(out, 4), 2);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(out), 4), std::string("\x0A\xFF\0\0", 4));
  EXPECT_EQ(s.HexStringToByteData(out, 1), 1);
  EXPECT_EQ(s.HexStringToByteData(nullptr, 4), 0);
  // A room of 2^31 or more reads as negative once handed on: nothing written, 0.
  out[0] = 0xEE;
  EXPECT_EQ(s.HexStringToByteData(out, 0x80000000u) + s.HexStringToByteData(out, ~0u), 0);
  EXPECT_EQ(out[0], 0xEE);
  const mlib::Byte b = s.HexStringToByteData(), none = noDigits.HexStringToByteData();
  EXPECT_EQ(content(b), "\x0A\xFF");
  EXPECT_EQ(b.GetBufferLength(), 5);
  EXPECT_EQ(none.GetLength() * 10 + none.GetBufferLength(), 3);
  EXPECT_EQ(null.HexStringToByteData().GetData(), nullptr);
}

TEST(StringConvert, Utf8) {
  const unsigned char eAcute[] = {0xC3, 0xA9, 0};
  EXPECT_EQ(state(String::FromUtf8(eAcute, 2)), State(u"\u00E9", 2));
  EXPECT_TRUE(String::FromUtf8(eAcute, 0).IsNull());
  EXPECT_TRUE(String::FromUtf8(static_cast<const unsigned char*>(nullptr), 5).IsNull());
  EXPECT_TRUE(String::FromUtf8(static_cast<const char*>(nullptr)).IsNull());
  EXPECT_TRUE(String::FromUtf8("").IsNull());
  EXPECT_EQ(shown(String::FromUtf8(reinterpret_cast<const unsigned char*>("abcdef"), 3)), u"abc");
  // U+1F600 is two units: a cut at one keeps the lead surrogate alone.
  EXPECT_EQ(shown(String::FromUtf8("x\xF0\x9F\x98\x80")), u"x\U0001F600");
  EXPECT_EQ(shown(String::FromUtf8(reinterpret_cast<const unsigned char*>("\xF0\x9F\x98\x80"), 1)),
            std::u16string(1, char16_t(0xD83D)));
  EXPECT_EQ(shown(String::FromUtf8("a\xFF"
                                   "b")),
            u"a\uFFFDb");
  // ToUtf8 goes through the ANSI text.
  EXPECT_EQ(String::ToUtf8(String()).GetData(), nullptr);
  EXPECT_EQ(String::ToUtf8(String(MLIB_T(""))).GetLength(), 0);
  MLIB_USE_ANSI_CODE_PAGE(1252);
  const mlib::Byte utf8 = String::ToUtf8(String(MLIB_T("a\u00E9\u20AC\u4E2D")));
  EXPECT_EQ(content(utf8), "a\xC3\xA9\xE2\x82\xAC?");  // U+4E2D is not in 1252
  EXPECT_EQ(utf8.GetBufferLength(), 8);
}

}  // namespace
