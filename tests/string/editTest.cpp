// String editing, comparison and element access: trims, case, reversal, replacement (against
// a plain replace loop on random texts), line breaks, orderings, prefix and suffix tests
// (the case-blind suffix against the Unicode folding data where the platform folds by it)
// and the bounds of the index operations.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/string.h>

#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "exception/reportText.h"
#include "platform/platform.h"
#include "string/search.h"
#include "string/storage.h"

namespace {

using mlib::String;
using mlib::WideChar;
using Text = std::basic_string<WideChar>;

Text units(const String& s) { return s.IsNull() ? Text() : Text(s.toString()); }
unsigned capacityOf(const String& s) { return mlib::detail::StringAccess::capacity(s); }
// One code point as UTF-16.
Text utf16(unsigned long cp) {
  if (cp < 0x10000) return Text(1, static_cast<WideChar>(cp));
  return {static_cast<WideChar>(0xD800 + ((cp - 0x10000) >> 10)),
          static_cast<WideChar>(0xDC00 + (cp & 0x3FF))};
}

TEST(StringEdit, TrimsCaseAndReverseWorkInPlace) {
  struct Row {
    const WideChar* in;
    void (String::*edit)();
    const WideChar* want;
  } const rows[] = {
      {MLIB_T("  ab"), &String::TrimLeft, MLIB_T("ab")},
      {MLIB_T("ab  "), &String::TrimRight, MLIB_T("ab")},
      {MLIB_T("   "), &String::Trim, MLIB_T("")},
      {MLIB_T(" \tab\r\n "), &String::Trim, MLIB_T("\tab\r\n")},  // blank is the space only
      {MLIB_T("aZ9\u00e9@`{"), &String::MakeUpper, MLIB_T("AZ9\u00e9@`{")},  // ASCII only
      {MLIB_T("Az9\u00c9@`["), &String::MakeLower, MLIB_T("az9\u00c9@`[")},
      {MLIB_T("abc"), &String::Reverse, MLIB_T("cba")},
      {MLIB_T("x"), &String::Reverse, MLIB_T("x")},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(&r - rows);
    String s(r.in);
    const unsigned capacity = capacityOf(s);
    (s.*r.edit)();
    EXPECT_EQ(units(s), r.want);
    ASSERT_EQ(capacityOf(s), capacity);
    for (unsigned i = Text(r.want).size(); i < capacity; ++i) EXPECT_EQ(*s.GetBuffer(i), 0);
    String null;
    (null.*r.edit)();
    EXPECT_TRUE(null.IsNull());
  }
}

TEST(StringEdit, ReplaceFirst) {
  String s(MLIB_T("abcb"));
  (void)s.toAnsi();
  EXPECT_TRUE(s.ReplaceFirst(MLIB_T("b"), MLIB_T("xyz")));
  EXPECT_EQ(units(s), MLIB_T("axyzcb"));
  EXPECT_EQ(capacityOf(s), 7u);
  EXPECT_EQ(mlib::detail::StringAccess::ansiBuffer(s), nullptr);
  EXPECT_FALSE(s.ReplaceFirst(MLIB_T("q"), MLIB_T("r")));
  EXPECT_FALSE(s.ReplaceFirst(nullptr, MLIB_T("r")) || s.ReplaceFirst(MLIB_T("a"), nullptr));
  EXPECT_FALSE(String().ReplaceFirst(MLIB_T(""), MLIB_T("r")));
  EXPECT_TRUE(s.ReplaceFirst(MLIB_T(""), MLIB_T(">")));       // empty text is found at the front
  EXPECT_TRUE(s.ReplaceFirst(MLIB_T("cb"), s.GetBuffer(2)));  // new text from its own buffer
  EXPECT_EQ(units(s), MLIB_T(">axyzxyzcb"));
  EXPECT_EQ(capacityOf(s), 11u);
}

TEST(StringEdit, ReplaceAllAndItsRefusals) {
  struct Row {
    const WideChar *in, *old, *with, *want;
    unsigned capacity;
  } const rows[] = {
      {MLIB_T("abcb"), MLIB_T("b"), MLIB_T(""), MLIB_T("ac"), 3},
      {MLIB_T("aaabb"), MLIB_T("ab"), MLIB_T(""), MLIB_T("a"), 2},  // earlier passes' output
      {MLIB_T("aab"), MLIB_T("ab"), MLIB_T("bba"), MLIB_T("bbbbaa"), 7},
      {MLIB_T("abcabc"), MLIB_T("q"), MLIB_T("r"), MLIB_T("abcabc"), 7},  // nothing found
      {MLIB_T("abc"), MLIB_T(""), MLIB_T("x"), MLIB_T("abc"), 4},         // refused
      {MLIB_T("abc"), MLIB_T("b"), MLIB_T("abc"), MLIB_T("abc"), 4},      // refused
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(&r - rows);
    String s(r.in);
    s.Replace(r.old, r.with);
    EXPECT_EQ(units(s), r.want);
    EXPECT_EQ(capacityOf(s), r.capacity);
  }
}

// The literal loop: ReplaceFirst's edit again and again, from the start each time. Where
// `budget` is given, it gives up (false) once a pass would exceed it: more passes than the
// budget, or a text longer than it.
bool replaceLoop(Text& text, const Text& old, const Text& with, std::size_t budget) {
  std::size_t passes = 0;
  for (std::size_t at; (at = text.find(old)) != Text::npos;) {
    text.replace(at, old.size(), with);
    if (++passes > budget || text.size() > budget) return false;
  }
  return true;
}

Text randomText(std::mt19937& rng, std::size_t maxUnits) {
  Text t(rng() % (maxUnits + 1), WideChar(0));
  for (WideChar& u : t) u = static_cast<WideChar>(MLIB_T('a') + rng() % 3);
  return t;
}

// Replace's documented budget: a replacement that could go on for ever (old text of two
// units or more, new text no shorter) may make at most 16 x length + 1024 passes and no text
// longer than that; the others always end and have none.
std::size_t budgetFor(const Text& text, const Text& old, const Text& with) {
  if (old.size() < 2 || with.size() < old.size()) return static_cast<std::size_t>(-1);
  return 16 * text.size() + 1024;
}

TEST(StringEdit, ReplaceAgreesWithAReplaceLoopOnRandomTexts) {
  std::mt19937 rng(424242);
  int compared = 0, refused = 0;
  for (int round = 0; round < 3000; ++round) {
    const Text text = randomText(rng, 40), old = randomText(rng, 3), with = randomText(rng, 4);
    if (old.empty() || with.find(old) != Text::npos) continue;
    Text want = text;
    const bool ends = replaceLoop(want, old, with, budgetFor(text, old, with));
    ++(ends ? compared : refused);
    SCOPED_TRACE(round);
    String s(text.c_str());
    const unsigned before = capacityOf(s);
    s.Replace(old.c_str(), with.c_str());
    EXPECT_EQ(units(s), ends ? want : text);
    EXPECT_EQ(capacityOf(s), !ends || want == text ? before : want.size() + 1);
  }
  EXPECT_GT(compared, 1000);
  EXPECT_GT(refused, 0);
}

TEST(StringEdit, ReplaceEngineKeepsToItsBudget) {
  // Small budgets, so that every way of running out of it is met: too many passes (texts
  // that keep their length), a text too long (texts that grow, and texts longer than the
  // budget to begin with), and runs that end just within it.
  std::mt19937 rng(777);
  int ended = 0, refused = 0;
  for (int round = 0; round < 20000; ++round) {
    const Text text = randomText(rng, 12), old = randomText(rng, 3), with = randomText(rng, 4);
    if (old.empty() || with.find(old) != Text::npos) continue;
    const std::size_t budget = rng() % 40;
    Text want = text;
    const bool ends = replaceLoop(want, old, with, budget);
    ++(ends ? ended : refused);
    SCOPED_TRACE(round);
    std::vector<WideChar> result(1, MLIB_T('!'));
    ASSERT_EQ(mlib::detail::replaceRepeatedly(text.data(), text.size(), old.data(), old.size(),
                                              with.data(), with.size(), budget, result),
              ends);
    EXPECT_EQ(Text(result.begin(), result.end()), ends ? want : Text(MLIB_T("!")));
  }
  EXPECT_GT(ended, 5000);
  EXPECT_GT(refused, 500);
}

TEST(StringEdit, ReplaceThatNeverEndsIsRefusedAtOnce) {
  // «A%» -> «%%AA» in «xA%%y» recreates «A%» after every pass, growing without end.
  String probe(MLIB_T("xA%%y"));
  (void)probe.toAnsi();
  const WideChar* buffer = probe.toString();
  probe.Replace(MLIB_T("A%"), MLIB_T("%%AA"));
  EXPECT_EQ(units(probe), MLIB_T("xA%%y"));
  EXPECT_EQ(probe.toString(), buffer);
  EXPECT_NE(mlib::detail::StringAccess::ansiBuffer(probe), nullptr);
  // «ab» -> «bba» ends, doubling the b's for every a: within the budget the result is the
  // loop's, past it (16 x 12 + 1024 = 1216 < 2059 units) the text stays as it was.
  const Text tenA(10, MLIB_T('a')), elevenA(11, MLIB_T('a'));
  struct Row {
    Text in, want;
  } const rows[] = {
      {MLIB_T("abab"), MLIB_T("bbbbbbaa")},
      {MLIB_T("aaab"), MLIB_T("bbbbbbbbaaa")},
      {tenA + MLIB_T("b"), Text(1024, MLIB_T('b')) + tenA},
      {elevenA + MLIB_T("b"), elevenA + MLIB_T("b")},
  };
  for (const Row& r : rows) {
    String s(r.in.c_str());
    s.Replace(MLIB_T("ab"), MLIB_T("bba"));
    EXPECT_EQ(units(s), r.want);
  }
}

TEST(StringEdit, LineBreaks) {
  String x(MLIB_T("x")), null, roomy;
  x.AppendNewLineAtFront();
  x.AppendNewLineAtBack();
  EXPECT_EQ(units(x), MLIB_T("\r\nx\r\n"));
  null.AppendNewLineAtFront();
  EXPECT_EQ(units(null), MLIB_T("\r\n"));
  EXPECT_EQ(capacityOf(null), 3u);
  roomy.AllocBuffer(9)[0] = MLIB_T('y');
  roomy.AppendNewLineAtFront();  // assigned back: a buffer with room is kept
  EXPECT_EQ(units(roomy), MLIB_T("\r\ny"));
  EXPECT_EQ(capacityOf(roomy), 10u);
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
    EXPECT_EQ(a.Compare(r.b), r.exact);
    EXPECT_EQ(a.Compare(String(r.b)), r.exact);
    EXPECT_EQ(a.CompareNoCase(r.b), r.noCase);
    EXPECT_EQ(a.CompareNoCase(String(r.b)), r.noCase);
  }
  String empty;
  empty.AllocBuffer(1);
  EXPECT_EQ(empty.Compare(MLIB_T("")), 0);
}

