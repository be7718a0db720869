// String editing, comparison and element access: trims, ASCII case, reversal, replacement
// (against a plain replace loop on random texts), line breaks, the orderings, the prefix and
// suffix tests (the case-blind suffix test against the Unicode case folding data where the
// platform folds by it) and the bounds of the index operations.
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
using mlib::detail::StringAccess;
using Text = std::basic_string<WideChar>;

Text units(const String& s) { return s.IsNull() ? Text() : Text(s.toString()); }
unsigned capacityOf(const String& s) { return StringAccess::capacity(s); }

TEST(StringEdit, TrimsRemoveSpacesOnlyAndKeepTheBuffer) {
  struct Row {
    const WideChar* in;
    void (String::*trim)();
    const WideChar* want;
  };
  const Row rows[] = {
      {MLIB_T("  ab"), &String::TrimLeft, MLIB_T("ab")},
      {MLIB_T("ab  "), &String::TrimRight, MLIB_T("ab")},
      {MLIB_T(" a b "), &String::Trim, MLIB_T("a b")},
      {MLIB_T("   "), &String::Trim, MLIB_T("")},
      {MLIB_T("\tab\r\n"), &String::Trim, MLIB_T("\tab\r\n")},
      {MLIB_T(" \t "), &String::Trim, MLIB_T("\t")},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(&r - rows);
    String s(r.in);
    const unsigned capacity = capacityOf(s);
    (s.*r.trim)();
    EXPECT_EQ(units(s), r.want);
    EXPECT_FALSE(s.IsNull());
    EXPECT_EQ(capacityOf(s), capacity);
    // The freed units are zero up to the end of the buffer.
    for (unsigned i = Text(r.want).size(); i < capacity; ++i) EXPECT_EQ(*s.GetBuffer(i), 0);
  }
  String null;
  null.Trim();
  EXPECT_TRUE(null.IsNull());
}

TEST(StringEdit, CaseAndReversal) {
  String s(MLIB_T("aZ9\u00e9@`{"));
  s.MakeUpper();
  EXPECT_EQ(units(s), MLIB_T("AZ9\u00e9@`{"));  // only ASCII letters change
  s.MakeLower();
  EXPECT_EQ(units(s), MLIB_T("az9\u00e9@`{"));
  String abc(MLIB_T("abc"));
  abc.Reverse();
  EXPECT_EQ(units(abc), MLIB_T("cba"));
  String one(MLIB_T("x"));
  one.Reverse();
  EXPECT_EQ(units(one), MLIB_T("x"));
  String null;
  null.MakeUpper();
  null.Reverse();
  EXPECT_TRUE(null.IsNull());
}

TEST(StringEdit, ReplaceFirst) {
  String s(MLIB_T("abcb"));
  (void)s.toAnsi();
  EXPECT_TRUE(s.ReplaceFirst(MLIB_T("b"), MLIB_T("xyz")));
  EXPECT_EQ(units(s), MLIB_T("axyzcb"));
  EXPECT_EQ(capacityOf(s), 7u);
  EXPECT_EQ(StringAccess::ansiBuffer(s), nullptr);

  EXPECT_FALSE(s.ReplaceFirst(MLIB_T("q"), MLIB_T("r")));
  EXPECT_FALSE(s.ReplaceFirst(nullptr, MLIB_T("r")));
  EXPECT_FALSE(s.ReplaceFirst(MLIB_T("a"), nullptr));
  EXPECT_FALSE(String().ReplaceFirst(MLIB_T(""), MLIB_T("r")));
  EXPECT_EQ(units(s), MLIB_T("axyzcb"));

  EXPECT_TRUE(s.ReplaceFirst(MLIB_T(""), MLIB_T(">")));  // empty text is found at the front
  EXPECT_EQ(units(s), MLIB_T(">axyzcb"));
  // The new text may come from this string's own buffer.
  EXPECT_TRUE(s.ReplaceFirst(MLIB_T("cb"), s.GetBuffer(2)));
  EXPECT_EQ(units(s), MLIB_T(">axyzxyzcb"));
  EXPECT_EQ(capacityOf(s), 11u);
}

