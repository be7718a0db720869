// String search and substrings: failure tables, the block scan against its portable form,
// null and empty operands, and the clamping rules of the substring operations. The searches
// against std::u16string's on random texts are steps of the String driver (stringOps.h).
#include <gtest/gtest.h>
#include <mlib/string.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "string/search.h"
#include "stringText.h"

namespace {

using mlib::String;
using mlib::WideChar;
using mlib::detail::StringAccess;
using mlib::test::State;
using mlib::test::state;

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

TEST(StringSearch, CandidateScansAgree) {
  // Zeros inside and units after them, as a buffer holds past its terminator.
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
  const String text(MLIB_T("abcabc")), null;
  String empty;
  empty.AllocBuffer(2);
  EXPECT_EQ(text.Find(MLIB_T("ca")), text.GetBuffer(2));
  EXPECT_EQ(text.Find(MLIB_T("")), text.GetBuffer(0));
  EXPECT_EQ(text.Find(static_cast<const WideChar*>(nullptr)), nullptr);
  EXPECT_EQ(text.Find(WideChar(0)) + text.FindLast(WideChar(0)), -2);  // not text
  EXPECT_EQ(null.Find(MLIB_T('a')) + null.FindLast(MLIB_T('a')), -2);
  EXPECT_EQ(text.IndexOf(MLIB_T('c')), 2);
  // The empty pattern's last occurrence is the end of the text; empty text has none.
  EXPECT_EQ(text.IndexOfLast(MLIB_T("")), 6);
  EXPECT_EQ(empty.FindLast(MLIB_T("")), nullptr);
  EXPECT_EQ(empty.IndexOf(MLIB_T("")), 0);
  EXPECT_EQ(null.IndexOf(MLIB_T("")), -1);

  const String aaaa(MLIB_T("aaaa"));
  EXPECT_EQ(aaaa.IndexOfSubString(MLIB_T("aa"), -7), 0);  // below 1: the first
  EXPECT_EQ(aaaa.IndexOfSubString(MLIB_T("aa"), 0x7FFFFFFF), -1);
  // No text and empty text count nothing and number nothing.
  EXPECT_EQ(aaaa.GetCountOfSubString(static_cast<const WideChar*>(nullptr)), 0);
  EXPECT_EQ(aaaa.GetCountOfSubString(MLIB_T("")) + aaaa.GetCountOfSubString(null), 0);
  EXPECT_EQ(aaaa.IndexOfSubString(MLIB_T(""), 1) + null.IndexOfSubString(MLIB_T("a"), 0), -2);
  EXPECT_EQ(null.GetCountOfSubString(MLIB_T("a")), 0);
  // A String with a buffer but no text counts nothing, and numbers 0 in non-empty text.
  EXPECT_EQ(aaaa.GetCountOfSubString(empty), 0);
  EXPECT_EQ(aaaa.IndexOfSubString(empty, 5), 0);
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
  for (const auto& row : rows) EXPECT_EQ(state(row.got), row.want) << "row " << &row - rows;
}

}  // namespace
