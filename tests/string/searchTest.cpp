// String search and substrings: failure tables, forward and backward search against a
// naive search on random texts, counting and numbering, and the clamping rules of Left,
// Right, GetSubString and GetSubStringBySplit.
#include <gtest/gtest.h>
#include <mlib/string.h>

#include <random>
#include <string>
#include <vector>

#include "string/search.h"
#include "string/storage.h"

namespace {

using mlib::String;
using mlib::WideChar;
using mlib::detail::StringAccess;
using Text = std::basic_string<WideChar>;

Text units(const String& s) { return s.IsNull() ? Text() : Text(s.toString()); }
unsigned capacityOf(const String& s) { return StringAccess::capacity(s); }

// First and last start of pattern in text, every position tried; -1 when absent.
int naiveFirst(const Text& text, const Text& pattern) {
  for (std::size_t i = 0; i + pattern.size() <= text.size(); ++i) {
    if (text.compare(i, pattern.size(), pattern) == 0) return static_cast<int>(i);
  }
  return -1;
}
int naiveLast(const Text& text, const Text& pattern) {
  for (std::size_t i = text.size() + 1; i-- > 0;) {
    if (i + pattern.size() <= text.size() && text.compare(i, pattern.size(), pattern) == 0) {
      return static_cast<int>(i);
    }
  }
  return -1;
}
// Starts of the non-overlapping occurrences, found from the left.
std::vector<int> naiveOccurrences(const Text& text, const Text& pattern) {
  std::vector<int> starts;
  for (std::size_t i = 0; i + pattern.size() <= text.size();) {
    if (text.compare(i, pattern.size(), pattern) == 0) {
      starts.push_back(static_cast<int>(i));
      i += pattern.size();
    } else {
      ++i;
    }
  }
  return starts;
}

TEST(StringSearch, FailureTables) {
  struct Row {
    const WideChar* pattern;
    std::vector<int> want;
  };
  const Row rows[] = {
      {MLIB_T("abab"), {-1, 0, 0, 1}},
      {MLIB_T("aaaa"), {-1, 0, 1, 2}},
      {MLIB_T("a"), {-1}},
      {MLIB_T("abcabd"), {-1, 0, 0, 0, 1, 2}},
      {MLIB_T("aabaaab"), {-1, 0, 1, 0, 1, 2, 2}},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.want.size());
    std::vector<int> table(r.want.size() + 2, 99);  // two canaries past the end
    StringAccess::nextArray(r.pattern, table.data());
    std::vector<int> want = r.want;
    want.push_back(99);
    want.push_back(99);
    EXPECT_EQ(table, want);
  }
  int untouched[2] = {99, 99};
  StringAccess::nextArray(MLIB_T(""), untouched);
  StringAccess::nextArray(nullptr, untouched);
  StringAccess::nextArray(MLIB_T("ab"), nullptr);
  EXPECT_EQ(untouched[0], 99);
  EXPECT_EQ(untouched[1], 99);
}

TEST(StringSearch, CharacterSearch) {
  const String text(MLIB_T("abcabc"));
  EXPECT_EQ(text.Find(MLIB_T('b')), 1);
  EXPECT_EQ(text.IndexOf(MLIB_T('c')), 2);
  EXPECT_EQ(text.FindLast(MLIB_T('b')), 4);
  EXPECT_EQ(text.Find(MLIB_T('z')), -1);
  EXPECT_EQ(text.FindLast(MLIB_T('z')), -1);
  EXPECT_EQ(text.Find(WideChar(0)), -1);  // the terminator is not text
  EXPECT_EQ(text.FindLast(WideChar(0)), -1);
  String empty;
  empty.AllocBuffer(4);
  EXPECT_EQ(empty.Find(MLIB_T('a')), -1);
  EXPECT_EQ(empty.FindLast(MLIB_T('a')), -1);
  EXPECT_EQ(String().Find(MLIB_T('a')), -1);
  EXPECT_EQ(String().FindLast(MLIB_T('a')), -1);
}

TEST(StringSearch, TextSearchResults) {
  const String text(MLIB_T("abcabc"));
  EXPECT_EQ(text.Find(MLIB_T("ca")), text.GetBuffer(2));
  EXPECT_EQ(text.Find(MLIB_T("")), text.GetBuffer(0));
  EXPECT_EQ(text.Find(static_cast<const WideChar*>(nullptr)), nullptr);
  EXPECT_EQ(String().Find(MLIB_T("")), nullptr);
  EXPECT_EQ(text.IndexOf(String(MLIB_T("bc"))), 1);
  EXPECT_EQ(text.IndexOfLast(String(MLIB_T("bc"))), 4);

  const String rest = text.Find(String(MLIB_T("bc")));
  EXPECT_EQ(units(rest), MLIB_T("bcabc"));
  EXPECT_EQ(capacityOf(rest), 6u);
  EXPECT_EQ(units(text.Find(String(MLIB_T("abc")))), MLIB_T("abcabc"));
  EXPECT_EQ(units(text.FindLast(String(MLIB_T("bc")))), MLIB_T("bc"));  // at the end: just it
  EXPECT_TRUE(text.Find(String(MLIB_T("cb"))).IsNull());
  EXPECT_TRUE(text.FindLast(String(MLIB_T("cb"))).IsNull());

  // The backward scan finds the last occurrence, also where a partial match precedes it.
  EXPECT_EQ(String(MLIB_T("abb")).IndexOfLast(MLIB_T("ab")), 0);
  EXPECT_EQ(String(MLIB_T("aabab")).IndexOfLast(MLIB_T("aba")), 1);
  // The empty pattern's last occurrence is the end of the text; none in empty text.
  EXPECT_EQ(text.IndexOfLast(MLIB_T("")), 6);
  String empty;
  empty.AllocBuffer(2);
  EXPECT_EQ(empty.FindLast(MLIB_T("")), nullptr);
  EXPECT_EQ(empty.IndexOf(MLIB_T("")), 0);
  EXPECT_EQ(String().IndexOf(MLIB_T("")), -1);
}

