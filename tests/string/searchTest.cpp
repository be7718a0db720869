// String search and substrings: failure tables, search against a naive search on random
// texts, counting and numbering, and the clamping rules of the substring operations.
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

// Starts of the occurrences of pattern, every position tried; with skip, non-overlapping.
std::vector<int> naiveStarts(const Text& text, const Text& pattern, bool skip) {
  std::vector<int> starts;
  for (std::size_t i = 0; i + pattern.size() <= text.size(); ++i) {
    if (text.compare(i, pattern.size(), pattern) != 0) continue;
    starts.push_back(static_cast<int>(i));
    if (skip) i += pattern.size() - 1;
  }
  return starts;
}

TEST(StringSearch, FailureTables) {
  const std::pair<const WideChar*, std::vector<int>> rows[] = {
      {MLIB_T("abab"), {-1, 0, 0, 1}},
      {MLIB_T("aaaa"), {-1, 0, 1, 2}},
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

TEST(StringSearch, FindAndFindLast) {
  const String text(MLIB_T("abcabc"));
  EXPECT_EQ(text.Find(MLIB_T('b')), 1);
  EXPECT_EQ(text.IndexOf(MLIB_T('c')), 2);
  EXPECT_EQ(text.FindLast(MLIB_T('b')), 4);
  EXPECT_EQ(text.Find(MLIB_T('z')) + text.FindLast(MLIB_T('z')), -2);
  EXPECT_EQ(text.Find(WideChar(0)) + text.FindLast(WideChar(0)), -2);  // not text
  EXPECT_EQ(String().Find(MLIB_T('a')) + String().FindLast(MLIB_T('a')), -2);

  EXPECT_EQ(text.Find(MLIB_T("ca")), text.GetBuffer(2));
  EXPECT_EQ(text.Find(MLIB_T("")), text.GetBuffer(0));
  EXPECT_EQ(text.Find(static_cast<const WideChar*>(nullptr)), nullptr);
  const String rest = text.Find(String(MLIB_T("bc")));
  EXPECT_EQ(units(rest), MLIB_T("bcabc"));
  EXPECT_EQ(capacityOf(rest), 6u);
  EXPECT_EQ(units(text.FindLast(String(MLIB_T("bc")))), MLIB_T("bc"));  // at the end: just it
  EXPECT_TRUE(text.Find(String(MLIB_T("cb"))).IsNull());
  EXPECT_TRUE(text.FindLast(String(MLIB_T("cb"))).IsNull());
  // The backward scan finds the last occurrence, also right after a partial match.
  EXPECT_EQ(String(MLIB_T("abb")).IndexOfLast(MLIB_T("ab")), 0);
  // The empty pattern's last occurrence is the end of the text; empty text has none.
  EXPECT_EQ(text.IndexOfLast(MLIB_T("")), 6);
  String empty;
  empty.AllocBuffer(2);
  EXPECT_EQ(empty.FindLast(MLIB_T("")), nullptr);
  EXPECT_EQ(empty.IndexOf(MLIB_T("")), 0);
  EXPECT_EQ(String().IndexOf(MLIB_T("")), -1);

  String full(MLIB_T("abc"));
  full[3u] = MLIB_T('x');  // no terminator left: the search ends at the capacity
  EXPECT_EQ(full.IndexOf(MLIB_T("cx")), 2);
  EXPECT_EQ(full.IndexOf(MLIB_T("xy")), -1);
}

TEST(StringSearch, AgreesWithNaiveSearchOnRandomTexts) {
  std::mt19937 rng(1234567);
  // High units check that the block scans compare units unsigned.
  const WideChar alphabet[] = {MLIB_T('a'), MLIB_T('b'), WideChar(0xFFFF), WideChar(0x8001)};
  for (int round = 0; round < 4000; ++round) {
    const std::size_t letters = 2 + rng() % 3;
    Text text(rng() % (round % 10 == 0 ? 2000 : 120), WideChar(0));
    for (WideChar& u : text) u = alphabet[rng() % letters];
    Text pattern(1 + rng() % (round % 7 == 0 ? 90 : 6), WideChar(0));  // > 64: heap table
    for (WideChar& u : pattern) u = alphabet[rng() % letters];
    if (round % 3 == 0 && text.size() > 4) {  // a piece of the text, so that it occurs
      const std::size_t at = rng() % (text.size() - 2);
      pattern = text.substr(at, 1 + rng() % (text.size() - at - 1));
    }
    SCOPED_TRACE(round);
    const String s(text.c_str());
    const std::vector<int> all = naiveStarts(text, pattern, false);
    const std::vector<int> apart = naiveStarts(text, pattern, true);
    EXPECT_EQ(s.IndexOf(pattern.c_str()), all.empty() ? -1 : all.front());
    EXPECT_EQ(s.IndexOfLast(pattern.c_str()), all.empty() ? -1 : all.back());
    EXPECT_EQ(s.GetCountOfSubString(pattern.c_str()), static_cast<int>(apart.size()));
    const int n = static_cast<int>(rng() % (apart.size() + 2));
    EXPECT_EQ(s.IndexOfSubString(pattern.c_str(), n),
              n < static_cast<int>(apart.size()) ? apart[n] : -1);
  }
}

TEST(StringSearch, CandidateScansAgree) {
  // Zeros inside and units after them, as a buffer holds past its terminator.
  std::mt19937 rng(99);
  for (int round = 0; round < 3000; ++round) {
    Text text(1 + rng() % 80, WideChar(0));
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

TEST(StringSearch, CountingAndNumbering) {
  const String text(MLIB_T("aaaa"));
  EXPECT_EQ(text.GetCountOfSubString(MLIB_T("aa")), 2);  // never overlapping
  EXPECT_EQ(text.IndexOfSubString(MLIB_T("aa"), 1), 2);
  EXPECT_EQ(text.IndexOfSubString(MLIB_T("aa"), -7), 0);  // below 1: the first
  EXPECT_EQ(text.IndexOfSubString(MLIB_T("aa"), 0x7FFFFFFF), -1);
  // No text and empty text count nothing and number nothing.
  EXPECT_EQ(text.GetCountOfSubString(static_cast<const WideChar*>(nullptr)), 0);
  EXPECT_EQ(text.GetCountOfSubString(MLIB_T("")) + text.GetCountOfSubString(String()), 0);
  EXPECT_EQ(text.IndexOfSubString(MLIB_T(""), 1), -1);
  EXPECT_EQ(String().GetCountOfSubString(MLIB_T("a")), 0);
  EXPECT_EQ(String().IndexOfSubString(MLIB_T("a"), 0), -1);
  // A String with a buffer but no text counts nothing, and numbers 0 in non-empty text.
  String bufferOnly;
  bufferOnly.AllocBuffer(3);
  EXPECT_EQ(text.GetCountOfSubString(bufferOnly), 0);
  EXPECT_EQ(text.IndexOfSubString(bufferOnly, 5), 0);
  EXPECT_EQ(bufferOnly.IndexOfSubString(bufferOnly, 1), -1);
}

TEST(StringSearch, LeftAndRight) {
  const String abc(MLIB_T("abc"));
  const String left0 = abc.Left(0), left10 = abc.Left(10), right2 = abc.Right(2);
  EXPECT_FALSE(left0.IsNull());
  EXPECT_EQ(capacityOf(left0), 1u);
  EXPECT_EQ(units(left10), MLIB_T("abc"));
  EXPECT_EQ(capacityOf(left10), 4u);
  EXPECT_EQ(units(right2), MLIB_T("bc"));
  EXPECT_EQ(capacityOf(right2), 3u);
  EXPECT_TRUE(abc.Right(0).IsNull());
  EXPECT_TRUE(String().Left(3).IsNull());
  EXPECT_TRUE(String().Right(3).IsNull());
}

// Expected texts; null stands for a null string.
void expectText(const String& got, const WideChar* want) {
  if (want == nullptr) {
    EXPECT_TRUE(got.IsNull());
    return;
  }
  EXPECT_EQ(units(got), want);
  EXPECT_EQ(capacityOf(got), Text(want).size() + 1);
}

TEST(StringSearch, GetSubStringClamps) {
  struct Row {
    int first, last;
    const WideChar* want;
  } const rows[] = {{1, 2, MLIB_T("el")}, {-3, 1, MLIB_T("he")},     {2, 100, MLIB_T("llo")},
                    {3, 1, nullptr},      {-5, -2, MLIB_T("hello")}, {4, 4, MLIB_T("o")},
                    {5, 9, nullptr},      {0, -1, nullptr}};
  const String hello(MLIB_T("hello"));
  for (const Row& r : rows) {
    SCOPED_TRACE(&r - rows);
    expectText(hello.GetSubString(r.first, r.last), r.want);
  }
  EXPECT_TRUE(String().GetSubString(0, 3).IsNull());
}

TEST(StringSearch, GetSubStringBySplitFields) {
  struct Row {
    const WideChar* separator;
    int from, to;
    const WideChar* want;
  } const rows[] = {{MLIB_T(","), 1, 1, MLIB_T("b")},       {MLIB_T(","), 0, 0, MLIB_T("a")},
                    {MLIB_T(","), 3, 3, MLIB_T("d")},       {MLIB_T(","), 0, 2, MLIB_T("b,c")},
                    {MLIB_T(","), 1, 2, MLIB_T("c")},       {MLIB_T(","), 2, 1, nullptr},
                    {MLIB_T(","), -4, 0, MLIB_T("a")},      {MLIB_T(","), 1, 9, MLIB_T("c,d")},
                    {nullptr, 0, 2, MLIB_T("a,b,c,d")},     {nullptr, 1, 1, MLIB_T("a,b,c,d")},
                    {MLIB_T(";"), 0, 0, MLIB_T("a,b,c,d")}, {MLIB_T(",c,"), 1, 1, MLIB_T("d")}};
  const String text(MLIB_T("a,b,c,d"));
  for (const Row& r : rows) {
    SCOPED_TRACE(&r - rows);
    expectText(text.GetSubStringBySplit(r.separator, r.from, r.to), r.want);
  }
}

}  // namespace