TEST(StringEdit, CompareCharNoCaseUsesTheRuleOf32) {
  const int wide[][3] = {{'a', 'A', 0},    {'@', '`', 0},       {'0', 'P', 0},      {'a', 'b', -1},
                         {'b', 'A', 1},    {0xFFE0, 0xFFC0, 0}, {0x10, 0xFFF0, -1},  // no wrap
                         {0xFFFF, 0x1F, 1}};
  for (const auto& r : wide) {
    EXPECT_EQ(String::CompareCharNoCase(static_cast<WideChar>(r[0]), static_cast<WideChar>(r[1])),
              r[2]);
  }
  // Signed chars: -100 and -68 are 32 apart, as are -1 and 31; -128 is below 'a'.
  const int narrow[][3] = {
      {'x', 'X', 0}, {-100, -68, 0}, {-1, 31, 0}, {-128, 'a', -1}, {'a', -128, 1}};
  for (const auto& r : narrow) {
    EXPECT_EQ(String::CompareCharNoCase(static_cast<char>(r[0]), static_cast<char>(r[1])), r[2]);
  }
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

// Hand-picked simple foldings, then every line of the Unicode folding data where it exists.
TEST(StringEdit, EndWithFoldsCaseByUnicode) {
  if (!mlib::platform::foldsBySimpleCaseFolding()) GTEST_SKIP() << "the locale decides here";
  EXPECT_TRUE(String(MLIB_T("5 \u212a")).EndWith(MLIB_T("k"), true));             // Kelvin sign
  EXPECT_TRUE(String(MLIB_T("\u1e9e")).EndWith(MLIB_T("\u00df"), true));          // status S
  EXPECT_TRUE(String(MLIB_T("\U00010400")).EndWith(MLIB_T("\U00010428"), true));  // a pair
  EXPECT_FALSE(String(MLIB_T("\u0130")).EndWith(MLIB_T("i"), true));              // Turkic only
  EXPECT_FALSE(String(MLIB_T("\u00e9")).EndWith(MLIB_T("e"), true));
  std::ifstream data("/usr/share/unicode/CaseFolding.txt");
  if (!data) GTEST_SKIP() << "no Unicode case folding data (package unicode-data)";
  int checked = 0;
  for (std::string line; std::getline(data, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string code, status, mapping;  // "0041; C; 0061; # ..."
    std::getline(fields, code, ';');
    fields >> status >> mapping;
    const String from(utf16(std::stoul(code, nullptr, 16)).c_str());
    const Text to = utf16(std::stoul(mapping, nullptr, 16));
    SCOPED_TRACE(line);
    if (status == "C;" || status == "S;") {
      EXPECT_TRUE(from.EndWith(to.c_str(), true));
      EXPECT_TRUE(String(to.c_str()).EndWith(from.toString(), true));
      ++checked;
    } else if (status == "T;") {
      EXPECT_FALSE(from.EndWith(to.c_str(), true));
    }
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
    EXPECT_EQ(e.GetCode(), -4);
    EXPECT_EQ(e.GetLevel(), 3);
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
  EXPECT_EQ(units(s), MLIB_T("ZXc"));
  EXPECT_EQ(*s.GetBuffer(3), 0);
  EXPECT_TRUE(null.IsNull());
}

}  // namespace