TEST(StringSearch, AgreesWithNaiveSearchOnRandomTexts) {
  std::mt19937 rng(1234567);
  // High units check that the block scans compare units unsigned.
  const WideChar alphabet[] = {MLIB_T('a'), MLIB_T('b'), WideChar(0xFFFF), WideChar(0x8001)};
  for (int round = 0; round < 4000; ++round) {
    const std::size_t letters = 2 + rng() % 3;
    Text text(rng() % (round % 10 == 0 ? 2000 : 120), WideChar(0));
    for (WideChar& u : text) u = alphabet[rng() % letters];
    Text pattern(1 + rng() % (round % 7 == 0 ? 90 : 6), WideChar(0));
    for (WideChar& u : pattern) u = alphabet[rng() % letters];
    if (round % 3 == 0 && text.size() > 4) {  // a piece of the text, so that it occurs
      const std::size_t at = rng() % (text.size() - 2);
      pattern = text.substr(at, 1 + rng() % (text.size() - at - 1));
    }
    SCOPED_TRACE(round);
    const String s(text.c_str());
    EXPECT_EQ(s.IndexOf(pattern.c_str()), naiveFirst(text, pattern));
    EXPECT_EQ(s.IndexOfLast(pattern.c_str()), naiveLast(text, pattern));
    const std::vector<int> starts = naiveOccurrences(text, pattern);
    EXPECT_EQ(s.GetCountOfSubString(pattern.c_str()), static_cast<int>(starts.size()));
    const int n = static_cast<int>(rng() % (starts.size() + 2));
    EXPECT_EQ(s.IndexOfSubString(pattern.c_str(), n),
              n < static_cast<int>(starts.size()) ? starts[n] : -1);
  }
}

TEST(StringSearch, CandidateScansAgreeWithEachOther) {
  // Text with zeros inside and units after them, as a buffer past its terminator holds.
  std::mt19937 rng(99);
  for (int round = 0; round < 3000; ++round) {
    Text text(1 + rng() % 80, WideChar(0));
    for (WideChar& u : text) u = rng() % 23 == 0 ? WideChar(0) : WideChar(0x7FFE + rng() % 4);
    const std::size_t limit = rng() % (text.size() + 1);
    const std::size_t from = rng() % (limit + 1);
    const auto first = WideChar(0x7FFE + rng() % 4);
    const auto last = WideChar(0x7FFE + rng() % 4);
    const std::size_t offset = rng() % 12;
    std::size_t want = limit;
    for (std::size_t p = from; p < limit && want == limit; ++p) {
      if (text[p] == 0 || (text[p] == first && p + offset < limit && text[p + offset] == last)) {
        want = p;
      }
    }
    SCOPED_TRACE(round);
    EXPECT_EQ(mlib::detail::nextCandidate(text.data(), limit, from, first, last, offset), want);
    EXPECT_EQ(mlib::detail::nextCandidatePortable(text.data(), limit, from, first, last, offset),
              want);
  }
}

TEST(StringSearch, SearchStaysInsideTheCapacity) {
  String s(MLIB_T("abc"));
  s[3] = MLIB_T('x');  // the terminator's slot, the buffer's last
  EXPECT_EQ(s.IndexOf(MLIB_T("cx")), 2);
  EXPECT_EQ(s.IndexOf(MLIB_T('x')), 3);
  EXPECT_EQ(s.IndexOf(MLIB_T("xy")), -1);
  EXPECT_EQ(s.GetCountOfSubString(MLIB_T("x")), 1);
}