TEST(StringEdit, ReplaceAllAndItsRefusals) {
  struct Row {
    const WideChar *in, *old, *with, *want;
    unsigned capacity;
  };
  const Row rows[] = {
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
  String null;
  null.Replace(MLIB_T("a"), MLIB_T("b"));
  EXPECT_TRUE(null.IsNull());
}

TEST(StringEdit, ReplaceAgreesWithAReplaceLoopOnRandomTexts) {
  std::mt19937 rng(424242);
  const auto randomText = [&rng](std::size_t maxUnits) {
    Text t(rng() % (maxUnits + 1), WideChar(0));
    for (WideChar& u : t) u = static_cast<WideChar>(MLIB_T('a') + rng() % 3);
    return t;
  };
  int compared = 0;
  for (int round = 0; round < 3000; ++round) {
    Text text = randomText(40);
    Text old = randomText(3);
    const Text with = randomText(4);
    if (old.empty() || with.find(old) != Text::npos) continue;
    // The plain loop, stopped where it would not end.
    Text want = text;
    int passes = 0;
    for (std::size_t at; (at = want.find(old)) != Text::npos && passes < 2000; ++passes) {
      want.replace(at, old.size(), with);
    }
    if (passes == 2000) continue;
    ++compared;
    SCOPED_TRACE(round);
    String s(text.c_str());
    const unsigned before = capacityOf(s);
    s.Replace(old.c_str(), with.c_str());
    EXPECT_EQ(units(s), want);
    EXPECT_EQ(capacityOf(s), passes == 0 ? before : want.size() + 1);
  }
  EXPECT_GT(compared, 1000);
}

TEST(StringEdit, ReplaceThatNeverEndsStopsAtItsBound) {
  // «ab» -> «bbaa» in «aab» makes a new «ab» after every pass, growing without end.
  const Text text = MLIB_T("aab");
  std::vector<WideChar> result(1, MLIB_T('!'));
  EXPECT_FALSE(mlib::detail::replaceRepeatedly(text.data(), text.size(), MLIB_T("ab"), 2,
                                               MLIB_T("bbaa"), 4, 10000, result));
  EXPECT_EQ(result, std::vector<WideChar>(1, MLIB_T('!')));
  // «ab» -> «bba» ends, but doubles the b's for every a: «aaab» becomes 8 b's and 3 a's.
  const Text ending = MLIB_T("aaab");
  EXPECT_TRUE(mlib::detail::replaceRepeatedly(ending.data(), ending.size(), MLIB_T("ab"), 2,
                                              MLIB_T("bba"), 3, 11, result));
  EXPECT_EQ(Text(result.begin(), result.end()), MLIB_T("bbbbbbbbaaa"));
  EXPECT_FALSE(mlib::detail::replaceRepeatedly(ending.data(), ending.size(), MLIB_T("ab"), 2,
                                               MLIB_T("bba"), 3, 10, result));
}

TEST(StringEdit, LineBreaks) {
  String x(MLIB_T("x"));
  x.AppendNewLineAtFront();
  EXPECT_EQ(units(x), MLIB_T("\r\nx"));
  x.AppendNewLineAtBack();
  EXPECT_EQ(units(x), MLIB_T("\r\nx\r\n"));
  String null;
  null.AppendNewLineAtFront();
  EXPECT_EQ(units(null), MLIB_T("\r\n"));
  EXPECT_EQ(capacityOf(null), 3u);
  String roomy;
  roomy.AllocBuffer(9)[0] = MLIB_T('y');
  roomy.AppendNewLineAtFront();  // assigned back: a buffer with room is kept
  EXPECT_EQ(units(roomy), MLIB_T("\r\ny"));
  EXPECT_EQ(capacityOf(roomy), 10u);
}

TEST(StringEdit, CompareOrdersByLengthFirst) {
  struct Row {
    const WideChar *a, *b;
    int exact, noCase;
  };
  const Row rows[] = {
      {MLIB_T("b"), MLIB_T("aa"), -1, -1},    {MLIB_T("ab"), MLIB_T("b"), 1, 1},
      {MLIB_T("abc"), MLIB_T("abd"), -1, -1}, {MLIB_T("a"), MLIB_T("a"), 0, 0},
      {MLIB_T("ABC"), MLIB_T("abc"), -1, 0},  {MLIB_T("a\uffff"), MLIB_T("a\u0001"), 1, 1},
      {MLIB_T("@0"), MLIB_T("`P"), -1, 0},    {nullptr, MLIB_T("a"), -1, -1},
      {MLIB_T("a"), nullptr, -1, -1},         {nullptr, nullptr, -1, -1},
  };
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
  EXPECT_EQ(String().Compare(MLIB_T("")), -1);
}

TEST(StringEdit, CompareCharNoCaseUsesTheRuleOf32) {
  struct WideRow {
    unsigned a, b;
    int want;
  };
  const WideRow wide[] = {{'a', 'A', 0},      {'@', '`', 0},    {'0', 'P', 0},
                          {'a', 'b', -1},     {'b', 'A', 1},    {0xFFE0, 0xFFC0, 0},
                          {0x10, 0xFFF0, -1}, {0xFFFF, 0x1F, 1}};  // no wrap-around
  for (const WideRow& r : wide) {
    SCOPED_TRACE(r.a);
    EXPECT_EQ(String::CompareCharNoCase(static_cast<WideChar>(r.a), static_cast<WideChar>(r.b)),
              r.want);
  }
  struct NarrowRow {
    int a, b;
    int want;
  };
  const NarrowRow narrow[] = {{'x', 'X', 0},
                              {-100, -68, 0},
                              {-128, 'a', -1},
                              {'a', -128, 1},
                              {-1, 31, 0}};  // signed: -1 and 31 are 32 apart
  for (const NarrowRow& r : narrow) {
    SCOPED_TRACE(r.a);
    EXPECT_EQ(String::CompareCharNoCase(static_cast<char>(r.a), static_cast<char>(r.b)), r.want);
  }
}

TEST(StringEdit, StartWithAndEndWith) {
  struct Row {
    const WideChar *text, *affix;
    bool noCase, starts, ends;
  };
  const Row rows[] = {
      {MLIB_T("Hello"), MLIB_T("hE"), true, true, false},
      {MLIB_T("Hello"), MLIB_T("hE"), false, false, false},
      {MLIB_T("Hello"), MLIB_T("LLO"), true, false, true},
      {MLIB_T("Hello"), MLIB_T("LLO"), false, false, false},
      {MLIB_T("Hello"), MLIB_T("Hello"), false, true, true},
      {MLIB_T("Hello"), MLIB_T("Hello!"), true, false, false},
      {MLIB_T("Hello"), MLIB_T(""), false, true, true},
      {MLIB_T("@x"), MLIB_T("`X"), true, true, false},  // StartWith's 32 rule, not letters
      {MLIB_T("x\u0391\u03a3"), MLIB_T("\u03b1\u03c3"), true, false, true},  // Greek too
      {nullptr, MLIB_T(""), false, true, false},  // a null string's tail is no text
      {MLIB_T("Hello"), nullptr, true, false, false},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(&r - rows);
    const String s(r.text);
    EXPECT_EQ(s.StartWith(r.affix, r.noCase), r.starts);
    EXPECT_EQ(s.EndWith(r.affix, r.noCase), r.ends);
  }
}

TEST(StringEdit, EndWithFoldsCaseByUnicode) {
  if (!mlib::platform::foldsBySimpleCaseFolding()) {
    GTEST_SKIP() << "the system's locale decides case here";
  }
  struct Row {
    const WideChar *text, *suffix;
    bool want;
  };
  const Row rows[] = {
      {MLIB_T("x\u03a3\u0391\u03a3"), MLIB_T("\u03c3\u03b1\u03c2"), true},  // sigma, final sigma
      {MLIB_T("5 \u212a"), MLIB_T("k"), true},                              // Kelvin sign
      {MLIB_T("\u1e9e"), MLIB_T("\u00df"), true},          // capital sharp s (status S)
      {MLIB_T("\U00010400"), MLIB_T("\U00010428"), true},  // Deseret, a surrogate pair
      {MLIB_T("\u0130"), MLIB_T("i"), false},              // only full / Turkic folding
      {MLIB_T("STRASSE"),
       MLIB_T("\u00df"
              "e"),
       false},  // full folding only
      {MLIB_T("\u00e9"), MLIB_T("e"), false},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(&r - rows);
    EXPECT_EQ(String(r.text).EndWith(r.suffix, true), r.want);
  }
}

// Every simple folding of the Unicode Character Database, where the system has the file.
TEST(StringEdit, EndWithAgreesWithTheCaseFoldingData) {
  std::ifstream data("/usr/share/unicode/CaseFolding.txt");
  if (!mlib::platform::foldsBySimpleCaseFolding() || !data) {
    GTEST_SKIP() << "no Unicode case folding data to compare with";
  }
  const auto encode = [](unsigned long cp) {
    Text t;
    if (cp < 0x10000) return Text(1, static_cast<WideChar>(cp));
    cp -= 0x10000;
    t += static_cast<WideChar>(0xD800 + (cp >> 10));
    t += static_cast<WideChar>(0xDC00 + (cp & 0x3FF));
    return t;
  };
  int checked = 0;
  for (std::string line; std::getline(data, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string code, status, mapping;
    std::getline(fields, code, ';');
    fields >> status >> mapping;
    const Text from = encode(std::stoul(code, nullptr, 16));
    const Text to = encode(std::stoul(mapping, nullptr, 16));  // first code point of F rows
    SCOPED_TRACE(line);
    if (status == "C;" || status == "S;") {
      EXPECT_TRUE(String(from.c_str()).EndWith(to.c_str(), true));
      EXPECT_TRUE(String(to.c_str()).EndWith(from.c_str(), true));
      ++checked;
    } else if (status == "T;") {
      EXPECT_FALSE(String(from.c_str()).EndWith(to.c_str(), true));
    }
  }
  EXPECT_GT(checked, 1400);
}

TEST(StringEdit, ElementAccessIsBoundedByTheCapacity) {
  String s(MLIB_T("abc"));  // capacity 4
  EXPECT_EQ(s[3], 0);       // the terminator's slot
  s[1] = MLIB_T('X');
  EXPECT_EQ(units(s), MLIB_T("aXc"));
  try {
    (void)s[4];
    ADD_FAILURE() << "index 4 of a capacity of 4 did not throw";
  } catch (mlib::MxBaseException& e) {
    EXPECT_EQ(e.GetCode(), -4);
    EXPECT_EQ(e.GetLevel(), 3);
    EXPECT_EQ(mlib::testing::ascii(mlib::MxException::PrintToString(&e)),
              mlib::testing::framed("mlib exception: { Code: -4; Level: Fatal; Description: "
                                    "Call Stack: String::[]; Location: "
                                    "\"if(uIndex>=getSize())\" }"));
  }
  String null;
  EXPECT_THROW((void)null[0], mlib::MxBaseException);
  EXPECT_EQ(units(s), MLIB_T("aXc"));

  EXPECT_EQ(s.GetAt(2), MLIB_T('c'));
  EXPECT_EQ(s.GetAt(3), 0);  // the last slot is out of GetAt's reach
  EXPECT_EQ(s.GetAt(-1), 0);
  s.SetAt(3, MLIB_T('!'));
  s.SetAt(-1, MLIB_T('!'));
  s.SetAt(0, MLIB_T('Z'));
  EXPECT_EQ(units(s), MLIB_T("ZXc"));
  EXPECT_EQ(*s.GetBuffer(3), 0);
  EXPECT_EQ(null.GetAt(0), 0);
  null.SetAt(0, MLIB_T('x'));
  EXPECT_TRUE(null.IsNull());
}

}  // namespace
