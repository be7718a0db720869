// String editing, comparison and element access; Replace against a literal replace loop, the
// case-blind EndWith against the Unicode folding data where the platform folds by it.
#include <gtest/gtest.h>
#include <mlib/exceptions.h>
#include <mlib/string.h>

#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "exception/reportText.h"
#include "platform/platform.h"
#include "string/replace.h"
#include "string/storage.h"

namespace {

using mlib::String;
using mlib::WideChar;
using mlib::detail::StringAccess;
using Text = std::basic_string<WideChar>;

Text units(const String& s) { return s.IsNull() ? Text() : Text(s.toString()); }
std::string ascii(const Text& t) { return std::string(t.begin(), t.end()); }  // for traces
Text utf16(unsigned long cp) {                                                // one code point
  if (cp < 0x10000) return Text(1, static_cast<WideChar>(cp));
  return {static_cast<WideChar>(0xD800 + ((cp - 0x10000) >> 10)),
          static_cast<WideChar>(0xDC00 + (cp & 0x3FF))};
}

TEST(StringEdit, InPlaceEditsAndLineBreaks) {
  struct Row {
    const WideChar* in;
    void (String::*edit)();
    const WideChar *want, *fromNull;  // fromNull: the edit's text on a null string
    unsigned capacity;                // 0: the buffer stays
  } const rows[] = {
      {MLIB_T("  ab"), &String::TrimLeft, MLIB_T("ab"), nullptr, 0},
      {MLIB_T("ab  "), &String::TrimRight, MLIB_T("ab"), nullptr, 0},
      {MLIB_T("   "), &String::Trim, MLIB_T(""), nullptr, 0},
      {MLIB_T(" \tab\r\n "), &String::Trim, MLIB_T("\tab\r\n"), nullptr, 0},  // spaces only
      {MLIB_T("aZ9\u00e9@`{"), &String::MakeUpper, MLIB_T("AZ9\u00e9@`{"), nullptr, 0},  // ASCII
      {MLIB_T("Az9\u00c9@`["), &String::MakeLower, MLIB_T("az9\u00c9@`["), nullptr, 0},
      {MLIB_T("abc"), &String::Reverse, MLIB_T("cba"), nullptr, 0},
      {MLIB_T("x"), &String::Reverse, MLIB_T("x"), nullptr, 0},
      {MLIB_T("x"), &String::AppendNewLineAtFront, MLIB_T("\r\nx"), MLIB_T("\r\n"), 4},
      {MLIB_T("x"), &String::AppendNewLineAtBack, MLIB_T("x\r\n"), MLIB_T("\r\n"), 4},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(&r - rows);
    String s(r.in), null;
    const unsigned capacity = StringAccess::capacity(s);
    (s.*r.edit)();
    (null.*r.edit)();
    EXPECT_EQ(units(s), r.want);
    ASSERT_EQ(StringAccess::capacity(s), r.capacity != 0 ? r.capacity : capacity);
    for (unsigned i = Text(r.want).size(); i < capacity; ++i) EXPECT_EQ(*s.GetBuffer(i), 0);
    EXPECT_EQ(units(null), r.fromNull != nullptr ? r.fromNull : MLIB_T(""));
    EXPECT_EQ(StringAccess::capacity(null), r.fromNull != nullptr ? 3u : 0u);
  }
  String roomy;
  roomy.AllocBuffer(9)[0] = MLIB_T('y');
  roomy.AppendNewLineAtFront();  // assigned back: a buffer with room is kept
  EXPECT_EQ(units(roomy), MLIB_T("\r\ny"));
  EXPECT_EQ(StringAccess::capacity(roomy), 10u);
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
  EXPECT_EQ(units(s), want);
  EXPECT_EQ(StringAccess::capacity(s), (replaced ? want : in).size() + 1);
  EXPECT_EQ(StringAccess::ansiBuffer(s) == nullptr, replaced);
  EXPECT_TRUE(replaced || s.toString() == before);
}

TEST(StringEdit, ReplaceFirstAndReplaceGiveTheLiteralResult) {
  const Text body(2000, MLIB_T('y')), page = MLIB_T("<p>") + body + MLIB_T("</p>");
  const Text x1057(1057, MLIB_T('x')), a10(10, MLIB_T('a')), a11 = a10 + MLIB_T("a");
  const Text a10bba = a10 + MLIB_T("bba"), a52b52 = Text(52, 'a') + Text(52, 'b');
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
  EXPECT_EQ(units(s), MLIB_T("abbcb"));
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

Text randomText(std::mt19937& rng, std::size_t minUnits, std::size_t maxUnits) {
  Text t(minUnits + rng() % (maxUnits - minUnits + 1), WideChar(0));
  for (WideChar& u : t) u = static_cast<WideChar>(MLIB_T('a') + rng() % 3);
  return t;
}

// Small random cases against the literal loop: Replace where the loop ends soon, and its
// engine with small limits, so that every way past them is met (too many passes, a text
// growing too long or too long from the start) next to runs that end just within them.
TEST(StringEdit, ReplaceAgreesWithTheLiteralLoop) {
  std::mt19937 rng(424242);
  int compared = 0, refused = 0;
  for (int round = 0; round < 20000; ++round) {
    const Text text = randomText(rng, 0, 12), old = randomText(rng, 1, 3);
    const Text with = randomText(rng, 0, 4);
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

TEST(StringEdit, ReplaceStopsAtItsLengthLimit) {
  // 2^18 + 2 units, so 64 x length (2^24 + 128) is the limit: 131,073 passes of «ab» -> 128
  // units end exactly there; 129 units would pass it, and the string stays as it was.
  Text text;
  for (int i = 0; i < (1 << 17) + 1; ++i) text += MLIB_T("ab");
  const Text c128(128, MLIB_T('c')), c129(129, MLIB_T('c'));
  replaceAndCheck(false, text, MLIB_T("ab"), c128.c_str(), Text(64 * text.size(), 'c'), true);
  replaceAndCheck(false, text, MLIB_T("ab"), c129.c_str(), text, false);
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
  // CompareCharNoCase: equal or 32 apart, for any two values.
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

// Two foldings it must not make, then every line of the Unicode folding data where it exists.
TEST(StringEdit, EndWithFoldsCaseByUnicode) {
  if (!mlib::platform::foldsBySimpleCaseFolding()) GTEST_SKIP() << "the locale decides here";
  EXPECT_FALSE(String(MLIB_T("\u0130")).EndWith(MLIB_T("i"), true));  // Turkic only
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