TEST(StringSearch, CountingAndNumbering) {
  const String text(MLIB_T("aaaa"));
  EXPECT_EQ(text.GetCountOfSubString(MLIB_T("aa")), 2);  // never overlapping
  EXPECT_EQ(text.IndexOfSubString(MLIB_T("aa"), 1), 2);
  EXPECT_EQ(text.IndexOfSubString(MLIB_T("aa"), 0), 0);
  EXPECT_EQ(text.IndexOfSubString(MLIB_T("aa"), -7), 0);  // below 1: the first
  EXPECT_EQ(text.IndexOfSubString(MLIB_T("aa"), 2), -1);
  EXPECT_EQ(text.IndexOfSubString(MLIB_T("aa"), 0x7FFFFFFF), -1);

  // No text, empty text: nothing to count or number.
  EXPECT_EQ(text.GetCountOfSubString(static_cast<const WideChar*>(nullptr)), 0);
  EXPECT_EQ(text.GetCountOfSubString(MLIB_T("")), 0);
  EXPECT_EQ(text.GetCountOfSubString(String()), 0);
  EXPECT_EQ(text.IndexOfSubString(MLIB_T(""), 1), -1);
  EXPECT_EQ(text.IndexOfSubString(static_cast<const WideChar*>(nullptr), 1), -1);
  EXPECT_EQ(String().GetCountOfSubString(MLIB_T("a")), 0);
  EXPECT_EQ(String().IndexOfSubString(MLIB_T("a"), 0), -1);

  // A String with a buffer but no text: counts nothing, numbers at 0 (in non-empty text).
  String bufferOnly;
  bufferOnly.AllocBuffer(3);
  EXPECT_EQ(text.GetCountOfSubString(bufferOnly), 0);
  EXPECT_EQ(text.IndexOfSubString(bufferOnly, 5), 0);
  EXPECT_EQ(bufferOnly.IndexOfSubString(bufferOnly, 0), 0);
  EXPECT_EQ(bufferOnly.IndexOfSubString(bufferOnly, 1), -1);
}

TEST(StringSearch, LeftAndRight) {
  const String abc(MLIB_T("abc"));
  const String left0 = abc.Left(0);
  EXPECT_FALSE(left0.IsNull());
  EXPECT_EQ(units(left0), MLIB_T(""));
  EXPECT_EQ(capacityOf(left0), 1u);
  const String left10 = abc.Left(10);
  EXPECT_EQ(units(left10), MLIB_T("abc"));
  EXPECT_EQ(capacityOf(left10), 4u);
  EXPECT_EQ(units(abc.Left(2)), MLIB_T("ab"));
  EXPECT_TRUE(String().Left(3).IsNull());

  EXPECT_TRUE(abc.Right(0).IsNull());
  const String right2 = abc.Right(2);
  EXPECT_EQ(units(right2), MLIB_T("bc"));
  EXPECT_EQ(capacityOf(right2), 3u);
  EXPECT_EQ(units(abc.Right(99)), MLIB_T("abc"));
  EXPECT_TRUE(String().Right(3).IsNull());
}

TEST(StringSearch, GetSubStringClamps) {
  struct Row {
    int first, last;
    const WideChar* want;  // null: a null string
  };
  const Row rows[] = {
      {1, 2, MLIB_T("el")},      {-3, 1, MLIB_T("he")}, {2, 100, MLIB_T("llo")}, {3, 1, nullptr},
      {-5, -2, MLIB_T("hello")}, {4, 4, MLIB_T("o")},   {5, 9, nullptr},         {0, -1, nullptr},
  };
  const String hello(MLIB_T("hello"));
  for (const Row& r : rows) {
    SCOPED_TRACE(::testing::Message() << r.first << ".." << r.last);
    const String piece = hello.GetSubString(r.first, r.last);
    if (r.want == nullptr) {
      EXPECT_TRUE(piece.IsNull());
    } else {
      EXPECT_EQ(units(piece), r.want);
      EXPECT_EQ(capacityOf(piece), Text(r.want).size() + 1);
    }
  }
  EXPECT_TRUE(String().GetSubString(0, 3).IsNull());
}

TEST(StringSearch, GetSubStringBySplitFields) {
  struct Row {
    const WideChar* separator;
    int from, to;
    const WideChar* want;  // null: a null string
  };
  const Row rows[] = {
      {MLIB_T(","), 1, 1, MLIB_T("b")},       {MLIB_T(","), 0, 0, MLIB_T("a")},
      {MLIB_T(","), 3, 3, MLIB_T("d")},       {MLIB_T(","), 0, 2, MLIB_T("b,c")},
      {MLIB_T(","), 1, 2, MLIB_T("c")},       {MLIB_T(","), 2, 1, nullptr},
      {MLIB_T(","), -4, 0, MLIB_T("a")},      {MLIB_T(","), 1, 9, MLIB_T("c,d")},
      {nullptr, 0, 2, MLIB_T("a,b,c,d")},     {nullptr, 1, 1, MLIB_T("a,b,c,d")},
      {MLIB_T(";"), 0, 0, MLIB_T("a,b,c,d")}, {MLIB_T(",c,"), 1, 1, MLIB_T("d")},
  };
  const String text(MLIB_T("a,b,c,d"));
  for (const Row& r : rows) {
    SCOPED_TRACE(::testing::Message() << r.from << ".." << r.to);
    const String piece = text.GetSubStringBySplit(r.separator, r.from, r.to);
    if (r.want == nullptr) {
      EXPECT_TRUE(piece.IsNull());
    } else {
      EXPECT_EQ(units(piece), r.want);
    }
  }
}

}  // namespace
